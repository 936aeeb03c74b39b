#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_check.h"
#include "fuzz_input.h"
#include "uvc-stereo/arguments.h"

namespace {

namespace cli = tovanel::uvc_stereo::cli;
using uvc_stereo_fuzz::escaped;

bool starts_with(const std::string& text, const std::string& prefix) { return text.rfind(prefix, 0) == 0; }

// The words of a command line: argv holds no NUL, so NUL bytes separate them.
std::vector<std::string> split_words(const std::vector<std::uint8_t>& bytes) {
  std::vector<std::string> words(1);
  for (const std::uint8_t byte : bytes) {
    if (byte == 0) {
      words.emplace_back();
    } else {
      words.back().push_back(static_cast<char>(byte));
    }
  }
  if (bytes.empty()) {
    words.clear();
  }
  return words;
}

std::string show(const std::vector<std::string>& words) {
  std::string out;
  for (const std::string& word : words) {
    out += "[" + escaped(word) + "] ";
  }
  return out;
}

constexpr const char* kBackupRefusal = "--backup takes a name without '*', not '";
constexpr const char* kExclusiveRefusal = "--dry-run and --no-backup exclude each other";

bool is_ours(const std::string& error) {
  return starts_with(error, "unknown option '") || starts_with(error, "option '--") ||
         starts_with(error, "missing argument: ") || starts_with(error, "unexpected argument '") ||
         starts_with(error, kBackupRefusal) || error == kExclusiveRefusal;
}

bool contains(const std::vector<std::string>& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

// A value comes from the line as it was typed: a whole word, or what follows "--name=".
bool value_was_typed(const std::vector<std::string>& words, const std::string& name, const std::string& value) {
  return contains(words, value) || contains(words, "--" + name + "=" + value);
}

void check_command(const cli::CommandSyntax& syntax, const std::vector<std::string>& words) {
  cli::ParseOutcome outcome;
  try {
    outcome = cli::parse_arguments(syntax, words);
  } catch (...) {
    FUZZ_CHECK(false, "parse_arguments threw on " + show(words));
  }
  if (!outcome.arguments) {
    FUZZ_CHECK(is_ours(outcome.error), outcome.error + " for " + show(words));
    return;
  }
  FUZZ_CHECK(outcome.error.empty(), outcome.error);
  const cli::ParsedArguments& parsed = *outcome.arguments;
  if (parsed.has("help")) {
    // Help is all the command will do; CLI11 reads what follows "-h" in one word ("-h-x") as more
    // words, so the rest of such a line is not compared with what was typed.
    FUZZ_CHECK(contains(words, "--help") ||
                   std::any_of(words.begin(), words.end(), [](const std::string& w) { return starts_with(w, "-h"); }),
               show(words));
    return;
  }
  // What the options' checks and groups refuse never gets through.
  FUZZ_CHECK(parsed.value("backup").value_or("").find('*') == std::string::npos, show(words));
  FUZZ_CHECK(!(parsed.has("dry-run") && parsed.has("no-backup")), show(words));
  FUZZ_CHECK(parsed.positionals().size() >= syntax.min_positionals, show(words));
  FUZZ_CHECK(parsed.positionals().size() <= syntax.max_positionals, show(words));
  for (const std::string& positional : parsed.positionals()) {
    FUZZ_CHECK(contains(words, positional), escaped(positional) + " from " + show(words));
  }
  for (const cli::OptionSyntax& option : syntax.options) {
    const std::optional<std::string> value = parsed.value(option.name);
    if (option.value_name.empty()) {
      FUZZ_CHECK(!value, option.name + " is a flag with a value in " + show(words));
      FUZZ_CHECK(!parsed.has(option.name) || contains(words, "--" + option.name), option.name + " in " + show(words));
    } else {
      FUZZ_CHECK(parsed.has(option.name) == value.has_value(), option.name + " in " + show(words));
      FUZZ_CHECK(!value || value_was_typed(words, option.name, *value), escaped(*value) + " in " + show(words));
    }
  }
}

void check_global(const std::vector<std::string>& words) {
  cli::GlobalOutcome outcome;
  try {
    outcome = cli::parse_global_arguments(words);
  } catch (...) {
    FUZZ_CHECK(false, "parse_global_arguments threw on " + show(words));
  }
  if (!outcome.arguments) {
    FUZZ_CHECK(starts_with(outcome.error, "unknown option '") || starts_with(outcome.error, "option '--"),
               outcome.error + " for " + show(words));
    return;
  }
  const cli::GlobalArguments& global = *outcome.arguments;
  FUZZ_CHECK(!(global.help && global.version), show(words));
  if (global.help || global.version) {
    return;  // nothing is handed on; as above, "-h" may have been read out of a longer word
  }
  // The command and its words are handed on exactly as typed, from the end of the line.
  FUZZ_CHECK(global.command.size() <= words.size(), show(words));
  FUZZ_CHECK(std::equal(global.command.begin(), global.command.end(),
                        words.end() - static_cast<std::ptrdiff_t>(global.command.size())),
             show(words));
}

}  // namespace

// The tool's command lines: any words, against a command with a checked value option, two flags
// that exclude each other and between none and three positionals, and as the options before the
// command.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  uvc_stereo_fuzz::FuzzInput input(data, size);
  const std::uint8_t shape = input.take_u8();
  cli::CommandSyntax syntax;
  syntax.name = "config set";
  syntax.synopsis = "[options] FILE|-";
  syntax.options = {{"backup", "FILE", "", "a name without '*'",
                     [](const std::string& value) { return value.find('*') == std::string::npos; }},
                    {"dry-run", "", ""},
                    {"no-backup", "", ""}};
  syntax.exclusive.push_back({{"dry-run", "no-backup"}, kExclusiveRefusal});
  syntax.min_positionals = shape % 2;
  syntax.max_positionals = syntax.min_positionals + (shape / 2) % 3;
  const std::vector<std::string> words = split_words(input.take_rest());
  check_command(syntax, words);
  check_global(words);
  return 0;
}
