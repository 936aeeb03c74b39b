#include "sim/rig_directory.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "bridge/os/file_replace.h"

namespace tovanel::uvc_stereo::sim {

std::string camera_file_path(const std::string& directory, std::size_t index) {
  return directory + "/camera-" + std::to_string(index) + ".txt";
}

std::string flash_image_path(const std::string& directory, std::size_t index) {
  return directory + "/camera-" + std::to_string(index) + ".flash";
}

Result<std::vector<StoredCamera>> load_rig_directory(const std::string& directory) {
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(directory) / "locks", error);
  if (error) {
    return Status(ErrorCode::PlatformError,
                  "cannot make the simulated rig directory " + directory + ": " + error.message());
  }
  std::vector<StoredCamera> cameras;
  for (std::size_t index = 0;; ++index) {
    const std::string path = camera_file_path(directory, index);
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) {
      break;
    }
    std::ostringstream text;
    text << file.rdbuf();
    Result<StoredCamera> stored = parse_camera_file(text.str(), path);
    if (!stored.ok()) {
      return stored.status();
    }
    const std::string image = flash_image_path(directory, index);
    const std::uintmax_t size = std::filesystem::file_size(image, error);
    if (error || size < stored.value().camera.flash_size) {
      return Status(ErrorCode::PlatformError, image + ": missing or shorter than the camera's flash");
    }
    cameras.push_back(std::move(stored).value());
  }
  return cameras;
}

void store_camera(const std::string& directory, std::size_t index, const StoredCamera& stored) {
  detail::bridge::replace_file(camera_file_path(directory, index), camera_file_text(stored));
}

}  // namespace tovanel::uvc_stereo::sim
