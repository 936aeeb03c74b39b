#pragma once

#include <string>

namespace tovanel::uvc_stereo::detail::bridge {

// Writes `contents` to `path` so that a reader, and a process killed at any moment,
// sees either the old file whole or the new one whole: the text goes to a temporary
// file beside it, reaches the disk, and then takes the old file's name in one step.
// Throws std::system_error when the file cannot be written.
void replace_file(const std::string& path, const std::string& contents);

}  // namespace tovanel::uvc_stereo::detail::bridge
