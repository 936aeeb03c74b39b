#include <windows.h>

#include <string>
#include <system_error>

#include "bridge/os/file_replace.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

[[noreturn]] void fail(const std::string& what) {
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

}  // namespace

void replace_file(const std::string& path, const std::string& contents) {
  const std::string temporary = path + ".new-" + std::to_string(GetCurrentProcessId());
  HANDLE file =
      CreateFileA(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    fail("cannot write " + temporary);
  }
  DWORD wrote = 0;
  const bool written = contents.empty() ||
                       (WriteFile(file, contents.data(), static_cast<DWORD>(contents.size()), &wrote, nullptr) != 0 &&
                        wrote == contents.size());
  // The new text must be on the disk before its name is, or a crash could leave an empty file under the name.
  const bool flushed = written && FlushFileBuffers(file) != 0;
  CloseHandle(file);
  if (!flushed ||
      MoveFileExA(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0) {
    DeleteFileA(temporary.c_str());
    fail("cannot replace " + path);
  }
}

}  // namespace tovanel::uvc_stereo::detail::bridge
