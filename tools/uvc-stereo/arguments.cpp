#include "uvc-stereo/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <memory>
#include <utility>

namespace tovanel::uvc_stereo::cli {
namespace {

constexpr std::string_view kSimulateFlag = "--simulate";

// A word CLI11 reads as an option: a dash and more, but not a negative number ("-5").
bool looks_like_option(const std::string& word) {
  if (word.size() < 2 || word[0] != '-') {
    return false;
  }
  char* end = nullptr;
  static_cast<void>(std::strtod(word.c_str(), &end));
  return end != word.c_str() + word.size();
}

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

std::string long_name(const CLI::Option& option) { return "--" + option.get_lnames().front(); }

bool takes_value(const CLI::Option& option) { return option.get_expected_max() != 0; }

std::string needs_value(const CLI::Option& option) {
  return "option '" + long_name(option) + "' needs a value (" + option.get_option_text() + ")";
}

// The option of `line` a word names, when it names one by its long name ("--name" or "--name=...").
const CLI::Option* named_option(const CLI::App& line, std::string_view long_option) {
  const std::string name(long_option.substr(0, long_option.find('=')));
  return name.empty() ? nullptr : line.get_option_no_throw("--" + name);
}

// "--simulate=DIR" keeps the simulated cameras in DIR. CLI11 would read a flag's "=DIR" as a
// true/false override, so the word is read here and handed on as a bare "--simulate", which
// never takes the next word (a command, a file) for its directory. A word that an option of
// `line` takes as its value ("--backup --simulate=x") is that option's, and only words before
// "--" (and, with `until_command`, before the first word that is no option) count.
std::optional<std::string> take_simulate_directory(std::vector<std::string>& words, const CLI::App& line,
                                                   bool until_command) {
  const std::string prefix = std::string(kSimulateFlag) + "=";
  std::optional<std::string> directory;
  for (std::size_t i = 0; i < words.size(); ++i) {
    std::string& word = words[i];
    // The command's own words (from the first that is no option, "-" among them) are the command's to judge.
    if (word == "--" || (until_command && !looks_like_option(word))) {
      break;
    }
    if (word.rfind(prefix, 0) == 0) {
      directory = word.substr(prefix.size());
      word = kSimulateFlag;
      continue;
    }
    const std::optional<std::string_view> typed = long_option_read_from(word);
    const CLI::Option* option =
        typed && typed->find('=') == std::string_view::npos ? named_option(line, *typed) : nullptr;
    // "--" is never a value (see double_dash_value): it still ends the options here.
    if (option != nullptr && takes_value(*option) && i + 1 < words.size() && words[i + 1] != "--") {
      ++i;
    }
  }
  return directory;
}

// An option written with "=": CLI11 reads "--out=" as "--out" and would take the next word as
// its value, and lets a flag take "=true"; both are refused here, before it reads them. The
// words after "--" are positionals ("--" is never a value: see double_dash_value).
std::optional<std::string> attached_value_error(const CLI::App& line, const std::vector<std::string>& words) {
  for (const std::string& typed : words) {
    if (typed == "--") {
      break;
    }
    // "--simulate=DIR" left in the line is a value, there only when an option took it as one.
    if (typed.rfind(std::string(kSimulateFlag) + "=", 0) == 0) {
      continue;
    }
    const std::optional<std::string_view> word = long_option_read_from(typed);
    const std::size_t equals = word ? word->find('=') : std::string_view::npos;
    const CLI::Option* option = equals == std::string_view::npos ? nullptr : named_option(line, *word);
    if (option == nullptr) {
      continue;  // no "=", or an unknown option, which CLI11 reports
    }
    if (!takes_value(*option)) {
      return "option '" + long_name(*option) + "' takes no value";
    }
    if (equals + 1 == word->size()) {
      return needs_value(*option);
    }
  }
  return std::nullopt;
}

// The tool's help layout for CLI11's help: usage, summary, options with their value names and
// help texts in one column, the command's details and the pointer to the exit statuses.
class HelpLayout : public CLI::Formatter {
 public:
  explicit HelpLayout(std::string synopsis) : synopsis_(std::move(synopsis)) {}

  std::string make_help(const CLI::App* line, std::string name, CLI::AppFormatMode mode) const override {
    std::string help = "Usage: " + name + (synopsis_.empty() ? "" : " " + synopsis_) + "\n\n" +
                       line->get_description() + "\n" + make_groups(line, mode);
    std::string details = line->get_footer();
    details.erase(details.find_last_not_of('\n') + 1);
    if (!details.empty()) {
      help += "\n" + details + "\n";
    }
    return help + "\nExit statuses: 0 on success; see 'uvc-stereo --help' for the others.\n";
  }
  // Options are shown by their long names only ("--help", not "-h,--help").
  std::string make_option_name(const CLI::Option* option, bool) const override { return long_name(*option); }
  std::string make_option_opts(const CLI::Option* option) const override {
    return takes_value(*option) ? " " + option->get_option_text() : "";
  }

 private:
  std::string synopsis_;
};

// Settings every line of the tool shares. Unknown options are kept, not thrown, so that the tool
// can name the first one in its own words; "/x" is a file name on every platform, never a
// Windows-style option. --help is added last, so that it is listed last.
void finish(CLI::App& line) {
  line.allow_extras();
  line.allow_windows_style_options(false);
  line.set_help_flag("--help,-h", "show this help and exit");
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

}  // namespace

std::optional<std::string> ParsedArguments::value(std::string_view name) const {
  const auto found = values_.find(std::string(name));
  if (found == values_.end()) {
    return std::nullopt;
  }
  return found->second;
}

// One command's CLI11 application, built from its CommandSyntax: its options, the shared
// --simulate and --help, and one positional slot per argument it may take. The same application
// reads the command line and lays out the command's --help.
class CommandLine {
 public:
  explicit CommandLine(const CommandSyntax& syntax)
      : syntax_(syntax), line_(syntax.summary, "uvc-stereo " + syntax.name) {
    for (const OptionSyntax& option : syntax.options) {
      CLI::Option* added = option.value_name.empty() ? line_.add_flag("--" + option.name, option.help)
                                                     : line_.add_option("--" + option.name, option.help);
      // A second value would silently replace the first: twice is refused, flags included.
      added->multi_option_policy(CLI::MultiOptionPolicy::Throw)->option_text(option.value_name);
      if (option.value_name.empty()) {
        added->disable_flag_override();
      }
      if (option.accepts) {
        // CLI11 words a refusal as "NAME: MESSAGE"; the first one is kept in the tool's words.
        added->check(CLI::Validator(
            [this, &option](const std::string& value) {
              const bool accepted = option.accepts(value);
              if (!accepted && !invalid_value_) {
                invalid_value_ = "--" + option.name + " takes " + option.takes + ", not '" + value + "'";
              }
              return accepted ? std::string() : option.takes;
            },
            option.value_name));
      }
    }
    // --simulate may come both before the command and after it, so it may be given twice.
    simulate_ = line_.add_flag(std::string(kSimulateFlag));
    simulate_->description(std::string(simulate_option_help()))->disable_flag_override();
    for (const ExclusiveOptions& group : syntax.exclusive) {
      for (std::size_t i = 0; i < group.names.size(); ++i) {
        for (std::size_t j = i + 1; j < group.names.size(); ++j) {
          line_.get_option("--" + group.names[i])->excludes(line_.get_option("--" + group.names[j]));
        }
      }
    }
    for (std::size_t i = 0; i < syntax.max_positionals; ++i) {
      slots_.push_back(line_.add_option("ARGUMENT" + std::to_string(i + 1)));
    }
    finish(line_);
    line_.footer(syntax.details);
    auto layout = std::make_shared<HelpLayout>(syntax.synopsis);
    std::size_t width = 0;
    for (const CLI::Option* option : line_.get_options()) {
      if (option->nonpositional()) {
        width =
            std::max(width, layout->make_option_name(option, false).size() + layout->make_option_opts(option).size());
      }
    }
    layout->column_width(width + 4);
    line_.formatter(layout);
  }

  // The tests CLI11 runs hold pointers to this line.
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  [[nodiscard]] std::string help() const { return line_.help(); }

  // Lets CLI11 read the words and turns what it found, or why it refused the line, into the
  // tool's terms.
  [[nodiscard]] ParseOutcome parse(std::vector<std::string> words) {
    ParseOutcome outcome;
    std::optional<std::string> directory = take_simulate_directory(words, line_, false);
    if (directory && directory->empty()) {
      outcome.error = "option '--simulate=' needs a directory";
    } else if (std::optional<std::string> refused = refusal_of(words)) {
      outcome.error = std::move(*refused);
    } else {
      outcome.arguments = results(std::move(directory));
    }
    return outcome;
  }

