#include "support/temporary_directory.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <system_error>

#ifdef _WIN32
#include <process.h>
#define UVC_STEREO_TEST_PID _getpid()
#else
#include <unistd.h>
#define UVC_STEREO_TEST_PID ::getpid()
#endif

namespace tovanel::uvc_stereo::test_support {

TemporaryDirectory::TemporaryDirectory() {
  static std::atomic<unsigned> made{0};
  const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
  const std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("uvc-stereo-test-" + std::to_string(UVC_STEREO_TEST_PID) + "-" +
                                                std::to_string(stamp) + "-" + std::to_string(made++));
  std::filesystem::create_directories(path);
  path_ = path.generic_string();
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace tovanel::uvc_stereo::test_support
