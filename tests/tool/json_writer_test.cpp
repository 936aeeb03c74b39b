#include "uvc-stereo/json_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "tool/json_value.h"
#include "uvc-stereo/json_text.h"

namespace tovanel::uvc_stereo::cli {
namespace {

using tool_testing::JsonValue;

TEST(JsonWriter, PlacesCommasBetweenMembersAndElements) {
  JsonWriter json;
  json.begin_object();
  json.key("a").number(1);
  json.key("b").begin_array().number(2).string("x").boolean(false).null().end_array();
  json.key("c").begin_object().end_object();
  json.end_object();
  EXPECT_EQ(json.text(), R"({"a":1,"b":[2,"x",false,null],"c":{}})");
}

TEST(JsonWriter, EscapesEverythingThatWouldBreakAString) {
  EXPECT_EQ(json_quote("a\"b\\c\nd\te\rf"), R"("a\"b\\c\nd\te\rf")");
  EXPECT_EQ(json_quote(std::string("\x01\x1f\x7f", 3)), R"("\u0001\u001f\u007f")");
}

TEST(JsonWriter, AWindowsDevicePathSurvivesTheRoundTrip) {
  const std::string path = "\\\\?\\usb#vid_0c45&pid_6366#7&2f&0&0000#{e5323777}\\global";
  JsonWriter json;
  json.begin_object().key("path").string(path).end_object();
  EXPECT_EQ(JsonValue::parse(json.text())["path"].string(), path);
}

TEST(JsonWriter, BytesAboveAsciiPassThrough) { EXPECT_EQ(json_quote("caf\xc3\xa9"), "\"caf\xc3\xa9\""); }

TEST(JsonWriter, NumbersUseTheShortestFormUpToTheirPrecision) {
  JsonWriter json;
  json.begin_array().number(16.4).number(2048.0).number(-0.1).number(1.0 / 3.0, 4).end_array();
  EXPECT_EQ(json.text(), "[16.4,2048,-0.1,0.3333]");
}

TEST(JsonWriter, NumbersWithoutAJsonFormBecomeNull) {
  JsonWriter json;
  json.begin_array()
      .number(std::numeric_limits<double>::quiet_NaN())
      .number(std::numeric_limits<double>::infinity())
      .end_array();
  EXPECT_EQ(json.text(), "[null,null]");
}

TEST(JsonWriter, WritesTheFullRangeOfIntegers) {
  JsonWriter json;
  json.begin_array()
      .number(std::numeric_limits<std::uint64_t>::max())
      .number(std::numeric_limits<std::int64_t>::min())
      .end_array();
  EXPECT_EQ(json.text(), "[18446744073709551615,-9223372036854775808]");
}

TEST(JsonWriter, BytesThatAreNotUtf8BecomeTheReplacementCharacter) {
  // A camera may report any bytes as its name: the output stays valid UTF-8 JSON.
  EXPECT_EQ(json_quote("cam\xff\xc3("), "\"cam\xef\xbf\xbd\xef\xbf\xbd(\"");
  JsonWriter json;
  json.begin_object()
      .key("friendly_name")
      .string("Tovanel \xfe\x80 cam")
      .key("path")
      .string("\\\\?\\\xc0")
      .end_object();
  const JsonValue parsed = JsonValue::parse(json.text());
  EXPECT_EQ(parsed["friendly_name"].string(), "Tovanel \xef\xbf\xbd\xef\xbf\xbd cam");
  EXPECT_EQ(parsed["path"].string(), "\\\\?\\\xef\xbf\xbd");
}

TEST(JsonWriter, KeysKeepTheOrderTheyAreWrittenIn) {
  JsonWriter json;
  json.begin_object().key("z").number(1).key("a").number(2).key("m").begin_array().end_array().end_object();
  EXPECT_EQ(json.text(), R"({"z":1,"a":2,"m":[]})");
}

TEST(JsonWriter, TheTextAppearsWhenTheOutermostValueIsComplete) {
  JsonWriter json;
  json.begin_object().key("a").begin_array().number(1);
  EXPECT_EQ(json.text(), "");
  json.end_array();
  EXPECT_EQ(json.text(), "");
  json.end_object();
  EXPECT_EQ(json.text(), R"({"a":[1]})");
  JsonWriter scalar;
  scalar.string("x");
  EXPECT_EQ(scalar.text(), R"("x")");
}

TEST(JsonWriter, RoundedNumbersKeepExactlyTheirSignificantDigits) {
  JsonWriter json;
  json.begin_array()
      .number(0.000125)
      .number(1234.56789012, 9)
      .number(0.1 + 0.2)
      .number(12345678901.0)
      .number(1e20)
      .number(-2.5e-7, 3)
      .number(-0.0)
      .end_array();
  EXPECT_EQ(json.text(), "[0.000125,1234.56789,0.3,12345678900,1e+20,-2.5e-07,0]");
}

TEST(JsonWriter, ThePrettyTextIsLaidOutAsConfigurationsAre) {
  JsonWriter json;
  EXPECT_EQ(json.pretty_text(), "");
  json.begin_object().key("cameras").begin_array().begin_object().key("index").number(0);
  json.key("name").string("a\x7f").key("backends").begin_array().end_array().key("gain").number(16.4);
  json.end_object().end_array().key("none").begin_object().end_object();
  EXPECT_EQ(json.pretty_text(), "");
  json.end_object();
  const std::string expected =
      "{\n  \"cameras\": [\n    {\n      \"index\": 0,\n      \"name\": \"a\\u007f\",\n      \"backends\": [],\n"
      "      \"gain\": 16.4\n    }\n  ],\n  \"none\": {}\n}";
  EXPECT_EQ(json.pretty_text(), expected);
  EXPECT_EQ(json.pretty_text(), pretty_print_json(json.text()));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli
