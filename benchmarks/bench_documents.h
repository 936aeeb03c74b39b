#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
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
