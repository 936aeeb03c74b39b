#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tovanel::uvc_stereo::cli {

// One option of a command: a flag, or an option that takes a value ("--count N").
struct OptionSyntax {
  std::string name;        ///< without the leading dashes
  std::string value_name;  ///< empty for a flag
  std::string help;
};

// What a command accepts, and the text of its --help.
struct CommandSyntax {
  std::string name;      ///< "scan", "config set", ...
  std::string synopsis;  ///< the arguments after the command name, e.g. "[options] FILE|-"
  std::string summary;   ///< one sentence
  std::vector<OptionSyntax> options;
  std::size_t min_positionals = 0;
  std::size_t max_positionals = 0;
  std::string details;         ///< paragraphs printed after the options
  bool meets_cameras = false;  ///< warns of the cameras this account cannot open before the work starts
};

// A command line checked against its CommandSyntax.
class ParsedArguments {
 public:
  [[nodiscard]] bool has(std::string_view name) const { return present_.count(std::string(name)) != 0; }
  [[nodiscard]] std::optional<std::string> value(std::string_view name) const;
  [[nodiscard]] const std::vector<std::string>& positionals() const noexcept { return positionals_; }

 private:
  friend struct ArgumentParser;
  std::set<std::string> present_;
  std::map<std::string, std::string> values_;
  std::vector<std::string> positionals_;
};

struct ParseOutcome {
  std::optional<ParsedArguments> arguments;  ///< engaged on success
  std::string error;                         ///< why the command line was refused
};

// Every command also accepts --help and --simulate; "--name=value" and "--name value" are
// the same, and an option that takes a value takes the next word whatever it is ("--backup -",
// "--backup --x.json"), while "--name=" is a missing value; "--" ends the options; a lone "-"
// is a positional (standard input), and so is a negative number. Options and positionals may
// come in any order; an option given twice is refused.
[[nodiscard]] ParseOutcome parse_arguments(const CommandSyntax& syntax, const std::vector<std::string>& args);

// The options every command shares, given before the command ("uvc-stereo --simulate scan").
struct GlobalArguments {
  bool help = false;     ///< --help or -h (of it and --version, the one given first counts)
  bool version = false;  ///< --version
  bool simulate = false;
  std::string simulate_directory;    ///< from "--simulate=DIR"; empty for cameras in memory
  bool verbose = false;              ///< --verbose: show the SDK's diagnostics on standard error
  std::vector<std::string> command;  ///< the command word and every word after it; empty when none is given
};

struct GlobalOutcome {
  std::optional<GlobalArguments> arguments;  ///< engaged on success
  std::string error;                         ///< why the command line was refused
};

// Reads the options before the command; an option the tool does not have is refused there.
[[nodiscard]] GlobalOutcome parse_global_arguments(const std::vector<std::string>& args);

// The command's --help text. It is laid out by the tool, not by CLI11's formatter, whose
// layout (headings, type names, columns) differs from the texts users already know.
void print_command_help(const CommandSyntax& syntax, std::ostream& out);

// The help line of --simulate, shared by every command.
[[nodiscard]] std::string_view simulate_option_help();

// Strict number parsing for option values: the whole text must be the number. These stay the
// tool's own rather than CLI11's typed options, which read integers in C's base 0 ("010" is 8,
// "0x10" a count of 16) and decimals with exponents and infinities, and word their refusals
// in their own way, where each option's message names what it takes.
[[nodiscard]] std::optional<std::uint64_t> parse_unsigned(std::string_view text, std::uint64_t max);
// A USB id in hexadecimal, with or without "0x" ("0c45", "0x0C45").
[[nodiscard]] std::optional<std::uint16_t> parse_usb_id(std::string_view text);
// A finite, non-negative decimal number ("2", "0.5").
[[nodiscard]] std::optional<double> parse_non_negative(std::string_view text);

}  // namespace tovanel::uvc_stereo::cli
