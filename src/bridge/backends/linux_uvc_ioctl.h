#pragma once

#include <cstdint>
#include <string>

#include "bridge/linux_kernel.h"

namespace tovanel::uvc_stereo::detail::bridge {

// An open video device node; closes itself. Holds -1 and the system's error when the node
// could not be opened.
class LinuxVideoNode {
 public:
  LinuxVideoNode(const LinuxKernel& kernel, std::string path);
  ~LinuxVideoNode();
  LinuxVideoNode(LinuxVideoNode&& other) noexcept;
  LinuxVideoNode& operator=(LinuxVideoNode&&) = delete;
  LinuxVideoNode(const LinuxVideoNode&) = delete;
  LinuxVideoNode& operator=(const LinuxVideoNode&) = delete;

  [[nodiscard]] bool is_open() const noexcept { return fd_ >= 0; }
  [[nodiscard]] int open_error() const noexcept { return open_error_; }
  [[nodiscard]] const std::string& path() const noexcept { return path_; }
  // Closes the node now; later requests answer ENODEV.
  void close() noexcept;

  // VIDIOC_QUERYCAP: whether the node captures video (the UVC driver's metadata nodes do
  // not). Returns 0, or the system's error.
  [[nodiscard]] int query_captures_video(bool& captures) const noexcept;
  // UVCIOC_CTRL_QUERY with UVC_GET_CUR: the current value of one extension-unit control.
  // Returns 0, or the system's error.
  [[nodiscard]] int get_current(std::uint8_t unit, std::uint8_t selector, std::uint8_t* data,
                                std::uint16_t size) const noexcept;

 private:
  const LinuxKernel* kernel_;
  std::string path_;
  int fd_ = -1;
  int open_error_ = 0;
};

// The system's text for `error` ("Permission denied", ...).
[[nodiscard]] std::string system_error_text(int error);

}  // namespace tovanel::uvc_stereo::detail::bridge
