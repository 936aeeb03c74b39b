#include "uvc-stereo/json_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "uvc_stereo/json.h"

namespace tovanel::uvc_stereo::cli {
namespace {

// Every leaf of `minified` as "path=value ", in order.
std::string listed(std::string_view minified) {
  std::string text;
  for (const JsonLeaf& leaf : flatten_json(minified)) {
    text += leaf.path + "=" + leaf.value + " ";
  }
  return text;
}

TEST(PrettyPrintJson, IndentsObjectsAndArraysByTwoSpaces) {
  EXPECT_EQ(pretty_print_json(R"({"a":[1,2],"b":{"c":"x"}})"),
            "{\n  \"a\": [\n    1,\n    2\n  ],\n  \"b\": {\n    \"c\": \"x\"\n  }\n}");
}

TEST(PrettyPrintJson, KeepsEmptyContainersOnOneLine) {
  EXPECT_EQ(pretty_print_json(R"({"a":{},"b":[]})"), "{\n  \"a\": {},\n  \"b\": []\n}");
}

TEST(PrettyPrintJson, LeavesStringsAlone) {
  EXPECT_EQ(pretty_print_json(R"(["{,:}\"[",1])"), "[\n  \"{,:}\\\"[\",\n  1\n]");
}

TEST(PrettyPrintJson, MinifiesBackToTheSameText) {
  const std::string minified = R"({"name":"rig","k":[[1,2],[3,{"z":null}]],"t":true,"e":"a\\b"})";
  const Result<std::string> again = minify_and_validate_json(pretty_print_json(minified));
  ASSERT_TRUE(again.ok()) << again.status().message();
  EXPECT_EQ(again.value(), minified);
}

TEST(FlattenJson, GivesEveryLeafWithItsPointer) {
  const std::vector<JsonLeaf> leaves = flatten_json(R"({"a":{"b":1,"c":[true,"x"]},"d/e~":null})");
  ASSERT_EQ(leaves.size(), 4u);
  EXPECT_EQ(leaves[0].path, "/a/b");
  EXPECT_EQ(leaves[0].value, "1");
  EXPECT_EQ(leaves[1].path, "/a/c/0");
  EXPECT_EQ(leaves[1].value, "true");
  EXPECT_EQ(leaves[2].path, "/a/c/1");
  EXPECT_EQ(leaves[2].value, "\"x\"");
  EXPECT_EQ(leaves[3].path, "/d~1e~0");
  EXPECT_EQ(leaves[3].value, "null");
}

TEST(FlattenJson, StopsQuietlyOnTruncatedText) {
  const std::vector<JsonLeaf> leaves = flatten_json(R"({"a":[1,)");
  ASSERT_EQ(leaves.size(), 1u);
  EXPECT_EQ(leaves[0].path, "/a/0");
}

TEST(PositionOfOffset, CountsLinesAndColumnsFromOne) {
  const std::string text = "{\n  \"a\": [1,\n  2,]\n}";
  const TextPosition start = position_of_offset(text, 0);
  EXPECT_EQ(start.line, 1u);
  EXPECT_EQ(start.column, 1u);
  const TextPosition bracket = position_of_offset(text, text.find(']'));
  EXPECT_EQ(bracket.line, 3u);
  EXPECT_EQ(bracket.column, 5u);
}

TEST(PositionOfOffset, AnOffsetAtTheEndPointsJustPastTheText) {
  const TextPosition end = position_of_offset("ab\ncd", 5);
  EXPECT_EQ(end.line, 2u);
  EXPECT_EQ(end.column, 3u);
}

TEST(OffsetInMessage, ReadsTheOffsetOfAJsonFailure) {
  std::size_t offset = 0;
  ASSERT_TRUE(offset_in_message("invalid JSON value at offset 17", offset));
  EXPECT_EQ(offset, 17u);
  ASSERT_TRUE(offset_in_message("unexpected trailing characters at offset 2", offset));
  EXPECT_EQ(offset, 2u);
  EXPECT_FALSE(offset_in_message("json text is empty", offset));
  EXPECT_FALSE(offset_in_message("at offset x", offset));
}

TEST(PositionOfOffset, AnOffsetAtOrPastTheEndCountsTheWholeText) {
  for (const std::size_t offset : {std::size_t{6}, std::size_t{7}, std::size_t{99}}) {
    const TextPosition past = position_of_offset("ab\ncd\n", offset);
    EXPECT_EQ(past.line, 3u) << offset;
    EXPECT_EQ(past.column, 1u) << offset;
  }
}

TEST(OffsetInMessage, TakesOnlyPlainDigitsThatEndTheMessage) {
  std::size_t offset = 7;
  for (const char* message :
       {"invalid JSON value at offset ", "invalid JSON value at offset +5", "invalid JSON value at offset -5",
        "invalid JSON value at offset 5 ", "invalid JSON value at offset  5", "invalid JSON value at offset 5x",
        "invalid JSON value at offset 1234567890123456789"}) {
    EXPECT_FALSE(offset_in_message(message, offset)) << message;
  }
  EXPECT_EQ(offset, 7u) << "a refused message leaves the offset alone";
  ASSERT_TRUE(offset_in_message("invalid JSON value at offset 000000000000000042", offset));
  EXPECT_EQ(offset, 42u);
  ASSERT_TRUE(offset_in_message("invalid JSON value at offset 999999999999999999", offset));
  EXPECT_EQ(offset, 999999999999999999u);
}

TEST(PrettyPrintJson, KeepsEveryNumberAndEscapeAsSpelled) {
  // A configuration printed for editing and written back must not lose a digit: these numbers
  // do not fit a double or a 64-bit integer, and the escapes are the user's own.
  const std::string minified =
      R"({"serial":123456789012345678901234567890,"gain":1.00000000000000000001,"z":-0,"e":1E5,"s":"\u0041\/\n"})";
  const std::string pretty = pretty_print_json(minified);
  EXPECT_EQ(pretty,
            "{\n  \"serial\": 123456789012345678901234567890,\n  \"gain\": 1.00000000000000000001,\n  \"z\": -0,\n"
            "  \"e\": 1E5,\n  \"s\": \"\\u0041\\/\\n\"\n}");
  const Result<std::string> again = minify_and_validate_json(pretty);
  ASSERT_TRUE(again.ok()) << again.status().message();
  EXPECT_EQ(again.value(), minified);
}

TEST(FlattenJson, EmptyContainersAndNullAreDifferentLeaves) {
  EXPECT_EQ(listed(R"({"a":[],"b":{},"c":null,"d":[[]]})"), "/a=[] /b={} /c=null /d/0=[] ");
}

TEST(FlattenJson, KeepsARepeatedKeyAndTheDocumentsOrder) {
  EXPECT_EQ(listed(R"({"z":1,"a":2,"z":3})"), "/z=1 /a=2 /z=3 ");
}

TEST(FlattenJson, ClosesSeveralContainersAtOnceAndGoesOn) {
  EXPECT_EQ(listed(R"({"a":[[1,{"b":[2]}]],"c":{"d":{}},"e":3})"), "/a/0/0=1 /a/0/1/b/0=2 /c/d={} /e=3 ");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli
