#include "bridge/imu_reader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bridge/capability_probe.h"
#include "bridge/os/host_clock.h"
#include "bridge/process_lock.h"
#include "bridge/vendor_backend.h"
#include "capability/capability_report_encoder.h"
#include "imu/model_table.h"
#include "support/allocation_counter.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/vendor_lock.h"
#include "vendor_backend_override.h"
#include "xu_rig_fixture.h"

namespace tovanel::uvc_stereo::detail {
namespace {

using sim::SimulatedCamera;
using sim::VendorCall;
using sim::VendorFault;
using test_support::AllocationCount;
using vendor_testing::BackendOverride;
using vendor_testing::expect_session_ended;
using vendor_testing::rig_backend;
using xu_testing::calls_named;
using xu_testing::info_of;
using xu_testing::names_of;
using xu_testing::supported_camera;

constexpr char kNoSelector[] = "selected device has no Windows device_path, serial_number, or vid/pid";
constexpr char kBadTransport[] = "invalid IMU transport configuration";
constexpr char kClosed[] = "IMU reader is closed or moved-from";

ImuTransportConfig transport(std::uint8_t unit, std::uint8_t selector, std::uint8_t length) {
  ImuTransportConfig config;
  config.xu_unit = unit;
  config.xu_selector = selector;
  config.xu_length = length;
  return config;
}

class ImuReaderTest : public xu_testing::XuRigTest {
 protected:
  // Plugs in a camera of model `model_index` whose IMU counter starts at `first_counter`.
  DeviceInfo plug(std::size_t model_index, const std::string& serial, std::uint32_t first_counter = 0) {
    SimulatedCamera camera = supported_camera(model_index, serial);
    camera.imu.first_counter = first_counter;
    rig_.add_camera(camera);
    return info_of(camera);
  }

