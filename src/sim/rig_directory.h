#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "sim/camera_file.h"
#include "uvc_stereo/result.h"

// A rig kept in a directory: per camera n, "camera-<n>.txt" (identity and plugged
// state, replaced whole in one step) and "camera-<n>.flash" (the chip's bytes, written
// in place operation by operation, as NOR flash is); "locks/" holds the cameras' locks.
// A camera exists once its text file does, so one half-added by a killed program is not
// seen.
namespace tovanel::uvc_stereo::sim {

[[nodiscard]] std::string camera_file_path(const std::string& directory, std::size_t index);
[[nodiscard]] std::string flash_image_path(const std::string& directory, std::size_t index);

// The cameras kept in `directory`, in index order; makes the directory (and its locks
// folder) when missing. A file that cannot be read or parsed, or a flash image shorter
// than its chip, fails with the file named.
[[nodiscard]] Result<std::vector<StoredCamera>> load_rig_directory(const std::string& directory);

// Writes camera `index`'s text file; throws std::system_error when it cannot.
void store_camera(const std::string& directory, std::size_t index, const StoredCamera& stored);

}  // namespace tovanel::uvc_stereo::sim
