// Must compile with the same command line as the sources that must not: proves that their failure comes from
// the ignored results, not from the command, the include path or the headers.
#include <cstdio>
#include <string_view>

#include "uvc_stereo/flash.h"
#include "uvc_stereo/json.h"
#include "uvc_stereo/result.h"

namespace {

tovanel::uvc_stereo::Status check_something() {
  return tovanel::uvc_stereo::Status(tovanel::uvc_stereo::ErrorCode::InvalidArgument, "refused");
}

tovanel::uvc_stereo::Result<int> read_something() { return 42; }

}  // namespace

int main() {
  namespace sdk = tovanel::uvc_stereo;
  const sdk::Status status = check_something();
  const sdk::Result<int> result = read_something();
  sdk::FlashConfig config;
  const sdk::Status range = sdk::validate_flash_transfer_range(config, config.user_space_address, 16, nullptr);
  const auto minified = sdk::minify_and_validate_json(" [1, 2] ");
  const std::string_view name = sdk::error_code_name(sdk::ErrorCode::InvalidJson);
  // Discarding on purpose stays possible, and says so.
  static_cast<void>(check_something());
  std::printf("%d %d %d %d %s\n", status.ok(), result.ok(), range.ok(), minified.ok(), std::string(name).c_str());
  return 0;
}
