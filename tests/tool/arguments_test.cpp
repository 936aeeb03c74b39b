#include "uvc-stereo/arguments.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace tovanel::uvc_stereo::cli {
namespace {

CommandSyntax sample_syntax() {
  CommandSyntax syntax;
  syntax.name = "config set";
  syntax.synopsis = "[options] FILE|-";
  syntax.summary = "Writes a configuration.";
  syntax.options = {{"count", "N", "how many"}, {"dry-run", "", "change nothing"}};
  syntax.min_positionals = 1;
  syntax.max_positionals = 1;
  syntax.details = "More words.\n";
  return syntax;
}

ParseOutcome parse(const std::vector<std::string>& args) { return parse_arguments(sample_syntax(), args); }

TEST(ParseArguments, ReadsFlagsValuesAndPositionals) {
  const ParseOutcome outcome = parse({"--count", "5", "file.json", "--dry-run"});
  ASSERT_TRUE(outcome.arguments) << outcome.error;
  EXPECT_TRUE(outcome.arguments->has("dry-run"));
  EXPECT_EQ(outcome.arguments->value("count"), "5");
  EXPECT_EQ(outcome.arguments->positionals(), std::vector<std::string>{"file.json"});
  EXPECT_FALSE(outcome.arguments->has("simulate"));
}

TEST(ParseArguments, TakesAValueAfterAnEqualsSign) {
  const ParseOutcome outcome = parse({"--count=7", "-"});
  ASSERT_TRUE(outcome.arguments) << outcome.error;
  EXPECT_EQ(outcome.arguments->value("count"), "7");
  EXPECT_EQ(outcome.arguments->positionals(), std::vector<std::string>{"-"});
}

TEST(ParseArguments, EveryCommandAcceptsSimulateAndHelp) {
  const ParseOutcome outcome = parse({"--simulate", "f"});
  ASSERT_TRUE(outcome.arguments) << outcome.error;
  EXPECT_TRUE(outcome.arguments->has("simulate"));
  const ParseOutcome help = parse({"-h"});
  ASSERT_TRUE(help.arguments) << help.error;
  EXPECT_TRUE(help.arguments->has("help"));
}

TEST(ParseArguments, HelpIsAnsweredEvenWithoutTheRequiredArgument) {
  const ParseOutcome outcome = parse({"--help"});
  ASSERT_TRUE(outcome.arguments) << outcome.error;
}

TEST(ParseArguments, DoubleDashEndsTheOptions) {
  const ParseOutcome outcome = parse({"--", "--dry-run"});
  ASSERT_TRUE(outcome.arguments) << outcome.error;
  EXPECT_FALSE(outcome.arguments->has("dry-run"));
  EXPECT_EQ(outcome.arguments->positionals(), std::vector<std::string>{"--dry-run"});
}

TEST(ParseArguments, RefusesWhatTheCommandDoesNotTake) {
  EXPECT_EQ(parse({"--colour", "f"}).error, "unknown option '--colour'");
  EXPECT_EQ(parse({"-x", "f"}).error, "unknown option '-x'");
  EXPECT_EQ(parse({"f", "--count"}).error, "option '--count' needs a value (N)");
  EXPECT_EQ(parse({"f", "--dry-run=yes"}).error, "option '--dry-run' takes no value");
  EXPECT_EQ(parse({"f", "--count", "1", "--count", "2"}).error, "option '--count' is given more than once");
  EXPECT_EQ(parse({}).error, "missing argument: [options] FILE|-");
  EXPECT_EQ(parse({"a", "b"}).error, "unexpected argument 'b'");
}

TEST(ParseArguments, AnOptionGivenTwiceIsRefusedWhateverItsForm) {
  EXPECT_EQ(parse({"f", "--count=1", "--count", "1"}).error, "option '--count' is given more than once");
  EXPECT_EQ(parse({"--dry-run", "f", "--dry-run"}).error, "option '--dry-run' is given more than once");
  // The shared ones may be repeated: --simulate comes before the command and may come after it too.
  const ParseOutcome repeated = parse({"--simulate", "f", "--simulate"});
  ASSERT_TRUE(repeated.arguments) << repeated.error;
  EXPECT_TRUE(repeated.arguments->has("simulate"));
  EXPECT_TRUE(parse({"--help", "-h"}).arguments);
}

TEST(ParseArguments, AnEmptyValueAfterAnEqualsSignIsAMissingValue) {
  // Never the next word: "--count= --dry-run" must not quietly make --dry-run the count.
  EXPECT_EQ(parse({"f", "--count="}).error, "option '--count' needs a value (N)");
  EXPECT_EQ(parse({"--count=", "--dry-run", "f"}).error, "option '--count' needs a value (N)");
  EXPECT_EQ(parse({"--count=", "7", "f"}).error, "option '--count' needs a value (N)");
}

TEST(ParseArguments, AFlagTakesNoValueInAnyForm) {
  for (const std::string word : {"--dry-run=1", "--dry-run=true", "--dry-run=false", "--dry-run=", "--dry-run={}"}) {
    EXPECT_EQ(parse({"f", word}).error, "option '--dry-run' takes no value") << word;
  }
  EXPECT_EQ(parse({"--help=yes"}).error, "option '--help' takes no value");
}

TEST(ParseArguments, SimulateTakesADirectoryOnlyAfterAnEqualsSign) {
  const ParseOutcome kept = parse({"f", "--simulate=/tmp/rig"});
  ASSERT_TRUE(kept.arguments) << kept.error;
  EXPECT_TRUE(kept.arguments->has("simulate"));
  EXPECT_EQ(kept.arguments->value("simulate"), std::optional<std::string>("/tmp/rig"));
  EXPECT_EQ(kept.arguments->positionals(), std::vector<std::string>{"f"});
  // A bare --simulate takes no word after it for its directory.
  const ParseOutcome bare = parse({"--simulate", "f"});
  ASSERT_TRUE(bare.arguments) << bare.error;
  EXPECT_EQ(bare.arguments->value("simulate"), std::nullopt);
  EXPECT_EQ(bare.arguments->positionals(), std::vector<std::string>{"f"});
  EXPECT_EQ(parse({"f", "--simulate="}).error, "option '--simulate=' needs a directory");
  // After "--" it is a positional like any other word.
  const ParseOutcome after = parse({"--", "--simulate=x"});
  ASSERT_TRUE(after.arguments) << after.error;
  EXPECT_FALSE(after.arguments->has("simulate"));
}

TEST(ParseArguments, AfterDoubleDashEverythingIsAPositional) {
  const ParseOutcome outcome = parse({"--count", "1", "--", "--colour"});
  ASSERT_TRUE(outcome.arguments) << outcome.error;
  EXPECT_EQ(outcome.arguments->value("count"), "1");
  EXPECT_EQ(outcome.arguments->positionals(), std::vector<std::string>{"--colour"});
  // So an unknown option there is a positional too many, not an unknown option.
  EXPECT_EQ(parse({"f", "--", "--colour"}).error, "unexpected argument '--colour'");
  EXPECT_EQ(parse({"--", "--count=", "--dry-run"}).error, "unexpected argument '--dry-run'");
  const ParseOutcome dashes = parse({"--", "--"});
  ASSERT_TRUE(dashes.arguments) << dashes.error;
  EXPECT_EQ(dashes.arguments->positionals(), std::vector<std::string>{"--"});
}

TEST(ParseArguments, OptionsMayComeAfterThePositionals) {
  const ParseOutcome outcome = parse({"file.json", "--dry-run", "--count", "3"});
  ASSERT_TRUE(outcome.arguments) << outcome.error;
  EXPECT_TRUE(outcome.arguments->has("dry-run"));
  EXPECT_EQ(outcome.arguments->value("count"), "3");
  EXPECT_EQ(outcome.arguments->positionals(), std::vector<std::string>{"file.json"});
}

TEST(ParseArguments, AValueIsTheNextWordEvenWhenItStartsWithADash) {
  const ParseOutcome stdout_value = parse({"--count", "-", "f"});
  ASSERT_TRUE(stdout_value.arguments) << stdout_value.error;
  EXPECT_EQ(stdout_value.arguments->value("count"), "-");
  EXPECT_EQ(stdout_value.arguments->positionals(), std::vector<std::string>{"f"});

  const ParseOutcome option_like = parse({"--count", "--evil.json", "f"});
  ASSERT_TRUE(option_like.arguments) << option_like.error;
  EXPECT_EQ(option_like.arguments->value("count"), "--evil.json");
  EXPECT_EQ(parse({"--count=--evil.json", "f"}).arguments->value("count"), "--evil.json");

  // A value that is a known option is still the value, never the option.
  const ParseOutcome flag_like = parse({"--count", "--dry-run", "f"});
  ASSERT_TRUE(flag_like.arguments) << flag_like.error;
  EXPECT_EQ(flag_like.arguments->value("count"), "--dry-run");
  EXPECT_FALSE(flag_like.arguments->has("dry-run"));

  EXPECT_EQ(parse({"--count", "-1", "f"}).arguments->value("count"), "-1");
}

TEST(ParseArguments, ASimulateWordAfterAValueOptionIsThatOptionsValue) {
  const ParseOutcome taken = parse({"--count", "--simulate=rig", "f"});
  ASSERT_TRUE(taken.arguments) << taken.error;
  EXPECT_EQ(taken.arguments->value("count"), "--simulate=rig");
  EXPECT_FALSE(taken.arguments->has("simulate"));
  EXPECT_EQ(taken.arguments->positionals(), std::vector<std::string>{"f"});
  EXPECT_EQ(parse({"--count", "--simulate=", "f"}).arguments->value("count"), "--simulate=");
  // After a value, a "--simulate=DIR" is the shared option again.
  const ParseOutcome after = parse({"--count", "1", "--simulate=rig", "f"});
  ASSERT_TRUE(after.arguments) << after.error;
  EXPECT_EQ(after.arguments->value("simulate"), std::optional<std::string>("rig"));
}

TEST(ParseArguments, DoubleDashIsNeverAValue) {
  // "--backup -- file" has forgotten the backup's name; read as a value, the "--" would leave
  // the words after it read as options, "--dry-run=" and all.
  const std::string refused = "option '--count' needs a value (N); '--' only ends the options";
  EXPECT_EQ(parse({"--count", "--", "f"}).error, refused);
  EXPECT_EQ(parse({"--count", "--", "--dry-run=", "f"}).error, refused);
  EXPECT_EQ(parse({"--count", "--", "--dry-run=1"}).error, refused);
  EXPECT_EQ(parse({"--count", "--", "--colour"}).error, refused);
  EXPECT_EQ(parse({"f", "--count=--"}).error, refused);
  // After the "--" that ends the options, "--" is a positional like any other word.
  EXPECT_EQ(parse({"--count", "1", "--", "--"}).arguments->positionals(), std::vector<std::string>{"--"});
}

TEST(ParseArguments, ValuesAndPositionalsAreKeptWordForWord) {
  // No list syntax, no splitting, no trimming: a file may be called "[a,b]" or "/x" or nothing.
  for (const std::string word : {"[a,b]", "/x", "a,b", " spaced ", "", "{}", "-5", "x=y"}) {
    const ParseOutcome outcome = parse({"--count", word, word});
    ASSERT_TRUE(outcome.arguments) << word << ": " << outcome.error;
    EXPECT_EQ(outcome.arguments->value("count"), word);
    EXPECT_EQ(outcome.arguments->positionals(), std::vector<std::string>{word});
  }
}

TEST(ParseArguments, HelpIsAnsweredOverSurplusPositionalsButNotOverAnUnknownOption) {
  const ParseOutcome surplus = parse({"a", "b", "c", "--help"});
  ASSERT_TRUE(surplus.arguments) << surplus.error;
  EXPECT_TRUE(surplus.arguments->has("help"));
  EXPECT_EQ(parse({"--help", "--colour"}).error, "unknown option '--colour'");
  EXPECT_EQ(parse({"--help", "--count"}).error, "option '--count' needs a value (N)");
}

TEST(ParseArguments, NamesAnUnknownOptionWithoutItsValue) {
  EXPECT_EQ(parse({"--colour=red", "f"}).error, "unknown option '--colour'");
  EXPECT_EQ(parse({"f", "-hx"}).error, "unknown option '-x'");
  // What follows "-h" in one word is read as the words it spells, so "-h-count" is "-h --count".
  EXPECT_EQ(parse({"f", "-h-count"}).error, "option '--count' needs a value (N)");
  EXPECT_EQ(parse({"-hh-count=", "f"}).error, "option '--count' needs a value (N)");
  EXPECT_EQ(parse({"f", "-h-dry-run=1"}).error, "option '--dry-run' takes no value");
  const ParseOutcome help = parse({"-h-count", "3"});
  ASSERT_TRUE(help.arguments) << help.error;
  EXPECT_TRUE(help.arguments->has("help"));
  // The unknown option is named even where the line is also short of its positional.
  EXPECT_EQ(parse({"--colour"}).error, "unknown option '--colour'");
}

TEST(ParseArguments, TakesBetweenTheLeastAndTheMostPositionals) {
  CommandSyntax syntax = sample_syntax();
  syntax.min_positionals = 1;
  syntax.max_positionals = 3;
  EXPECT_EQ(parse_arguments(syntax, {}).error, "missing argument: [options] FILE|-");
  for (const std::vector<std::string>& words : {std::vector<std::string>{"a"}, std::vector<std::string>{"a", "b"},
                                                std::vector<std::string>{"a", "--dry-run", "b", "c"}}) {
    const ParseOutcome outcome = parse_arguments(syntax, words);
    ASSERT_TRUE(outcome.arguments) << outcome.error;
    std::vector<std::string> positionals = words;
    positionals.erase(std::remove(positionals.begin(), positionals.end(), "--dry-run"), positionals.end());
    EXPECT_EQ(outcome.arguments->positionals(), positionals);
  }
  EXPECT_EQ(parse_arguments(syntax, {"a", "b", "c", "d"}).error, "unexpected argument 'd'");

  syntax.min_positionals = 0;
  syntax.max_positionals = 0;
  EXPECT_TRUE(parse_arguments(syntax, {"--dry-run"}).arguments);
  EXPECT_EQ(parse_arguments(syntax, {"--dry-run", "x"}).error, "unexpected argument 'x'");
  EXPECT_EQ(parse_arguments(syntax, {"-"}).error, "unexpected argument '-'");
}

// Every line of up to three words from awkward ones: the parsers never throw, a refusal is
// always in the tool's own words (never the library's), and what they accept fits the syntax.
TEST(ParseArguments, AnyShortLineIsAcceptedOrRefusedInTheToolsOwnWords) {
  const std::vector<std::string> words = {
      "--count",    "--count=",     "--count=2",  "2",        "--dry-run",  "--dry-run=1", "--",        "-",
      "-h",         "--help",       "--simulate", "-x",       "-5",         "--colour",    "---",       "--=",
      "-hx",        "[a,b]",        "/x",         "",         "--count={}", "-count",      "--version", "-h-count",
      "-hh-count=", "-h-dry-run=1", "-hh",        "-h--count"};
  const std::vector<std::string> our_refusals = {"unknown option '", "option '--",
                                                 "missing argument: ", "unexpected argument '"};
  CommandSyntax syntax = sample_syntax();
  syntax.min_positionals = 0;
  const auto check = [&](const std::vector<std::string>& line) {
    ParseOutcome outcome;
    ASSERT_NO_THROW(outcome = parse_arguments(syntax, line)) << ::testing::PrintToString(line);
    if (!outcome.arguments) {
      bool ours = false;
      for (const std::string& start : our_refusals) {
        ours = ours || outcome.error.rfind(start, 0) == 0;
      }
      EXPECT_TRUE(ours) << ::testing::PrintToString(line) << " -> " << outcome.error;
      return;
    }
    EXPECT_EQ(outcome.error, "");
    if (!outcome.arguments->has("help")) {
      EXPECT_LE(outcome.arguments->positionals().size(), syntax.max_positionals) << ::testing::PrintToString(line);
    }
    EXPECT_EQ(outcome.arguments->has("count"), outcome.arguments->value("count").has_value());
    EXPECT_FALSE(outcome.arguments->value("dry-run").has_value());
  };
  const auto check_global = [&](const std::vector<std::string>& line) {
    GlobalOutcome outcome;
    ASSERT_NO_THROW(outcome = parse_global_arguments(line)) << ::testing::PrintToString(line);
    if (!outcome.arguments) {
      EXPECT_TRUE(outcome.error.rfind("unknown option '", 0) == 0 || outcome.error.rfind("option '--", 0) == 0)
          << ::testing::PrintToString(line) << " -> " << outcome.error;
      return;
    }
    EXPECT_FALSE(outcome.arguments->help && outcome.arguments->version);
    EXPECT_LE(outcome.arguments->command.size(), line.size());
  };
  for (const std::string& first : words) {
    check({first});
    check_global({first});
    for (const std::string& second : words) {
      check({first, second});
      check_global({first, second});
      for (const std::string& third : words) {
        check({first, second, third});
        check_global({first, second, third});
      }
    }
  }
}

// The sample syntax with checked values and a group of options that exclude each other.
CommandSyntax checked_syntax() {
  CommandSyntax syntax = sample_syntax();
  syntax.options[0].takes = "a number";
  syntax.options[0].accepts = [](const std::string& value) { return value != "bad"; };
  syntax.options.push_back({"csv", "", "comma-separated"});
  syntax.options.push_back({"json", "", "JSON lines"});
  syntax.options.push_back(
      {"level", "L", "how loud", "a level", [](const std::string& value) { return value != "bad"; }});
  syntax.exclusive.push_back({{"csv", "json", "dry-run"}, "choose one of --csv, --json and --dry-run"});
  return syntax;
}

ParseOutcome parse_checked(const std::vector<std::string>& args) { return parse_arguments(checked_syntax(), args); }

TEST(ParseArguments, AValueItsOptionsTestFailsIsRefusedWithWhatTheOptionTakes) {
  EXPECT_EQ(parse_checked({"--count", "bad", "f"}).error, "--count takes a number, not 'bad'");
  EXPECT_EQ(parse_checked({"f", "--count=bad"}).error, "--count takes a number, not 'bad'");
  const ParseOutcome fine = parse_checked({"--count", "5", "f", "--level", "3"});
  ASSERT_TRUE(fine.arguments) << fine.error;
  EXPECT_EQ(fine.arguments->value("count"), "5");
  EXPECT_EQ(fine.arguments->value("level"), "3");
}

TEST(ParseArguments, ValuesAreCheckedInTheOrderTheOptionsAreDeclared) {
  EXPECT_EQ(parse_checked({"--level", "bad", "--count", "bad", "f"}).error, "--count takes a number, not 'bad'");
  EXPECT_EQ(parse_checked({"--level", "bad", "--count", "2", "f"}).error, "--level takes a level, not 'bad'");
}

TEST(ParseArguments, TheShapeOfTheLineIsJudgedBeforeItsValues) {
  EXPECT_EQ(parse_checked({"--count", "bad"}).error, "missing argument: [options] FILE|-");
  EXPECT_EQ(parse_checked({"--count", "bad", "f", "g"}).error, "unexpected argument 'g'");
  EXPECT_EQ(parse_checked({"--count", "bad", "f", "--colour"}).error, "unknown option '--colour'");
  EXPECT_EQ(parse_checked({"--count", "bad", "--count", "2", "f"}).error, "option '--count' is given more than once");
  EXPECT_EQ(parse_checked({"--count", "2", "--count", "bad", "f"}).error, "option '--count' is given more than once");
  EXPECT_EQ(parse_checked({"--count", "bad", "f", "--level"}).error, "option '--level' needs a value (L)");
  EXPECT_EQ(parse_checked({"--count", "--", "f"}).error,
            "option '--count' needs a value (N); '--' only ends the options");
}

TEST(ParseArguments, HelpIsAnsweredWhateverTheValuesAndGroups) {
  for (const std::vector<std::string>& line :
       {std::vector<std::string>{"--count", "bad", "--help"}, std::vector<std::string>{"-h", "--level", "bad"},
        std::vector<std::string>{"--csv", "--json", "--help"}}) {
    const ParseOutcome outcome = parse_checked(line);
    ASSERT_TRUE(outcome.arguments) << ::testing::PrintToString(line) << " -> " << outcome.error;
    EXPECT_TRUE(outcome.arguments->has("help"));
  }
}

TEST(ParseArguments, AnExclusiveGroupTakesOneOfItsOptionsAfterTheValuesAreChecked) {
  const ParseOutcome one = parse_checked({"--json", "f"});
  ASSERT_TRUE(one.arguments) << one.error;
  EXPECT_TRUE(one.arguments->has("json"));
  EXPECT_EQ(parse_checked({"--csv", "--json", "f"}).error, "choose one of --csv, --json and --dry-run");
  EXPECT_EQ(parse_checked({"f", "--dry-run", "--json"}).error, "choose one of --csv, --json and --dry-run");
  EXPECT_EQ(parse_checked({"--csv", "--json", "--count", "bad", "f"}).error, "--count takes a number, not 'bad'");
  EXPECT_EQ(parse_checked({"--csv", "--json"}).error, "missing argument: [options] FILE|-");
}

TEST(ParseGlobalArguments, HandsTheCommandAndEverythingAfterItOn) {
  const GlobalOutcome outcome = parse_global_arguments({"--simulate", "config", "set", "--help", "-", "--x=1"});
  ASSERT_TRUE(outcome.arguments) << outcome.error;
  EXPECT_TRUE(outcome.arguments->simulate);
  EXPECT_FALSE(outcome.arguments->help);
  EXPECT_FALSE(outcome.arguments->version);
  EXPECT_EQ(outcome.arguments->command, (std::vector<std::string>{"config", "set", "--help", "-", "--x=1"}));

  const GlobalOutcome plain = parse_global_arguments({"scan", "--simulate"});
  ASSERT_TRUE(plain.arguments) << plain.error;
  EXPECT_FALSE(plain.arguments->simulate) << "after the command, --simulate is the command's";
  EXPECT_EQ(plain.arguments->command, (std::vector<std::string>{"scan", "--simulate"}));

  const GlobalOutcome none = parse_global_arguments({"--simulate", "--simulate"});
  ASSERT_TRUE(none.arguments) << none.error;
  EXPECT_TRUE(none.arguments->command.empty());
  EXPECT_TRUE(parse_global_arguments({}).arguments->command.empty());

  const GlobalOutcome ended = parse_global_arguments({"--", "--simulate"});
  ASSERT_TRUE(ended.arguments) << ended.error;
  EXPECT_FALSE(ended.arguments->simulate);
  EXPECT_EQ(ended.arguments->command, std::vector<std::string>{"--simulate"});
}

TEST(ParseGlobalArguments, AnswersHelpOrVersionWhicheverComesFirst) {
  EXPECT_TRUE(parse_global_arguments({"-h"}).arguments->help);
  EXPECT_TRUE(parse_global_arguments({"--help", "scan"}).arguments->help);
  const GlobalArguments help_first = *parse_global_arguments({"--help", "--version"}).arguments;
  EXPECT_TRUE(help_first.help);
  EXPECT_FALSE(help_first.version);
  const GlobalArguments version_first = *parse_global_arguments({"--simulate", "--version", "-h"}).arguments;
  EXPECT_FALSE(version_first.help);
  EXPECT_TRUE(version_first.version);
}

TEST(ParseGlobalArguments, RefusesWhatNoCommandTakesBeforeTheCommand) {
  EXPECT_EQ(parse_global_arguments({"--loud", "scan"}).error, "unknown option '--loud' before the command");
  EXPECT_EQ(parse_global_arguments({"--simulate", "-x", "scan"}).error, "unknown option '-x' before the command");
  EXPECT_EQ(parse_global_arguments({"--help", "--loud"}).error, "unknown option '--loud' before the command");
  EXPECT_EQ(parse_global_arguments({"--simulate=", "scan"}).error, "option '--simulate=' needs a directory");
  const GlobalOutcome kept = parse_global_arguments({"--simulate=rig", "scan"});
  ASSERT_TRUE(kept.arguments) << kept.error;
  EXPECT_TRUE(kept.arguments->simulate);
  EXPECT_EQ(kept.arguments->simulate_directory, "rig");
  EXPECT_EQ(kept.arguments->command, std::vector<std::string>{"scan"});
  EXPECT_EQ(parse_global_arguments({"--version=", "scan"}).error, "option '--version' takes no value");
  EXPECT_EQ(parse_global_arguments({"--verbose=1", "scan"}).error, "option '--verbose' takes no value");
  // What follows the command is the command's to judge.
  EXPECT_TRUE(parse_global_arguments({"scan", "--simulate=1"}).arguments);
}

TEST(ParseGlobalArguments, VerboseIsAnOptionOfEveryCommand) {
  const GlobalOutcome verbose = parse_global_arguments({"--verbose", "--simulate", "scan"});
  ASSERT_TRUE(verbose.arguments) << verbose.error;
  EXPECT_TRUE(verbose.arguments->verbose);
  EXPECT_TRUE(verbose.arguments->simulate);
  EXPECT_EQ(verbose.arguments->command, std::vector<std::string>{"scan"});
  const GlobalOutcome quiet = parse_global_arguments({"scan"});
  ASSERT_TRUE(quiet.arguments);
  EXPECT_FALSE(quiet.arguments->verbose);
}

TEST(CommandHelp, ShowsUsageOptionsAndTheSharedOnes) {
  std::ostringstream out;
  print_command_help(sample_syntax(), out);
  const std::string help = out.str();
  EXPECT_EQ(help.rfind("Usage: uvc-stereo config set [options] FILE|-\n\nWrites a configuration.\n", 0), 0u);
  EXPECT_NE(help.find("  --count N "), std::string::npos);
  EXPECT_NE(help.find("  --dry-run "), std::string::npos);
  EXPECT_NE(help.find("  --simulate "), std::string::npos);
  EXPECT_NE(help.find("afresh"), std::string::npos);
  EXPECT_NE(help.find("  --help "), std::string::npos);
  EXPECT_NE(help.find("\nMore words.\n"), std::string::npos);
}

TEST(CommandHelp, LinesUpEveryHelpTextInOneColumnAfterTheWidestOption) {
  CommandSyntax syntax = sample_syntax();
  syntax.options.push_back({"backup", "FILE", "first line\nsecond line"});
  syntax.details = "More words.\n\n\n";
  std::ostringstream out;
  print_command_help(syntax, out);
  const std::string help = out.str();
  // "--backup FILE" is the widest: every help text starts two columns after it.
  EXPECT_NE(help.find("\nOptions:\n  --count N      how many\n  --dry-run      change nothing\n"
                      "  --backup FILE  first line\n                 second line\n  --simulate     run against"),
            std::string::npos)
      << help;
  EXPECT_NE(help.find("\n  --help         show this help and exit\n\nMore words.\n\nExit statuses: 0 on success; "
                      "see 'uvc-stereo --help' for the others.\n"),
            std::string::npos)
      << help;
  EXPECT_EQ(help.find("-h,"), std::string::npos) << "options are shown by their long names only";
}

TEST(CommandHelp, LeavesOutTheSynopsisAndDetailsACommandDoesNotHave) {
  CommandSyntax syntax;
  syntax.name = "scan";
  syntax.summary = "Lists cameras.";
  std::ostringstream out;
  print_command_help(syntax, out);
  EXPECT_EQ(out.str().rfind("Usage: uvc-stereo scan\n\nLists cameras.\n\nOptions:\n  --simulate  run against", 0), 0u)
      << out.str();
  EXPECT_NE(out.str().find("  --help      show this help and exit\n\nExit statuses:"), std::string::npos) << out.str();
}

TEST(ParseUnsigned, AcceptsOnlyWholeNumbersUpToTheLimit) {
  EXPECT_EQ(parse_unsigned("0", 10), 0u);
  EXPECT_EQ(parse_unsigned("10", 10), 10u);
  EXPECT_EQ(parse_unsigned("18446744073709551615", UINT64_MAX), UINT64_MAX);
  EXPECT_FALSE(parse_unsigned("11", 10));
  EXPECT_FALSE(parse_unsigned("18446744073709551616", UINT64_MAX));
  EXPECT_FALSE(parse_unsigned("", 10));
  EXPECT_FALSE(parse_unsigned("-1", 10));
  EXPECT_FALSE(parse_unsigned("1x", 10));
  EXPECT_FALSE(parse_unsigned(" 1", 10));
  // Decimal only, whatever the leading digits: no octal, no hexadecimal, no sign.
  EXPECT_EQ(parse_unsigned("010", 100), 10u);
  EXPECT_FALSE(parse_unsigned("0x10", 100));
  EXPECT_FALSE(parse_unsigned("+5", 10));
}

TEST(ParseUnsigned, ReadsLeadingZerosOfAnyLength) {
  EXPECT_EQ(parse_unsigned("0000000000000000000000001", 10), 1u);
  EXPECT_EQ(parse_unsigned("00000000000000000000000018446744073709551615", UINT64_MAX), UINT64_MAX);
  EXPECT_FALSE(parse_unsigned("00000000000000000000000018446744073709551616", UINT64_MAX));
}

TEST(ParseUsbId, ReadsHexadecimalWithOrWithoutPrefix) {
  EXPECT_EQ(parse_usb_id("0c45"), 0x0C45);
  EXPECT_EQ(parse_usb_id("0x0C45"), 0x0C45);
  EXPECT_EQ(parse_usb_id("FFFF"), 0xFFFF);
  EXPECT_EQ(parse_usb_id("1"), 0x0001);
  EXPECT_FALSE(parse_usb_id("10000"));
  EXPECT_FALSE(parse_usb_id("0x"));
  EXPECT_FALSE(parse_usb_id("g123"));
  EXPECT_FALSE(parse_usb_id(""));
}

TEST(ParseNonNegative, ReadsPlainDecimals) {
  EXPECT_EQ(parse_non_negative("2"), 2.0);
  EXPECT_EQ(parse_non_negative("0.5"), 0.5);
  EXPECT_EQ(parse_non_negative("0"), 0.0);
  EXPECT_FALSE(parse_non_negative("-1"));
  EXPECT_FALSE(parse_non_negative("1e3"));
  EXPECT_FALSE(parse_non_negative("inf"));
  EXPECT_FALSE(parse_non_negative("1.2.3"));
  EXPECT_FALSE(parse_non_negative(""));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli
