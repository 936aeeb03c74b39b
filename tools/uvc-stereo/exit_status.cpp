#include "uvc-stereo/exit_status.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include "uvc-stereo/output_stream.h"
#include "uvc-stereo/terminal_text.h"

namespace tovanel::uvc_stereo::cli {
namespace {

constexpr std::string_view kLibInitFail = "ecLibInitFail";

}  // namespace

int exit_status_for(ErrorCode code) noexcept {
  if (code == ErrorCode::Ok) {
    return kExitOk;
  }
  return kExitSdkErrorBase + static_cast<std::int32_t>(code);
}

bool is_vendor_library_missing(const Status& status) {
  return !status.ok() && status.message().find(kLibInitFail) != std::string::npos;
}

std::string failure_text(const Status& status) {
  return std::string(error_code_name(status.code())) + ": " + status.message();
}

int report_sdk_error(const Status& status, Console& console) { return report_sdk_error(status, {}, console); }

int report_sdk_error(const Status& status, std::string_view context, Console& console) {
  if (is_vendor_library_missing(status)) {
    console.err << "uvc-stereo: VendorLibraryMissing: the camera vendor library cannot start on this machine ("
                << terminal_safe(status.message()) << "); add --simulate to use the built-in simulated cameras\n";
    return kExitVendorLibraryMissing;
  }
  console.err << "uvc-stereo: " << terminal_safe(failure_text(status));
  if (!context.empty()) {
    console.err << " (" << terminal_safe(context) << ")";
  }
  console.err << "\n";
  return exit_status_for(status.code());
}

int report_usage_error(std::string_view command, std::string_view message, Console& console) {
  console.err << "uvc-stereo: UsageError: " << terminal_safe(message) << " (see: uvc-stereo";
  if (!command.empty()) {
    console.err << " " << command;
  }
  console.err << " --help)\n";
  return kExitUsage;
}

int report_file_error(std::string_view message, Console& console) {
  console.err << "uvc-stereo: FileError: " << terminal_safe(message) << "\n";
  return kExitFileError;
}

bool output_intact(Console& console) {
  console.out.flush();
  return !console.out.fail();
}

int report_output_failure(std::string_view context, Console& console) {
  // Standard output written through a descriptor knows why it failed; other streams do not.
  const auto* descriptor = dynamic_cast<const DescriptorBuffer*>(console.out.rdbuf());
  const int error_number = descriptor != nullptr ? descriptor->error_number() : 0;
  if (error_number == EPIPE) {
    return kExitFileError;
  }
  console.err << "uvc-stereo: FileError: cannot write standard output";
  if (error_number != 0) {
    console.err << ": " << std::strerror(error_number);
  }
  if (!context.empty()) {
    console.err << "; " << terminal_safe(context);
  }
  console.err << "\n";
  return kExitFileError;
}

int finish_output(int status, Console& console) {
  // A command that failed has said why already; its own status stands.
  if (output_intact(console) || status != kExitOk) {
    return status;
  }
  return report_output_failure({}, console);
}

std::string exit_status_help() {
  std::string help =
      "Exit statuses:\n"
      "  0   success\n"
      "  1   unexpected failure inside the tool\n"
      "  2   usage error (bad command line, or several cameras and no selector)\n"
      "  3   a file could not be read or written\n"
      "  4   the camera vendor library cannot start on this machine (try --simulate)\n";
  // Every SDK error by the name its error line starts with, three to a line.
  constexpr std::size_t kColumns = 3;
  constexpr std::size_t kNameWidths[kColumns - 1] = {22, 19};
  const auto last = static_cast<std::size_t>(kLastErrorCode);
  for (std::size_t code = 1; code <= last; ++code) {
    const std::size_t column = (code - 1) % kColumns;
    std::string name(error_code_name(static_cast<ErrorCode>(code)));
    if (column + 1 < kColumns && code < last) {
      name.resize(std::max(name.size() + 1, kNameWidths[column]), ' ');
    }
    help += (column == 0 ? "  " : "") + std::to_string(kExitSdkErrorBase + static_cast<int>(code)) + "  " + name +
            (column + 1 == kColumns || code == last ? "\n" : "");
  }
  return help + "  (an SDK error exits with 10 + its error code)\n";
}

}  // namespace tovanel::uvc_stereo::cli
