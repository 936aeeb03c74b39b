#pragma once

#include <cstdint>
#include <fstream>
#include <string>

namespace tovanel::uvc_stereo::sim {

// A flash chip's contents kept in a file that several programs use at once: every read
// and write goes straight to the file (no buffering in this program), so one program
// sees at once what another programmed, and a program killed in the middle of an
// operation leaves the chip as a power cut would, partly programmed or erased.
class FlashImageFile {
 public:
  // Opens an existing image; throws std::runtime_error when it cannot.
  explicit FlashImageFile(const std::string& path);
  // Makes a new image of `size` erased (0xFF) bytes at `path`; throws when it cannot.
  static void create(const std::string& path, std::uint32_t size);

  void read(std::uint32_t address, std::uint8_t* out, std::uint32_t length);
  void write(std::uint32_t address, const std::uint8_t* data, std::uint32_t length);

 private:
  std::string path_;
  std::fstream file_;
};

}  // namespace tovanel::uvc_stereo::sim
