#include <fcntl.h>
#include <linux/usb/video.h>
#include <linux/uvcvideo.h>
#include <linux/videodev2.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "bridge/backends/linux_uvc_ioctl.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// Read-write as capture programs open it, never blocking on a busy device, and not
// inherited by programs the application starts.
constexpr int kOpenFlags = O_RDWR | O_NONBLOCK | O_CLOEXEC;

int last_error_or_io() noexcept { return errno != 0 ? errno : EIO; }

}  // namespace

LinuxVideoNode::LinuxVideoNode(const LinuxKernel& kernel, std::string path) : kernel_(&kernel), path_(std::move(path)) {
  errno = 0;
  fd_ = kernel_->open_node(path_.c_str(), kOpenFlags);
  if (fd_ < 0) {
    open_error_ = last_error_or_io();
  }
}

LinuxVideoNode::~LinuxVideoNode() { close(); }

void LinuxVideoNode::close() noexcept {
  if (fd_ >= 0) {
    kernel_->close_node(fd_);
    fd_ = -1;
    open_error_ = ENODEV;
  }
}

LinuxVideoNode::LinuxVideoNode(LinuxVideoNode&& other) noexcept
    : kernel_(other.kernel_),
      path_(std::move(other.path_)),
      fd_(std::exchange(other.fd_, -1)),
      open_error_(other.open_error_) {}

int LinuxVideoNode::query_captures_video(bool& captures) const noexcept {
  captures = false;
  if (fd_ < 0) {
    return open_error_;
  }
  v4l2_capability capability{};
  errno = 0;
  if (kernel_->ioctl_node(fd_, VIDIOC_QUERYCAP, &capability) < 0) {
    return last_error_or_io();
  }
  // device_caps describes this node alone; capabilities covers every node of the device.
  const std::uint32_t node_caps =
      (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0 ? capability.device_caps : capability.capabilities;
  captures = (node_caps & V4L2_CAP_VIDEO_CAPTURE) != 0;
  return 0;
}

int LinuxVideoNode::get_current(std::uint8_t unit, std::uint8_t selector, std::uint8_t* data,
                                std::uint16_t size) const noexcept {
  if (fd_ < 0) {
    return open_error_;
  }
  uvc_xu_control_query query{};
  query.unit = unit;
  query.selector = selector;
  query.query = UVC_GET_CUR;
  query.size = size;
  query.data = data;
  errno = 0;
  if (kernel_->ioctl_node(fd_, UVCIOC_CTRL_QUERY, &query) < 0) {
    return last_error_or_io();
  }
  return 0;
}

std::string system_error_text(int error) { return std::generic_category().message(error); }

}  // namespace tovanel::uvc_stereo::detail::bridge
