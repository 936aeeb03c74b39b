#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bridge/os/pause.h"
#include "bridge/platform.h"
#include "device/device_rig_support.h"
#include "stress/call_audit.h"
#include "stress/watchdog.h"
#include "stress/write_book.h"
#include "support/call_views.h"
#include "support/reported_imu.h"
#include "support/rig_checks.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

// Eight threads share three cameras for a bounded time: two scan, four open devices and read and write the JSON
// records of two cameras, one streams the IMU of the third, one opens every camera with every requirement. Nothing
// may deadlock, every operation must succeed, and afterwards the rig must have seen every call under the lock and
// inside a session, every session closed, and each record equal to the last write that happened to it.
namespace tovanel::uvc_stereo::stress {
namespace {

constexpr std::size_t kWorkers = 8;
constexpr std::chrono::seconds kDefaultRunTime{5};
constexpr std::chrono::seconds kWatchdogPatience{30};
constexpr std::uint32_t kImuCounterMask = (1u << 20) - 1;

// Rig indices of the cameras; A and B carry the records, C the IMU that is streamed.
enum Camera : int { kA = 0, kB = 1, kC = 2 };
constexpr const char* kSerials[] = {"SN-STRESS-A", "SN-STRESS-B", "SN-STRESS-C"};

// The run time; UVC_STEREO_STRESS_SECONDS may lengthen or shorten it for a soak run.
std::chrono::seconds run_time() {
  if (const char* text = std::getenv("UVC_STEREO_STRESS_SECONDS")) {
    const long seconds = std::strtol(text, nullptr, 10);
    if (seconds > 0) {
      return std::chrono::seconds(seconds);
    }
  }
  return kDefaultRunTime;
}

// The pauses of the SDK are counted, not spent, so that the threads meet often.
std::atomic<std::uint64_t>& pauses_taken() {
  static std::atomic<std::uint64_t> count{0};
  return count;
}

void count_pause(std::chrono::milliseconds /*duration*/, void* /*context*/) {
  pauses_taken().fetch_add(1, std::memory_order_relaxed);
}

class CountedPauses {
 public:
  CountedPauses() : installed_(detail::bridge::replacing_pauses(kCountedPause)) {}
  CountedPauses(const CountedPauses&) = delete;
  CountedPauses& operator=(const CountedPauses&) = delete;

