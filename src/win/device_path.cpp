#include "win/device_path.h"

#include <cctype>
#include <cstdio>
#include <stdexcept>

namespace tovanel::uvc_stereo::win_detail {
namespace {

// Only ASCII letters fold: the bytes of UTF-8 names must pass through untouched.
std::string ascii_lower(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    }
  }
  return lowered;
}

bool starts_with(std::string_view text, std::string_view prefix) { return text.substr(0, prefix.size()) == prefix; }

// Text after the first `key` up to the next '&' or '#'; empty when `key` is absent.
std::string field_after(std::string_view path, std::string_view key) {
  const std::size_t found = path.find(key);
  if (found == std::string_view::npos) {
    return {};
  }
  const std::size_t begin = found + key.size();
  const std::size_t end = path.find_first_of("&#", begin);
  return std::string(path.substr(begin, end == std::string_view::npos ? std::string_view::npos : end - begin));
}

// The token at `index` when the path is split at every '#', empty tokens counted.
std::string hash_token(std::string_view path, std::size_t index) {
  std::size_t begin = 0;
  for (std::size_t skipped = 0; skipped < index; ++skipped) {
    const std::size_t hash = path.find('#', begin);
    if (hash == std::string_view::npos) {
      return {};
    }
    begin = hash + 1;
  }
  const std::size_t end = path.find('#', begin);
  return std::string(path.substr(begin, end == std::string_view::npos ? std::string_view::npos : end - begin));
}

// Reads the four digits after the first `key`, which needs eight characters from the key's start.
bool parse_hex4_after(std::string_view path, std::string_view key, std::uint16_t& out) {
  const std::size_t found = path.find(key);
  if (found == std::string_view::npos || found + key.size() + 4 > path.size()) {
    return false;
  }
  return parse_hex4(path.substr(found + key.size(), 4), out);
}

}  // namespace

std::string collapse_path_separators(std::string_view text) {
  std::string collapsed;
  collapsed.reserve(text.size());
  for (char c : text) {
    if (c == '\\' || c == '/') {
      c = '#';
    }
    if (c == '#' && !collapsed.empty() && collapsed.back() == '#') {
      continue;
    }
    collapsed.push_back(c);
  }
  const std::size_t first = collapsed.find_first_not_of('#');
  if (first == std::string::npos) {
    return {};
  }
  const std::size_t last = collapsed.find_last_not_of('#');
  return collapsed.substr(first, last - first + 1);
}

std::string normalize_windows_device_path(std::string_view path) {
  std::string text = ascii_lower(path);

  // Vendor and COM strings often end in a terminator or line break; a NUL or line break at
  // the front is not padding, so the front is trimmed of blanks only.
  static constexpr std::string_view kTrailingJunk("\0\t\n\r ", 5);
  const std::size_t last = text.find_last_not_of(kTrailingJunk);
  text.erase(last == std::string::npos ? 0 : last + 1);
  text.erase(0, text.find_first_not_of(" \t"));
  if (text.empty()) {
    return {};
  }

  std::string_view rest(text);
  if (starts_with(rest, "@device:pnp:")) {
    rest.remove_prefix(12);
  } else if (starts_with(rest, "@device:sw:")) {
    rest.remove_prefix(11);
  }
  if (starts_with(rest, "\\\\?\\")) {
    rest.remove_prefix(4);
  } else if (starts_with(rest, "\\?\\")) {
    rest.remove_prefix(3);
  }

  std::string collapsed = collapse_path_separators(rest);
  const std::size_t usb = collapsed.find("usb#");
  if (usb != std::string::npos) {
    collapsed.erase(0, usb);
  }
  // The interface-class GUID and its "\global" tail differ between backends for one device.
  const std::size_t guid = collapsed.find("#{");
  if (guid != std::string::npos) {
    collapsed.erase(guid);
  }
  return collapse_path_separators(collapsed);
}

WindowsUsbIdentity parse_windows_usb_identity(std::string_view path) {
  WindowsUsbIdentity identity;
  // A malformed id is not an error: the field stays 0 and matching falls back to other keys.
  static_cast<void>(parse_hex4_after(path, "vid_", identity.vid));
  static_cast<void>(parse_hex4_after(path, "pid_", identity.pid));
  identity.mi = field_after(path, "mi_");
  identity.col = field_after(path, "col");
  identity.serial = hash_token(path, 2);
  return identity;
}

std::string make_vidpid_string(std::uint16_t vid, std::uint16_t pid) {
  char buffer[16] = {};
  std::snprintf(buffer, sizeof(buffer), "%04x%04x", static_cast<unsigned>(vid), static_cast<unsigned>(pid));
  return std::string(buffer);
}

bool parse_hex4(std::string_view text, std::uint16_t& out) {
  if (text.size() < 4) {
    return false;
  }
  for (std::size_t i = 0; i < 4; ++i) {
    if (std::isxdigit(static_cast<unsigned char>(text[i])) == 0) {
      return false;
    }
  }
  try {
    const unsigned long value = std::stoul(std::string(text.substr(0, 4)), nullptr, 16);
    out = static_cast<std::uint16_t>(value);
    return true;
  } catch (const std::invalid_argument&) {
    return false;
  } catch (const std::out_of_range&) {
    return false;
  }
}

std::optional<UsbVidPid> vid_pid_from_path(std::string_view path) {
  const std::string lowered = ascii_lower(path);
  UsbVidPid ids;
  if (!parse_hex4_after(lowered, "vid_", ids.vid) || !parse_hex4_after(lowered, "pid_", ids.pid)) {
    return std::nullopt;
  }
  return ids;
}

}  // namespace tovanel::uvc_stereo::win_detail
