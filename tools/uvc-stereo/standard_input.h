#pragma once

#include <array>
#include <streambuf>

namespace tovanel::uvc_stereo::cli {

// Standard input as the tool reads it: straight from a file descriptor, waiting for input in
// a way that an interrupt always ends (see interrupts::wait_for_input), so that Ctrl-C or
// SIGTERM ends `config set -` while it waits for a pipe or a terminal that sends nothing.
// After an interrupt the stream ends; the command then finds the interrupt noted.
class DescriptorInput : public std::streambuf {
 public:
  explicit DescriptorInput(int descriptor);

 protected:
  int_type underflow() override;

 private:
  int descriptor_;
  int error_number_ = 0;
  std::array<char, 64 * 1024> buffer_{};
};

}  // namespace tovanel::uvc_stereo::cli
