#pragma once

#include <array>
#include <cstddef>
#include <ostream>
#include <streambuf>

namespace tovanel::uvc_stereo::cli {

// Standard output as the tool writes it: straight to a file descriptor through a buffer of
// its own, so that every failed write is seen with its reason (a full disk, a closed
// descriptor) instead of vanishing inside the C library's buffer.
class DescriptorBuffer : public std::streambuf {
 public:
  // `flush_each_line` keeps a terminal live: each finished line is written at once.
  DescriptorBuffer(int descriptor, bool flush_each_line);
  ~DescriptorBuffer() override;
  DescriptorBuffer(const DescriptorBuffer&) = delete;
  DescriptorBuffer& operator=(const DescriptorBuffer&) = delete;

  // The errno value of the first failed write; 0 while every write has succeeded.
  [[nodiscard]] int error_number() const noexcept { return error_number_; }

 protected:
  int_type overflow(int_type c) override;
  std::streamsize xsputn(const char* data, std::streamsize count) override;
  int sync() override;

 private:
  bool drain();

  int descriptor_;
  bool flush_each_line_;
  int error_number_ = 0;
  std::array<char, 64 * 1024> buffer_{};
};

// Makes sure the three standard descriptors are open before the tool opens any file:
// a closed standard output would otherwise be taken by the next file opened (a backup,
// say), and the tool's output would land inside it. A closed one is held by the null
// device opened the wrong way round, so writes to it still fail as they would have.
void hold_closed_standard_descriptors();

// True when standard output is a terminal that a person is watching.
[[nodiscard]] bool descriptor_is_terminal(int descriptor);

}  // namespace tovanel::uvc_stereo::cli
