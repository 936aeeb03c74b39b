// The camera's texts as the Linux backend hands them out: whole, up to the 126 UTF-16 code units a USB string
// descriptor can hold, and never cut inside a character when the caller's buffer is shorter.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "bridge/sonix_camera.h"
#include "core/utf.h"
#include "linux/linux_fixture.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

using LinuxStringDescriptor = LinuxBackendTest;

constexpr std::uint8_t kSerialNumberDescriptor = 4;

// n times a character that takes three bytes of UTF-8 and one UTF-16 code unit ("世").
std::string wide_characters(std::size_t n) {
  std::string text;
  for (std::size_t i = 0; i < n; ++i) {
    text += "\xE4\xB8\x96";
  }
  return text;
}

bool valid_utf8(const std::string& text) { return detail::utf16_to_utf8(detail::utf8_to_utf16(text)) == text; }

// The bytes up to the first zero of a descriptor read into a buffer of `capacity`; "(failed)" when the read fails.
std::string read_serial(std::size_t capacity) {
  const win_detail::SonixGlobalLock lock;
  if (!SonixCam_Init()) {
    return "(failed)";
  }
  SonixLib::scDevice_t records[1] = {};
  std::int32_t count = 0;
  std::string text = "(failed)";
  std::vector<std::uint8_t> buffer(capacity, 0xAA);
  if (SonixCam_EnumCameras(&count, records, 1) &&
      SonixCam_GetDevDescriptor(&records[0], kSerialNumberDescriptor, buffer.data(),
                                static_cast<std::uint32_t>(buffer.size()), 0, 0)) {
    std::size_t length = 0;
    while (length < buffer.size() && buffer[length] != 0) {
      ++length;
    }
    text.assign(reinterpret_cast<const char*>(buffer.data()), length);
  }
  EXPECT_TRUE(SonixCam_UnInit());
  return text;
}

TEST_F(LinuxStringDescriptor, TheLongestSerialNumberComesWholeIntoABufferThatHoldsIt) {
  // 126 code units of three bytes each: 378 bytes of UTF-8, the most a string descriptor can carry.
  const std::string serial = wide_characters(126);
  kernel_.add_camera(supported_camera(serial, "1-2", 0));
  EXPECT_EQ(read_serial(379), serial);
  EXPECT_EQ(read_serial(512), serial);
}

TEST_F(LinuxStringDescriptor, AShortBufferGetsWholeCharactersOnly) {
  // "AB" then three-byte characters: the 64th byte is the second byte of the twenty-first of them.
  const std::string serial = "AB" + wide_characters(40);
  kernel_.add_camera(supported_camera(serial, "1-2", 0));
  const std::string cut = read_serial(64);
  EXPECT_EQ(cut, "AB" + wide_characters(20));
  EXPECT_TRUE(valid_utf8(cut));
}

TEST_F(LinuxStringDescriptor, ATextThatFillsTheBufferExactlyIsNotCut) {
  const std::string serial(64, 'S');
  kernel_.add_camera(supported_camera(serial, "1-2", 0));
  EXPECT_EQ(read_serial(64), serial);
}

TEST_F(LinuxStringDescriptor, ScannedSerialNumbersAreValidTextWhateverTheirLength) {
  kernel_.add_camera(supported_camera("AB" + wide_characters(40) + "1", "1-2", 0));
  kernel_.add_camera(supported_camera("AB" + wide_characters(40) + "2", "1-3", 2));
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  ASSERT_TRUE(scan.ok()) << scan.status().message();
  ASSERT_EQ(scan.value().size(), 2u);
  for (const DeviceInfo& info : scan.value()) {
    EXPECT_TRUE(valid_utf8(info.serial_number)) << info.serial_number;
    EXPECT_FALSE(info.serial_number.empty());
  }
  // Two cameras, each opened as itself.
  for (const DeviceInfo& info : scan.value()) {
    Result<Device> device = open_device(info);
    ASSERT_TRUE(device.ok()) << device.status().message();
    EXPECT_EQ(device.value().info().device_path, info.device_path);
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo::linux_testing
