#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "uvc_stereo/json.h"

namespace tovanel::uvc_stereo {
namespace {

using namespace std::string_view_literals;

::testing::AssertionResult minifies_to(std::string_view input, std::string_view expected) {
  const Result<std::string> result = minify_and_validate_json(input);
  if (!result.ok()) {
    return ::testing::AssertionFailure() << "refused with \"" << result.status().message() << "\"";
  }
  if (result.value() != expected) {
    return ::testing::AssertionFailure() << "produced \"" << result.value() << "\"";
  }
  if (result.status().code() != ErrorCode::Ok || !result.status().message().empty()) {
    return ::testing::AssertionFailure() << "succeeded with a non-default status";
  }
  return ::testing::AssertionSuccess();
}

::testing::AssertionResult passes_unchanged(std::string_view input) { return minifies_to(input, input); }

::testing::AssertionResult refused_with(std::string_view input, std::string_view message) {
  const Result<std::string> result = minify_and_validate_json(input);
  if (result.ok()) {
    return ::testing::AssertionFailure() << "accepted as \"" << result.value() << "\"";
  }
  if (result.status().code() != ErrorCode::InvalidJson) {
    return ::testing::AssertionFailure() << "refused with code " << error_code_name(result.status().code());
  }
  if (result.status().message() != message) {
    return ::testing::AssertionFailure() << "refused with \"" << result.status().message() << "\"";
  }
  return ::testing::AssertionSuccess();
}

std::string invalid_at(std::size_t offset) { return "invalid JSON value at offset " + std::to_string(offset); }

std::string trailing_at(std::size_t offset) {
  return "unexpected trailing characters at offset " + std::to_string(offset);
}

// Document level.

TEST(JsonMinifier, RemovesWhitespaceAroundEveryToken) {
  EXPECT_TRUE(minifies_to("  {\"a\" : [1, 2.5e+3, true, null]}  ", "{\"a\":[1,2.5e+3,true,null]}"));
}

TEST(JsonMinifier, AcceptsAnyKindOfTopLevelValue) {
  EXPECT_TRUE(passes_unchanged("42"));
  EXPECT_TRUE(passes_unchanged("\"x\""));
  EXPECT_TRUE(passes_unchanged("null"));
  EXPECT_TRUE(passes_unchanged("true"));
  EXPECT_TRUE(passes_unchanged("false"));
  EXPECT_TRUE(passes_unchanged("[]"));
  EXPECT_TRUE(passes_unchanged("{}"));
  EXPECT_TRUE(minifies_to(" \t-0.5E-7\r\n", "-0.5E-7"));
}

TEST(JsonMinifier, RefusesEmptyTextWithoutAnOffset) {
  const Result<std::string> result = minify_and_validate_json("");
  ASSERT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), ErrorCode::InvalidJson);
  EXPECT_EQ(static_cast<int>(result.status().code()), 12);
  EXPECT_EQ(result.status().message(), "json text is empty");
}

TEST(JsonMinifier, ReportsWhitespaceOnlyTextAsInvalidValueAtItsLength) {
  EXPECT_TRUE(refused_with("   ", "invalid JSON value at offset 3"));
  EXPECT_TRUE(refused_with("\n", invalid_at(1)));
  EXPECT_TRUE(refused_with(" \t\r\n \t\r\n", invalid_at(8)));
}

TEST(JsonMinifier, ReportsUnknownFirstByteAtItsOwnOffset) {
  EXPECT_TRUE(refused_with("  ]", invalid_at(2)));
  EXPECT_TRUE(refused_with("x", invalid_at(0)));
  EXPECT_TRUE(refused_with("'a'", invalid_at(0)));
}

TEST(JsonMinifier, ReportsBytesAfterTheValueAsTrailingCharacters) {
  EXPECT_TRUE(refused_with("{}x", "unexpected trailing characters at offset 2"));
  EXPECT_TRUE(refused_with("truex", "unexpected trailing characters at offset 4"));
  EXPECT_TRUE(refused_with("[] []", trailing_at(3)));
  EXPECT_TRUE(refused_with("1 2", trailing_at(2)));
  EXPECT_TRUE(refused_with("\"a\"\"b\"", trailing_at(3)));
}

// Whitespace.

TEST(JsonMinifier, TreatsOnlySpaceTabLineFeedAndCarriageReturnAsWhitespace) {
  EXPECT_TRUE(minifies_to(" \t\n\r[ \t\n\r1 \t\n\r, \t\n\r2 \t\n\r] \t\n\r", "[1,2]"));
  EXPECT_TRUE(minifies_to("{ \"k\" \r\n:\t\"v\" }", "{\"k\":\"v\"}"));
}