 private:
  // Why the line is refused, in the tool's words, or nothing when it is well-formed or asks
  // for help.
  [[nodiscard]] std::optional<std::string> refusal_of(const std::vector<std::string>& words) {
    if (std::optional<std::string> refused = attached_value_error(line_, words)) {
      return refused;
    }
    bool help = false;
    bool mismatch = false;
    bool excluded = false;
    std::string refusal;  ///< CLI11's own words, for a refusal the tool has no message of its own for
    try {
      parse_line(line_, words);
    } catch (const CLI::CallForHelp&) {
      // --help answers whatever else is on the line, so a half-typed command still gets its help.
      help = true;
    } catch (const CLI::ArgumentMismatch& error) {
      mismatch = true;
      refusal = error.what();
    } catch (const CLI::ValidationError&) {
      // CLI11 checks values before it reads --help, which still answers such a line.
      help = line_.get_help_ptr()->count() != 0;
    } catch (const CLI::ExcludesError&) {
      excluded = true;
    } catch (const CLI::ParseError& error) {
      refusal = error.what();
    }
    const auto [unknown, unplaced] = sort_unplaced();
    // A "--" taken as a value explains whatever follows it; after it, an unknown option is
    // what most often explains the rest.
    if (std::optional<std::string> dashes = double_dash_value()) {
      return dashes;
    }
    if (unknown) {
      // A long option is named without what follows "=".
      return "unknown option '" + (unknown->rfind("--", 0) == 0 ? unknown->substr(0, unknown->find('=')) : *unknown) +
             "'";
    }
    if (const CLI::Option* twice = given_twice()) {
      return "option '" + long_name(*twice) + "' is given more than once";
    }
    if (mismatch) {
      return missing_value(words).value_or(refusal);
    }
    if (help) {
      return std::nullopt;
    }
    if (!refusal.empty()) {
      return refusal;
    }
    if (parsed_positionals() < syntax_.min_positionals) {
      return "missing argument: " + syntax_.synopsis;
    }
    if (!unplaced.empty()) {
      return "unexpected argument '" + unplaced.front() + "'";
    }
    if (invalid_value_) {
      return invalid_value_;
    }
    if (excluded) {
      return exclusion_refusal();
    }
    return std::nullopt;
  }

  struct Unplaced {
    std::optional<std::string> unknown;  ///< the first option this command does not have, as typed
    std::vector<std::string> surplus;    ///< the words no positional took, in order
  };

  // What CLI11 could not place, split in two: the options this command does not have, and the
  // words too many; after the "--" that ended the options every word is one of the latter.
  [[nodiscard]] Unplaced sort_unplaced() const {
    Unplaced sorted;
    bool options_ended = false;
    for (const std::string& word : line_.remaining()) {
      if (!options_ended && word == "--") {
        options_ended = true;
      } else if (!options_ended && looks_like_option(word)) {
        sorted.unknown = sorted.unknown ? sorted.unknown : word;
      } else {
        sorted.surplus.push_back(word);
      }
    }
    return sorted;
  }

  [[nodiscard]] std::vector<const CLI::Option*> declared_options() const {
    return line_.get_options([](const CLI::Option* option) { return option->nonpositional(); });
  }

  // CLI11 refuses a second value of an option (or a flag given twice), unless a refused value
  // stopped it first; --simulate may come both before the command and after it.
  [[nodiscard]] const CLI::Option* given_twice() const {
    for (const CLI::Option* option : declared_options()) {
      if (option->count() > 1 && option != simulate_ && option != line_.get_help_ptr()) {
        return option;
      }
    }
    return nullptr;
  }

  // CLI11 refuses a value option that ends the line without its value; that option is in the
  // last word, alone or after "-h".
  [[nodiscard]] std::optional<std::string> missing_value(const std::vector<std::string>& words) const {
    const std::optional<std::string_view> last = words.empty() ? std::nullopt : long_option_read_from(words.back());
    const CLI::Option* option = last ? named_option(line_, *last) : nullptr;
    if (option != nullptr && takes_value(*option)) {
      return needs_value(*option);
    }
    return std::nullopt;
  }

