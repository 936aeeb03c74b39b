#pragma once

#include <cstdio>
#include <string>

// The records the interlock tests write: each names its writer and number and carries a
// fill whose length and letter follow from them, so a record mixed from two writes, or cut
// short, never passes for one that was written.
namespace tovanel::uvc_stereo::interlock_testing {

inline std::string record_json(int writer, int n) {
  const std::size_t length = 16 + static_cast<std::size_t>((writer * 131 + n * 37) % 1500);
  const char letter = static_cast<char>('a' + (writer * 7 + n) % 26);
  return "{\"writer\":" + std::to_string(writer) + ",\"n\":" + std::to_string(n) + ",\"fill\":\"" +
         std::string(length, letter) + "\"}";
}

inline bool is_written_record(const std::string& json) {
  int writer = 0;
  int n = 0;
  if (std::sscanf(json.c_str(), "{\"writer\":%d,\"n\":%d,", &writer, &n) != 2) {
    return false;
  }
  return json == record_json(writer, n);
}

}  // namespace tovanel::uvc_stereo::interlock_testing
