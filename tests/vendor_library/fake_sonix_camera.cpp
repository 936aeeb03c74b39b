// A stand-in for the camera vendor's SonixCamera.dll, built from the same published
// interface as the SDK's own declaration of it: one camera of a supported model with a
// small NOR flash, an extension unit that answers zeros and a firmware version text. It
// writes down every call by its exported name, so a test can tell that each operation of
// the SDK reached the export of that name, and it can be told to fail one call.
//
// FAKE_SONIX_VARIANT picks what the copy says about itself (its camera's name tells the
// copies apart) and whether it leaves out one export, as an older or foreign library would.
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#if FAKE_SONIX_VARIANT == 1
#define FAKE_SONIX_LABEL L"beside-sdk"
#elif FAKE_SONIX_VARIANT == 2
#define FAKE_SONIX_LABEL L"search-path"
#elif FAKE_SONIX_VARIANT == 3
#define FAKE_SONIX_LABEL L"incomplete"
#define FAKE_SONIX_LEAVES_OUT_STATUS_REGISTER
#else
#error "FAKE_SONIX_VARIANT must be 1, 2 or 3"
#endif

#define FAKE_SONIX_EXPORT extern "C" __declspec(dllexport)

namespace {

// The library's device record: path and name as NUL-terminated UTF-16, then its own data.
struct Device {
  wchar_t devicePath[260];
  wchar_t deviceName[260];
  unsigned char reserved[86];
};
static_assert(sizeof(Device) == 1126, "the library's device record is 1126 bytes");

constexpr std::int32_t kEcUnknow = 0;
constexpr std::int32_t kEcGetKsControlFail = 5;
constexpr std::int32_t kEcWriteFlashFail = 12;

constexpr std::uint32_t kFlashBytes = 0x100000;
constexpr std::uint32_t kSectorBytes = 4096;

struct Library {
  std::mutex mutex;
  std::vector<std::string> calls;
  int open_sessions = 0;
  std::int32_t last_error = kEcUnknow;
  std::vector<std::uint8_t> flash = std::vector<std::uint8_t>(kFlashBytes, 0xFF);
  bool write_protected = true;
  std::string failing_call;
  std::int32_t failing_code = kEcUnknow;
};

Library& library() {
  static Library instance;
  return instance;
}

// Writes the call down; false when the test asked for this call to fail.
bool enter(Library& lib, const char* name) {
  lib.calls.emplace_back(name);
  if (lib.failing_call == name) {
    lib.failing_call.clear();
    lib.last_error = lib.failing_code;
    return false;
  }
  return true;
}

bool fail(Library& lib, std::int32_t code) {
  lib.last_error = code;
  return false;
}

void copy_text(wchar_t* field, const std::wstring& text) {
  std::fill(field, field + 260, L'\0');
  std::copy(text.begin(), text.end(), field);
}

}  // namespace

FAKE_SONIX_EXPORT bool SonixCam_Init() {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  if (!enter(lib, "SonixCam_Init")) {
    return false;
  }
  ++lib.open_sessions;
  return true;
}

FAKE_SONIX_EXPORT bool SonixCam_UnInit() {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  if (!enter(lib, "SonixCam_UnInit")) {
    return false;
  }
  --lib.open_sessions;
  return true;
}

FAKE_SONIX_EXPORT bool SonixCam_EnumCameras(std::int32_t* count, Device* devices, std::int32_t max_count) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  if (!enter(lib, "SonixCam_EnumCameras")) {
    return false;
  }
  *count = 0;
  if (max_count < 1) {
    return true;
  }
  Device& camera = devices[0];
  copy_text(camera.devicePath,
            L"\\\\?\\usb#vid_0c45&pid_6366&mi_00#8&1a2b3c4d&0&0000#{65e8773d-8f56-11d0-a3b9-00a0c9223196}\\global");
  copy_text(camera.deviceName, L"Tovanel Stereo (" FAKE_SONIX_LABEL L")");
  *count = 1;
  return true;
}

FAKE_SONIX_EXPORT bool SonixCam_GetErrorCode(Device*, std::int32_t* code) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  lib.calls.emplace_back("SonixCam_GetErrorCode");
  *code = lib.last_error;
  return true;
}

FAKE_SONIX_EXPORT bool SonixCam_GetDevDescriptor(Device*, std::uint8_t type, std::uint8_t* buffer, std::uint32_t length,
                                                 std::int32_t, std::int32_t) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  if (!enter(lib, "SonixCam_GetDevDescriptor")) {
    return false;
  }
  if (type == 0 && length >= 4) {
    const std::uint8_t ids[4] = {0x0C, 0x45, 0x63, 0x66};
    std::memcpy(buffer, ids, sizeof(ids));
    return true;
  }
  if (type == 4) {
    const char serial[] = "FAKE-0001";
    std::memset(buffer, 0, length);
    std::memcpy(buffer, serial, std::min<std::size_t>(length, sizeof(serial) - 1));
    return true;
  }
  return fail(lib, kEcGetKsControlFail);
}

