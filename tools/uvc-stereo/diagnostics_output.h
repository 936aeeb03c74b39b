#pragma once

#include <mutex>
#include <ostream>
#include <string>

namespace tovanel::uvc_stereo::cli {

// The SDK's diagnostics shown on `out` for as long as it lives (--verbose): each line as
// "uvc-stereo: diagnostic: LINE", control characters escaped as the tool's text output
// escapes a camera's strings. Registers the SDK's diagnostic callback and removes it again,
// so that no diagnostic reaches `out` once this is gone. One at a time.
class DiagnosticsOutput {
 public:
  explicit DiagnosticsOutput(std::ostream& out);
  ~DiagnosticsOutput();
  DiagnosticsOutput(const DiagnosticsOutput&) = delete;
  DiagnosticsOutput& operator=(const DiagnosticsOutput&) = delete;

 private:
  static void receive(const char* text, void* context);
  void write_line();

  std::ostream& out_;
  std::mutex mutex_;  ///< the SDK may write from any thread that runs an operation
  std::string line_;  ///< the texts of the line not yet ended by "\n"
};

}  // namespace tovanel::uvc_stereo::cli
