#pragma once

#include <string>
#include <string_view>

#include "uvc-stereo/console.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::cli {

// Exit statuses: each kind of failure has its own, so scripts can react without parsing text.
inline constexpr int kExitOk = 0;
inline constexpr int kExitToolFailure = 1;           ///< an unexpected failure inside the tool itself
inline constexpr int kExitUsage = 2;                 ///< bad command line
inline constexpr int kExitFileError = 3;             ///< a file named on the command line could not be read or written
inline constexpr int kExitVendorLibraryMissing = 4;  ///< the camera vendor library cannot start on this machine
inline constexpr int kExitSdkErrorBase = 10;         ///< an SDK error exits with 10 + its ErrorCode value (11..24)

// 10 + the code's value; kExitOk for ErrorCode::Ok.
[[nodiscard]] int exit_status_for(ErrorCode code) noexcept;

// True when the vendor library itself could not start ("ecLibInitFail"), as on a machine
// without the camera driver: then no camera can be reached at all.
[[nodiscard]] bool is_vendor_library_missing(const Status& status);

// The failure as the tool names it in reports: the code's name and the message
// ("NotFound: no supported camera found").
[[nodiscard]] std::string failure_text(const Status& status);

// Prints the one-line report of an SDK failure and returns its exit status. A missing
// vendor library gets its own line, which suggests --simulate.
[[nodiscard]] int report_sdk_error(const Status& status, Console& console);
// The same, with a note on what the tool was doing when it failed.
[[nodiscard]] int report_sdk_error(const Status& status, std::string_view context, Console& console);

// Prints "uvc-stereo: UsageError: <message> (see: uvc-stereo <command> --help)" and returns kExitUsage.
[[nodiscard]] int report_usage_error(std::string_view command, std::string_view message, Console& console);

// Prints "uvc-stereo: FileError: <message>" and returns kExitFileError.
[[nodiscard]] int report_file_error(std::string_view message, Console& console);

// Flushes standard output and tells whether everything written to it so far has arrived.
[[nodiscard]] bool output_intact(Console& console);

// Says in one line that standard output could not be written, with the reason when the
// stream knows it ("cannot write standard output: No space left on device; <context>"), and
// returns kExitFileError. A reader that went away (a closed pipe, as with "| head -1") is
// not an error worth a line: the run ends quietly with the same status.
[[nodiscard]] int report_output_failure(std::string_view context, Console& console);

// Ends every command: flushes standard output and, when any of it could not be written,
// reports it and returns kExitFileError. A command that failed already keeps its status.
[[nodiscard]] int finish_output(int status, Console& console);

// The help text's table of exit statuses, the SDK's errors by their names.
[[nodiscard]] std::string exit_status_help();

}  // namespace tovanel::uvc_stereo::cli
