#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "bridge/process_lock.h"
#include "flash/flash_rig_support.h"
#include "support/call_views.h"
#include "support/rig_checks.h"
#include "sweeps/fault_sweep.h"
#include "sweeps/sweep_rig.h"
#include "uvc_stereo/flash.h"

// Random flash configurations, records and requests against cameras whose user space is the one configured: whatever
// is asked, nothing outside the user space is ever erased or written, a request the user space cannot hold never
// reaches the flash, and a record that was written reads back unchanged.
namespace tovanel::uvc_stereo::sweeps {
namespace {

constexpr std::uint32_t kChipSize = 0xFFFFF000;
constexpr std::size_t kCases = 400;
constexpr std::uint32_t kGuardBytes = 64;

// Draws from a fixed-seed generator by plain modulo, so that every platform draws the same cases.
class Draw {
 public:
  explicit Draw(std::uint32_t seed) : engine_(seed) {}
  std::uint32_t below(std::uint64_t bound) { return bound == 0 ? 0 : static_cast<std::uint32_t>(engine_() % bound); }
  bool chance(unsigned percent) { return below(100) < percent; }
  template <typename T, std::size_t N>
  T one_of(const T (&values)[N]) {
    return values[below(N)];
  }
  std::vector<std::uint8_t> bytes(std::size_t length) {
    std::vector<std::uint8_t> result(length);
    for (std::uint8_t& byte : result) {
      byte = static_cast<std::uint8_t>(engine_());
    }
    return result;
  }