  // Opens a reader on `device` with the default transport; a failure ends the test with the reason.
  static ImuReader open(const DeviceInfo& device) {
    Result<ImuReader> reader = open_imu_platform(device, ImuTransportConfig{});
    if (!reader.ok()) {
      throw std::runtime_error("IMU open failed: " + reader.status().message());
    }
    return std::move(reader).value();
  }
};

TEST_F(ImuReaderTest, TransportOneByteShortOfASampleIsRefusedBeforeAnyVendorCall) {
  const DeviceInfo camera = plug(0, "ONLY");

  const Result<ImuReader> reader = open_imu_platform(camera, transport(4, 10, 16));

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(reader.status().message(), kBadTransport);
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(ImuReaderTest, TransportWithUnitZeroIsRefused) {
  const DeviceInfo camera = plug(0, "ONLY");

  const Result<ImuReader> reader = open_imu_platform(camera, transport(0, 10, 17));

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(reader.status().message(), kBadTransport);
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(ImuReaderTest, TransportWithSelectorZeroIsRefused) {
  const DeviceInfo camera = plug(0, "ONLY");

  const Result<ImuReader> reader = open_imu_platform(camera, transport(4, 0, 17));

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().message(), kBadTransport);
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(ImuReaderTest, RecordWithoutAnySelectorIsRefusedBeforeAnyVendorCall) {
  plug(0, "ONLY");
  DeviceInfo device;
  device.vendor_id = detail::supported_models().front().vendor_id;

  const Result<ImuReader> reader = open_imu_platform(device, ImuTransportConfig{});

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(reader.status().message(), kNoSelector);
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(ImuReaderTest, MissingSelectorIsReportedBeforeABadTransport) {
  plug(0, "ONLY");

  const Result<ImuReader> reader = open_imu_platform(DeviceInfo{}, transport(0, 0, 0));

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().message(), kNoSelector);
}

TEST_F(ImuReaderTest, RecordWithOnlyVendorAndProductIdFindsTheCameraByVidPid) {
  plug(0, "FIRST", 100);
  const DeviceInfo second = plug(1, "SECOND", 5000);
  DeviceInfo ids_only;
  ids_only.vendor_id = second.vendor_id;
  ids_only.product_id = second.product_id;

  Result<ImuReader> reader = open_imu_platform(ids_only, ImuTransportConfig{});
  ASSERT_TRUE(reader.ok()) << reader.status().message();
  const Result<ReadImuResult> sample = reader.value().read();

  ASSERT_TRUE(sample.ok()) << sample.status().message();
  EXPECT_EQ(sample.value().sample_counter, 5000u);
  const std::vector<VendorCall> reads = calls_named(rig_.calls(), "SonixCam_XuRead");
  ASSERT_EQ(reads.size(), 1u);
  EXPECT_EQ(reads[0].camera, 1);
}

TEST_F(ImuReaderTest, RecordWithOnlyASerialNumberIsAccepted) {
  plug(0, "FIRST", 100);
  DeviceInfo serial_only;
  serial_only.serial_number = "SECOND";
  plug(2, "SECOND", 7000);

  Result<ImuReader> reader = open_imu_platform(serial_only, ImuTransportConfig{});
  ASSERT_TRUE(reader.ok()) << reader.status().message();
  const Result<ReadImuResult> sample = reader.value().read();

  ASSERT_TRUE(sample.ok()) << sample.status().message();
  EXPECT_EQ(sample.value().sample_counter, 7000u);
}

TEST_F(ImuReaderTest, CameraThatIsNotConnectedIsTheResolutionFailureAndEndsTheSession) {
  plug(0, "STAYS");
  DeviceInfo gone = plug(1, "LEAVES");
  rig_.unplug(1);

  const Result<ImuReader> reader = open_imu_platform(gone, ImuTransportConfig{});

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(reader.status().message(), "preferred device_path not found in current scan");
  EXPECT_EQ(rig_.open_sessions(), 0);
  EXPECT_EQ(rig_.calls().back().name, "SonixCam_UnInit");
  EXPECT_TRUE(calls_named(rig_.calls(), "SonixCam_SetNodeID").empty());
}

TEST_F(ImuReaderTest, ModelThatIsNotConnectedIsNotMatchedByVidPid) {
  plug(0, "ONLY");
  DeviceInfo other_model;
  other_model.vendor_id = detail::supported_models()[3].vendor_id;
  other_model.product_id = detail::supported_models()[3].product_id;

  const Result<ImuReader> reader = open_imu_platform(other_model, ImuTransportConfig{});

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(reader.status().message(), "no device matched the requested vidpid/filter");
  EXPECT_EQ(rig_.open_sessions(), 0);
}

TEST_F(ImuReaderTest, LibraryThatCannotStartIsDeviceUnavailableAndNotUninitialised) {
  const DeviceInfo camera = plug(0, "ONLY");
  rig_.set_library_present(false);

  const Result<ImuReader> reader = open_imu_platform(camera, ImuTransportConfig{});

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(reader.status().message(), "SonixCam_Init failed: vendor_code=ecLibInitFail(2)");
  EXPECT_EQ(names_of(rig_.calls()), (std::vector<std::string>{"SonixCam_Init", "SonixCam_GetErrorCode"}));
}

TEST_F(ImuReaderTest, SetNodeIdFailureIsAPlatformErrorAndEndsTheSession) {
  const DeviceInfo camera = plug(0, "ONLY");
  rig_.add_fault(VendorFault{"SonixCam_SetNodeID", 1, 1, 5, false});

  const Result<ImuReader> reader = open_imu_platform(camera, ImuTransportConfig{});

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(reader.status().message(), "SonixCam_SetNodeID failed: vendor_code=ecGetKsControlFail(5)");
  const std::vector<std::string> names = names_of(rig_.calls());
  ASSERT_GE(names.size(), 3u);
  EXPECT_EQ(names[names.size() - 3], "SonixCam_SetNodeID");
  EXPECT_EQ(names[names.size() - 2], "SonixCam_GetErrorCode");
  EXPECT_EQ(names.back(), "SonixCam_UnInit");
  EXPECT_EQ(rig_.open_sessions(), 0);
}

TEST_F(ImuReaderTest, OpenSelectsTheTransportsUnitAndReadsWithItsSelectorAndLength) {
  SimulatedCamera camera = supported_camera(0, "ONLY");
  camera.imu_unit = 6;
  camera.imu_selector = 3;
  camera.imu_length = 20;
  rig_.add_camera(camera);

  Result<ImuReader> reader = open_imu_platform(info_of(camera), transport(6, 3, 32));
  ASSERT_TRUE(reader.ok()) << reader.status().message();
  const Result<ReadImuResult> sample = reader.value().read();
  ASSERT_TRUE(sample.ok()) << sample.status().message();

  const std::vector<VendorCall> nodes = calls_named(rig_.calls(), "SonixCam_SetNodeID");
  ASSERT_EQ(nodes.size(), 1u);
  EXPECT_EQ(nodes[0].args, (std::vector<std::int64_t>{6}));
  EXPECT_TRUE(nodes[0].succeeded);
  const std::vector<VendorCall> reads = calls_named(rig_.calls(), "SonixCam_XuRead");
  ASSERT_EQ(reads.size(), 1u);
  EXPECT_EQ(reads[0].args, (std::vector<std::int64_t>{32, 3, 6}));
}

TEST_F(ImuReaderTest, ReadShorterThanTheCameraNeedsIsAPlatformError) {
  SimulatedCamera camera = supported_camera(0, "ONLY");
  camera.imu_length = 24;
  rig_.add_camera(camera);

  Result<ImuReader> reader = open_imu_platform(info_of(camera), transport(4, 10, 17));
  ASSERT_TRUE(reader.ok()) << reader.status().message();
  const Result<ReadImuResult> sample = reader.value().read();

  ASSERT_FALSE(sample.ok());
  EXPECT_EQ(sample.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(sample.status().message(), "SonixCam_XuRead failed: vendor_code=ecGetKsControlFail(5)");
}

TEST_F(ImuReaderTest, ConsecutiveReadsGiveConsecutiveCounters) {
  const DeviceInfo camera = plug(0, "ONLY", 41);
  ImuReader reader = open(camera);

  for (std::uint32_t expected = 41; expected < 46; ++expected) {
    const Result<ReadImuResult> sample = reader.read();
    ASSERT_TRUE(sample.ok()) << sample.status().message();
    EXPECT_EQ(sample.value().sample_counter, expected);
  }
  EXPECT_EQ(rig_.next_imu_counter(0), 46u);
}

TEST_F(ImuReaderTest, CounterWrapsAfterTwentyBits) {
  const DeviceInfo camera = plug(0, "ONLY", 0xFFFFE);
  ImuReader reader = open(camera);

  std::vector<std::uint32_t> counters;
  for (int i = 0; i < 3; ++i) {
    const Result<ReadImuResult> sample = reader.read();
    ASSERT_TRUE(sample.ok()) << sample.status().message();
    counters.push_back(sample.value().sample_counter);
  }
  EXPECT_EQ(counters, (std::vector<std::uint32_t>{0xFFFFE, 0xFFFFF, 0}));
}

TEST_F(ImuReaderTest, SampleAtRestShowsGravityOnZ) {
  const DeviceInfo camera = plug(0, "ONLY");
  ImuReader reader = open(camera);

  const Result<ReadImuResult> sample = reader.read();

  ASSERT_TRUE(sample.ok()) << sample.status().message();
  // One g is 2048 counts; the sensor noise stays within a few counts.
  EXPECT_NEAR(sample.value().accel_raw[2], 2048, 16);
  EXPECT_NEAR(sample.value().accel_raw[0], 0, 16);
  EXPECT_NEAR(sample.value().gyro_raw[1], 0, 16);
}

TEST_F(ImuReaderTest, StatusRepliesBecomeTheDecodeFailuresAndTheNextReadSucceeds) {
  const DeviceInfo camera = plug(0, "ONLY", 9);
  ImuReader reader = open(camera);
  rig_.queue_imu_status(0, 0xF1);
  rig_.queue_imu_status(0, 0xF2);

  const Result<ReadImuResult> init_failure = reader.read();
  const Result<ReadImuResult> read_failure = reader.read();
  const Result<ReadImuResult> recovered = reader.read();

  ASSERT_FALSE(init_failure.ok());
  EXPECT_EQ(init_failure.status().code(), ErrorCode::DeviceUnavailable);
  EXPECT_EQ(init_failure.status().message(), "IMU device reported initialization failure");
  ASSERT_FALSE(read_failure.ok());
  EXPECT_EQ(read_failure.status().code(), ErrorCode::ReadFailed);
  EXPECT_EQ(read_failure.status().message(), "IMU device reported read failure");
  ASSERT_TRUE(recovered.ok()) << recovered.status().message();
  EXPECT_EQ(recovered.value().sample_counter, 9u);
}

TEST_F(ImuReaderTest, XuReadFailureIsAPlatformErrorAndTheReaderStaysUsable) {
  const DeviceInfo camera = plug(0, "ONLY", 3);
  ImuReader reader = open(camera);
  rig_.add_fault(VendorFault{"SonixCam_XuRead", 1, 1, 8, false});

  const Result<ReadImuResult> failed = reader.read();
  const Result<ReadImuResult> next = reader.read();

  ASSERT_FALSE(failed.ok());
  EXPECT_EQ(failed.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(failed.status().message(), "SonixCam_XuRead failed: vendor_code=ecSyncTransTimeOut(8)");
  ASSERT_TRUE(next.ok()) << next.status().message();
  EXPECT_EQ(next.value().sample_counter, 3u);
  EXPECT_EQ(rig_.open_sessions(), 1);
}

TEST_F(ImuReaderTest, UnpluggedCameraReadsFailAsDisconnected) {
  const DeviceInfo camera = plug(0, "ONLY");
  ImuReader reader = open(camera);
  rig_.unplug(0);

  const Result<ReadImuResult> sample = reader.read();

  ASSERT_FALSE(sample.ok());
  EXPECT_EQ(sample.status().code(), ErrorCode::PlatformError);
  EXPECT_EQ(sample.status().message(), "SonixCam_XuRead failed: vendor_code=ecDeviceDisconnect(7)");
}

TEST_F(ImuReaderTest, TimestampLiesBetweenTheClockReadingsAroundTheRead) {
  const DeviceInfo camera = plug(0, "ONLY");
  ImuReader reader = open(camera);

  for (int i = 0; i < 20; ++i) {
    const std::uint64_t before = bridge::now_ns();
    const Result<ReadImuResult> sample = reader.read();
    const std::uint64_t after = bridge::now_ns();
    ASSERT_TRUE(sample.ok()) << sample.status().message();
    EXPECT_GE(sample.value().host_timestamp_ns, before);
    EXPECT_LE(sample.value().host_timestamp_ns, after);
  }
}

constexpr auto kSlowTransfer = std::chrono::milliseconds(40);

bool slow_xu_read(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                  std::uint8_t unit_id) {
  std::this_thread::sleep_for(kSlowTransfer);
  return rig_backend().xu_read(device, buffer, length, selector, unit_id);
}

TEST_F(ImuReaderTest, TimestampIsTheMiddleOfTheTransfer) {
  const DeviceInfo camera = plug(0, "ONLY");
  ImuReader reader = open(camera);
  const BackendOverride override(&bridge::VendorBackend::xu_read, slow_xu_read);

  const std::uint64_t before = bridge::now_ns();
  const Result<ReadImuResult> sample = reader.read();
  const std::uint64_t after = bridge::now_ns();

  ASSERT_TRUE(sample.ok()) << sample.status().message();
  const std::uint64_t half = std::chrono::nanoseconds(kSlowTransfer).count() / 2;
  // Neither the start nor the end of a transfer that takes at least 40 ms is within 20 ms of its middle.
  EXPECT_GE(sample.value().host_timestamp_ns - before, half);
  EXPECT_GE(after - sample.value().host_timestamp_ns, half);
}

bool g_buffers_arrived_zeroed = true;
int g_checked_reads = 0;

bool zero_checking_xu_read(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length,
                           std::uint8_t selector, std::uint8_t unit_id) {
  ++g_checked_reads;
  for (std::uint8_t i = 0; i < length; ++i) {
    g_buffers_arrived_zeroed = g_buffers_arrived_zeroed && buffer[i] == 0;
  }
  return rig_backend().xu_read(device, buffer, length, selector, unit_id);
}

TEST_F(ImuReaderTest, BufferIsZeroedBeforeEveryRead) {
  const DeviceInfo camera = plug(0, "ONLY", 0x12345);
  ImuReader reader = open(camera);
  const BackendOverride override(&bridge::VendorBackend::xu_read, zero_checking_xu_read);
  g_buffers_arrived_zeroed = true;
  g_checked_reads = 0;

  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(reader.read().ok());
  }

  EXPECT_EQ(g_checked_reads, 3);
  EXPECT_TRUE(g_buffers_arrived_zeroed);
}

TEST_F(ImuReaderTest, ReaderKeepsOneSessionOpenUntilItIsDestroyed) {
  const DeviceInfo camera = plug(0, "ONLY");
  {
    ImuReader reader = open(camera);
    EXPECT_EQ(rig_.open_sessions(), 1);
    EXPECT_FALSE(bridge::process_lock_held_by_this_thread());
    ASSERT_TRUE(reader.read().ok());
    EXPECT_EQ(rig_.open_sessions(), 1);
    rig_.clear_calls();
  }
  EXPECT_EQ(rig_.open_sessions(), 0);
  const std::vector<VendorCall> calls = rig_.calls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].name, "SonixCam_UnInit");
  EXPECT_TRUE(calls[0].lock_held);
  EXPECT_TRUE(calls[0].succeeded);
}

TEST_F(ImuReaderTest, OpenCallsInitOnceAndLeavesTheSessionToTheReader) {
  const DeviceInfo camera = plug(0, "ONLY");
  ImuReader reader = open(camera);

  const std::vector<VendorCall> calls = rig_.calls();
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls.front().name, "SonixCam_Init");
  EXPECT_EQ(calls.back().name, "SonixCam_SetNodeID");
  EXPECT_EQ(calls.back().args, (std::vector<std::int64_t>{4}));
  EXPECT_TRUE(calls.back().succeeded);
  EXPECT_TRUE(calls_named(calls, "SonixCam_UnInit").empty());
  for (const VendorCall& call : calls) {
    EXPECT_TRUE(call.lock_held) << call.name;
  }
}

TEST_F(ImuReaderTest, ReadWaitsForTheVendorLock) {
  const DeviceInfo camera = plug(0, "ONLY");
  ImuReader reader = open(camera);
  std::atomic<bool> finished{false};
  bool read_ok = false;

  win_detail::SonixGlobalLock held;
  std::thread other([&] {
    read_ok = reader.read().ok();
    finished = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_FALSE(finished.load());
  held.unlock();
  other.join();

  EXPECT_TRUE(finished.load());
  EXPECT_TRUE(read_ok);
}

TEST_F(ImuReaderTest, OtherThreadsUseTheLibraryBetweenReads) {
  const DeviceInfo imu_camera = plug(0, "IMU", 0);
  SimulatedCamera probed = supported_camera(1, "PROBED");
  CapabilityReport report;
  report.capability_bits = kCapabilityFlashUserSpace;
  report.flash_user_space = FlashUserSpace{0x100000, 0x10000};
  probed.capability_report = encode_xu_capability_report(report);
  rig_.add_camera(probed);
  ImuReader reader = open(imu_camera);
  rig_.clear_calls();

  constexpr int kRounds = 30;
  int probes_ok = 0;
  std::thread prober([&] {
    for (int i = 0; i < kRounds; ++i) {
      probes_ok += probe_xu_capability(info_of(probed)).status.ok() ? 1 : 0;
    }
  });
  std::vector<std::uint32_t> counters;
  for (int i = 0; i < kRounds; ++i) {
    const Result<ReadImuResult> sample = reader.read();
    ASSERT_TRUE(sample.ok()) << sample.status().message();
    counters.push_back(sample.value().sample_counter);
  }
  prober.join();

  EXPECT_EQ(probes_ok, kRounds);
  for (int i = 0; i < kRounds; ++i) {
    EXPECT_EQ(counters[static_cast<std::size_t>(i)], static_cast<std::uint32_t>(i));
  }
  // The probes nest their sessions inside the reader's, never inside each other's.
  for (const VendorCall& call : rig_.calls()) {
    EXPECT_TRUE(call.lock_held) << call.name;
    if (call.name == "SonixCam_Init") {
      EXPECT_EQ(call.open_sessions, 1);
    } else if (call.name == "SonixCam_UnInit") {
      EXPECT_EQ(call.open_sessions, 2);
    } else {
      EXPECT_GE(call.open_sessions, 1) << call.name;
      EXPECT_LE(call.open_sessions, 2) << call.name;
    }
  }
  EXPECT_EQ(rig_.open_sessions(), 1);
}

TEST_F(ImuReaderTest, MovedFromReaderRefusesAndTheNewOwnerReads) {
  const DeviceInfo camera = plug(0, "ONLY", 77);
  ImuReader first = open(camera);

  ImuReader second(std::move(first));
  const Result<ReadImuResult> refused = first.read();  // NOLINT(bugprone-use-after-move)
  const Result<ReadImuResult> sample = second.read();

  ASSERT_FALSE(refused.ok());
  EXPECT_EQ(refused.status().code(), ErrorCode::InvalidArgument);
  EXPECT_EQ(refused.status().message(), kClosed);
  ASSERT_TRUE(sample.ok()) << sample.status().message();
  EXPECT_EQ(sample.value().sample_counter, 77u);
  EXPECT_EQ(rig_.open_sessions(), 1);
}

TEST_F(ImuReaderTest, MoveAssignmentEndsTheTargetsSessionAndTakesTheSources) {
  const DeviceInfo first_camera = plug(0, "FIRST", 10);
  const DeviceInfo second_camera = plug(1, "SECOND", 20);
  ImuReader target = open(first_camera);
  ImuReader source = open(second_camera);
  EXPECT_EQ(rig_.open_sessions(), 2);

  target = std::move(source);

  EXPECT_EQ(rig_.open_sessions(), 1);
  const Result<ReadImuResult> refused = source.read();  // NOLINT(bugprone-use-after-move)
  ASSERT_FALSE(refused.ok());
  EXPECT_EQ(refused.status().message(), kClosed);
  const Result<ReadImuResult> sample = target.read();
  ASSERT_TRUE(sample.ok()) << sample.status().message();
  EXPECT_EQ(sample.value().sample_counter, 20u);
}

TEST_F(ImuReaderTest, TwoReadersOnTwoCamerasReadTheirOwnCounters) {
  const DeviceInfo first_camera = plug(0, "FIRST", 100);
  const DeviceInfo second_camera = plug(1, "SECOND", 200);
  ImuReader first = open(first_camera);
  ImuReader second = open(second_camera);

  for (std::uint32_t i = 0; i < 3; ++i) {
    const Result<ReadImuResult> a = first.read();
    const Result<ReadImuResult> b = second.read();
    ASSERT_TRUE(a.ok() && b.ok());
    EXPECT_EQ(a.value().sample_counter, 100 + i);
    EXPECT_EQ(b.value().sample_counter, 200 + i);
  }
}

bool throwing_init() { throw std::runtime_error("driver store unavailable"); }

bool throwing_set_node_id(SonixLib::scDevice_t*, std::uint8_t, const std::uint8_t*) {
  throw std::runtime_error("node table corrupted");
}

bool strangely_throwing_set_node_id(SonixLib::scDevice_t*, std::uint8_t, const std::uint8_t*) { throw 42; }

TEST_F(ImuReaderTest, StandardExceptionDuringOpenBecomesInternalErrorAndEndsTheSession) {
  const DeviceInfo camera = plug(0, "ONLY");
  const BackendOverride override(&bridge::VendorBackend::set_node_id, throwing_set_node_id);

  const Result<ImuReader> reader = open_imu_platform(camera, ImuTransportConfig{});

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(reader.status().message(), "node table corrupted");
  expect_session_ended(rig_);
}

TEST_F(ImuReaderTest, OtherExceptionDuringOpenBecomesInternalErrorWithTheFixedText) {
  const DeviceInfo camera = plug(0, "ONLY");
  const BackendOverride override(&bridge::VendorBackend::set_node_id, strangely_throwing_set_node_id);

  const Result<ImuReader> reader = open_imu_platform(camera, ImuTransportConfig{});

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(reader.status().message(), "unknown exception during Windows IMU open");
  expect_session_ended(rig_);
}

TEST_F(ImuReaderTest, ExceptionFromInitLeavesNothingToUninitialise) {
  const DeviceInfo camera = plug(0, "ONLY");
  const BackendOverride override(&bridge::VendorBackend::init, throwing_init);

  const Result<ImuReader> reader = open_imu_platform(camera, ImuTransportConfig{});

  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.status().code(), ErrorCode::InternalError);
  EXPECT_EQ(reader.status().message(), "driver store unavailable");
  EXPECT_TRUE(rig_.calls().empty());
  EXPECT_FALSE(bridge::process_lock_held_by_this_thread());
}

// The rig's own bookkeeping allocates; only what the SDK does around the library call is counted.
bool uncounted_xu_read(SonixLib::scDevice_t* device, std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                       std::uint8_t unit_id) {
  const test_support::UncountedAllocations uncounted;
  return rig_backend().xu_read(device, buffer, length, selector, unit_id);
}

TEST_F(ImuReaderTest, SuccessfulReadsAllocateNothing) {
  const DeviceInfo camera = plug(0, "ONLY");
  ImuReader reader = open(camera);
  const BackendOverride override(&bridge::VendorBackend::xu_read, uncounted_xu_read);
  ASSERT_TRUE(reader.read().ok());

  int successes = 0;
  AllocationCount count;
  for (int i = 0; i < 100; ++i) {
    const Result<ReadImuResult> sample = reader.read();
    successes += sample.ok() ? 1 : 0;
  }
  const long allocations = count.stop();

  EXPECT_EQ(successes, 100);
  EXPECT_EQ(allocations, 0);
}

TEST_F(ImuReaderTest, AllocationCountSeesTheMessageOfAFailedRead) {
  const DeviceInfo camera = plug(0, "ONLY");
  ImuReader reader = open(camera);
  const BackendOverride override(&bridge::VendorBackend::xu_read, uncounted_xu_read);
  ASSERT_TRUE(reader.read().ok());
  rig_.add_fault(VendorFault{"SonixCam_XuRead", 1, 1, 8, false});

  AllocationCount count;
  const Result<ReadImuResult> failed = reader.read();
  const long allocations = count.stop();

  ASSERT_FALSE(failed.ok());
  EXPECT_GT(allocations, 0);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail
