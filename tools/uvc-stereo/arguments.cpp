#include "uvc-stereo/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace tovanel::uvc_stereo::cli {
namespace {

const OptionSyntax kHelpOption{"help", "", "show this help and exit"};
const OptionSyntax kSimulateOption{"simulate", "", ""};

bool looks_like_option(const std::string& word) {
  if (word.size() < 2 || word[0] != '-') {
    return false;
  }
  char* end = nullptr;
  static_cast<void>(std::strtod(word.c_str(), &end));
  return end != word.c_str() + word.size();
}

// "--simulate=DIR" keeps the simulated cameras in DIR. The word is read here and handed on
// as a bare "--simulate", so that a bare "--simulate" never takes the next word (a command, a
// file) for its directory. Only words before "--" (and, with `until_command`, before the
// first word that is no option) count.
std::optional<std::string> take_simulate_directory(std::vector<std::string>& words, bool until_command) {
  const std::string flag = "--" + kSimulateOption.name;
  std::optional<std::string> directory;
  for (std::string& word : words) {
    // The command's own words (from the first that is no option, "-" among them) are the command's to judge.
    if (word == "--" || (until_command && !looks_like_option(word))) {
      break;
    }
    if (word.rfind(flag + "=", 0) == 0) {
      directory = word.substr(flag.size() + 1);
      word = flag;
    }
  }
  return directory;
}
const OptionSyntax kVersionOption{"version", "", ""};
const OptionSyntax kVerboseOption{"verbose", "", ""};

const OptionSyntax* find_option(const std::vector<OptionSyntax>& options, std::string_view name) {
  if (name == kHelpOption.name) {
    return &kHelpOption;
  }
  if (name == kSimulateOption.name) {
    return &kSimulateOption;
  }
  for (const OptionSyntax& option : options) {
    if (option.name == name) {
      return &option;
    }
  }
  return nullptr;
}

bool is_hex_digit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// A CLI11 parser for the tool's command lines. Unknown options are kept, not thrown, so that
// the tool can name the first one in its own words; "/x" is a file name on every platform, never
// a Windows-style option.
void configure(CLI::App& line) {
  line.allow_extras();
  line.allow_windows_style_options(false);
  line.set_help_flag("--help,-h");
}

// Parses the words as typed after the program's name; what CLI11 refuses stays as its exception
// for the caller to name.
void parse_line(CLI::App& line, const std::vector<std::string>& words) {
  std::vector<const char*> argv = {"uvc-stereo"};
  for (const std::string& word : words) {
    argv.push_back(word.c_str());
  }
  line.parse(static_cast<int>(argv.size()), argv.data());
}

// A word CLI11 reads as an option: a dash and more, but not a negative number ("-5").

// The long option CLI11 reads out of a word, without its two dashes ("name" or "name=value"):
// from the word itself, or from what follows one or more "h" in a short-option cluster
// ("-h-out" is "-h" and then "--out").
std::optional<std::string_view> long_option_read_from(std::string_view word) {
  if (word.rfind("--", 0) == 0) {
    return word.substr(2);
  }
  if (word.size() < 3 || word[0] != '-' || word[1] != 'h') {
    return std::nullopt;
  }
  const std::size_t rest = word.find_first_not_of('h', 1);
  if (rest == std::string_view::npos || word[rest] != '-') {
    return std::nullopt;
  }
  return word.substr(rest + 1);
}

// An option written with "=": CLI11 reads "--out=" as "--out" and would take the next word as
// its value, and lets a flag take "=true"; both are refused here, before it reads them. The
// words after "--" are positionals ("--" is never a value: see double_dash_value).
std::optional<std::string> attached_value_error(const std::vector<OptionSyntax>& options,
                                                const std::vector<std::string>& words) {
  for (const std::string& typed : words) {
    if (typed == "--") {
      break;
    }
    const std::optional<std::string_view> word = long_option_read_from(typed);
    const std::size_t equals = word ? word->find('=') : std::string_view::npos;
    if (equals == std::string_view::npos) {
      continue;
    }
    const std::string name(word->substr(0, equals));
    const OptionSyntax* option = find_option(options, name);
    if (option == nullptr) {
      continue;  // an unknown option, which CLI11 reports
    }
    if (option->value_name.empty()) {
      return "option '--" + name + "' takes no value";
    }
    if (equals + 1 == word->size()) {
      return "option '--" + name + "' needs a value (" + option->value_name + ")";
    }
  }
  return std::nullopt;
}

// How users see an unknown option: a long one by its name alone, without what follows "=".
std::string unknown_option_message(const std::string& word) {
  if (word.rfind("--", 0) == 0) {
    return "unknown option '" + word.substr(0, word.find('=')) + "'";
  }
  return "unknown option '" + word + "'";
}

}  // namespace

std::optional<std::string> ParsedArguments::value(std::string_view name) const {
  const auto found = values_.find(std::string(name));
  if (found == values_.end()) {
    return std::nullopt;
  }
  return found->second;
}

// Builds a CLI11 parser from a CommandSyntax, lets it read the line, and turns its results and
// its refusals into ParsedArguments and the tool's own messages.
struct ArgumentParser {
  const CommandSyntax& syntax;
  const std::vector<std::string>& args;
  CLI::App line;
  std::vector<std::pair<const OptionSyntax*, CLI::Option*>> options;
  std::vector<CLI::Option*> slots;  ///< one per positional, in order
  CLI::Option* simulate = nullptr;
  std::optional<std::string> simulate_directory;  ///< from "--simulate=DIR"

  ArgumentParser(const CommandSyntax& command, const std::vector<std::string>& words) : syntax(command), args(words) {
    configure(line);
    for (const OptionSyntax& option : syntax.options) {
      CLI::Option* added =
          option.value_name.empty() ? line.add_flag("--" + option.name) : line.add_option("--" + option.name);
      added->description(option.help);
      // A second value would silently replace the first: twice is refused, flags included.
      added->multi_option_policy(CLI::MultiOptionPolicy::Throw);
      if (option.value_name.empty()) {
        added->disable_flag_override();
      }
      options.emplace_back(&option, added);
    }
    // --simulate may come both before the command and after it.
    simulate = line.add_flag("--" + kSimulateOption.name)->description(std::string(simulate_option_help()));
    simulate->disable_flag_override();
    for (std::size_t i = 0; i < syntax.max_positionals; ++i) {
      slots.push_back(line.add_option("ARGUMENT" + std::to_string(i + 1)));
    }
  }

  // What CLI11 could not place, split in two: the options this command does not have, and the
  // words too many; after the "--" that ended the options every word is one of the latter.
  void sort_unplaced() {
    const std::vector<std::string> left = line.remaining();
    bool options_ended = false;
    unplaced.clear();
    for (const std::string& word : left) {
      if (!options_ended && word == "--") {
        options_ended = true;
      } else if (!options_ended && looks_like_option(word)) {
        unknown = unknown ? unknown : word;
      } else {
        unplaced.push_back(word);
      }
    }
  }

  std::optional<std::string> unknown;  ///< the first option this command does not have, as typed
  std::vector<std::string> unplaced;   ///< the words no positional took, in order

  // The option whose second value CLI11 refused.
  [[nodiscard]] const OptionSyntax* given_twice() const {
    for (const auto& [option, added] : options) {
      if (added->count() > 1) {
        return option;
      }
    }
    return nullptr;
  }

  // CLI11 refuses a value option that ends the line without its value; that option is in the
  // last word, alone or after "-h".
  [[nodiscard]] std::optional<std::string> missing_value() const {
    const std::optional<std::string_view> word = args.empty() ? std::nullopt : long_option_read_from(args.back());
    if (!word) {
      return std::nullopt;
    }
    const OptionSyntax* option = find_option(syntax.options, word->substr(0, word->find('=')));
    if (option == nullptr || option->value_name.empty()) {
      return std::nullopt;
    }
    return "option '--" + option->name + "' needs a value (" + option->value_name + ")";
  }

  // "--" only ends the options. Given as a value ("--backup -- file") it is almost surely a
  // forgotten one, and taking it would leave the words after it read as options.
  [[nodiscard]] std::optional<std::string> double_dash_value() const {
    for (const auto& [option, added] : options) {
      const std::vector<std::string>& values = added->results();
      if (!option->value_name.empty() && std::find(values.begin(), values.end(), "--") != values.end()) {
        return "option '--" + option->name + "' needs a value (" + option->value_name + "); '--' only ends the options";
      }
    }
    return std::nullopt;
  }

  [[nodiscard]] std::size_t parsed_positionals() const {
    std::size_t count = 0;
    for (const CLI::Option* slot : slots) {
      count += slot->count();
    }
    return count;
  }

