#pragma once

#include <string>
#include <vector>

#include "uvc-stereo/arguments.h"
#include "uvc-stereo/console.h"

namespace tovanel::uvc_stereo::cli {

// The work of a command once its command line is known to be well-formed.
using CommandBody = int (*)(const ParsedArguments& arguments, Console& console);

// Parses `args` against `syntax`, answers --help, sets up the simulated cameras for
// --simulate, runs `body` and turns anything it throws into a one-line report.
[[nodiscard]] int run_command(const CommandSyntax& syntax, const std::vector<std::string>& args, Console& console,
                              CommandBody body);

}  // namespace tovanel::uvc_stereo::cli