 private:
  static constexpr detail::bridge::PauseHook kCountedPause = {&count_pause, nullptr};
  const detail::bridge::PlatformOverride installed_;
};

// What every thread shares.
struct Shared {
  std::array<DeviceInfo, 3> info;
  std::array<WriteBook, 2> books;  ///< for A and B
  TicketClock clock;
  std::atomic<bool> stop{false};
};

// Each thread keeps its own list of what went wrong; the main thread reports them after joining.
using Problems = std::vector<std::string>;

void note(Problems& problems, const std::string& what, const Status& status) {
  problems.push_back(what + ": " + status.message());
}

void scanner(Shared& shared, Watchdog<kWorkers>& watchdog, std::size_t worker, Problems& problems) {
  std::uint64_t round = 0;
  while (!shared.stop.load(std::memory_order_relaxed)) {
    // Every other scan asks only for camera B's model.
    DeviceScanFilter filter;
    const bool narrowed = round++ % 2 == 1;
    if (narrowed) {
      filter.product_id = shared.info[kB].product_id;
    }
    const Result<std::vector<DeviceInfo>> devices = scan_devices(filter);
    if (!devices.ok()) {
      note(problems, "scan", devices.status());
    } else if (narrowed ? devices.value().size() != 1 || devices.value()[0].serial_number != kSerials[kB]
                        : devices.value().size() != 3 || devices.value()[0].serial_number != kSerials[kA] ||
                              devices.value()[1].serial_number != kSerials[kB] ||
                              devices.value()[2].serial_number != kSerials[kC]) {
      problems.push_back("scan listed " + std::to_string(devices.value().size()) + " cameras, or not in their order");
    }
    watchdog.progress(worker);
  }
}

std::optional<Device> open_or_note(const DeviceInfo& info, std::uint32_t required, Problems& problems) {
  Result<Device> opened = open_device(info, device_testing::requiring(required));
  if (!opened.ok()) {
    note(problems, "open " + info.serial_number + " requiring " + std::to_string(required), opened.status());
    return std::nullopt;
  }
  return std::move(opened).value();
}

// JSON that names its writer, so that every record written in the run is different; up to 3000 bytes fits B's
// single sector of user space.
std::string record_json(std::size_t worker, std::uint64_t sequence, std::mt19937& random) {
  std::string json =
      "{\"writer\":" + std::to_string(worker) + ",\"sequence\":" + std::to_string(sequence) + ",\"fill\":\"";
  const std::size_t fill = 16 + random() % 3000;
  for (std::size_t i = 0; i < fill; ++i) {
    json.push_back(static_cast<char>('a' + random() % 26));
  }
  return json + "\"}";
}

void flash_worker(Shared& shared, Watchdog<kWorkers>& watchdog, std::size_t worker, Problems& problems) {
  std::mt19937 random(static_cast<std::uint32_t>(worker * 7919 + 1));
  std::array<std::optional<Device>, 2> devices = {open_or_note(shared.info[kA], 0, problems),
                                                  open_or_note(shared.info[kB], 0, problems)};
  std::uint64_t sequence = 0;
  while (!shared.stop.load(std::memory_order_relaxed)) {
    const std::size_t camera = random() % 2;
    WriteBook& book = shared.books[camera];
    const unsigned choice = random() % 100;
    if (choice < 15 || !devices[camera].has_value()) {
      // Open the camera afresh, proving nothing, the flash transport or the JSON record.
      const std::uint32_t requirements[] = {0, kTransportFlash, kTransportFlashJson};
      devices[camera] = open_or_note(shared.info[camera], requirements[random() % 3], problems);
    } else if (choice < 60) {
      const Result<ReadJsonResult> read = devices[camera]->read_json();
      if (!read.ok()) {
        note(problems, std::string("read ") + kSerials[camera], read.status());
      } else if (!book.was_written(read.value().json)) {
        problems.push_back(std::string("read ") + kSerials[camera] + " returned a record nobody wrote");
      }
    } else {
      const std::string json = record_json(worker, sequence++, random);
      book.begin(json);
      const std::uint64_t started = shared.clock.next();
      const Status written = devices[camera]->write_json(json);
      const std::uint64_t finished = shared.clock.next();
      if (written.ok()) {
        book.finish(json, started, finished);
      } else {
        note(problems, std::string("write ") + kSerials[camera], written);
      }
    }
    watchdog.progress(worker);
  }
}

void imu_streamer(Shared& shared, Watchdog<kWorkers>& watchdog, std::size_t worker, Problems& problems,
                  std::uint64_t& samples) {
  std::optional<Device> device = open_or_note(shared.info[kC], 0, problems);
  if (!device.has_value()) {
    return;
  }
  std::optional<std::uint32_t> previous;
  while (!shared.stop.load(std::memory_order_relaxed)) {
    // Reopening goes through the firmware gate of C's model each time.
    const Status opened = device->open_imu();
    if (!opened.ok()) {
      note(problems, "open IMU", opened);
      watchdog.progress(worker);
      continue;
    }
    const Result<ReadJsonResult> refused = device->read_json();
    if (refused.status().message() != "IMU must be closed before flash JSON access") {
      note(problems, "read JSON with the IMU open", refused.status());
    }
    for (int i = 0; i < 50 && !shared.stop.load(std::memory_order_relaxed); ++i) {
      const Result<ReadImuResult> sample = device->read_imu();
      if (!sample.ok()) {
        note(problems, "read IMU", sample.status());
      } else {
        // No one else reads this IMU, so its counter goes up by one from sample to sample, across reopens too.
        const std::uint32_t counter = sample.value().sample_counter;
        if (previous.has_value() && counter != ((*previous + 1) & kImuCounterMask)) {
          problems.push_back("IMU counter jumped from " + std::to_string(*previous) + " to " + std::to_string(counter));
        }
        previous = counter;
        ++samples;
      }
      watchdog.progress(worker);
    }
    const Status closed = device->close_imu();
    if (!closed.ok()) {
      note(problems, "close IMU", closed);
    }
  }
}

void opener(Shared& shared, Watchdog<kWorkers>& watchdog, std::size_t worker, Problems& problems) {
  std::mt19937 random(static_cast<std::uint32_t>(worker * 104729 + 3));
  while (!shared.stop.load(std::memory_order_relaxed)) {
    const std::size_t camera = random() % 3;
    // C's record is never written, so only A and B are asked to prove theirs.
    const std::uint32_t required = camera == kC ? random() % 2 : random() % 8;
    if (std::optional<Device> device = open_or_note(shared.info[camera], required, problems)) {
      const std::uint32_t expected_flags =
          (required & kTransportFlashJson) != 0 ? 5u : ((required & kTransportFlash) != 0 ? 1u : 0u);
      if (device->transport_flags() != expected_flags) {
        problems.push_back("open requiring " + std::to_string(required) + " gave transport flags " +
                           std::to_string(device->transport_flags()));
      }
    }
    watchdog.progress(worker);
  }
}

sim::SimulatedCamera stress_camera(std::size_t model_row, int camera) {
  return device_testing::supported_camera(model_row, kSerials[camera]);
}

TEST(Stress, EightThreadsShareThreeCamerasWithoutDeadlockOrBrokenRules) {
  sim::SimulatedRig rig;
  // A reports 64 KiB of user space; B has no capability reporting (one 4 KiB sector); C is A's model, with the IMU.
  sim::SimulatedCamera a = stress_camera(0, kA);
  a.capability = test_support::flash_and_imu_report(0x51000, 0x10000);
  ASSERT_EQ(rig.add_camera(a), kA);
  ASSERT_EQ(rig.add_camera(stress_camera(1, kB)), kB);
  ASSERT_EQ(rig.add_camera(stress_camera(0, kC)), kC);
  const CountedPauses pauses;

  Shared shared;
  const Result<std::vector<DeviceInfo>> scanned = scan_devices();
  ASSERT_TRUE(scanned.ok()) << scanned.status().message();
  ASSERT_EQ(scanned.value().size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    shared.info[i] = scanned.value()[i];
    ASSERT_EQ(shared.info[i].serial_number, kSerials[i]);
  }
  // Both records start out written, so that every read during the run finds one.
  for (const Camera camera : {kA, kB}) {
    Problems setup;
    std::optional<Device> device = open_or_note(shared.info[camera], 0, setup);
    ASSERT_TRUE(device.has_value()) << setup.front();
    const std::string json = std::string("{\"initial\":\"") + kSerials[camera] + "\"}";
    shared.books[camera].begin(json);
    const std::uint64_t started = shared.clock.next();
    ASSERT_TRUE(device->write_json(json).ok());
    shared.books[camera].finish(json, started, shared.clock.next());
  }

  CallAudit audit(rig);
  audit.take_piece();
  std::array<Problems, kWorkers> problems;
  std::uint64_t imu_samples = 0;
  const auto began = std::chrono::steady_clock::now();
  {
    Watchdog<kWorkers> watchdog(kWatchdogPatience);
    std::vector<std::thread> threads;
    threads.emplace_back(scanner, std::ref(shared), std::ref(watchdog), 0, std::ref(problems[0]));
    threads.emplace_back(scanner, std::ref(shared), std::ref(watchdog), 1, std::ref(problems[1]));
    for (std::size_t worker = 2; worker < 6; ++worker) {
      threads.emplace_back(flash_worker, std::ref(shared), std::ref(watchdog), worker, std::ref(problems[worker]));
    }
    threads.emplace_back(imu_streamer, std::ref(shared), std::ref(watchdog), 6, std::ref(problems[6]),
                         std::ref(imu_samples));
    threads.emplace_back(opener, std::ref(shared), std::ref(watchdog), 7, std::ref(problems[7]));

    const auto end = began + run_time();
    while (std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      audit.take_piece();
    }
    shared.stop.store(true, std::memory_order_relaxed);
    for (std::thread& thread : threads) {
      thread.join();
    }
    audit.take_piece();
    std::printf(
        "[ stress   ] %lld ms; operations per thread:",
        static_cast<long long>(
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - began).count()));
    for (std::size_t worker = 0; worker < kWorkers; ++worker) {
      std::printf(" %llu", static_cast<unsigned long long>(watchdog.operations(worker)));
      EXPECT_GT(watchdog.operations(worker), 0u) << "thread " << worker << " never completed an operation";
    }
    std::printf("; %llu IMU samples, %zu + %zu writes, %llu pauses, %llu vendor calls\n",
                static_cast<unsigned long long>(imu_samples), shared.books[kA].finished_count(),
                shared.books[kB].finished_count(), static_cast<unsigned long long>(pauses_taken().load()),
                static_cast<unsigned long long>(audit.calls()));
  }