TEST(JsonMinifier, RefusesFormFeedAndVerticalTabAsWhitespace) {
  EXPECT_TRUE(refused_with("\f1", invalid_at(0)));
  EXPECT_TRUE(refused_with("\v1", invalid_at(0)));
  EXPECT_TRUE(refused_with("1\f", trailing_at(1)));
  EXPECT_TRUE(refused_with("1 \v", trailing_at(2)));
  EXPECT_TRUE(refused_with("[1,\v2]", invalid_at(3)));
  EXPECT_TRUE(refused_with("[1\f]", invalid_at(2)));
  EXPECT_TRUE(refused_with("{\"a\"\f:1}", invalid_at(4)));
  EXPECT_TRUE(refused_with(std::string(1, '\xA0') + "1", invalid_at(0)));
}

TEST(JsonMinifier, KeepsWhitespaceInsideStrings) {
  EXPECT_TRUE(minifies_to(" \" a \\t b  \" ", "\" a \\t b  \""));
  EXPECT_TRUE(minifies_to("{ \"key with spaces\" : \"  \" }", "{\"key with spaces\":\"  \"}"));
}

// Literals.

TEST(JsonMinifier, StopsAMisspelledLiteralAtItsFirstWrongByte) {
  EXPECT_TRUE(refused_with("tru", invalid_at(3)));
  EXPECT_TRUE(refused_with("nul1", invalid_at(3)));
  EXPECT_TRUE(refused_with("fals", invalid_at(4)));
  EXPECT_TRUE(refused_with("falsy", invalid_at(4)));
  EXPECT_TRUE(refused_with("t", invalid_at(1)));
  EXPECT_TRUE(refused_with("nUll", invalid_at(1)));
  EXPECT_TRUE(refused_with("True", invalid_at(0)));
  EXPECT_TRUE(refused_with("[tx]", invalid_at(2)));
}

TEST(JsonMinifier, MatchesLiteralsAsPrefixesAndLeavesTheRestToTheCaller) {
  EXPECT_TRUE(refused_with("nullnull", trailing_at(4)));
  EXPECT_TRUE(refused_with("[falsey]", invalid_at(6)));
  EXPECT_TRUE(minifies_to("[ true , false , null ]", "[true,false,null]"));
}

// Numbers.

TEST(JsonMinifier, CopiesNumbersExactlyAsWritten) {
  EXPECT_TRUE(passes_unchanged("0"));
  EXPECT_TRUE(passes_unchanged("-0"));
  EXPECT_TRUE(passes_unchanged("1E+0010"));
  EXPECT_TRUE(passes_unchanged("-0.000e-00"));
  EXPECT_TRUE(passes_unchanged("123456789012345678901234567890e999999"));
  EXPECT_TRUE(passes_unchanged("[10,0.5,-3e2,4E-1]"));
}

TEST(JsonMinifier, TakesNoDigitsAfterALeadingZero) {
  EXPECT_TRUE(refused_with("01", "unexpected trailing characters at offset 1"));
  EXPECT_TRUE(refused_with("-01", trailing_at(2)));
  EXPECT_TRUE(refused_with("[00]", invalid_at(2)));
}

TEST(JsonMinifier, RefusesANumberCutShort) {
  EXPECT_TRUE(refused_with("-", invalid_at(1)));
  EXPECT_TRUE(refused_with("1.", invalid_at(2)));
  EXPECT_TRUE(refused_with("1e", invalid_at(2)));
  EXPECT_TRUE(refused_with("1e+", invalid_at(3)));
  EXPECT_TRUE(refused_with("1E-", invalid_at(3)));
  EXPECT_TRUE(refused_with("[-", invalid_at(2)));
}

TEST(JsonMinifier, StopsAMalformedNumberAtTheOffendingByte) {
  EXPECT_TRUE(refused_with("+1", invalid_at(0)));
  EXPECT_TRUE(refused_with(".5", invalid_at(0)));
  EXPECT_TRUE(refused_with("-a", invalid_at(1)));
  EXPECT_TRUE(refused_with("--1", invalid_at(1)));
  EXPECT_TRUE(refused_with("-.5", invalid_at(1)));
  EXPECT_TRUE(refused_with("1.a", invalid_at(2)));
  EXPECT_TRUE(refused_with("1.e5", invalid_at(2)));
  EXPECT_TRUE(refused_with("1e+a", invalid_at(3)));
  EXPECT_TRUE(refused_with("1ea", invalid_at(2)));
  EXPECT_TRUE(refused_with("1e+-1", invalid_at(3)));
  EXPECT_TRUE(refused_with("[1.]", invalid_at(3)));
}

