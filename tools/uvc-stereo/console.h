#pragma once

#include <cstddef>
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
  // Standard output is a terminal: the IMU stream then shows readable values, and no live
  // line is drawn over them on the same screen.
  bool out_is_terminal = false;
  // The width of the terminal on `err`, so the live line never wraps; 0 when unknown.
  std::size_t err_columns = 0;
};

}  // namespace tovanel::uvc_stereo::cli
