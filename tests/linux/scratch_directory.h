#pragma once

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace tovanel::uvc_stereo::linux_testing {

// A fresh directory for one fake sysfs tree, removed with everything in it when this object goes. It lives in
// memory (tmpfs) when the machine has one: the trees are many small files, laid out and removed over and over,
// which a disk makes a hundred times slower.
class ScratchDirectory {
 public:
  explicit ScratchDirectory(const std::string& prefix) {
    std::error_code error;
    const std::filesystem::path base = std::filesystem::is_directory("/dev/shm", error)
                                           ? std::filesystem::path("/dev/shm")
                                           : std::filesystem::temp_directory_path();
    std::string pattern = (base / (prefix + "-XXXXXX")).string();
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("cannot make a scratch directory in " + base.string());
    }
    path_ = pattern;
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace tovanel::uvc_stereo::linux_testing
