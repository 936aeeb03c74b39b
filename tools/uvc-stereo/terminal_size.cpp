#include "uvc-stereo/terminal_size.h"

#if defined(_WIN32)
#include <io.h>
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace tovanel::uvc_stereo::cli {

std::size_t terminal_columns(int descriptor) noexcept {
#if defined(_WIN32)
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (handle == INVALID_HANDLE_VALUE || GetConsoleScreenBufferInfo(handle, &info) == 0) {
    return 0;
  }
  const int columns = info.srWindow.Right - info.srWindow.Left + 1;
  return columns > 0 ? static_cast<std::size_t>(columns) : 0;
#else
  winsize size{};
  if (::ioctl(descriptor, TIOCGWINSZ, &size) != 0) {
    return 0;
  }
  return size.ws_col;
#endif
}

}  // namespace tovanel::uvc_stereo::cli
