#pragma once

#include <string>

namespace tovanel::uvc_stereo::test_support {

// A fresh empty directory for one test, removed with everything in it when the object goes.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  // `name` inside the directory.
  [[nodiscard]] std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace tovanel::uvc_stereo::test_support