TEST(JsonMinifier, LeavesBytesAfterACompleteNumberToTheCaller) {
  EXPECT_TRUE(refused_with("1.5.2", trailing_at(3)));
  EXPECT_TRUE(refused_with("1e5e5", trailing_at(3)));
  EXPECT_TRUE(refused_with("12a", trailing_at(2)));
  EXPECT_TRUE(refused_with("[1a]", invalid_at(2)));
}

// Strings.

TEST(JsonMinifier, CopiesEveryEscapeExactlyAsWritten) {
  EXPECT_TRUE(passes_unchanged(R"("\" \/ \\ \b \f \n \r \t")"));
  EXPECT_TRUE(passes_unchanged(R"("\u00e9\u00E9\uABCD\uffff\u0000")"));
  EXPECT_TRUE(minifies_to(R"( [ "\/" ] )", R"(["\/"])"));
}

TEST(JsonMinifier, ReportsAnUnterminatedStringAtTheEndOfText) {
  EXPECT_TRUE(refused_with("\"", invalid_at(1)));
  EXPECT_TRUE(refused_with("\"abc", invalid_at(4)));
  EXPECT_TRUE(refused_with("\"abc\\", invalid_at(5)));
  EXPECT_TRUE(refused_with("\"abc\\n", invalid_at(6)));
  EXPECT_TRUE(refused_with("\"\\u0041", invalid_at(7)));
  EXPECT_TRUE(refused_with("[\"a", invalid_at(3)));
}

TEST(JsonMinifier, ReportsAnUnknownEscapeJustPastIt) {
  EXPECT_TRUE(refused_with(R"("\x")", invalid_at(3)));
  EXPECT_TRUE(refused_with(R"("ab\a")", invalid_at(5)));
  EXPECT_TRUE(refused_with(R"("\U0041")", invalid_at(3)));
  EXPECT_TRUE(refused_with(R"("\')", invalid_at(3)));
  EXPECT_TRUE(refused_with("\"\\\n\"", invalid_at(3)));
}

TEST(JsonMinifier, ReportsABadUnicodeEscapeAtItsFirstHexDigit) {
  EXPECT_TRUE(refused_with(R"("\u12G4")", invalid_at(3)));
  EXPECT_TRUE(refused_with(R"("\uG234")", invalid_at(3)));
  EXPECT_TRUE(refused_with(R"("ab\u123")", invalid_at(5)));
  EXPECT_TRUE(refused_with(R"("\u-123")", invalid_at(3)));
}

TEST(JsonMinifier, ReportsAUnicodeEscapeWithFewerThanFourBytesLeftAtItsFirstDigit) {
  EXPECT_TRUE(refused_with("\"\\u", invalid_at(3)));
  EXPECT_TRUE(refused_with("\"\\u12", invalid_at(3)));
  EXPECT_TRUE(refused_with("\"\\u123", invalid_at(3)));
}

TEST(JsonMinifier, PassesASurrogatePairUnchanged) {
  EXPECT_TRUE(passes_unchanged(R"("\ud83d\ude00")"));
  EXPECT_TRUE(passes_unchanged(R"("\uD83D\uDE00")"));
  EXPECT_TRUE(passes_unchanged(R"("\ud800\udc00\udbff\udfff")"));
  EXPECT_TRUE(passes_unchanged(R"("\uDbFf\uDfFf")"));
}

TEST(JsonMinifier, AcceptsUnitsJustOutsideTheSurrogateRange) {
  EXPECT_TRUE(passes_unchanged(R"("\ud7ff")"));
  EXPECT_TRUE(passes_unchanged(R"("\ue000")"));
}

TEST(JsonMinifier, RefusesALoneHighSurrogateJustPastIt) {
  EXPECT_TRUE(refused_with(R"("\ud800")", invalid_at(7)));
  EXPECT_TRUE(refused_with(R"("\udbff")", invalid_at(7)));
  EXPECT_TRUE(refused_with(R"("\ud800abcdef")", invalid_at(7)));
  EXPECT_TRUE(refused_with(R"("\ud800\n0000")", invalid_at(7)));
  EXPECT_TRUE(refused_with(R"("\ud800/u0000")", invalid_at(7)));
}

TEST(JsonMinifier, RequiresSixBytesAfterAHighSurrogate) {
  EXPECT_TRUE(refused_with("\"\\ud800\\udc0", invalid_at(7)));
  EXPECT_TRUE(refused_with("\"\\ud800\\udc00", invalid_at(13)));
}

TEST(JsonMinifier, RefusesAHighSurrogateFollowedByAnotherUnitAtThatUnitsFirstDigit) {
  EXPECT_TRUE(refused_with(R"("\ud800\u0041")", invalid_at(9)));
  EXPECT_TRUE(refused_with(R"("\ud800\ud800")", invalid_at(9)));
  EXPECT_TRUE(refused_with(R"("\ud800\udbff")", invalid_at(9)));
  EXPECT_TRUE(refused_with(R"("\ud800\ue000")", invalid_at(9)));
  EXPECT_TRUE(refused_with(R"("\ud800\u00G1")", invalid_at(9)));
  EXPECT_TRUE(refused_with(R"(["x\ud83d\u12"])", invalid_at(11)));
}

TEST(JsonMinifier, RefusesALoneLowSurrogateJustPastIt) {
  EXPECT_TRUE(refused_with(R"("\udc00")", invalid_at(7)));
  EXPECT_TRUE(refused_with(R"("\uDFFF")", invalid_at(7)));
  EXPECT_TRUE(refused_with(R"("ab\ude00\ud83d")", invalid_at(9)));
}

TEST(JsonMinifier, RefusesRawControlBytesInStringsJustPastThem) {
  EXPECT_TRUE(refused_with("\"a\tb\"", invalid_at(3)));
  EXPECT_TRUE(refused_with("\"a\nb\"", invalid_at(3)));
  EXPECT_TRUE(refused_with("\"\r\"", invalid_at(2)));
  EXPECT_TRUE(refused_with("\"\x1f\"", invalid_at(2)));
  EXPECT_TRUE(refused_with("\"ab\x01", invalid_at(4)));
  EXPECT_TRUE(refused_with("\"a\0b\""sv, invalid_at(3)));
}

TEST(JsonMinifier, PassesBytesFromSpaceUpwardsInStrings) {
  EXPECT_TRUE(passes_unchanged("\" \x7f\""));
  EXPECT_TRUE(passes_unchanged("\"\xC3\""));
  EXPECT_TRUE(passes_unchanged("\"caf\xC3\xA9\""));
}

TEST(JsonMinifier, PassesEveryHighByteUnchangedWithoutCheckingUtf8) {
  std::string text = "\"";
  for (int byte = 0x80; byte <= 0xFF; ++byte) {
    text += static_cast<char>(byte);
  }
  text += '"';
  EXPECT_TRUE(passes_unchanged(text));
  EXPECT_TRUE(minifies_to("{ " + text + " : " + text + " }", "{" + text + ":" + text + "}"));
}

// Arrays.

TEST(JsonMinifier, RefusesATrailingCommaInAnArrayAtTheClosingBracket) {
  EXPECT_TRUE(refused_with("[1,]", "invalid JSON value at offset 3"));
  EXPECT_TRUE(refused_with("[1, ]", invalid_at(4)));
  EXPECT_TRUE(refused_with("[,1]", invalid_at(1)));
}

TEST(JsonMinifier, RefusesAMissingCommaBetweenElements) {
  EXPECT_TRUE(refused_with("[1 2]", invalid_at(3)));
  EXPECT_TRUE(refused_with("[1;2]", invalid_at(2)));
  EXPECT_TRUE(refused_with("[\"a\"\"b\"]", invalid_at(4)));
}

TEST(JsonMinifier, ReportsAnUnclosedArrayAtTheEndOfText) {
  EXPECT_TRUE(refused_with("[", invalid_at(1)));
  EXPECT_TRUE(refused_with("[  ", invalid_at(3)));
  EXPECT_TRUE(refused_with("[1", invalid_at(2)));
  EXPECT_TRUE(refused_with("[1 ", invalid_at(3)));
  EXPECT_TRUE(refused_with("[1,", invalid_at(3)));
  EXPECT_TRUE(refused_with("[1, ", invalid_at(4)));
  EXPECT_TRUE(refused_with("[[]", invalid_at(3)));
}

TEST(JsonMinifier, RefusesAMismatchedCloser) {
  EXPECT_TRUE(refused_with("[}", invalid_at(1)));
  EXPECT_TRUE(refused_with("[1}", invalid_at(2)));
  EXPECT_TRUE(refused_with("{\"a\":1]", invalid_at(6)));
  EXPECT_TRUE(refused_with("[{]", invalid_at(2)));
  EXPECT_TRUE(refused_with("{\"a\":[}", invalid_at(6)));
}

TEST(JsonMinifier, MinifiesNestedContainers) {
  EXPECT_TRUE(
      minifies_to("[ [ ] , { } , [ [ 1 ] ] , { \"a\" : { \"b\" : [ ] } } ]", "[[],{},[[1]],{\"a\":{\"b\":[]}}]"));
}

// Objects.

TEST(JsonMinifier, KeepsDuplicateKeysInTheirOrder) {
  EXPECT_TRUE(minifies_to("{\"b\": 1, \"a\": 2, \"b\": 3}", "{\"b\":1,\"a\":2,\"b\":3}"));
}

TEST(JsonMinifier, RefusesAMissingColonAtTheByteWhereItShouldBe) {
  EXPECT_TRUE(refused_with("{\"a\" 1}", invalid_at(5)));
  EXPECT_TRUE(refused_with("{\"a\"1}", invalid_at(4)));
  EXPECT_TRUE(refused_with("{\"a\",1}", invalid_at(4)));
}

TEST(JsonMinifier, RefusesAMissingCommaBetweenMembers) {
  EXPECT_TRUE(refused_with("{\"a\":1 \"b\":2}", invalid_at(7)));
  EXPECT_TRUE(refused_with("{\"a\":1;\"b\":2}", invalid_at(6)));
}

TEST(JsonMinifier, RefusesAKeyThatIsNotAString) {
  EXPECT_TRUE(refused_with("{1:2}", invalid_at(1)));
  EXPECT_TRUE(refused_with("{a:1}", invalid_at(1)));
  EXPECT_TRUE(refused_with("{ null : 1}", invalid_at(2)));
  EXPECT_TRUE(refused_with("{\"a\":1, 2:3}", invalid_at(8)));
  EXPECT_TRUE(refused_with("{'a':1}", invalid_at(1)));
}

TEST(JsonMinifier, RefusesATrailingCommaInAnObjectAtTheClosingBrace) {
  EXPECT_TRUE(refused_with("{\"a\":1,}", invalid_at(7)));
  EXPECT_TRUE(refused_with("{\"a\":1 , }", invalid_at(9)));
  EXPECT_TRUE(refused_with("{,}", invalid_at(1)));
}

TEST(JsonMinifier, RefusesAMemberWithoutAValue) {
  EXPECT_TRUE(refused_with("{\"a\":}", invalid_at(5)));
  EXPECT_TRUE(refused_with("{\"a\": }", invalid_at(6)));
}

TEST(JsonMinifier, ReportsAnUnclosedObjectAtTheEndOfText) {
  EXPECT_TRUE(refused_with("{", invalid_at(1)));
  EXPECT_TRUE(refused_with("{ ", invalid_at(2)));
  EXPECT_TRUE(refused_with("{\"a", invalid_at(3)));
  EXPECT_TRUE(refused_with("{\"a\"", invalid_at(4)));
  EXPECT_TRUE(refused_with("{\"a\" ", invalid_at(5)));
  EXPECT_TRUE(refused_with("{\"a\":", invalid_at(5)));
  EXPECT_TRUE(refused_with("{\"a\":1", invalid_at(6)));
  EXPECT_TRUE(refused_with("{\"a\":1,", invalid_at(7)));
  EXPECT_TRUE(refused_with("{\"a\":1, ", invalid_at(8)));
  EXPECT_TRUE(refused_with("{\"a\":{}", invalid_at(7)));
}

// Output.

TEST(JsonMinifier, NeverProducesMoreBytesThanItReads) {
  const std::string_view inputs[] = {
      "{}", " [ 1 , 2 ] ", "\"  \"", "{\"a\":[true,false,null,\"\\ud83d\\ude00\"]}", "\t\r\n0\t\r\n",
  };
  for (const std::string_view input : inputs) {
    const Result<std::string> result = minify_and_validate_json(input);
    ASSERT_TRUE(result.ok()) << input;
    EXPECT_LE(result.value().size(), input.size()) << input;
  }
}

TEST(JsonMinifier, GivesTheSameTextWhenMinifyingItsOwnOutput) {
  const std::string input = " { \"k\" : [ 1 , \" spaced  text \" , { \"n\" : null } ] , \"e\" : \"\\u00e9\" } ";
  const Result<std::string> once = minify_and_validate_json(input);
  ASSERT_TRUE(once.ok()) << once.status().message();
  EXPECT_EQ(once.value(), "{\"k\":[1,\" spaced  text \",{\"n\":null}],\"e\":\"\\u00e9\"}");
  EXPECT_TRUE(passes_unchanged(once.value()));
}

}  // namespace
}  // namespace tovanel::uvc_stereo
