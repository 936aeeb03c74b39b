#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "bridge/vendor_backend_override.h"
#include "device/device_rig_support.h"
#include "support/call_views.h"
#include "support/rig_checks.h"
#include "sweeps/fault_sweep.h"
#include "sweeps/sweep_rig.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/flash.h"

// Power lost at every byte of a record write and in every sector of a multi-sector erase. After each cut, reading the
// record gives a clear failure (or a whole record, the old or the new one, never another), and writing again restores
// it.
namespace tovanel::uvc_stereo::sweeps {
namespace {

using device_testing::bytes_of;
using device_testing::PauseRecorder;

constexpr std::uint32_t kFourKiB = 4096;
const VendorFailure kWriteFlashFail{12, false};
const VendorFailure kSectorEraseFail{10, false};

// What reading a 4 KiB record gives when power failed after `programmed` of its bytes: the header fields are
// checked in their order (magic, header size, length), then the payload's CRC.
Status expected_read_after_write_cut(std::uint32_t programmed) {
  if (programmed < 4) {
    return Status(ErrorCode::BadMagic, "flash magic mismatch");
  }
  if (programmed < 8) {
    return Status(ErrorCode::InvalidHeader, "header_size out of range");
  }
  if (programmed < 12) {
    return Status(ErrorCode::InvalidLength, "flash header total length is invalid");
  }
  if (programmed < kFourKiB) {
    return Status(ErrorCode::ChecksumMismatch, "crc32 mismatch");
  }
  return Status();
}

// The per-case rig rules: every session closed, every call under the lock, nothing outside the user space.
void expect_rules_kept(sim::SimulatedRig& rig) {
  const std::vector<sim::VendorCall> calls = rig.calls();
  EXPECT_EQ(test_support::session_balance(calls), 0);
  EXPECT_EQ(test_support::calls_without_lock(calls), std::vector<std::string>{});
  EXPECT_EQ(rig.violations(), std::vector<std::string>{});
  EXPECT_EQ(rig.open_sessions(), 0);
  EXPECT_FALSE(detail::bridge::process_lock_held_by_this_thread());
  rig.clear_calls();
}

TEST(PowerLossSweep, JsonRecordWriteCutAtEveryByteReadsAsAFailureAndIsRestoredByTheNextWrite) {
  sim::SimulatedRig rig;
  plug_pair(rig, target_camera(kFreeModelRow));
  const PauseRecorder pauses;
  Result<Device> opened = open_device(scan_target());
  ASSERT_TRUE(opened.ok()) << opened.status().message();
  Device device = std::move(opened).value();
  // Without capability reporting the user space is one 4 KiB sector, which each record fills exactly.
  ASSERT_EQ(device.flash_config().user_space_size, kFourKiB);
  const std::string texts[2] = {json_of_length(kFourKiB - 16, 10), json_of_length(kFourKiB - 16, 11)};
  ASSERT_TRUE(device.write_json(texts[0]).ok());
  const std::string cut_message = flash_access_message("SonixCam_WriteToSF", kWriteFlashFail, kUserSpace, kFourKiB);

  std::size_t cases = 0;
  for (std::uint32_t programmed = 0; programmed <= kFourKiB && !::testing::Test::HasFailure(); ++programmed) {
    SCOPED_TRACE("power lost after " + std::to_string(programmed) + " bytes");
    const std::string& old_text = texts[programmed % 2];
    const std::string& new_text = texts[(programmed + 1) % 2];
    rig.cut_power_during_write(kTarget, programmed);

    const Status cut = device.write_json(new_text);
    EXPECT_EQ(cut.code(), ErrorCode::WriteFailed);
    EXPECT_EQ(cut.message(), cut_message);

    const Result<ReadJsonResult> after_cut = device.read_json();
    const Status expected = expected_read_after_write_cut(programmed);
    EXPECT_EQ(after_cut.status().code(), expected.code());
    EXPECT_EQ(after_cut.status().message(), expected.message());
    if (after_cut.ok()) {
      // Power failed only after the last byte: the record is whole, and it is the new one.
      EXPECT_EQ(after_cut.value().json, new_text);
    }
    EXPECT_NE(after_cut.ok() ? after_cut.value().json : std::string(), old_text);

    const Status rewritten = device.write_json(new_text);
    EXPECT_TRUE(rewritten.ok()) << rewritten.message();
    const Result<ReadJsonResult> restored = device.read_json();
    ASSERT_TRUE(restored.ok()) << restored.status().message();
    EXPECT_EQ(restored.value().json, new_text);
    expect_rules_kept(rig);
    ++cases;
  }
  EXPECT_EQ(cases, kFourKiB + 1);
  test_support::expect_vendor_lock_free();
  count_cases(cases);
  std::printf("[ sweep    ] JSON record write cut at every byte: %zu cases\n", cases);
}

// Every byte of the header and its neighbourhood, then a stride through the payload, then its last bytes. (The
// JSON sweep above cuts at every byte; this one repeats it through the raw record functions at a lower cost.)
std::vector<std::uint32_t> raw_cut_offsets() {
  std::vector<std::uint32_t> offsets;
  for (std::uint32_t offset = 0; offset < 48; ++offset) {
    offsets.push_back(offset);
  }
  for (std::uint32_t offset = 48; offset < kFourKiB - 2; offset += 61) {
    offsets.push_back(offset);
  }
  offsets.insert(offsets.end(), {kFourKiB - 2, kFourKiB - 1, kFourKiB});
  return offsets;
}

TEST(PowerLossSweep, RawRecordWriteCutAcrossTheRecordReadsAsAFailureAndIsRestoredByTheNextWrite) {
  sim::SimulatedRig rig;
  plug_pair(rig, target_camera(kGatedModelRow));
  FlashConfig config = target_config(Selection::ByPath);
  // The same 4 KiB record in a 64 KiB user space: the lengths a cut header declares still exceed it.
  FlashBlob blobs[2];
  blobs[0].payload = bytes_of(json_of_length(kFourKiB - 16, 20));
  blobs[1].payload = bytes_of(json_of_length(kFourKiB - 16, 21));
  blobs[1].format_version = 1;
  ASSERT_TRUE(write_blob_to_device(config, blobs[0]).ok());

  const std::vector<std::uint32_t> offsets = raw_cut_offsets();
  std::size_t cases = 0;
  for (const std::uint32_t programmed : offsets) {
    if (::testing::Test::HasFailure()) {
      break;
    }
    SCOPED_TRACE("power lost after " + std::to_string(programmed) + " bytes");
    const FlashBlob& written = blobs[(cases + 1) % 2];
    rig.cut_power_during_write(kTarget, programmed);

    const Status cut = write_blob_to_device(config, written);
    EXPECT_EQ(cut.code(), ErrorCode::WriteFailed);
    EXPECT_EQ(cut.message(), flash_access_message("SonixCam_WriteToSF", kWriteFlashFail, kUserSpace, kFourKiB));

    const Result<FlashBlob> after_cut = read_blob_from_device(config);
    const Status expected = expected_read_after_write_cut(programmed);
    EXPECT_EQ(after_cut.status().code(), expected.code());
    EXPECT_EQ(after_cut.status().message(), expected.message());
    if (after_cut.ok()) {
      EXPECT_TRUE(after_cut.value().payload == written.payload) << "a whole record that is not the one written";
      EXPECT_EQ(after_cut.value().format_version, written.format_version);
    }

    EXPECT_TRUE(write_blob_to_device(config, written).ok());
    const Result<FlashBlob> restored = read_blob_from_device(config);
    ASSERT_TRUE(restored.ok()) << restored.status().message();
    EXPECT_TRUE(restored.value().payload == written.payload) << "the rewrite did not restore the record";
    expect_rules_kept(rig);
    ++cases;
  }
  EXPECT_EQ(cases, offsets.size());
  test_support::expect_vendor_lock_free();
  count_cases(cases);
  std::printf("[ sweep    ] raw record write cut across the record: %zu cases\n", cases);
}

// Cuts the power in the middle of one chosen sector erase of a write: the rig's own power cut applies to the next
// erase, so it is armed just before the chosen one reaches the rig.
struct EraseCut {
  sim::SimulatedRig* rig = nullptr;
  std::uint32_t sector = 0;  ///< 1 for the first erase of the write
  std::uint32_t bytes = 0;   ///< how much of that sector is erased before the power fails
  std::uint32_t seen = 0;
};

EraseCut& erase_cut() {
  static EraseCut cut;
  return cut;
}

bool erase_with_power_cut(SonixLib::scDevice_t* device, std::uint32_t address, std::uint8_t command) {
  EraseCut& cut = erase_cut();
  if (++cut.seen == cut.sector && cut.rig != nullptr) {
    cut.rig->cut_power_during_erase(kTarget, cut.bytes);
  }
  return vendor_testing::rig_backend().sector_erase(device, address, command);
}

TEST(PowerLossSweep, EraseCutInEverySectorOfA64KiBRecordReadsAsAFailureAndIsRestoredByTheNextWrite) {
  sim::SimulatedRig rig;
  plug_pair(rig, target_camera(kGatedModelRow));
  vendor_testing::BackendOverride override_erase;
  override_erase.table().sector_erase = &erase_with_power_cut;
  override_erase.install();
  erase_cut() = EraseCut{&rig, 0, 0, 0};

  const FlashConfig config = target_config(Selection::ByPath);
  const std::uint32_t sectors = config.user_space_size / kSector;
  ASSERT_EQ(sectors, 16u);
  // Records that fill the whole user space, so that every write erases all sixteen sectors.
  FlashBlob blobs[2];
  blobs[0].payload = bytes_of(json_of_length(config.user_space_size - 16, 30));
  blobs[1].payload = bytes_of(json_of_length(config.user_space_size - 16, 31));
  ASSERT_TRUE(write_blob_to_device(config, blobs[0]).ok());
  const std::uint32_t offsets[] = {0, 1, 16, 2048, kSector};

  std::size_t cases = 0;
  for (std::uint32_t sector = 1; sector <= sectors && !::testing::Test::HasFailure(); ++sector) {
    for (const std::uint32_t bytes : offsets) {
      SCOPED_TRACE("power lost in erase " + std::to_string(sector) + " after " + std::to_string(bytes) + " bytes");
      const FlashBlob& old_blob = blobs[cases % 2];
      const FlashBlob& new_blob = blobs[(cases + 1) % 2];
      erase_cut() = EraseCut{&rig, sector, bytes, 0};

      const Status cut = write_blob_to_device(config, new_blob);
      const std::uint32_t sector_start = kUserSpace + (sector - 1) * kSector;
      EXPECT_EQ(cut.code(), ErrorCode::EraseFailed);
      EXPECT_EQ(cut.message(), flash_access_message("SonixCam_SectorEraseSF", kSectorEraseFail, sector_start, kSector));
      EXPECT_EQ(erase_cut().seen, sector) << "the write goes on erasing after a failed sector";
      erase_cut() = EraseCut{&rig, 0, 0, 0};

      // Only a cut before the first byte of the first sector leaves the old record whole; any other cut has
      // erased its magic. Either way no other record can be read.
      const Result<FlashBlob> after_cut = read_blob_from_device(config);
      if (sector == 1 && bytes == 0) {
        ASSERT_TRUE(after_cut.ok()) << after_cut.status().message();
        EXPECT_TRUE(after_cut.value().payload == old_blob.payload) << "not the old record";
      } else {
        EXPECT_EQ(after_cut.status().code(), ErrorCode::BadMagic);
        EXPECT_EQ(after_cut.status().message(), "flash magic mismatch");
      }

      EXPECT_TRUE(write_blob_to_device(config, new_blob).ok());
      const Result<FlashBlob> restored = read_blob_from_device(config);
      ASSERT_TRUE(restored.ok()) << restored.status().message();
      EXPECT_TRUE(restored.value().payload == new_blob.payload) << "the rewrite did not restore the record";
      expect_rules_kept(rig);
      ++cases;
    }
  }
  EXPECT_EQ(cases, sectors * std::size(offsets));
  erase_cut() = EraseCut{};
  test_support::expect_vendor_lock_free();
  count_cases(cases);
  std::printf("[ sweep    ] erase cut in every sector: %zu cases\n", cases);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sweeps
