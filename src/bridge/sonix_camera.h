#pragma once

// The camera chip maker's library, SonixCamera, as this SDK uses it. Only the bridge
// (src/bridge/) and the simulated rig (src/sim/) include this header; everything above
// reaches the camera through the bridge's own functions. The operations are dispatched to the active backend (see
// vendor_backend.h): the real library on Windows, "unavailable" elsewhere, or the
// simulated camera rig.

#include <cstddef>
#include <cstdint>

namespace SonixLib {

#if defined(_WIN32)
using scWideChar = wchar_t;
#else
using scWideChar = char16_t;
#endif
static_assert(sizeof(scWideChar) == 2, "the library's wide strings are UTF-16");

inline constexpr std::size_t kDevicePathChars = 260;
inline constexpr std::size_t kDeviceNameChars = 260;

// The library's record of one camera: an opaque 1126-byte block that starts with the
// device path and the device name as NUL-terminated UTF-16 strings.
struct scDevice_t {
  scWideChar devicePath[kDevicePathChars];
  scWideChar deviceName[kDeviceNameChars];
  unsigned char reserved[86];
};
static_assert(sizeof(scDevice_t) == 1126, "the library's device record is 1126 bytes");

// The library's error codes; values outside 0..21 can occur and are shown as "unknown".
enum scErrorCode_t : std::int32_t {
  ecUnknow = 0,
  ecCoInitializeEx = 1,
  ecLibInitFail = 2,
  ecEnumDeviceFail = 3,
  ecNotFindDevice = 4,
  ecGetKsControlFail = 5,
  ecMemoryMallocFail = 6,
  ecDeviceDisconnect = 7,
  ecSyncTransTimeOut = 8,
  ecBurnCheckFail = 9,
  ecSectorEraseFail = 10,
  ecBlockEraseFail = 11,
  ecWriteFlashFail = 12,
  ecChipEraseFail = 13,
  ecWriteFlashCheckFail = 14,
  ecGetParamTabFail = 15,
  ecGetChipArchTypeFail = 16,
  ecGetChipRomVersionFail = 17,
  ecDisableWriteProtectFail = 18,
  ecNoBootLoaderInSF = 19,
  ecNoCFUInSF = 20,
  ecUnknowPowerOnAreaInSF = 21,
};

// Serial-flash type reported by SonixCam_GetSerialFlashType; 0 is the library's SF_UNKNOW.
using SERIAL_FLASH_TYPE = std::int32_t;
inline constexpr SERIAL_FLASH_TYPE SF_UNKNOW = 0;

}  // namespace SonixLib

// Every operation returns true on success; on failure SonixCam_GetErrorCode tells why.
bool SonixCam_Init();
bool SonixCam_UnInit();
bool SonixCam_EnumCameras(std::int32_t* count, SonixLib::scDevice_t* devices, std::int32_t max_count);
bool SonixCam_GetErrorCode(SonixLib::scDevice_t* device, SonixLib::scErrorCode_t* code);
// type 0: the four vid/pid bytes; other types: USB string descriptor `type` as bytes.
bool SonixCam_GetDevDescriptor(SonixLib::scDevice_t* device, std::uint8_t type, std::uint8_t* buffer,
                               std::uint32_t length, std::int32_t reserved_a, std::int32_t reserved_b);
bool SonixCam_SetNodeID(SonixLib::scDevice_t* device, std::uint8_t node_id, const std::uint8_t guid[16]);
bool SonixCam_XuRead(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                     std::uint8_t unit_id);
bool SonixCam_GetVersion(SonixLib::scDevice_t* device, char* buffer, std::uint32_t length, std::int32_t flags);
bool SonixCam_GetSerialFlashType(SonixLib::scDevice_t* device, SonixLib::SERIAL_FLASH_TYPE* type);
bool SonixCam_CstmReadFromSF(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t* buffer,
                             std::uint32_t length);
bool SonixCam_WriteToSF(SonixLib::scDevice_t* device, std::uint32_t address, const std::uint8_t* buffer,
                        std::uint32_t length);
bool SonixCam_SectorEraseSF(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t command);
bool SonixCam_SetWriteProtectedSF(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b);
bool SonixCam_SetStatusRegBitWP(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b, std::uint8_t c,
                                std::uint8_t d, std::uint8_t e, std::uint8_t f);