  [[nodiscard]] ParsedArguments results(bool help) const {
    ParsedArguments parsed;
    for (const auto& [option, added] : options) {
      if (added->count() == 0) {
        continue;
      }
      parsed.present_.insert(option->name);
      if (!option->value_name.empty() && !added->results().empty()) {
        parsed.values_[option->name] = added->results().front();
      }
    }
    if (simulate->count() != 0) {
      parsed.present_.insert(kSimulateOption.name);
      if (simulate_directory) {
        parsed.values_[kSimulateOption.name] = *simulate_directory;
      }
    }
    if (help) {
      parsed.present_.insert(kHelpOption.name);
    }
    for (const CLI::Option* slot : slots) {
      for (const std::string& word : slot->results()) {
        parsed.positionals_.push_back(word);
      }
    }
    return parsed;
  }

  ParseOutcome parse() {
    ParseOutcome outcome;
    if (std::optional<std::string> refused = attached_value_error(syntax.options, args)) {
      outcome.error = std::move(*refused);
      return outcome;
    }
    bool help = false;
    bool mismatch = false;
    std::string refusal;  ///< CLI11's own words, for a refusal the tool has no message of its own for
    try {
      parse_line(line, args);
    } catch (const CLI::CallForHelp&) {
      // --help answers whatever else is on the line, so a half-typed command still gets its help.
      help = true;
    } catch (const CLI::ArgumentMismatch& error) {
      mismatch = true;
      refusal = error.what();
    } catch (const CLI::ParseError& error) {
      refusal = error.what();
    }
    sort_unplaced();
    // A "--" taken as a value explains whatever follows it; after it, an unknown option is
    // what most often explains the rest.
    if (std::optional<std::string> dashes = double_dash_value()) {
      outcome.error = std::move(*dashes);
    } else if (unknown) {
      outcome.error = unknown_option_message(*unknown);
    } else if (mismatch) {
      if (const OptionSyntax* twice = given_twice()) {
        outcome.error = "option '--" + twice->name + "' is given more than once";
      } else if (std::optional<std::string> message = missing_value()) {
        outcome.error = std::move(*message);
      } else {
        outcome.error = refusal;
      }
    } else if (help) {
      outcome.arguments = results(true);
    } else if (!refusal.empty()) {
      outcome.error = refusal;
    } else if (parsed_positionals() < syntax.min_positionals) {
      outcome.error = "missing argument: " + syntax.synopsis;
    } else if (!unplaced.empty()) {
      outcome.error = "unexpected argument '" + unplaced.front() + "'";
    } else {
      outcome.arguments = results(false);
    }
    return outcome;
  }
};

ParseOutcome parse_arguments(const CommandSyntax& syntax, const std::vector<std::string>& args) {
  std::vector<std::string> words = args;
  std::optional<std::string> directory = take_simulate_directory(words, false);
  if (directory && directory->empty()) {
    ParseOutcome refused;
    refused.error = "option '--simulate=' needs a directory";
    return refused;
  }
  ArgumentParser parser(syntax, words);
  parser.simulate_directory = std::move(directory);
  return parser.parse();
}

GlobalOutcome parse_global_arguments(const std::vector<std::string>& given) {
  GlobalOutcome outcome;
  std::vector<std::string> args = given;
  const std::optional<std::string> directory = take_simulate_directory(args, true);
  if (directory && directory->empty()) {
    outcome.error = "option '--simulate=' needs a directory";
    return outcome;
  }
  CLI::App line;
  configure(line);
  CLI::Option* simulate = line.add_flag("--" + kSimulateOption.name);
  CLI::Option* version = line.add_flag("--" + kVersionOption.name);
  CLI::Option* verbose = line.add_flag("--" + kVerboseOption.name);
  // The first word that is no option is the command: it and everything after it are the command's.
  line.prefix_command();
  try {
    parse_line(line, args);
  } catch (const CLI::CallForHelp&) {
    // Answered below, after the checks, in the order --help and --version came.
  } catch (const CLI::ParseError& error) {
    outcome.error = error.what();
    return outcome;
  }
  // What CLI11 left: the options it does not know, the "--" that ended the options, and then the
  // command with every word after it, handed on whole.
  const std::vector<std::string> left = line.remaining();
  std::size_t command_start = 0;
  std::optional<std::string> unknown;
  while (command_start < left.size() && looks_like_option(left[command_start])) {
    if (left[command_start++] == "--") {
      break;
    }
    unknown = unknown ? unknown : left[command_start - 1];
  }
  GlobalArguments global;
  global.command.assign(left.begin() + static_cast<std::ptrdiff_t>(command_start), left.end());
  const std::vector<std::string> before(args.begin(), args.end() - static_cast<std::ptrdiff_t>(global.command.size()));
  if (unknown) {
    outcome.error = "unknown option '" + *unknown + "' before the command";
    return outcome;
  }
  if (std::optional<std::string> refused = attached_value_error({kVersionOption, kVerboseOption}, before)) {
    outcome.error = std::move(*refused);
    return outcome;
  }
  global.simulate = simulate->count() != 0;
  global.simulate_directory = directory.value_or("");
  global.verbose = verbose->count() != 0;
  // Of --help and --version, the one given first is answered.
  for (const CLI::Option* option : line.parse_order()) {
    if (option == version || option == line.get_help_ptr()) {
      global.help = option != version;
      global.version = option == version;
      break;
    }
  }
  outcome.arguments = std::move(global);
  return outcome;
}

