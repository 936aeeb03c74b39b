#include "uvc-stereo/file_io.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace tovanel::uvc_stereo::cli {
namespace {

struct FileCloser {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

std::string system_error(const std::string& verb, const std::string& path, int error_number) {
  return "cannot " + verb + " '" + path + "': " + std::strerror(error_number);
}

std::tm utc_time(std::time_t when) {
  std::tm parts{};
#if defined(_WIN32)
  gmtime_s(&parts, &when);
#else
  gmtime_r(&when, &parts);
#endif
  return parts;
}

}  // namespace

bool read_file(const std::string& path, std::string& content, std::string& error) {
  errno = 0;
  const File file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    error = system_error("read", path, errno);
    return false;
  }
  content.clear();
  char buffer[4096];
  std::size_t got = 0;
  while ((got = std::fread(buffer, 1, sizeof(buffer), file.get())) > 0) {
    content.append(buffer, got);
  }
  if (std::ferror(file.get()) != 0) {
    error = system_error("read", path, errno != 0 ? errno : EIO);
    return false;
  }
  return true;
}

bool write_file(const std::string& path, std::string_view content, std::string& error) {
  errno = 0;
  File file(std::fopen(path.c_str(), "wb"));
  if (!file) {
    error = system_error("write", path, errno);
    return false;
  }
  const bool written = std::fwrite(content.data(), 1, content.size(), file.get()) == content.size();
  // Closing flushes, and a full disk may only show up then.
  const bool closed = std::fclose(file.release()) == 0;
  if (!written || !closed) {
    error = system_error("write", path, errno != 0 ? errno : EIO);
    return false;
  }
  return true;
}

bool file_exists(const std::string& path) {
  const File file(std::fopen(path.c_str(), "rb"));
  return file != nullptr;
}

std::string backup_file_name(std::string_view label, std::time_t when) {
  std::string safe;
  for (char c : label) {
    const bool keep =
        (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '_';
    safe += keep ? c : '_';
  }
  if (safe.empty()) {
    safe = "camera";
  }
  const std::tm parts = utc_time(when);
  char stamp[32];
  std::strftime(stamp, sizeof(stamp), "%Y%m%dT%H%M%SZ", &parts);
  return "uvc-stereo-backup-" + safe + "-" + stamp + ".json";
}

std::string unused_backup_file_name(std::string_view label, std::time_t when) {
  const std::string base = backup_file_name(label, when);
  std::string name = base;
  const std::string stem = base.substr(0, base.size() - 5);
  for (int attempt = 2; file_exists(name); ++attempt) {
    name = stem + "-" + std::to_string(attempt) + ".json";
  }
  return name;
}

}  // namespace tovanel::uvc_stereo::cli
