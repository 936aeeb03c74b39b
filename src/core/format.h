#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <string>

// Lets the compiler check every format string against its arguments. MinGW-w64 names the
// printf flavour its snprintf follows (the C99 one when its ANSI stdio is in use).
#if defined(__MINGW_PRINTF_FORMAT)
#define UVC_STEREO_PRINTF_LIKE(format_index, first_arg) \
  __attribute__((format(__MINGW_PRINTF_FORMAT, format_index, first_arg)))
#elif defined(__GNUC__) || defined(__clang__)
#define UVC_STEREO_PRINTF_LIKE(format_index, first_arg) __attribute__((format(printf, format_index, first_arg)))
#else
#define UVC_STEREO_PRINTF_LIKE(format_index, first_arg)
#endif

namespace tovanel::uvc_stereo::detail {

// Formats into `buffer` (`size` bytes, zeroed first) with vsnprintf and returns the text up
// to the first NUL. Text that does not fit is cut at size - 1 characters, never an error.
[[nodiscard]] std::string vformat_into(char* buffer, std::size_t size, const char* format, std::va_list args)
    UVC_STEREO_PRINTF_LIKE(3, 0);

// Formats a message into a zero-filled buffer of N bytes, the size each message family
// is allowed, and cuts what does not fit.
template <std::size_t N>
[[nodiscard]] std::string format_fixed(const char* format, ...) UVC_STEREO_PRINTF_LIKE(1, 2);

template <std::size_t N>
std::string format_fixed(const char* format, ...) {
  static_assert(N > 0, "a message buffer needs room for its terminating NUL");
  char buffer[N];
  std::va_list args;
  va_start(args, format);
  std::string text = vformat_into(buffer, N, format, args);
  va_end(args);
  return text;
}

}  // namespace tovanel::uvc_stereo::detail