  // The first exclusive group of which CLI11 found more than one option on the line.
  [[nodiscard]] std::string exclusion_refusal() const {
    for (const ExclusiveOptions& group : syntax_.exclusive) {
      const auto given = std::count_if(group.names.begin(), group.names.end(), [this](const std::string& name) {
        return line_.get_option("--" + name)->count() != 0;
      });
      if (given > 1) {
        return group.refusal;
      }
    }
    return "";
  }

  // "--" only ends the options. Given as a value ("--backup -- file") it is almost surely a
  // forgotten one, and taking it would leave the words after it read as options.
  [[nodiscard]] std::optional<std::string> double_dash_value() const {
    for (const CLI::Option* option : declared_options()) {
      const std::vector<std::string>& values = option->results();
      if (takes_value(*option) && std::find(values.begin(), values.end(), "--") != values.end()) {
        return needs_value(*option) + "; '--' only ends the options";
      }
    }
    return std::nullopt;
  }

  [[nodiscard]] std::size_t parsed_positionals() const {
    std::size_t count = 0;
    for (const CLI::Option* slot : slots_) {
      count += slot->count();
    }
    return count;
  }

  // What the line gave: every option by its long name ("help" and "simulate" among them), the
  // values, the directory of "--simulate=DIR" and the positionals in order.
  [[nodiscard]] ParsedArguments results(std::optional<std::string> directory) const {
    ParsedArguments parsed;
    for (const CLI::Option* option : declared_options()) {
      if (option->count() != 0) {
        parsed.present_.insert(option->get_lnames().front());
        if (takes_value(*option)) {
          parsed.values_[option->get_lnames().front()] = option->results().front();
        }
      }
    }
    if (directory && simulate_->count() != 0) {
      parsed.values_[simulate_->get_lnames().front()] = std::move(*directory);
    }
    for (const CLI::Option* slot : slots_) {
      parsed.positionals_.insert(parsed.positionals_.end(), slot->results().begin(), slot->results().end());
    }
    return parsed;
  }

  const CommandSyntax& syntax_;
  CLI::App line_;
  CLI::Option* simulate_ = nullptr;
  std::optional<std::string> invalid_value_;  ///< the first value an option's test refused, in the tool's words
  std::vector<CLI::Option*> slots_;           ///< one per positional, in order
};

ParseOutcome parse_arguments(const CommandSyntax& syntax, const std::vector<std::string>& args) {
  return CommandLine(syntax).parse(args);
}

GlobalOutcome parse_global_arguments(const std::vector<std::string>& given) {
  GlobalOutcome outcome;
  CLI::App line;
  CLI::Option* simulate = line.add_flag(std::string(kSimulateFlag));
  CLI::Option* version = line.add_flag("--version");
  CLI::Option* verbose = line.add_flag("--verbose");
  finish(line);
  std::vector<std::string> args = given;
  const std::optional<std::string> directory = take_simulate_directory(args, line, true);
  if (directory && directory->empty()) {
    outcome.error = "option '--simulate=' needs a directory";
    return outcome;
  }
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
  if (std::optional<std::string> refused = attached_value_error(line, before)) {
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

void print_command_help(const CommandSyntax& syntax, std::ostream& out) { out << CommandLine(syntax).help(); }

namespace {

// The whole text as a number, read by std::from_chars in `format` (a base, or a floating-point
// format): no leading "+", no spaces, no prefix, nothing after the number, no overflow.
template <typename Number, typename Format>
std::optional<Number> parse_whole(std::string_view text, Format format) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, format);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

}  // namespace

std::optional<std::uint64_t> parse_unsigned(std::string_view text, std::uint64_t max) {
  const std::optional<std::uint64_t> value = parse_whole<std::uint64_t>(text, 10);
  return value && *value <= max ? value : std::nullopt;
}

std::optional<std::uint16_t> parse_usb_id(std::string_view text) {
  if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    text.remove_prefix(2);
  }
  // At most four digits: "00c45" is no USB id.
  return text.size() <= 4 ? parse_whole<std::uint16_t>(text, 16) : std::nullopt;
}

std::optional<double> parse_non_negative(std::string_view text) {
  // Digits and a point only: std::from_chars would also read a sign and "inf", and so would an
  // exponent in its general format.
  if (text.size() > 64 || text.find_first_not_of("0123456789.") != std::string_view::npos) {
    return std::nullopt;
  }
  return parse_whole<double>(text, std::chars_format::fixed);
}

}  // namespace tovanel::uvc_stereo::cli
