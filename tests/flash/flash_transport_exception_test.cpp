#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bridge/flash_transport.h"
#include "bridge/platform.h"
#include "bridge/process_lock.h"
#include "bridge/vendor_backend.h"
#include "flash_rig_support.h"
#include "uvc_stereo/flash.h"

namespace tovanel::uvc_stereo {
namespace {

using test_support::bytes_of;
using test_support::calls_named;
using test_support::folded_call_names;
using test_support::make_record;

// Something thrown from deep inside a vendor call that is not a standard exception.
struct ForeignFault {
  int code;
};

// Which forwarded call throws, and what it throws.
struct FaultPlan {
  const detail::bridge::VendorBackend* rig = nullptr;
  std::string call;
  bool standard = true;
};

FaultPlan g_plan;

void throw_if_planned(const char* call) {
  if (g_plan.call == call) {
    if (g_plan.standard) {
      throw std::runtime_error("simulated fault inside " + g_plan.call);
    }
    throw ForeignFault{7};
  }
}

bool flash_type_or_throw(SonixLib::scDevice_t* device, SonixLib::SERIAL_FLASH_TYPE* type) {
  throw_if_planned("SonixCam_GetSerialFlashType");
  return g_plan.rig->get_serial_flash_type(device, type);
}

bool read_or_throw(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t* buffer, std::uint32_t length) {
  throw_if_planned("SonixCam_CstmReadFromSF");
  return g_plan.rig->read_flash(device, address, buffer, length);
}

bool write_or_throw(SonixLib::scDevice_t* device, std::uint32_t address, const std::uint8_t* buffer,
                    std::uint32_t length) {
  throw_if_planned("SonixCam_WriteToSF");
  return g_plan.rig->write_flash(device, address, buffer, length);
}

bool version_or_throw(SonixLib::scDevice_t* device, char* buffer, std::uint32_t length, std::int32_t flags) {
  throw_if_planned("SonixCam_GetVersion");
  return g_plan.rig->get_version(device, buffer, length, flags);
}

// Puts a backend in front of the rig's that forwards everything but lets one call throw;
// the rig's own backend comes back when the scope ends.
class ThrowingVendorScope {
 public:
  ThrowingVendorScope(const std::string& call, bool standard) {
    g_plan.rig = &detail::bridge::active_vendor_backend();
    g_plan.call = call;
    g_plan.standard = standard;
    table_ = *g_plan.rig;
    table_.name = "throwing";
    table_.get_serial_flash_type = flash_type_or_throw;
    table_.read_flash = read_or_throw;
    table_.write_flash = write_or_throw;
    table_.get_version = version_or_throw;
    installed_.emplace(detail::bridge::replacing_vendor_backend(table_));
  }
  ~ThrowingVendorScope() {
    installed_.reset();
    g_plan = FaultPlan{};
  }
  ThrowingVendorScope(const ThrowingVendorScope&) = delete;
  ThrowingVendorScope& operator=(const ThrowingVendorScope&) = delete;

