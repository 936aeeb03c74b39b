#include "uvc-stereo/arguments.h"

#include <gtest/gtest.h>

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