  for (std::size_t worker = 0; worker < kWorkers; ++worker) {
    EXPECT_TRUE(problems[worker].empty()) << "thread " << worker << ": " << problems[worker].size()
                                          << " problems, the first: " << problems[worker].front();
  }
  EXPECT_GT(imu_samples, 0u);

  // Every call under the lock and inside a session, and every session closed again.
  EXPECT_EQ(rig.violations(), std::vector<std::string>{});
  EXPECT_EQ(rig.open_sessions(), 0);
  EXPECT_EQ(audit.inits(), audit.uninits());
  EXPECT_EQ(audit.balance(), 0);
  EXPECT_EQ(audit.without_lock(), std::vector<std::string>{});
  EXPECT_GT(audit.calls(), 0u);
  test_support::expect_vendor_lock_free();

  // Each record is valid and is the last one written to its camera.
  for (const Camera camera : {kA, kB}) {
    Problems final_read;
    std::optional<Device> device = open_or_note(shared.info[camera], kTransportFlashJson, final_read);
    ASSERT_TRUE(device.has_value()) << final_read.front();
    const Result<ReadJsonResult> record = device->read_json();
    ASSERT_TRUE(record.ok()) << record.status().message();
    EXPECT_EQ(shared.books[camera].explain_final_record(record.value().json), "") << kSerials[camera];
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo::stress
