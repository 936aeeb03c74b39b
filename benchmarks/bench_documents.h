#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <random>
#include <string>
#include <vector>

// Inputs the benchmarks share, made the same way on every run.
namespace tovanel::uvc_stereo::bench {

// A pretty-printed camera configuration of about `target` bytes (at least 60), the kind of text the flash record
// holds: nested objects with names, numbers, calibration arrays, flags and the odd escape. Small targets give one
// small object; larger ones repeat a stream profile until the text is long enough.
inline std::string configuration_document(std::size_t target) {
  if (target <= 64) {
    // 60 bytes: a few settings, as a tool might write them on one line.
    return R"({"exposure": 833, "gain": 1.25, "mode": "auto", "hdr": true})";
  }
  std::mt19937 random(static_cast<std::uint32_t>(target));
  std::uniform_real_distribution<double> focal(590.0, 640.0);
  std::uniform_real_distribution<double> small(-0.2, 0.2);
  const auto number = [](double value, int decimals) {
    char text[40];
    std::snprintf(text, sizeof(text), "%.*f", decimals, value);
    return std::string(text);
  };
  std::string text =
      "{\n  \"model\": \"TVN-S2\",\n  \"firmware\": \"V1.2.7\",\n  \"serial\": \"SN-000042\",\n  \"profiles\": [";
  const std::string closing = "\n  ]\n}\n";
  for (int profile = 0; text.size() + closing.size() < target; ++profile) {
    if (profile > 0) {
      text += ",";
    }
    const std::string fx = number(focal(random), 4);
    const std::string fy = number(focal(random), 4);
    text += "\n    {\n      \"name\": \"profile-" + std::to_string(profile) + "\",\n";
    text += "      \"width\": 1280,\n      \"height\": 720,\n      \"fps\": 30,\n";
    text += "      \"exposure_us\": " + std::to_string(1000 + profile % 9000) + ",\n";
    text += "      \"gain\": " + number(1.0 + small(random), 3) + ",\n";
    text += "      \"auto_exposure\": " + std::string(profile % 2 == 0 ? "true" : "false") + ",\n";
    text += "      \"format\": \"MJPG\",\n";
    text += "      \"intrinsics\": [" + fx + ", 0.0, 319.5, 0.0, " + fy + ", 239.5, 0.0, 0.0, 1.0],\n";
    text += "      \"distortion\": [" + number(small(random), 6) + ", " + number(small(random), 6) + ", " +
            number(small(random), 7) + ", " + number(small(random), 7) + ", " + number(small(random), 6) + "],\n";
    text += "      \"note\": \"left \\\"wide\\\" lens, 25\\u00b0C\",\n      \"tags\": null\n    }";
  }
  text += closing;
  return text;
}

// Removes every whitespace byte outside strings.
inline std::string without_whitespace(const std::string& pretty) {
  std::string dense;
  bool in_string = false;
  bool escaped = false;
  for (const char c : pretty) {
    if (in_string) {
      in_string = escaped || c != '"';
      escaped = !escaped && c == '\\';
      dense += c;
    } else if (c != ' ' && c != '\n' && c != '\t' && c != '\r') {
      in_string = c == '"';
      dense += c;
    }
  }
  return dense;
}

// The same kind of configuration with no whitespace to drop, of about `target` bytes too: a longer pretty text is
// made and stripped.
inline std::string minified_configuration_document(std::size_t target) {
  if (target <= 64) {
    return R"({"exposure":833,"gain":1.5,"mode":"auto","hdr":true,"fps":3})";
  }
  const std::string sample = without_whitespace(configuration_document(target));
  const double shrink = static_cast<double>(sample.size()) / static_cast<double>(configuration_document(target).size());
  return without_whitespace(configuration_document(static_cast<std::size_t>(static_cast<double>(target) / shrink)));
}

// A pretty-printed configuration of about `target` bytes (at least 60) whose strings are written by people in
// other languages: names, paths and notes with the escapes JSON writers emit (\" \\ \n \t \u00e9 and surrogate
// pairs) and raw two-, three- and four-byte UTF-8. `text_share` (0..10) is how much of each profile is such text
// rather than numbers; `escapes` chooses the notes full of escapes over the notes in raw UTF-8.
inline std::string multilingual_document(std::size_t target, int text_share, bool escapes) {
  // Raw UTF-8: Latin with accents (two bytes), Chinese, Japanese and Korean (three bytes), emoji (four bytes).
  static const char* const kRawNotes[] = {
      "\xe5\xb7\xa6\xe7\x9b\xb8\xe6\x9c\xba\xe7\x9a\x84\xe9\x95\x9c\xe5\xa4\xb4\xe5\xb7\xb2\xe6\xa0\xa1\xe5\x87\x86"
      "\xef\xbc\x8c\xe6\xb8\xa9\xe5\xba\xa6\xe8\xa1\xa5\xe5\x81\xbf\xe5\xb7\xb2\xe5\xbc\x80\xe5\x90\xaf\xe3\x80\x82",
      "\xe3\x82\xab\xe3\x83\xa1\xe3\x83\xa9\xe3\x81\xae\xe5\x8f\xb3\xe5\x81\xb4\xe3\x81\xae\xe3\x83\xac\xe3\x83\xb3"
      "\xe3\x82\xba\xe3\x81\xaf\xe5\xba\x83\xe8\xa7\x92\xe3\x81\xa7\xe3\x81\x99\xe3\x80\x82",
      "\xec\xb9\xb4\xeb\xa9\x94\xeb\x9d\xbc \xeb\xb3\xb4\xec\xa0\x95 \xec\x99\x84\xeb\xa3\x8c",
      "Caf\xc3\xa9 \xc3\xa0 Z\xc3\xbcrich, r\xc3\xa9glage d\xe2\x80\x99"
      "exposition \xc3\xa9t\xc3\xa9 \xf0\x9f\x93\xb7",
      "\xd0\x9a\xd0\xb0\xd0\xbc\xd0\xb5\xd1\x80\xd0\xb0 \xd0\xbe\xd1\x82\xd0\xba\xd0\xb0\xd0\xbb\xd0\xb8\xd0\xb1\xd1"
      "\x80\xd0\xbe\xd0\xb2\xd0\xb0\xd0\xbd\xd0\xb0 \xf0\x9f\x98\x80",
  };
  // The same kind of notes as a writer that escapes everything outside ASCII spells them, with quoted words,
  // line breaks and Windows paths.
  static const char* const kEscapedNotes[] = {
      R"(\u5de6\u76f8\u673a\u7684\u955c\u5934\u5df2\u6821\u51c6\uff0c\"\u5e7f\u89d2\"\n\u6e29\u5ea6\u8865\u507f)",
      R"(Caf\u00e9 \u00e0 Z\u00fcrich: \"r\u00e9glage\" d\u2019exposition\n\tlot \\\\fab\\line-3 \ud83d\udcf7)",
      R"(C:\\Users\\\u5f20\u4f1f\\AppData\\Local\\Tovanel\\calib \"left\".json\r\n)",
      R"(line one\nline two\n\"quoted\" and \\backslash\\ and \/slash\/ \ud83d\ude00\b\f)",
  };
  std::mt19937 random(static_cast<std::uint32_t>(target) ^ (escapes ? 0x5eedu : 0xc0deu));
  std::uniform_real_distribution<double> focal(590.0, 640.0);
  const auto number = [](double value) {
    char text[40];
    std::snprintf(text, sizeof(text), "%.4f", value);
    return std::string(text);
  };
  const auto note = [&random, escapes] {
    return escapes ? std::string(kEscapedNotes[random() % std::size(kEscapedNotes)])
                   : std::string(kRawNotes[random() % std::size(kRawNotes)]);
  };
  std::string text = escapes ? "{\n  \"model\": \"TVN-S2 \\\"wide\\\"\",\n  \"owner\": \"Jos\\u00e9 \\u738b\",\n"
                             : "{\n  \"model\": \"TVN-S2 \xe5\xb9\xbf\xe8\xa7\x92\",\n  \"owner\": \"Jos\xc3\xa9 "
                               "\xe7\x8e\x8b\",\n";
  text += "  \"profiles\": [";
  const std::string closing = "\n  ]\n}\n";
  for (int profile = 0; text.size() + closing.size() < target; ++profile) {
    if (profile > 0) {
      text += ",";
    }
    text += "\n    {\n      \"name\": \"" +
            std::string(escapes ? "\\u914d\\u7f6e \\\"" : "\xe9\x85\x8d\xe7\xbd\xae \xe2\x84\x96") +
            std::to_string(profile) + (escapes ? "\\\"" : "") + "\",\n";
    text += "      \"fps\": 30,\n      \"focal\": [" + number(focal(random)) + ", " + number(focal(random)) + "],\n";
    for (int i = 0; i < text_share; ++i) {
      text += "      \"note_" + std::to_string(i) + "\": \"" + note() + "\",\n";
    }
    text += "      \"enabled\": " + std::string(profile % 2 == 0 ? "true" : "false") + "\n    }";
  }
  text += closing;
  return text;
}

// Mostly prose in Chinese, Japanese and Korean in raw UTF-8, as a configuration with long notes holds it.
inline std::string utf8_heavy_document(std::size_t target) { return multilingual_document(target, 6, false); }

// Mostly escapes: every non-ASCII character spelled \uXXXX, with quoted words, line breaks and Windows paths.
inline std::string escape_heavy_document(std::size_t target) { return multilingual_document(target, 6, true); }

// The everyday mix: a few notes beside the numbers, half of the documents' notes escaped, half raw.
inline std::string mixed_text_document(std::size_t target) {
  const std::string escaped = multilingual_document(target / 2, 2, true);
  const std::string raw = multilingual_document(target - target / 2, 2, false);
  return "[" + escaped + "," + raw + "]";
}

// `size` bytes that look like a flash record payload: random, from a fixed seed.
inline std::vector<std::uint8_t> random_payload(std::size_t size) {
  std::mt19937_64 random(size);
  std::vector<std::uint8_t> bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::uint8_t>(random() >> 24);
  }
  return bytes;
}

// The sizes every comparison reports: a capability report, a page, the default flash user space, and two large
// inputs that show the throughput away from any cache.
inline const std::vector<std::size_t>& comparison_sizes() {
  static const std::vector<std::size_t> sizes = {60, 4 << 10, 64 << 10, 1 << 20, 16 << 20};
  return sizes;
}

}  // namespace tovanel::uvc_stereo::bench
