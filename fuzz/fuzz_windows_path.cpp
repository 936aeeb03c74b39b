#include <cctype>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz_check.h"
#include "fuzz_input.h"
#include "win/device_path.h"

namespace {

namespace win = tovanel::uvc_stereo::win_detail;
using uvc_stereo_fuzz::escaped;
using uvc_stereo_fuzz::ExactText;

bool starts_with(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

// Printable form of a path for failure messages; only called once a property has failed.
std::string show(std::string_view text) { return escaped(std::string(text)); }

// The separator rule restated on its own: slashes become '#', runs of '#' shrink to one, '#' at the ends goes.
std::string reference_collapse(std::string_view text) {
  std::string out;
  for (char c : text) {
    if (c == '\\' || c == '/') c = '#';
    if (c == '#' && !out.empty() && out.back() == '#') continue;
    out.push_back(c);
  }
  while (!out.empty() && out.front() == '#') out.erase(0, 1);
  while (!out.empty() && out.back() == '#') out.pop_back();
  return out;
}

// The normalising steps restated on their own, one after the other as the path rules list them.
std::string reference_normalize(std::string_view path) {
  std::string text(path);
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  }
  auto trailing_blank = [](char c) { return c == '\0' || c == '\t' || c == '\n' || c == '\r' || c == ' '; };
  while (!text.empty() && trailing_blank(text.back())) text.pop_back();
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.erase(0, 1);
  if (text.empty()) return {};
  if (starts_with(text, "@device:pnp:")) {
    text.erase(0, 12);
  } else if (starts_with(text, "@device:sw:")) {
    text.erase(0, 11);
  }
  if (starts_with(text, "\\\\?\\")) {
    text.erase(0, 4);
  } else if (starts_with(text, "\\?\\")) {
    text.erase(0, 3);
  }
  text = reference_collapse(text);
  if (const auto usb = text.find("usb#"); usb != std::string::npos) text.erase(0, usb);
  if (const auto guid = text.find("#{"); guid != std::string::npos) text.erase(guid);
  return reference_collapse(text);
}

// Normalising its own output changes nothing unless the output still carries an edge that the rules only trim
// before other steps run: blanks at either end (exposed once a '#' next to them is dropped) or a vendor prefix
// (left behind when the input held it twice, or after a leading separator).
bool has_untrimmed_edge(std::string_view normalized) {
  if (normalized.empty()) return false;
  const char first = normalized.front();
  const char last = normalized.back();
  return first == ' ' || first == '\t' || last == '\0' || last == '\t' || last == '\n' || last == '\r' || last == ' ' ||
         starts_with(normalized, "@device:pnp:") || starts_with(normalized, "@device:sw:");
}

void check_canonical_shape(std::string_view normalized, std::string_view path) {
  for (const char c : normalized) {
    FUZZ_CHECK(!(c >= 'A' && c <= 'Z') && c != '\\' && c != '/',
               "normalised form keeps an upper-case letter or a slash: " + show(path));
  }
  FUZZ_CHECK(normalized.find("##") == std::string_view::npos && normalized.find("#{") == std::string_view::npos,
             "normalised form keeps a separator run or a class GUID: " + show(path));
  FUZZ_CHECK(normalized.empty() || (normalized.front() != '#' && normalized.back() != '#'),
             "normalised form keeps an outer separator: " + show(path));
  const auto usb = normalized.find("usb#");
  FUZZ_CHECK(usb == std::string_view::npos || usb == 0, "normalised form has text before usb#: " + show(path));
}

// Text after the first `key` up to the next '&' or '#'.
std::string reference_field(std::string_view path, std::string_view key) {
  const auto found = path.find(key);
  if (found == std::string_view::npos) return {};
  std::string field;
  for (std::size_t i = found + key.size(); i < path.size() && path[i] != '&' && path[i] != '#'; ++i) {
    field.push_back(path[i]);
  }
  return field;
}

std::uint16_t reference_id(std::string_view path, std::string_view key) {
  const auto found = path.find(key);
  if (found == std::string_view::npos || found + 8 > path.size()) return 0;
  unsigned value = 0;
  for (std::size_t i = found + 4; i < found + 8; ++i) {
    const auto c = static_cast<unsigned char>(path[i]);
    if (std::isxdigit(c) == 0) return 0;
    value = value * 16 + static_cast<unsigned>(std::isdigit(c) != 0 ? c - '0' : (c | 0x20) - 'a' + 10);
  }
  return static_cast<std::uint16_t>(value);
}

std::string reference_serial(std::string_view path) {
  std::size_t token = 0;
  std::string serial;
  for (const char c : path) {
    if (c == '#') {
      if (++token > 2) break;
    } else if (token == 2) {
      serial.push_back(c);
    }
  }
  return serial;
}

// Every field of the identity comes from the text alone; the text lives in an exactly sized heap block so that
// any read past its end is caught.
void check_identity(std::string_view path) {
  const ExactText exact(path);
  const win::WindowsUsbIdentity identity = win::parse_windows_usb_identity(exact.view());
  FUZZ_CHECK(identity.vid == reference_id(path, "vid_") && identity.pid == reference_id(path, "pid_"),
             "vid/pid differ from the text: " + show(path));
  FUZZ_CHECK(identity.mi == reference_field(path, "mi_") && identity.col == reference_field(path, "col"),
             "mi/col differ from the text: " + show(path));
  FUZZ_CHECK(identity.serial == reference_serial(path), "serial '" + escaped(identity.serial) + "' for " + show(path));

  const std::optional<win::UsbVidPid> ids = win::vid_pid_from_path(exact.view());
  std::string lowered(path);
  for (char& c : lowered) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
  if (ids.has_value()) {
    FUZZ_CHECK(ids->vid == reference_id(lowered, "vid_") && ids->pid == reference_id(lowered, "pid_"),
               "vid_pid_from_path differs from the text: " + show(path));
  }

  std::uint16_t hex = 0x1234;
  const bool parsed = win::parse_hex4(exact.view(), hex);
  const std::string first4(path.substr(0, 4));
  bool four_hex_digits = first4.size() == 4;
  for (const char c : first4) four_hex_digits = four_hex_digits && std::isxdigit(static_cast<unsigned char>(c)) != 0;
  FUZZ_CHECK(parsed == four_hex_digits, "parse_hex4 answered " + std::to_string(parsed) + " for " + show(path));
  if (parsed) {
    FUZZ_CHECK(reference_id("vid_" + first4, "vid_") == hex, "parse_hex4 value differs for " + show(path));
  } else {
    FUZZ_CHECK(hex == 0x1234, "parse_hex4 changed its target on failure for " + show(path));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ExactText input(data, size);
  const std::string_view path = input.view();

  const std::string collapsed = win::collapse_path_separators(path);
  FUZZ_CHECK(collapsed == reference_collapse(path), "collapse gives '" + escaped(collapsed) + "' for " + show(path));

  const std::string once = win::normalize_windows_device_path(path);
  FUZZ_CHECK(once == reference_normalize(path), "normalise gives '" + escaped(once) + "' for " + show(path));
  FUZZ_CHECK(once.size() <= path.size(), "normalising lengthened " + show(path));
  check_canonical_shape(once, path);

  const ExactText once_exact(once);
  const std::string twice = win::normalize_windows_device_path(once_exact.view());
  if (has_untrimmed_edge(once)) {
    FUZZ_CHECK(twice.size() < once.size(),
               "a second pass neither kept nor shortened '" + escaped(once) + "' from " + show(path));
  } else {
    FUZZ_CHECK(twice == once, "normalising '" + escaped(once) + "' again gives '" + escaped(twice) + "'");
  }

  check_identity(path);
  check_identity(once);

  uvc_stereo_fuzz::FuzzInput ids(data, size);
  const std::uint16_t vid = ids.take_u16();
  const std::uint16_t pid = ids.take_u16();
  const std::string key = win::make_vidpid_string(vid, pid);
  FUZZ_CHECK(key.size() == 8 && key.find_first_not_of("0123456789abcdef") == std::string::npos &&
                 reference_id("vid_" + key.substr(0, 4), "vid_") == vid &&
                 reference_id("vid_" + key.substr(4, 4), "vid_") == pid,
             "vid/pid key '" + key + "' does not spell its ids");
  return 0;
}
