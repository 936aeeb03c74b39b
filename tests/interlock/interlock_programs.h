#pragma once

// What the interlock tests of every platform share: one simulated camera kept in a directory,
// a record written there first, and helper programs (interlock_helper) started on it, each a
// separate process whose standard output is kept in a file. Each platform brings its own way
// to start and stop a process, as `Helper`.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "interlock/interlock_records.h"
#include "support/rig_cameras.h"
#include "support/scanned_device.h"
#include "support/temporary_directory.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo::interlock_testing {

inline constexpr char kSerial[] = "SN-MULTI-0001";

// The whole of a file a helper wrote.
inline std::string file_text(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// The number a helper printed as "name=N", or -1.
inline int number_after(const std::string& text, const std::string& name) {
  const std::size_t at = text.find(name + "=");
  return at == std::string::npos ? -1 : std::atoi(text.c_str() + at + name.size() + 1);
}

// The fixture: `Helper(output_path, arguments)` starts one helper program.
template <typename Helper>
class InterlockPrograms : public ::testing::Test {
 protected:
  void SetUp() override {
    Result<std::unique_ptr<sim::SimulatedRig>> rig = sim::SimulatedRig::keep_in_directory(rig_directory());
    ASSERT_TRUE(rig.ok()) << rig.status().message();
    rig_ = std::move(rig).value();
    // The first model has a firmware rule, so every IMU opening also reads the firmware version.
    rig_->add_camera(test_support::supported_camera(0, kSerial));
    write_here(record_json(1, 0));
  }

  [[nodiscard]] std::string rig_directory() const { return directory_ / "rig"; }

  void write_here(const std::string& json) {
    Result<Device> device = open_device(test_support::scanned_device(kSerial));
    ASSERT_TRUE(device.ok()) << device.status().message();
    const Status written = device.value().write_json(json);
    ASSERT_TRUE(written.ok()) << written.message();
  }

  // Starts helper `name` with its command and arguments; the rig and the camera's serial are put in after the
  // command.
  std::unique_ptr<Helper> start(const std::string& name, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin() + 1, {rig_directory(), kSerial});
    auto helper = std::make_unique<Helper>(directory_ / (name + ".out"), std::move(arguments));
    EXPECT_TRUE(helper->spawned()) << name;
    return helper;
  }

  // What one fresh program printed reading the record once, with no wait for the camera.
  std::string read_once_output() {
    std::unique_ptr<Helper> reader = start("read-once", {"read-once", "0", "1"});
    EXPECT_TRUE(reader->exited_cleanly());
    return reader->output();
  }

  // Waits (a bounded while) until a helper has made the file `marker`.
  void wait_for(const std::string& marker, int polls) {
    for (int poll = 0; poll < polls && !std::filesystem::exists(marker); ++poll) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }

  test_support::TemporaryDirectory directory_;
  std::unique_ptr<sim::SimulatedRig> rig_;
};

}  // namespace tovanel::uvc_stereo::interlock_testing
