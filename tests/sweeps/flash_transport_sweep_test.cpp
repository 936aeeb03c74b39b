#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bridge/flash_transport.h"
#include "flash/flash_rig_support.h"
#include "sweeps/fault_sweep.h"
#include "sweeps/sweep_rig.h"
#include "uvc_stereo/flash.h"

// Every vendor call of the four flash operations, failed in turn with each vendor code.
namespace tovanel::uvc_stereo::sweeps {
namespace {

using test_support::args;
using test_support::DebugCapture;
using test_support::folded_call_names;

std::string selection_name(Selection selection) { return selection == Selection::ByPath ? "by path" : "by serial"; }

std::vector<std::uint8_t> payload_of(std::size_t length, unsigned seed) {
  const std::string text = json_of_length(length, seed);
  return std::vector<std::uint8_t>(text.begin(), text.end());
}

// The pieces every flash scenario shares: the target holds a record, failures of flash transfers are also sent to
// the debugger output, and the session rule covers the lookup.
class FlashScenario : public Scenario {
 public:
  explicit FlashScenario(Selection selection)
      : selection_(selection), config_(target_config(selection)), old_payload_(payload_of(300, 1)) {}

  void plug(sim::SimulatedRig& rig) override {
    plug_pair(rig, target_camera(kGatedModelRow));
    rig.set_flash(kTarget, kUserSpace, test_support::make_record(old_payload_));
  }
  void prepare(sim::SimulatedRig& /*rig*/) override { debug_.emplace(); }
  void release() override { debug_.reset(); }

 protected:
  // The status for a failure that only the session rule knows; the healthy status when it changes nothing.
  Status by_session_rule(const FailurePoint& point, const VendorFailure& failure, const Status& healthy) const {
    const SessionRule rule = session_rule(point, failure, selection_);
    if (!rule.applies) {
      return unknown_call(point);
    }
    return rule.fails.value_or(healthy);
  }

  // A failed transfer or erase is also told to the debugger, followed by a line break of its own; nothing else is.
  void expect_debug_output(const Status& status, const FailurePoint* point) const {
    const bool told =
        point != nullptr && (point->call.name == "SonixCam_CstmReadFromSF" ||
                             point->call.name == "SonixCam_SectorEraseSF" || point->call.name == "SonixCam_WriteToSF");
    const std::vector<std::string> expected =
        told ? std::vector<std::string>{status.message(), "\n"} : std::vector<std::string>{};
    EXPECT_EQ(debug_->texts(), expected);
  }

  Selection selection_;
  FlashConfig config_;
  std::vector<std::uint8_t> old_payload_;
  std::optional<DebugCapture> debug_;
  Status last_;
};

class ProbeScenario : public FlashScenario {
 public:
  using FlashScenario::FlashScenario;
  std::string name() const override { return "probe_flash_transport " + selection_name(selection_); }
  Status run() override { return last_ = probe_flash_transport(config_); }

  Expectation expect(const FailurePoint* point, const VendorFailure& failure) override {
    if (point == nullptr) {
      return {Status(), 0};
    }
    if (point->call.name == "SonixCam_CstmReadFromSF") {
      return {Status(ErrorCode::ReadFailed, flash_access_message(point->call.name, failure, kUserSpace, 1)), 0};
    }
    return {by_session_rule(*point, failure, Status()), 0};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    EXPECT_EQ(folded_call_names(calls),
              (std::vector<std::string>{"SonixCam_Init", "<lookup>", "SonixCam_GetSerialFlashType",
                                        "SonixCam_CstmReadFromSF", "SonixCam_UnInit"}));
    for (const sim::VendorCall& call : test_support::calls_named(calls, "SonixCam_CstmReadFromSF")) {
      EXPECT_EQ(call.args, args({kUserSpace, 1}));
      EXPECT_EQ(call.camera, kTarget);
    }
  }

  void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* point, const VendorFailure& /*failure*/) override {
    expect_debug_output(last_, point);
  }
};

class ReadBlobScenario : public FlashScenario {
 public:
  using FlashScenario::FlashScenario;
  std::string name() const override { return "read_blob_from_device " + selection_name(selection_); }
  Status run() override {
    result_.emplace(read_blob_from_device(config_));
    return last_ = result_->status();
  }

