#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <istream>
#include <string>
#include <string_view>

namespace tovanel::uvc_stereo::cli {

// Reads a whole file as bytes; on failure `error` says why ("cannot read 'x': No such file or directory").
[[nodiscard]] bool read_file(const std::string& path, std::string& content, std::string& error);

// What became of reading at most a given number of bytes.
enum class BoundedRead : std::uint8_t {
  Read,      ///< everything there was, within the limit
  TooLarge,  ///< more than the limit is there; reading stopped just past it
  Failed,    ///< the source could not be read
};
// Reads the file `path`, or the stream `in`, but never more than `limit` + 1 bytes, so that an
// endless source (/dev/zero, `yes`) costs no more memory than the largest acceptable one.
[[nodiscard]] BoundedRead read_file_at_most(const std::string& path, std::size_t limit, std::string& content,
                                            std::string& error);
[[nodiscard]] BoundedRead read_stream_at_most(std::istream& in, std::size_t limit, std::string& content);

// Creates or replaces a file with `content`; on failure `error` says why.
[[nodiscard]] bool write_file(const std::string& path, std::string_view content, std::string& error);

// Creates `path` with `content` only if no file of that name exists yet, so that nothing a
// user holds is ever replaced; on failure `error` says why ("... already exists").
[[nodiscard]] bool create_new_file(const std::string& path, std::string_view content, std::string& error);

// Creates the backup `content` under backup_file_name in the current directory, or, where a
// file of that name exists already, the same with "-2", "-3", ... added before ".json", so an
// earlier backup is never overwritten. The exclusive creation itself takes each name, so the
// next free name is found even when another run creates the same name at the same moment;
// returns the name used, or an empty string with `error` set.
[[nodiscard]] std::string create_backup_file(std::string_view label, std::time_t when, std::string_view content,
                                             std::string& error);

[[nodiscard]] bool file_exists(const std::string& path);

// What a path named for an output file holds now, found without creating, opening or
// removing anything, so that a bad name is refused before any camera is touched.
enum class OutputPath : std::uint8_t {
  Free,        ///< nothing is there, and the directory takes a new file
  Taken,       ///< a file (or a link, even a dangling one) is there
  Unwritable,  ///< no file can be written there; the reason says why
};
struct OutputPathCheck {
  OutputPath state = OutputPath::Free;
  std::string reason;  ///< for Unwritable: "No such file or directory", "Is a directory", ...
};
// With `replace`, an existing file that can be written is as good as Free.
[[nodiscard]] OutputPathCheck check_output_path(const std::string& path, bool replace);

// Why the output file `path` is refused, or an empty string when it can be written:
// "cannot write <what>'<path>': <reason>", or, for an existing file without `replace`,
// "will not replace <what>'<path>': the file already exists (--force replaces it)".
[[nodiscard]] std::string output_path_refusal(const std::string& path, bool replace, std::string_view what);

// Writes an output file the user named: created only if nothing is there yet, or, with
// `replace` (the commands' --force), created or replaced.
[[nodiscard]] bool write_output_file(const std::string& path, std::string_view content, bool replace,
                                     std::string& error);

// "uvc-stereo-backup-<label>-<YYYYMMDDTHHMMSSZ>.json": the label is kept to letters, digits,
// '.', '-' and '_' so that any serial number gives a valid file name on every system.
[[nodiscard]] std::string backup_file_name(std::string_view label, std::time_t when);

}  // namespace tovanel::uvc_stereo::cli
