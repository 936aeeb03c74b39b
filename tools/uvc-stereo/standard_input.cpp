#include "uvc-stereo/standard_input.h"

#include <cerrno>
#include <system_error>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

#include "uvc-stereo/interrupt_platform.h"

namespace tovanel::uvc_stereo::cli {
namespace {

long long read_some(int descriptor, char* data, std::size_t size) {
#if defined(_WIN32)
  return _read(descriptor, data, static_cast<unsigned>(size));
#else
  return static_cast<long long>(::read(descriptor, data, size));
#endif
}

}  // namespace

DescriptorInput::DescriptorInput(int descriptor) : descriptor_(descriptor) {
  setg(buffer_.data(), buffer_.data(), buffer_.data());
}

DescriptorInput::int_type DescriptorInput::underflow() {
  if (gptr() < egptr()) {
    return traits_type::to_int_type(*gptr());
  }
  while (error_number_ == 0 && interrupts::wait_for_input(descriptor_)) {
    errno = 0;
    const long long got = read_some(descriptor_, buffer_.data(), buffer_.size());
    if (got > 0) {
      setg(buffer_.data(), buffer_.data(), buffer_.data() + got);
      return traits_type::to_int_type(*gptr());
    }
    if (got == 0) {
      break;
    }
    if (errno != EINTR) {
      error_number_ = errno != 0 ? errno : EIO;
      // The stream turns this into its bad state: a failed read is never a short input.
      throw std::system_error(error_number_, std::generic_category(), "cannot read standard input");
    }
  }
  return traits_type::eof();
}

}  // namespace tovanel::uvc_stereo::cli