  Expectation expect(const FailurePoint* point, const VendorFailure& failure) override {
    if (point == nullptr) {
      return {Status(), 0};
    }
    if (point->call.name == "SonixCam_CstmReadFromSF") {
      // The header preview first, then the whole record.
      const std::uint64_t length = point->occurrence == 1 ? 16 : record_size();
      return {Status(ErrorCode::ReadFailed, flash_access_message(point->call.name, failure, kUserSpace, length)), 0};
    }
    return {by_session_rule(*point, failure, Status()), 0};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    EXPECT_EQ(folded_call_names(calls),
              (std::vector<std::string>{"SonixCam_Init", "<lookup>", "SonixCam_GetSerialFlashType",
                                        "SonixCam_CstmReadFromSF", "SonixCam_CstmReadFromSF", "SonixCam_UnInit"}));
    const std::vector<sim::VendorCall> reads = test_support::calls_named(calls, "SonixCam_CstmReadFromSF");
    ASSERT_EQ(reads.size(), 2u);
    EXPECT_EQ(reads[0].args, args({kUserSpace, 16}));
    EXPECT_EQ(reads[1].args, args({kUserSpace, static_cast<std::int64_t>(record_size())}));
  }

  void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* point, const VendorFailure& /*failure*/) override {
    expect_debug_output(last_, point);
    if (result_->ok()) {
      EXPECT_TRUE(result_->value().payload == old_payload_) << "the record read is not the one stored";
      EXPECT_TRUE(result_->value().raw == test_support::make_record(old_payload_)) << "raw bytes differ";
    }
  }
  void release() override {
    result_.reset();
    FlashScenario::release();
  }

 private:
  std::uint64_t record_size() const { return 16 + old_payload_.size(); }
  std::optional<Result<FlashBlob>> result_;
};

class FirmwareVersionScenario : public FlashScenario {
 public:
  using FlashScenario::FlashScenario;
  std::string name() const override { return "read_firmware_version_from_device " + selection_name(selection_); }
  void plug(sim::SimulatedRig& rig) override {
    sim::SimulatedCamera target = target_camera(kGatedModelRow);
    target.firmware_version = "V2.6.0415 ";
    plug_pair(rig, target);
  }
  Status run() override {
    result_.emplace(detail::read_firmware_version_from_device(config_));
    return last_ = result_->status();
  }

  Expectation expect(const FailurePoint* point, const VendorFailure& failure) override {
    if (point == nullptr) {
      return {Status(), 0};
    }
    if (point->call.name == "SonixCam_GetVersion") {
      return {Status(ErrorCode::ReadFailed, vendor_message(point->call.name, failure)), 0};
    }
    return {by_session_rule(*point, failure, Status()), 0};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    EXPECT_EQ(folded_call_names(calls),
              (std::vector<std::string>{"SonixCam_Init", "<lookup>", "SonixCam_GetSerialFlashType",
                                        "SonixCam_GetVersion", "SonixCam_UnInit"}));
    for (const sim::VendorCall& call : test_support::calls_named(calls, "SonixCam_GetVersion")) {
      EXPECT_EQ(call.args, args({256, 0}));
    }
  }

  void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* point, const VendorFailure& /*failure*/) override {
    // A failed version query is not a flash transfer and is not told to the debugger.
    expect_debug_output(last_, point);
    if (result_->ok()) {
      EXPECT_EQ(result_->value(), "V2.6.0415");
    }
  }
  void release() override {
    result_.reset();
    FlashScenario::release();
  }

 private:
  std::optional<Result<std::string>> result_;
};

// What a failed write leaves in the flash.
enum class Left { OldRecord, Erased, NewRecord };

class WriteBlobScenario : public FlashScenario {
 public:
  WriteBlobScenario(Selection selection, std::uint32_t configured_sector)
      : FlashScenario(selection), new_payload_(payload_of(9000, 2)) {
    config_.erase_sector_size = configured_sector;
  }
  std::string name() const override {
    return "write_blob_to_device " + selection_name(selection_) + ", configured sector size " +
           std::to_string(config_.erase_sector_size);
  }
  Status run() override {
    FlashBlob blob;
    blob.format_version = 3;
    blob.payload = new_payload_;
    return last_ = write_blob_to_device(config_, blob);
  }

  Expectation expect(const FailurePoint* point, const VendorFailure& failure) override {
    if (point == nullptr) {
      return {Status(), 0};
    }
    if (std::optional<Status> flash = flash_write_failure(*point, failure, record_size())) {
      return {*flash, 0};
    }
    return {by_session_rule(*point, failure, Status()), 0};
  }

  void check_healthy_calls(const std::vector<sim::VendorCall>& calls) override {
    EXPECT_EQ(folded_call_names(calls),
              (std::vector<std::string>{"SonixCam_Init", "<lookup>", "SonixCam_GetSerialFlashType",
                                        "SonixCam_SetStatusRegBitWP", "SonixCam_SetWriteProtectedSF",
                                        "SonixCam_SectorEraseSF", "SonixCam_SectorEraseSF", "SonixCam_SectorEraseSF",
                                        "SonixCam_WriteToSF", "SonixCam_CstmReadFromSF", "SonixCam_UnInit"}));
    EXPECT_EQ(test_support::calls_named(calls, "SonixCam_SetStatusRegBitWP").at(0).args, args({2, 5, 1, 6, 2, 3}));
    EXPECT_EQ(test_support::calls_named(calls, "SonixCam_SetWriteProtectedSF").at(0).args, args({1, 1}));
    const std::vector<sim::VendorCall> erases = test_support::calls_named(calls, "SonixCam_SectorEraseSF");
    ASSERT_EQ(erases.size(), 3u);
    for (std::size_t i = 0; i < erases.size(); ++i) {
      EXPECT_EQ(erases[i].args, args({kUserSpace + static_cast<std::int64_t>(i) * kSector, 0x20}));
    }
    const auto size = static_cast<std::int64_t>(record_size());
    EXPECT_EQ(test_support::calls_named(calls, "SonixCam_WriteToSF").at(0).args, args({kUserSpace, size}));
    EXPECT_EQ(test_support::calls_named(calls, "SonixCam_CstmReadFromSF").at(0).args, args({kUserSpace, size}));
  }

  void check_after(sim::SimulatedRig& /*rig*/, const FailurePoint* point, const VendorFailure& failure) override {
    expect_debug_output(last_, point);
    // Reading the record now gives the old one, a clear failure, or the new one: never anything else.
    const Result<FlashBlob> now = read_blob_from_device(config_);
    switch (left_behind(point, failure)) {
      case Left::OldRecord:
        ASSERT_TRUE(now.ok()) << now.status().message();
        EXPECT_TRUE(now.value().payload == old_payload_) << "not the old record";
        break;
      case Left::Erased:
        EXPECT_EQ(now.status().code(), ErrorCode::BadMagic);
        EXPECT_EQ(now.status().message(), "flash magic mismatch");
        break;
      case Left::NewRecord:
        ASSERT_TRUE(now.ok()) << now.status().message();
        EXPECT_TRUE(now.value().payload == new_payload_) << "not the new record";
        EXPECT_EQ(now.value().format_version, 3);
        break;
    }
  }

 private:
  std::uint64_t record_size() const { return 16 + new_payload_.size(); }

  Left left_behind(const FailurePoint* point, const VendorFailure& failure) {
    if (point == nullptr || expect(point, failure).status.ok() || point->call.name == "SonixCam_CstmReadFromSF") {
      return Left::NewRecord;  // the record was written whole before anything failed
    }
    // The record's first sector goes with the first erase that succeeds.
    const bool erased = (point->call.name == "SonixCam_SectorEraseSF" && point->occurrence > 1) ||
                        point->call.name == "SonixCam_WriteToSF";
    return erased ? Left::Erased : Left::OldRecord;
  }

  std::vector<std::uint8_t> new_payload_;
};

TEST(FlashTransportSweep, ProbeReportsEveryVendorFailureAndClosesTheSession) {
  ProbeScenario by_path(Selection::ByPath);
  sweep(by_path);
  ProbeScenario by_serial(Selection::BySerial);
  sweep(by_serial);
}

TEST(FlashTransportSweep, RecordReadReportsEveryVendorFailureAndClosesTheSession) {
  ReadBlobScenario by_path(Selection::ByPath);
  sweep(by_path);
  ReadBlobScenario by_serial(Selection::BySerial);
  sweep(by_serial);
}

TEST(FlashTransportSweep, FirmwareVersionReadReportsEveryVendorFailureAndClosesTheSession) {
  FirmwareVersionScenario by_path(Selection::ByPath);
  sweep(by_path);
}

TEST(FlashTransportSweep, RecordWriteReportsEveryVendorFailureAndLeavesTheOldTheNewOrNoRecord) {
  WriteBlobScenario by_path(Selection::ByPath, kSector);
  sweep(by_path);
  WriteBlobScenario by_serial_default_sector(Selection::BySerial, 0);
  sweep(by_serial_default_sector);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sweeps
