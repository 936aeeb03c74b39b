#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace uvc_stereo_fuzz {

// A broken property ends the run the way a crash does: libFuzzer keeps the input that caused it and the
// corpus replay exits non-zero, so a regression can never pass quietly.
[[noreturn]] inline void fail_property(const char* file, int line, const char* condition, const std::string& detail) {
  std::fprintf(stderr, "%s:%d: property failed: %s\n  %s\n", file, line, condition, detail.c_str());
  std::fflush(stderr);
  std::abort();
}

// Printable form of arbitrary bytes for failure messages.
inline std::string escaped(const std::string& bytes) {
  static const char kHex[] = "0123456789abcdef";
  std::string out;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F && byte != '\\') {
      out.push_back(c);
    } else {
      out += "\\x";
      out.push_back(kHex[byte >> 4]);
      out.push_back(kHex[byte & 0x0F]);
    }
  }
  return out;
}

}  // namespace uvc_stereo_fuzz

#define FUZZ_CHECK(condition, detail)                                             \
  do {                                                                            \
    if (!(condition)) {                                                           \
      ::uvc_stereo_fuzz::fail_property(__FILE__, __LINE__, #condition, (detail)); \
    }                                                                             \
  } while (false)
