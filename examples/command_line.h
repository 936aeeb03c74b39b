#pragma once

// Shared by the examples: their command line is --simulate and --help, nothing else.

#include <cstring>
#include <iostream>
#include <memory>
#include <optional>

#include "simulated_camera.h"
#include "uvc_stereo/simulated_rig.h"

namespace examples {

struct CommandLine {
  bool simulate = false;
  // Set when the program should stop at once with this status: after --help, or a bad option.
  std::optional<int> exit_status;
  // With --simulate, one simulated camera: while it lives every SDK call talks to it instead of real hardware.
  std::unique_ptr<tovanel::uvc_stereo::sim::SimulatedRig> rig;
};

// Reads the command line of the example `name`, which does what `summary` says. --help prints
// the usage to standard output; an unknown argument is a usage error (status 2). Without
// --simulate the SDK talks to the real cameras through the vendor library.
inline CommandLine read_command_line(int argc, char** argv, const char* name, const char* summary) {
  CommandLine line;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--simulate") == 0) {
      line.simulate = true;
    } else if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
      std::cout << "Usage: " << name << " [--simulate]\n\n"
                << summary << "\n\nOptions:\n"
                << "  --simulate  run against one simulated camera: no camera or vendor library is needed\n"
                << "  --help      show this help and exit\n";
      line.exit_status = 0;
      return line;
    } else {
      std::cerr << name << ": unknown argument '" << argv[i] << "' (see " << name << " --help)\n";
      line.exit_status = 2;
      return line;
    }
  }
  if (line.simulate) {
    line.rig = simulated_camera_rig();
  }
  return line;
}

}  // namespace examples