FAKE_SONIX_EXPORT bool SonixCam_SetNodeID(Device*, std::uint8_t, const std::uint8_t*) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  return enter(lib, "SonixCam_SetNodeID");
}

FAKE_SONIX_EXPORT bool SonixCam_XuRead(Device*, std::uint8_t* buffer, std::uint8_t length, std::uint8_t, std::uint8_t) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  if (!enter(lib, "SonixCam_XuRead")) {
    return false;
  }
  std::memset(buffer, 0, length);
  return true;
}

FAKE_SONIX_EXPORT bool SonixCam_GetVersion(Device*, char* buffer, std::uint32_t length, std::int32_t) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  if (!enter(lib, "SonixCam_GetVersion")) {
    return false;
  }
  const char version[] = "V260416-fake";
  std::memset(buffer, 0, length);
  std::memcpy(buffer, version, std::min<std::size_t>(length, sizeof(version) - 1));
  return true;
}

FAKE_SONIX_EXPORT bool SonixCam_GetSerialFlashType(Device*, std::int32_t* type) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  if (!enter(lib, "SonixCam_GetSerialFlashType")) {
    return false;
  }
  *type = 1;
  return true;
}

FAKE_SONIX_EXPORT bool SonixCam_CstmReadFromSF(Device*, std::uint32_t address, std::uint8_t* buffer,
                                               std::uint32_t length) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  if (!enter(lib, "SonixCam_CstmReadFromSF")) {
    return false;
  }
  if (address > kFlashBytes || length > kFlashBytes - address) {
    return fail(lib, kEcGetKsControlFail);
  }
  std::memcpy(buffer, lib.flash.data() + address, length);
  return true;
}

FAKE_SONIX_EXPORT bool SonixCam_WriteToSF(Device*, std::uint32_t address, const std::uint8_t* buffer,
                                          std::uint32_t length) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  if (!enter(lib, "SonixCam_WriteToSF")) {
    return false;
  }
  if (lib.write_protected || address > kFlashBytes || length > kFlashBytes - address) {
    return fail(lib, kEcWriteFlashFail);
  }
  // NOR flash: programming only clears bits.
  for (std::uint32_t i = 0; i < length; ++i) {
    lib.flash[address + i] &= buffer[i];
  }
  return true;
}

FAKE_SONIX_EXPORT bool SonixCam_SectorEraseSF(Device*, std::uint32_t address, std::uint8_t) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  if (!enter(lib, "SonixCam_SectorEraseSF")) {
    return false;
  }
  if (lib.write_protected || address % kSectorBytes != 0 || address >= kFlashBytes) {
    return fail(lib, kEcWriteFlashFail);
  }
  std::fill(lib.flash.begin() + address, lib.flash.begin() + address + kSectorBytes, 0xFF);
  return true;
}

FAKE_SONIX_EXPORT bool SonixCam_SetWriteProtectedSF(Device*, std::uint8_t, std::uint8_t) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  if (!enter(lib, "SonixCam_SetWriteProtectedSF")) {
    return false;
  }
  lib.write_protected = false;
  return true;
}

#if !defined(FAKE_SONIX_LEAVES_OUT_STATUS_REGISTER)
FAKE_SONIX_EXPORT bool SonixCam_SetStatusRegBitWP(Device*, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t,
                                                  std::uint8_t, std::uint8_t) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  return enter(lib, "SonixCam_SetStatusRegBitWP");
}
#endif

// What the test reads back: the calls so far, one name per line, and the open sessions.
FAKE_SONIX_EXPORT int FakeSonix_OpenSessions() {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  return lib.open_sessions;
}

FAKE_SONIX_EXPORT std::size_t FakeSonix_Calls(char* buffer, std::size_t size) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  std::string joined;
  for (const std::string& call : lib.calls) {
    joined += call;
    joined += '\n';
  }
  if (buffer != nullptr && size > 0) {
    const std::size_t copied = std::min(size - 1, joined.size());
    std::memcpy(buffer, joined.data(), copied);
    buffer[copied] = '\0';
  }
  return joined.size();
}

FAKE_SONIX_EXPORT void FakeSonix_ClearCalls() {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  lib.calls.clear();
}

// The next call of that name fails and SonixCam_GetErrorCode then reports `code`.
FAKE_SONIX_EXPORT void FakeSonix_FailNext(const char* call, std::int32_t code) {
  Library& lib = library();
  const std::lock_guard<std::mutex> guard(lib.mutex);
  lib.failing_call = call;
  lib.failing_code = code;
}