 private:
  detail::bridge::VendorBackend table_{};
  std::optional<detail::bridge::PlatformOverride> installed_;
};

class FlashBoundary : public test_support::FlashRigTest {
 protected:
  // The session was closed in order although the vendor call never returned.
  void expect_session_closed() const {
    const auto names = folded_call_names(rig_.calls());
    ASSERT_FALSE(names.empty());
    EXPECT_EQ(names.front(), "SonixCam_Init");
    EXPECT_EQ(names.back(), "SonixCam_UnInit");
    EXPECT_EQ(calls_named(rig_.calls(), "SonixCam_UnInit").size(), 1u);
    EXPECT_EQ(rig_.open_sessions(), 0);
    EXPECT_FALSE(detail::bridge::process_lock_held_by_this_thread());
  }
};

TEST_F(FlashBoundary, ProbeTurnsAStandardExceptionIntoAnInternalErrorWithItsText) {
  const ThrowingVendorScope scope("SonixCam_CstmReadFromSF", true);

  const Status status = probe_flash_transport(config_);

  EXPECT_EQ(status.code(), ErrorCode::InternalError);
  EXPECT_EQ(status.message(), "simulated fault inside SonixCam_CstmReadFromSF");
  expect_session_closed();
}

TEST_F(FlashBoundary, ProbeNamesItselfForAnyOtherException) {
  const ThrowingVendorScope scope("SonixCam_CstmReadFromSF", false);

  const Status status = probe_flash_transport(config_);

  EXPECT_EQ(status.code(), ErrorCode::InternalError);
  EXPECT_EQ(status.message(), "unknown exception during flash probe");
  expect_session_closed();
}

TEST_F(FlashBoundary, OpeningClosesTheSessionWhenTheFlashTypeQueryThrows) {
  const ThrowingVendorScope scope("SonixCam_GetSerialFlashType", true);

  const Status status = probe_flash_transport(config_);

  EXPECT_EQ(status.code(), ErrorCode::InternalError);
  EXPECT_EQ(status.message(), "simulated fault inside SonixCam_GetSerialFlashType");
  expect_session_closed();
}

TEST_F(FlashBoundary, ReadTurnsAStandardExceptionIntoAnInternalErrorWithItsText) {
  const ThrowingVendorScope scope("SonixCam_CstmReadFromSF", true);

  Result<FlashBlob> result = read_blob_from_device(config_);

  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(result.status().message(), "simulated fault inside SonixCam_CstmReadFromSF");
  expect_session_closed();
}

TEST_F(FlashBoundary, ReadNamesItselfForAnyOtherException) {
  const ThrowingVendorScope scope("SonixCam_CstmReadFromSF", false);

  Result<FlashBlob> result = read_blob_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(result.status().message(), "unknown exception during flash read");
  expect_session_closed();
}

TEST_F(FlashBoundary, FirmwareVersionTurnsAStandardExceptionIntoAnInternalErrorWithItsText) {
  const ThrowingVendorScope scope("SonixCam_GetVersion", true);

  Result<std::string> result = detail::read_firmware_version_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(result.status().message(), "simulated fault inside SonixCam_GetVersion");
  expect_session_closed();
}

TEST_F(FlashBoundary, FirmwareVersionNamesItselfForAnyOtherException) {
  const ThrowingVendorScope scope("SonixCam_GetVersion", false);

  Result<std::string> result = detail::read_firmware_version_from_device(config_);

  EXPECT_EQ(result.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(result.status().message(), "unknown exception during firmware version read");
  expect_session_closed();
}

TEST_F(FlashBoundary, WriteTurnsAStandardExceptionIntoAnInternalErrorWithItsText) {
  const ThrowingVendorScope scope("SonixCam_WriteToSF", true);
  FlashBlob blob;
  blob.payload = bytes_of(R"({"k":1})");

  const Status status = write_blob_to_device(config_, blob);

  EXPECT_EQ(status.code(), ErrorCode::InternalError);
  EXPECT_EQ(status.message(), "simulated fault inside SonixCam_WriteToSF");
  expect_session_closed();
}

TEST_F(FlashBoundary, WriteNamesItselfForAnyOtherException) {
  const ThrowingVendorScope scope("SonixCam_WriteToSF", false);
  FlashBlob blob;
  blob.raw = make_record(bytes_of(R"({"k":2})"));

  const Status status = write_blob_to_device(config_, blob);

  EXPECT_EQ(status.code(), ErrorCode::InternalError);
  EXPECT_EQ(status.message(), "unknown exception during flash write");
  expect_session_closed();
}

TEST_F(FlashBoundary, AnOperationAfterAnExceptionFindsTheLibraryUsableAgain) {
  {
    const ThrowingVendorScope scope("SonixCam_CstmReadFromSF", true);
    ASSERT_EQ(probe_flash_transport(config_).code(), ErrorCode::InternalError);
  }

  const Status status = probe_flash_transport(config_);

  EXPECT_TRUE(status.ok()) << status.message();
}

}  // namespace
}  // namespace tovanel::uvc_stereo
