#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "uvc-stereo/arguments.h"
#include "uvc-stereo/commands.h"
#include "uvc-stereo/diagnostics_output.h"
#include "uvc-stereo/exit_status.h"
#include "uvc-stereo/version_output.h"

namespace tovanel::uvc_stereo::cli {
namespace {

void print_overview(std::ostream& out) {
  out << "Usage: uvc-stereo [--simulate[=DIR]] [--verbose] COMMAND [options]\n"
         "\n"
         "Works with Tovanel USB stereo cameras: lists them, shows what each can do, reads and writes the\n"
         "JSON configuration kept in its flash, and streams its IMU.\n"
         "\n"
         "Commands:\n"
         "  scan          list the attached cameras and their capture-backend indices\n"
         "  info          show one camera's capabilities, flash user space, IMU and transports\n"
         "  config get    print the camera's JSON configuration\n"
         "  config set    validate, back up, write and verify a new JSON configuration\n"
         "  imu           stream IMU samples (CSV or JSON lines), with a live line and an SVG plot\n"
         "  doctor        write a field report for a bug report (versions, platform, cameras, IMU health)\n"
         "\n"
         "Options for every command:\n"
         "  --simulate    run against the built-in simulated cameras (two cameras, one with a capability\n"
         "                report and one without); no camera or vendor library is needed. Each run starts\n"
         "                the simulation afresh: nothing written in one run is seen by the next\n"
         "  --simulate=DIR  keep the simulated cameras in DIR (made with them when missing): what one run\n"
         "                writes the next one reads, and programs given the same DIR share the cameras\n"
         "  --verbose     show the SDK's diagnostics on standard error (given before the command)\n"
         "  --help        show the command's options\n"
         "  --version     print the versions of the tool, the SDK library and the vendor library\n"
         "\n"
      << exit_status_help()
      << "\n"
         "Run 'uvc-stereo COMMAND --help' for a command's options.\n";
}

// "config" alone, or followed by an option or an unknown word: its help, or what it needs.
int run_config_overview(const std::vector<std::string>& args, Console& console) {
  CommandSyntax syntax;
  syntax.name = "config";
  const ParseOutcome parsed = parse_arguments(syntax, args);
  if (parsed.arguments && parsed.arguments->has("help")) {
    console.out << "Usage: uvc-stereo config get [options]\n"
                   "       uvc-stereo config set [options] FILE|-\n"
                   "\n"
                   "Run 'uvc-stereo config get --help' or 'uvc-stereo config set --help' for their options.\n";
    return kExitOk;
  }
  return report_usage_error("config", "'config' needs 'get' or 'set'", console);
}

int run_cli_unchecked(const std::vector<std::string>& args, Console& console) {
  const GlobalOutcome parsed = parse_global_arguments(args);
  if (!parsed.arguments) {
    return report_usage_error("", parsed.error, console);
  }
  const GlobalArguments& global = *parsed.arguments;
  if (global.help) {
    print_overview(console.out);
    return kExitOk;
  }
  if (global.version) {
    print_versions(console.out);
    return kExitOk;
  }
  std::optional<DiagnosticsOutput> diagnostics;
  if (global.verbose) {
    diagnostics.emplace(console.err);
  }
  const std::vector<std::string>& words = global.command;
  if (words.empty()) {
    print_overview(console.err);
    return kExitUsage;
  }
  std::size_t position = 0;
  std::string command = words[position++];
  // "config" takes its subcommand word first.
  if (command == "config" && position < words.size() && words[position].rfind('-', 0) != 0) {
    command += " " + words[position++];
  }
  std::vector<std::string> rest(words.begin() + static_cast<std::ptrdiff_t>(position), words.end());
  // --simulate given before the command is handed on to the command, which owns it.
  if (global.simulate) {
    rest.insert(rest.begin(), global.simulate_directory.empty() ? std::string("--simulate")
                                                                : "--simulate=" + global.simulate_directory);
  }
  if (command == "help") {
    // "help COMMAND" is "COMMAND --help"; "help" alone is the overview.
    std::vector<std::string> topic(words.begin() + static_cast<std::ptrdiff_t>(position), words.end());
    if (topic.empty()) {
      print_overview(console.out);
      return kExitOk;
    }
    topic.push_back("--help");
    return run_cli(topic, console);
  }
  using Command = int (*)(const std::vector<std::string>& args, Console& console);
  static const std::pair<const char*, Command> kCommands[] = {
      {"scan", run_scan},
      {"info", run_info},
      {"config get", run_config_get},
      {"config set", run_config_set},
      {"config", run_config_overview},
      {"imu", run_imu},
      {"doctor", run_doctor},
  };
  for (const auto& [name, run] : kCommands) {
    if (command == name) {
      return run(rest, console);
    }
  }
  return report_usage_error("", "unknown command '" + command + "'", console);
}

}  // namespace

int run_cli(const std::vector<std::string>& args, Console& console) {
  // Whatever the command, its output is only a success once it has all been written.
  return finish_output(run_cli_unchecked(args, console), console);
}

}  // namespace tovanel::uvc_stereo::cli
