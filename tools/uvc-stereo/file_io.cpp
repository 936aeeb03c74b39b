#include "uvc-stereo/file_io.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

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

// What became of an attempt to take a new file name.
enum class Claim : std::uint8_t { Taken, InUse, Failed };

// Creates `path` with `content` only if no file of that name exists yet; the system's
// exclusive creation decides, so no other run can take the name in between.
Claim create_exclusively(const std::string& path, std::string_view content, std::string& error) {
  errno = 0;
#if defined(_WIN32)
  const int descriptor = _open(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
#else
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
#endif
  if (descriptor < 0) {
    if (errno == EEXIST) {
      error = "will not replace '" + path + "': the file already exists";
      return Claim::InUse;
    }
    error = system_error("create", path, errno);
    return Claim::Failed;
  }
#if defined(_WIN32)
  File file(_fdopen(descriptor, "wb"));
#else
  File file(::fdopen(descriptor, "wb"));
#endif
  if (!file) {
    error = system_error("create", path, errno);
#if defined(_WIN32)
    _close(descriptor);
#else
    ::close(descriptor);
#endif
    return Claim::Failed;
  }
  const bool written = std::fwrite(content.data(), 1, content.size(), file.get()) == content.size();
  const bool closed = std::fclose(file.release()) == 0;
  if (!written || !closed) {
    error = system_error("write", path, errno != 0 ? errno : EIO);
    // A backup cut short is worse than none: it would restore a broken configuration.
    std::remove(path.c_str());
    return Claim::Failed;
  }
  return Claim::Taken;
}

// Whether the system lets this user write the file `path`, or create files in the directory
// `path`; errno says why not.
bool can_write(const std::string& path, bool directory) {
  errno = 0;
#if defined(_WIN32)
  static_cast<void>(directory);
  return _access(path.c_str(), 2) == 0;
#else
  return ::access(path.c_str(), directory ? W_OK | X_OK : W_OK) == 0;
#endif
}

}  // namespace

bool read_file(const std::string& path, std::string& content, std::string& error) {
  return read_file_at_most(path, content.max_size() - 1, content, error) == BoundedRead::Read;
}

BoundedRead read_file_at_most(const std::string& path, std::size_t limit, std::string& content, std::string& error) {
  errno = 0;
  const File file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    error = system_error("read", path, errno);
    return BoundedRead::Failed;
  }
  content.clear();
  char buffer[4096];
  std::size_t got = 0;
  while (content.size() <= limit && (got = std::fread(buffer, 1, sizeof(buffer), file.get())) > 0) {
    content.append(buffer, got);
  }
  if (content.size() > limit) {
    content.resize(limit + 1);
    return BoundedRead::TooLarge;
  }
  if (std::ferror(file.get()) != 0) {
    error = system_error("read", path, errno != 0 ? errno : EIO);
    return BoundedRead::Failed;
  }
  return BoundedRead::Read;
}

BoundedRead read_stream_at_most(std::istream& in, std::size_t limit, std::string& content) {
  content.clear();
  char buffer[4096];
  while (content.size() <= limit && in.read(buffer, sizeof(buffer)).gcount() > 0) {
    content.append(buffer, static_cast<std::size_t>(in.gcount()));
  }
  if (content.size() > limit) {
    content.resize(limit + 1);
    return BoundedRead::TooLarge;
  }
  return in.bad() ? BoundedRead::Failed : BoundedRead::Read;
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

bool create_new_file(const std::string& path, std::string_view content, std::string& error) {
  return create_exclusively(path, content, error) == Claim::Taken;
}

std::string create_backup_file(std::string_view label, std::time_t when, std::string_view content, std::string& error) {
  // The name is claimed by the creation itself, never by a look beforehand, so two runs
  // at the same second each get a name of their own.
  const std::string base = backup_file_name(label, when);
  const std::string stem = base.substr(0, base.size() - 5);
  std::string name = base;
  for (int attempt = 2;; ++attempt) {
    switch (create_exclusively(name, content, error)) {
      case Claim::Taken:
        return name;
      case Claim::Failed:
        return {};
      case Claim::InUse:
        break;
    }
    name = stem + "-" + std::to_string(attempt) + ".json";
  }
}

OutputPathCheck check_output_path(const std::string& path, bool replace) {
  namespace fs = std::filesystem;
  if (path.empty()) {
    return {OutputPath::Unwritable, "the file name is empty"};
  }
  std::error_code ignored;
  // The link itself counts: a dangling link is somebody's, and writing would create its target.
  if (fs::exists(fs::symlink_status(path, ignored))) {
    if (fs::is_directory(fs::status(path, ignored))) {
      return {OutputPath::Unwritable, std::strerror(EISDIR)};
    }
    if (!replace) {
      return {OutputPath::Taken, {}};
    }
    if (!can_write(path, false)) {
      return {OutputPath::Unwritable, std::strerror(errno != 0 ? errno : EACCES)};
    }
    return {OutputPath::Free, {}};
  }
  const fs::path parent = fs::path(path).parent_path();
  const std::string directory = parent.empty() ? std::string(".") : parent.string();
  if (!can_write(directory, true)) {
    return {OutputPath::Unwritable, std::strerror(errno != 0 ? errno : EACCES)};
  }
  if (!fs::is_directory(fs::status(directory, ignored))) {
    return {OutputPath::Unwritable, std::strerror(ENOTDIR)};
  }
  return {OutputPath::Free, {}};
}

std::string output_path_refusal(const std::string& path, bool replace, std::string_view what) {
  const OutputPathCheck check = check_output_path(path, replace);
  switch (check.state) {
    case OutputPath::Free:
      return {};
    case OutputPath::Taken:
      return "will not replace " + std::string(what) + "'" + path + "': the file already exists (--force replaces it)";
    case OutputPath::Unwritable:
      break;
  }
  return "cannot write " + std::string(what) + "'" + path + "': " + check.reason;
}

bool write_output_file(const std::string& path, std::string_view content, bool replace, std::string& error) {
  return replace ? write_file(path, content, error) : create_new_file(path, content, error);
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

}  // namespace tovanel::uvc_stereo::cli
