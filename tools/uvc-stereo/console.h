#pragma once

#include <istream>
#include <ostream>

namespace tovanel::uvc_stereo::cli {

// Where a command reads and writes: data goes to `out`, messages and the live IMU line to
// `err`, so that `out` can be piped into another program untouched.
struct Console {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  // The live IMU line is drawn only for a person watching a terminal, never into a log.
  bool err_is_terminal = false;
};

}  // namespace tovanel::uvc_stereo::cli