std::string_view simulate_option_help() {
  return "run against the built-in simulated cameras (two cameras, one with\n"
         "a capability report and one without); no camera or vendor library is\n"
         "needed. Each run starts the simulation afresh: nothing written in one\n"
         "run is seen by the next. --simulate=DIR keeps the cameras in DIR\n"
         "(made with them when missing): what one run writes the next one reads,\n"
         "and programs given the same DIR share the cameras";
}

void print_command_help(const CommandSyntax& syntax, std::ostream& out) {
  out << "Usage: uvc-stereo " << syntax.name;
  if (!syntax.synopsis.empty()) {
    out << " " << syntax.synopsis;
  }
  out << "\n\n" << syntax.summary << "\n\nOptions:\n";
  std::vector<OptionSyntax> all = syntax.options;
  all.push_back(OptionSyntax{kSimulateOption.name, "", std::string(simulate_option_help())});
  all.push_back(kHelpOption);
  std::size_t width = 0;
  for (const OptionSyntax& option : all) {
    const std::size_t length = 2 + option.name.size() + (option.value_name.empty() ? 0 : 1 + option.value_name.size());
    width = length > width ? length : width;
  }
  for (const OptionSyntax& option : all) {
    std::string left = "--" + option.name;
    if (!option.value_name.empty()) {
      left += " " + option.value_name;
    }
    out << "  " << left << std::string(width - left.size() + 2, ' ');
    // Continuation lines of a long help text line up under its first line.
    for (char c : option.help) {
      out << c;
      if (c == '\n') {
        out << std::string(width + 4, ' ');
      }
    }
    out << "\n";
  }
  std::string_view details = syntax.details;
  while (!details.empty() && details.back() == '\n') {
    details.remove_suffix(1);
  }
  if (!details.empty()) {
    out << "\n" << details << "\n";
  }
  out << "\nExit statuses: 0 on success; see 'uvc-stereo --help' for the others.\n";
}

std::optional<std::uint64_t> parse_unsigned(std::string_view text, std::uint64_t max) {
  if (text.empty() || text.size() > 20) {
    return std::nullopt;
  }
  std::uint64_t value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') {
      return std::nullopt;
    }
    const auto digit = static_cast<std::uint64_t>(c - '0');
    if (value > (max - digit) / 10) {
      return std::nullopt;
    }
    value = value * 10 + digit;
  }
  return value;
}

std::optional<std::uint16_t> parse_usb_id(std::string_view text) {
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    text.remove_prefix(2);
  }
  if (text.empty() || text.size() > 4) {
    return std::nullopt;
  }
  std::uint16_t value = 0;
  for (char c : text) {
    if (!is_hex_digit(c)) {
      return std::nullopt;
    }
    const int digit = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
    value = static_cast<std::uint16_t>(value * 16 + digit);
  }
  return value;
}

std::optional<double> parse_non_negative(std::string_view text) {
  if (text.empty() || text.size() > 64) {
    return std::nullopt;
  }
  for (char c : text) {
    if (!((c >= '0' && c <= '9') || c == '.')) {
      return std::nullopt;
    }
  }
  const std::string copy(text);
  char* end = nullptr;
  errno = 0;
  const double value = std::strtod(copy.c_str(), &end);
  if (end != copy.c_str() + copy.size() || errno != 0 || !std::isfinite(value)) {
    return std::nullopt;
  }
  return value;
}

}  // namespace tovanel::uvc_stereo::cli
