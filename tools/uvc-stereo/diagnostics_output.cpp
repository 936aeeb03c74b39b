#include "uvc-stereo/diagnostics_output.h"

#include "uvc-stereo/terminal_text.h"
#include "uvc_stereo/diagnostics.h"

namespace tovanel::uvc_stereo::cli {

DiagnosticsOutput::DiagnosticsOutput(std::ostream& out) : out_(out) { set_diagnostic_callback(&receive, this); }

DiagnosticsOutput::~DiagnosticsOutput() {
  // Once the registration is gone no call is running, so the last, unended line is ours alone.
  set_diagnostic_callback(nullptr, nullptr);
  if (!line_.empty()) {
    write_line();
  }
}

void DiagnosticsOutput::receive(const char* text, void* context) {
  auto* self = static_cast<DiagnosticsOutput*>(context);
  const std::lock_guard<std::mutex> guard(self->mutex_);
  try {
    // The SDK writes a line and then its "\n" as two texts; a text may also hold whole lines.
    for (const char* c = text; *c != '\0'; ++c) {
      if (*c == '\n') {
        self->write_line();
      } else {
        self->line_ += *c;
      }
    }
  } catch (const std::exception&) {
    // Out of memory: the diagnostic is lost, the operation that wrote it goes on.
    self->line_.clear();
  }
}

void DiagnosticsOutput::write_line() {
  out_ << "uvc-stereo: diagnostic: " << terminal_safe(line_) << "\n";
  line_.clear();
}

}  // namespace tovanel::uvc_stereo::cli
