#include "uvc-stereo/arguments.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace tovanel::uvc_stereo::cli {
namespace {

const OptionSyntax kHelpOption{"help", "", "show this help and exit"};
const OptionSyntax kSimulateOption{"simulate", "", ""};

const OptionSyntax* find_option(const CommandSyntax& syntax, std::string_view name) {
  if (name == kHelpOption.name) {
    return &kHelpOption;
  }
  if (name == kSimulateOption.name) {
    return &kSimulateOption;
  }
  for (const OptionSyntax& option : syntax.options) {
    if (option.name == name) {
      return &option;
    }
  }
  return nullptr;
}

bool is_hex_digit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

}  // namespace

std::optional<std::string> ParsedArguments::value(std::string_view name) const {
  const auto found = values_.find(std::string(name));
  if (found == values_.end()) {
    return std::nullopt;
  }
  return found->second;
}

struct ArgumentParser {
  static ParseOutcome parse(const CommandSyntax& syntax, const std::vector<std::string>& args) {
    ParseOutcome outcome;
    ParsedArguments parsed;
    bool options_ended = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
      const std::string& arg = args[i];
      if (options_ended || arg == "-" || arg.size() < 2 || arg[0] != '-') {
        parsed.positionals_.push_back(arg);
        continue;
      }
      if (arg == "--") {
        options_ended = true;
        continue;
      }
      if (arg == "-h") {
        parsed.present_.insert(kHelpOption.name);
        continue;
      }
      if (arg.compare(0, 2, "--") != 0) {
        outcome.error = "unknown option '" + arg + "'";
        return outcome;
      }
      const std::size_t equals = arg.find('=');
      const std::string name = arg.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
      const OptionSyntax* option = find_option(syntax, name);
      if (option == nullptr) {
        outcome.error = "unknown option '--" + name + "'";
        return outcome;
      }
      if (parsed.present_.count(name) != 0 && name != kSimulateOption.name && name != kHelpOption.name) {
        outcome.error = "option '--" + name + "' is given more than once";
        return outcome;
      }
      parsed.present_.insert(name);
      if (option->value_name.empty()) {
        if (equals != std::string::npos) {
          outcome.error = "option '--" + name + "' takes no value";
          return outcome;
        }
        continue;
      }
      if (equals != std::string::npos) {
        parsed.values_[name] = arg.substr(equals + 1);
      } else if (i + 1 < args.size()) {
        parsed.values_[name] = args[++i];
      } else {
        outcome.error = "option '--" + name + "' needs a value (" + option->value_name + ")";
        return outcome;
      }
    }
    // --help answers whatever else is on the line, so a half-typed command still gets its help.
    if (!parsed.has(kHelpOption.name)) {
      if (parsed.positionals_.size() < syntax.min_positionals) {
        outcome.error = "missing argument: " + syntax.synopsis;
        return outcome;
      }
      if (parsed.positionals_.size() > syntax.max_positionals) {
        outcome.error = "unexpected argument '" + parsed.positionals_[syntax.max_positionals] + "'";
        return outcome;
      }
    }
    outcome.arguments = std::move(parsed);
    return outcome;
  }
};

ParseOutcome parse_arguments(const CommandSyntax& syntax, const std::vector<std::string>& args) {
  return ArgumentParser::parse(syntax, args);
}

std::string_view simulate_option_help() {
  return "run against the built-in simulated cameras (two cameras, one with\n"
         "a capability report and one without); no camera or vendor library is\n"
         "needed. Each run starts the simulation afresh: nothing written in one\n"
         "run is seen by the next";
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
