#include "linux/linux_fixture.h"

#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "support/allocation_counter.h"

namespace tovanel::uvc_stereo::linux_testing {
namespace {

// Room for the calls of any one test, so that recording one allocates nothing.
constexpr std::size_t kRecordedCalls = 4096;

struct Audit {
  std::mutex mutex;
  std::vector<AuditedCall> calls;
  std::map<std::string, std::function<void()>> before_call;
  int open_sessions = 0;
};

Audit& audit() {
  static Audit instance;
  return instance;
}

// Records one call around the Linux backend's own answer.
// The record is the test's bookkeeping, not the backend's work: it is left out of any allocation count.
template <typename Call>
bool audited(const char* name, Call call) {
  std::optional<test_support::UncountedAllocations> uncounted(std::in_place);
  AuditedCall record;
  record.name = name;
  record.lock_held = detail::bridge::process_lock_held_by_this_thread();
  std::function<void()> action;
  {
    const test_support::UncountedAllocations uncounted;
    record.name = name;
    record.lock_held = detail::bridge::process_lock_held_by_this_thread();
    const std::lock_guard<std::mutex> guard(audit().mutex);
    record.open_sessions = audit().open_sessions;
    const auto planned = audit().before_call.find(record.name);
    if (planned != audit().before_call.end()) {
      action = std::move(planned->second);
      audit().before_call.erase(planned);
    }
  }
  if (action) {
    action();
  }
  uncounted.reset();
  const bool succeeded = call();
  uncounted.emplace();
  record.succeeded = succeeded;
  const std::lock_guard<std::mutex> guard(audit().mutex);
  if (record.succeeded && record.name == "SonixCam_Init") {
    ++audit().open_sessions;
  }
  if (record.succeeded && record.name == "SonixCam_UnInit") {
    --audit().open_sessions;
  }
  audit().calls.push_back(std::move(record));
  return audit().calls.back().succeeded;
}

const detail::bridge::VendorBackend& linux_ops() { return detail::bridge::linux_vendor_backend(); }

bool a_init() {
  return audited("SonixCam_Init", [] { return linux_ops().init(); });
}
bool a_uninit() {
  return audited("SonixCam_UnInit", [] { return linux_ops().uninit(); });
}
bool a_enum(std::int32_t* count, SonixLib::scDevice_t* devices, std::int32_t max) {
  return audited("SonixCam_EnumCameras", [&] { return linux_ops().enum_cameras(count, devices, max); });
}
bool a_error(SonixLib::scDevice_t* device, SonixLib::scErrorCode_t* code) {
  return audited("SonixCam_GetErrorCode", [&] { return linux_ops().get_error_code(device, code); });
}
bool a_descriptor(SonixLib::scDevice_t* device, std::uint8_t type, std::uint8_t* buffer, std::uint32_t length,
                  std::int32_t a, std::int32_t b) {
  return audited("SonixCam_GetDevDescriptor",
                 [&] { return linux_ops().get_dev_descriptor(device, type, buffer, length, a, b); });
}
bool a_node(SonixLib::scDevice_t* device, std::uint8_t node, const std::uint8_t guid[16]) {
  return audited("SonixCam_SetNodeID", [&] { return linux_ops().set_node_id(device, node, guid); });
}
bool a_xu(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
          std::uint8_t unit) {
  return audited("SonixCam_XuRead", [&] { return linux_ops().xu_read(device, buffer, length, selector, unit); });
}
bool a_version(SonixLib::scDevice_t* device, char* buffer, std::uint32_t length, std::int32_t flags) {
  return audited("SonixCam_GetVersion", [&] { return linux_ops().get_version(device, buffer, length, flags); });
}
bool a_flash_type(SonixLib::scDevice_t* device, SonixLib::SERIAL_FLASH_TYPE* type) {
  return audited("SonixCam_GetSerialFlashType", [&] { return linux_ops().get_serial_flash_type(device, type); });
}
bool a_read(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t* buffer, std::uint32_t length) {
  return audited("SonixCam_CstmReadFromSF", [&] { return linux_ops().read_flash(device, address, buffer, length); });
}
bool a_write(SonixLib::scDevice_t* device, std::uint32_t address, const std::uint8_t* buffer, std::uint32_t length) {
  return audited("SonixCam_WriteToSF", [&] { return linux_ops().write_flash(device, address, buffer, length); });
}
bool a_erase(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t command) {
  return audited("SonixCam_SectorEraseSF", [&] { return linux_ops().sector_erase(device, address, command); });
}
bool a_protect(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b) {
  return audited("SonixCam_SetWriteProtectedSF", [&] { return linux_ops().set_write_protected(device, a, b); });
}
bool a_status(SonixLib::scDevice_t* device, std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d,
              std::uint8_t e, std::uint8_t f) {
  return audited("SonixCam_SetStatusRegBitWP",
                 [&] { return linux_ops().set_status_reg_bit_wp(device, a, b, c, d, e, f); });
}

constexpr detail::bridge::VendorBackend kAudited = {
    "Linux UVC (audited)", a_init, a_uninit, a_enum,  a_error,   a_descriptor, a_node, a_xu, a_version,
    a_flash_type,          a_read, a_write,  a_erase, a_protect, a_status,     true,
};

}  // namespace

const detail::bridge::VendorBackend& audited_linux_backend() noexcept { return kAudited; }

std::vector<AuditedCall> audited_calls() {
  const std::lock_guard<std::mutex> guard(audit().mutex);
  return audit().calls;
}

void clear_audited_calls() {
  const std::lock_guard<std::mutex> guard(audit().mutex);
  audit().calls.clear();
  audit().calls.reserve(kRecordedCalls);
  audit().before_call.clear();
}

void before_next_call(const std::string& name, std::function<void()> action) {
  const std::lock_guard<std::mutex> guard(audit().mutex);
  audit().before_call[name] = std::move(action);
}

std::vector<std::string> audit_violations() {
  std::vector<std::string> violations;
  int balance = 0;
  for (const AuditedCall& call : audited_calls()) {
    if (!call.lock_held) {
      violations.push_back(call.name + " called without the vendor lock held");
    }
    if (call.open_sessions == 0 && call.name != "SonixCam_Init" && call.name != "SonixCam_GetErrorCode") {
      violations.push_back(call.name + " called with no open session");
    }
    balance += call.succeeded && call.name == "SonixCam_Init" ? 1 : 0;
    balance -= call.succeeded && call.name == "SonixCam_UnInit" ? 1 : 0;
  }
  if (balance != 0) {
    violations.push_back("sessions left open: " + std::to_string(balance));
  }
  return violations;
}

void LinuxBackendTest::SetUp() {
  clear_audited_calls();
  override_.emplace(fake_kernel_platform(kernel_.table(), audited_linux_backend()));
  set_diagnostic_callback(collect, this);
}

DeviceInfo LinuxBackendTest::only_camera() {
  const Result<std::vector<DeviceInfo>> scan = scan_devices();
  EXPECT_TRUE(scan.ok()) << scan.status().message();
  EXPECT_EQ(scan.ok() ? scan.value().size() : 0u, 1u);
  return scan.ok() && !scan.value().empty() ? scan.value()[0] : DeviceInfo();
}

void LinuxBackendTest::TearDown() {
  set_diagnostic_callback(nullptr, nullptr);
  override_.reset();
  EXPECT_EQ(audit_violations(), std::vector<std::string>{});
  for (const KernelAccess& access : kernel_.accesses()) {
    EXPECT_TRUE(access.lock_held) << access.what << " without the vendor lock";
  }
  EXPECT_EQ(kernel_.open_descriptors(), 0) << "a device node was left open";
}

std::vector<std::string> LinuxBackendTest::diagnostics() const {
  const std::lock_guard<std::mutex> guard(diagnostics_mutex_);
  std::vector<std::string> lines;
  std::string::size_type start = 0;
  for (std::string::size_type end; (end = diagnostic_text_.find('\n', start)) != std::string::npos; start = end + 1) {
    lines.push_back(diagnostic_text_.substr(start, end - start));
  }
  return lines;
}

bool LinuxBackendTest::diagnosed(const std::string& a, const std::string& b) const {
  for (const std::string& line : diagnostics()) {
    if (line.find(a) != std::string::npos && line.find(b) != std::string::npos) {
      return true;
    }
  }
  return false;
}

std::vector<std::string> LinuxBackendTest::call_names() const {
  std::vector<std::string> names;
  for (const AuditedCall& call : audited_calls()) {
    names.push_back(call.name);
  }
  return names;
}

void LinuxBackendTest::collect(const char* text, void* context) {
  auto* self = static_cast<LinuxBackendTest*>(context);
  const std::lock_guard<std::mutex> guard(self->diagnostics_mutex_);
  self->diagnostic_text_ += text;
}

}  // namespace tovanel::uvc_stereo::linux_testing
