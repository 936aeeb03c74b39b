#include "uvc-stereo/output_stream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace tovanel::uvc_stereo::cli {
namespace {

// One write call; the number of bytes written, or -1 with errno set.
long long write_some(int descriptor, const char* data, std::size_t size) {
#if defined(_WIN32)
  constexpr std::size_t kMaxChunk = 1u << 30;
  return _write(descriptor, data, static_cast<unsigned>(size < kMaxChunk ? size : kMaxChunk));
#else
  return static_cast<long long>(::write(descriptor, data, size));
#endif
}

}  // namespace

DescriptorBuffer::DescriptorBuffer(int descriptor, bool flush_each_line)
    : descriptor_(descriptor), flush_each_line_(flush_each_line) {
  setp(buffer_.data(), buffer_.data() + buffer_.size());
}

DescriptorBuffer::~DescriptorBuffer() { static_cast<void>(drain()); }

bool DescriptorBuffer::drain() {
  const char* next = pbase();
  const char* const end = pptr();
  while (next < end && error_number_ == 0) {
    errno = 0;
    const long long written = write_some(descriptor_, next, static_cast<std::size_t>(end - next));
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      error_number_ = errno != 0 ? errno : EIO;
      break;
    }
    next += written;
  }
  // What could not be written is dropped: after a failure the stream is bad anyway.
  setp(buffer_.data(), buffer_.data() + buffer_.size());
  return error_number_ == 0;
}

DescriptorBuffer::int_type DescriptorBuffer::overflow(int_type c) {
  if (!drain()) {
    return traits_type::eof();
  }
  if (!traits_type::eq_int_type(c, traits_type::eof())) {
    *pptr() = traits_type::to_char_type(c);
    pbump(1);
    if (flush_each_line_ && traits_type::to_char_type(c) == '\n' && !drain()) {
      return traits_type::eof();
    }
  }
  return traits_type::not_eof(c);
}

std::streamsize DescriptorBuffer::xsputn(const char* data, std::streamsize count) {
  if (error_number_ != 0) {
    return 0;
  }
  std::streamsize done = 0;
  while (done < count) {
    std::streamsize room = epptr() - pptr();
    if (room == 0) {
      if (!drain()) {
        return done;
      }
      room = epptr() - pptr();
    }
    const std::streamsize part = std::min(room, count - done);
    std::memcpy(pptr(), data + done, static_cast<std::size_t>(part));
    pbump(static_cast<int>(part));
    done += part;
  }
  if (flush_each_line_ && std::memchr(data, '\n', static_cast<std::size_t>(count)) != nullptr) {
    static_cast<void>(drain());
  }
  return done;
}

int DescriptorBuffer::sync() { return drain() ? 0 : -1; }

void hold_closed_standard_descriptors() {
#if defined(_WIN32)
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    if (_get_osfhandle(descriptor) == -1) {
      const int held = _open("NUL", descriptor == 0 ? _O_WRONLY : _O_RDONLY);
      if (held >= 0 && held != descriptor) {
        _dup2(held, descriptor);
        _close(held);
      }
    }
  }
#else
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) {
      // The lowest free descriptor is the closed one, which is what holds it.
      const int held = ::open("/dev/null", descriptor == 0 ? O_WRONLY : O_RDONLY);
      if (held >= 0 && held != descriptor) {
        ::dup2(held, descriptor);
        ::close(held);
      }
    }
  }
#endif
}

bool descriptor_is_terminal(int descriptor) {
#if defined(_WIN32)
  return _isatty(descriptor) != 0;
#else
  return ::isatty(descriptor) != 0;
#endif
}

}  // namespace tovanel::uvc_stereo::cli
