#include "sim/flash_image_file.h"

#include <ios>
#include <stdexcept>
#include <vector>

#include "bridge/os/file_replace.h"

namespace tovanel::uvc_stereo::sim {

FlashImageFile::FlashImageFile(const std::string& path) : path_(path) {
  // Unbuffered before opening, so that no byte waits in this program while another reads the file.
  file_.rdbuf()->pubsetbuf(nullptr, 0);
  file_.open(path, std::ios::in | std::ios::out | std::ios::binary);
  if (!file_.is_open()) {
    throw std::runtime_error("cannot open the simulated flash image " + path);
  }
}

void FlashImageFile::create(const std::string& path, std::uint32_t size) {
  detail::bridge::replace_file(path, std::string(size, static_cast<char>(0xFF)));
}

void FlashImageFile::read(std::uint32_t address, std::uint8_t* out, std::uint32_t length) {
  file_.clear();
  file_.seekg(address);
  file_.read(reinterpret_cast<char*>(out), length);
  if (!file_) {
    throw std::runtime_error("cannot read the simulated flash image " + path_);
  }
}

void FlashImageFile::write(std::uint32_t address, const std::uint8_t* data, std::uint32_t length) {
  file_.clear();
  file_.seekp(address);
  file_.write(reinterpret_cast<const char*>(data), length);
  file_.flush();
  if (!file_) {
    throw std::runtime_error("cannot write the simulated flash image " + path_);
  }
}

}  // namespace tovanel::uvc_stereo::sim