 private:
  std::mt19937 engine_;
};

struct Case {
  FlashConfig config;
  std::uint32_t sector = 0;  ///< the erase granularity in force
  std::vector<std::uint8_t> payload;
  std::vector<std::uint8_t> raw;  ///< a hand-made record to write instead of the payload; may be damaged
  bool raw_damaged = false;
  std::uint16_t raw_header_size = 0;
};

Case draw_case(Draw& draw) {
  Case c;
  c.config = target_config(Selection::ByPath);
  const std::uint32_t configured_sectors[] = {0, 4096, 4096, 256, 512, 1024, 8192, 65536};
  c.config.erase_sector_size = draw.one_of(configured_sectors);
  c.sector = c.config.erase_sector_size == 0 ? 4096 : c.config.erase_sector_size;

  // Sizes: none, whole sectors, or anything; kept small enough for fast cases.
  if (draw.chance(4)) {
    c.config.user_space_size = 0;
  } else if (draw.chance(50)) {
    c.config.user_space_size = c.sector * (1 + draw.below(std::max<std::uint32_t>(1, 0x8000 / c.sector)));
  } else {
    c.config.user_space_size = 1 + draw.below(0x8000);
  }
  // Addresses: on a sector boundary, anywhere, at the start of the chip or ending at its end.
  const std::uint32_t highest = kChipSize - c.config.user_space_size;
  const std::uint32_t placement = draw.below(10);
  if (placement < 5) {
    c.config.user_space_address = (draw.below(highest) / c.sector) * c.sector;
  } else if (placement < 8) {
    c.config.user_space_address = draw.below(highest);
  } else if (placement < 9) {
    c.config.user_space_address = 0;
  } else {
    c.config.user_space_address = highest;
  }

  const std::uint16_t minimum_headers[] = {16, 16, 16, 24, 32, 8};
  c.config.min_header_size = draw.one_of(minimum_headers);
  const std::uint16_t maximum_headers[] = {256, 256, 64, 20};
  c.config.max_header_size = draw.one_of(maximum_headers);
  c.config.verify_crc = !draw.chance(15);
  c.config.verify_after_write = !draw.chance(25);

  // Payloads from empty to a little more than the user space holds.
  const std::uint32_t longest = std::min<std::uint32_t>(c.config.user_space_size + 64, 6000);
  c.payload = draw.bytes(draw.below(longest + 1));
  if (draw.chance(40)) {
    const std::uint16_t paddings[] = {0, 0, 8, 48};
    c.raw_header_size =
        static_cast<std::uint16_t>(std::max<std::uint16_t>(c.config.min_header_size, 16) + draw.one_of(paddings));
    c.raw = test_support::make_record(c.payload, c.raw_header_size, static_cast<std::uint16_t>(draw.below(5)));
    if (!c.payload.empty() && draw.chance(25)) {
      c.raw[c.raw_header_size + draw.below(c.payload.size())] ^= 0x10;
      c.raw_damaged = true;
    }
  }
  return c;
}

// The outcome of a write, worked out from the configuration alone: refused before the camera is contacted
// (with its code), refused by the range checks once the session is open, or done.
enum class WriteOutcome { RefusedBeforeSession, RefusedRange, Written };

WriteOutcome expected_write(const Case& c, ErrorCode& code) {
  const FlashConfig& config = c.config;
  std::uint64_t total = 0;
  if (!c.raw.empty()) {
    total = c.raw.size();
    if (c.raw.size() < config.min_header_size) {
      code = ErrorCode::InvalidHeader;
    } else if (config.min_header_size < 16) {
      code = ErrorCode::InvalidArgument;
    } else if (c.raw_header_size > config.max_header_size) {
      code = ErrorCode::InvalidHeader;
    } else if (total > config.user_space_size) {
      code = ErrorCode::InvalidLength;
    } else if (c.raw_damaged && config.verify_crc) {
      code = ErrorCode::ChecksumMismatch;
    } else {
      code = ErrorCode::Ok;
    }
  } else if (config.min_header_size < 16) {
    code = ErrorCode::InvalidArgument;
  } else {
    total = config.min_header_size + c.payload.size();
    code = total > config.user_space_size ? ErrorCode::InvalidLength : ErrorCode::Ok;
  }
  if (code != ErrorCode::Ok) {
    return WriteOutcome::RefusedBeforeSession;
  }
  // The record lies inside the user space; its erase must too, once widened to whole sectors.
  const std::uint64_t start = config.user_space_address;
  const std::uint64_t end = start + config.user_space_size;
  const std::uint64_t erase_start = start - start % c.sector;
  const std::uint64_t erase_end = (start + total + c.sector - 1) / c.sector * c.sector;
  if (erase_start < start || erase_end > end) {
    code = ErrorCode::InvalidArgument;
    return WriteOutcome::RefusedRange;
  }
  return WriteOutcome::Written;
}

// Bytes the SDK must never change: just before and just after the user space, where the chip has them.
struct Guards {
  std::uint32_t before_address = 0;
  std::vector<std::uint8_t> before;
  std::uint32_t after_address = 0;
  std::vector<std::uint8_t> after;
};

Guards place_guards(sim::SimulatedRig& rig, const FlashConfig& config, Draw& draw) {
  Guards guards;
  const std::uint32_t start = config.user_space_address;
  const std::uint64_t end = static_cast<std::uint64_t>(start) + config.user_space_size;
  const std::uint32_t before_length = std::min(start, kGuardBytes);
  guards.before_address = start - before_length;
  guards.before = draw.bytes(before_length);
  const std::uint64_t after_length = std::min<std::uint64_t>(kChipSize - end, kGuardBytes);
  guards.after_address = static_cast<std::uint32_t>(end);
  guards.after = draw.bytes(static_cast<std::size_t>(after_length));
  rig.set_flash(kTarget, guards.before_address, guards.before);
  rig.set_flash(kTarget, guards.after_address, guards.after);
  return guards;
}

bool touches_flash(const std::vector<sim::VendorCall>& calls) {
  return test_support::count_calls(calls, "SonixCam_SectorEraseSF") +
             test_support::count_calls(calls, "SonixCam_WriteToSF") >
         0;
}

TEST(FlashProperty, RandomConfigurationsAndRecordsNeverTouchTheFlashOutsideTheUserSpace) {
  Draw draw(20240607);
  std::size_t written = 0;
  std::size_t refused_before_session = 0;
  std::size_t refused_range = 0;
  for (std::size_t index = 0; index < kCases && !::testing::Test::HasFailure(); ++index) {
    const Case c = draw_case(draw);
    char trace[200];
    std::snprintf(trace, sizeof(trace),
                  "case %zu: user space 0x%08X + 0x%X, sector %u, headers %u..%u, payload %zu%s%s", index,
                  static_cast<unsigned>(c.config.user_space_address), static_cast<unsigned>(c.config.user_space_size),
                  static_cast<unsigned>(c.sector), static_cast<unsigned>(c.config.min_header_size),
                  static_cast<unsigned>(c.config.max_header_size), c.payload.size(),
                  c.raw.empty() ? "" : ", raw record", c.raw_damaged ? " (damaged)" : "");
    SCOPED_TRACE(trace);

    sim::SimulatedRig rig;
    sim::SimulatedCamera target = target_camera(kGatedModelRow);
    target.flash_size = kChipSize;
    target.flash_sector_size = c.sector;
    target.user_space_address = c.config.user_space_address;
    target.user_space_size = c.config.user_space_size;
    plug_pair(rig, target);
    const Guards guards = place_guards(rig, c.config, draw);
    if (c.config.user_space_size > 0 && draw.chance(50)) {
      rig.set_flash(kTarget, c.config.user_space_address,
                    draw.bytes(std::min<std::uint32_t>(c.config.user_space_size, 512)));
    }
    rig.clear_calls();

    const Status probed = probe_flash_transport(c.config);
    EXPECT_EQ(probed.code(), c.config.user_space_size > 0 ? ErrorCode::Ok : ErrorCode::InvalidArgument)
        << probed.message();

    FlashBlob blob;
    blob.payload = c.payload;
    blob.raw = c.raw;
    rig.clear_calls();
    const Status write = write_blob_to_device(c.config, blob);
    const std::vector<sim::VendorCall> write_calls = rig.calls();
    ErrorCode expected_code = ErrorCode::Ok;
    const WriteOutcome outcome = expected_write(c, expected_code);
    EXPECT_EQ(write.code(), expected_code) << write.message();
    switch (outcome) {
      case WriteOutcome::RefusedBeforeSession:
        ++refused_before_session;
        EXPECT_TRUE(write_calls.empty()) << "a record refused before the session still reached the library";
        break;
      case WriteOutcome::RefusedRange:
        ++refused_range;
        EXPECT_FALSE(touches_flash(write_calls)) << "a range refused by the checks still reached the flash";
        break;
      case WriteOutcome::Written: {
        ++written;
        // A header larger than the configuration accepts is written (the writer uses the minimum) but not read.
        const Result<FlashBlob> read = read_blob_from_device(c.config);
        const std::uint16_t header_size = c.raw.empty() ? c.config.min_header_size : c.raw_header_size;
        if (header_size > c.config.max_header_size) {
          EXPECT_EQ(read.status().code(), ErrorCode::InvalidHeader);
          EXPECT_EQ(read.status().message(), "header_size out of range");
        } else {
          ASSERT_TRUE(read.ok()) << read.status().message();
          // A damaged record passes only with CRC checking off, and then reads back damaged as it was written.
          const std::vector<std::uint8_t> stored =
              c.raw.empty() ? c.payload : std::vector<std::uint8_t>(c.raw.begin() + header_size, c.raw.end());
          EXPECT_TRUE(read.value().payload == stored) << "the record read is not the one written";
        }
        break;
      }
    }

    EXPECT_EQ(rig.violations(), std::vector<std::string>{});
    EXPECT_EQ(rig.open_sessions(), 0);
    EXPECT_EQ(test_support::calls_without_lock(rig.calls()), std::vector<std::string>{});
    EXPECT_TRUE(rig.flash(kTarget, guards.before_address, static_cast<std::uint32_t>(guards.before.size())) ==
                guards.before)
        << "the bytes before the user space changed";
    EXPECT_TRUE(rig.flash(kTarget, guards.after_address, static_cast<std::uint32_t>(guards.after.size())) ==
                guards.after)
        << "the bytes after the user space changed";
    EXPECT_FALSE(detail::bridge::process_lock_held_by_this_thread());
  }
  test_support::expect_vendor_lock_free();
  // The draw reaches every outcome, so the property is not tested on refusals alone.
  EXPECT_GT(written, kCases / 5);
  EXPECT_GT(refused_before_session, kCases / 20);
  EXPECT_GT(refused_range, kCases / 20);
  count_cases(kCases);
  std::printf(
      "[ property ] %zu random configurations: %zu written, %zu refused before the session, %zu refused by "
      "the range checks\n",
      kCases, written, refused_before_session, refused_range);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::sweeps
