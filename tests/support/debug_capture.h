#pragma once

#include <string>
#include <vector>

// Records every text the SDK sends to the debugger output while it lives.
namespace tovanel::uvc_stereo::test_support {

class DebugCapture {
 public:
  DebugCapture();
  ~DebugCapture();
  DebugCapture(const DebugCapture&) = delete;
  DebugCapture& operator=(const DebugCapture&) = delete;

  [[nodiscard]] const std::vector<std::string>& texts() const { return texts_; }

 private:
  static void collect(const char* text, void* context);
  std::vector<std::string> texts_;
};

}  // namespace tovanel::uvc_stereo::test_support
