#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "interlock/interlock_programs.h"

extern char** environ;

// Several programs on one simulated camera kept in a directory, each a separate process
// running interlock_helper: the interlock must keep every record whole and every refusal
// the documented busy error, and a writer killed mid-write must leave the camera free.
namespace tovanel::uvc_stereo {
namespace {

using interlock_testing::is_written_record;
using interlock_testing::number_after;
using interlock_testing::record_json;

// One helper process, its standard output kept in a file.
class Helper {
 public:
  Helper(const std::string& output, std::vector<std::string> arguments) : output_(output) {
    arguments.insert(arguments.begin(), UVC_STEREO_INTERLOCK_HELPER);
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    spawned_ = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
  }
  ~Helper() {
    if (spawned_ && !reaped_) {
      ::kill(pid_, SIGKILL);
      static_cast<void>(wait());
    }
  }
  Helper(const Helper&) = delete;
  Helper& operator=(const Helper&) = delete;

  [[nodiscard]] bool spawned() const noexcept { return spawned_; }
  [[nodiscard]] pid_t pid() const noexcept { return pid_; }

  // The raw wait status.
  int wait() {
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    reaped_ = true;
    return status;
  }
  [[nodiscard]] bool exited_cleanly() {
    const int status = wait();
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }
  [[nodiscard]] std::string output() const { return interlock_testing::file_text(output_); }

 private:
  std::string output_;
  pid_t pid_ = -1;
  bool spawned_ = false;
  bool reaped_ = false;
};

class InterlockAcrossPrograms : public interlock_testing::InterlockPrograms<Helper> {
 protected:
  void TearDown() override {
    if (rig_ != nullptr) {
      EXPECT_TRUE(rig_->violations().empty());
    }
  }

  // What one fresh program reads, with no wait for the camera.
  std::string read_once() { return read_once_output(); }
};

TEST_F(InterlockAcrossPrograms, AWriterAReaderAndAnImuStreamerKeepEveryRecordWhole) {
  std::unique_ptr<Helper> writer = start("writer", {"write", "30", "15", "1"});
  std::unique_ptr<Helper> reader = start("reader", {"read", "30", "40"});
  std::unique_ptr<Helper> streamer = start("streamer", {"imu", "30", "12"});

  ASSERT_TRUE(writer->exited_cleanly()) << writer->output();
  ASSERT_TRUE(reader->exited_cleanly()) << reader->output();
  ASSERT_TRUE(streamer->exited_cleanly()) << streamer->output();
  EXPECT_GT(number_after(writer->output(), "written"), 0) << writer->output();
  EXPECT_GT(number_after(reader->output(), "whole"), 0) << reader->output();
  EXPECT_GT(number_after(streamer->output(), "samples"), 0) << streamer->output();

  const std::string last = read_once();
  ASSERT_EQ(last.rfind("ok ", 0), 0u) << last;
  EXPECT_TRUE(is_written_record(last.substr(3, last.size() - 4))) << last;
}

TEST_F(InterlockAcrossPrograms, AWriteWhileAnotherProgramStreamsTheImuWaitsThenFailsNamingItAndTouchesNothing) {
  const std::string marker = directory_ / "imu-open";
  std::unique_ptr<Helper> streamer = start("streamer", {"imu-hold", "0", "3000", marker});
  wait_for(marker, 2000);
  ASSERT_TRUE(std::filesystem::exists(marker)) << streamer->output();

  const auto started = std::chrono::steady_clock::now();
  std::unique_ptr<Helper> writer = start("writer", {"write", "300", "1", "5"});
  ASSERT_TRUE(writer->exited_cleanly()) << writer->output();
  EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(300));
  EXPECT_EQ(number_after(writer->output(), "written"), 0) << writer->output();
  EXPECT_EQ(number_after(writer->output(), "busy"), 1) << writer->output();
  EXPECT_NE(writer->output().find("refused=camera is busy: its IMU is open in process " +
                                  std::to_string(streamer->pid()) + "\n"),
            std::string::npos)
      << writer->output();

  ASSERT_TRUE(streamer->exited_cleanly()) << streamer->output();
  EXPECT_GT(number_after(streamer->output(), "samples"), 0);
  EXPECT_EQ(read_once(), "ok " + record_json(1, 0) + "\n");
}

TEST_F(InterlockAcrossPrograms, AProgramKilledWithItsImuOpenFreesTheCameraAtOnce) {
  const std::string marker = directory_ / "imu-open";
  std::unique_ptr<Helper> streamer = start("streamer", {"imu-hold", "0", "60000", marker});
  wait_for(marker, 2000);
  ASSERT_TRUE(std::filesystem::exists(marker));
  ASSERT_EQ(::kill(streamer->pid(), SIGKILL), 0);
  static_cast<void>(streamer->wait());

  std::unique_ptr<Helper> writer = start("writer", {"write", "0", "1", "4"});
  ASSERT_TRUE(writer->exited_cleanly()) << writer->output();
  EXPECT_EQ(number_after(writer->output(), "written"), 1) << writer->output();
  EXPECT_EQ(read_once(), "ok " + record_json(4, 1) + "\n");
}

TEST_F(InterlockAcrossPrograms, AWriterKilledMidWriteFreesTheCameraAndNoWrongRecordIsAccepted) {
  const std::string old_record = record_json(1, 1);
  const std::string new_record = record_json(2, 1);
  int kills = 0;
  for (int stop_at = 1; stop_at < 64; ++stop_at) {
    write_here(old_record);
    const std::string marker = directory_ / ("marker-" + std::to_string(stop_at));
    std::unique_ptr<Helper> writer =
        start("killed-" + std::to_string(stop_at), {"write-until-killed", "0", std::to_string(stop_at), marker});
    bool stopped = false;
    for (int poll = 0; poll < 2000 && !stopped; ++poll) {
      stopped = std::filesystem::exists(marker);
      if (!stopped) {
        int status = 0;
        if (::waitpid(writer->pid(), &status, WNOHANG) == writer->pid()) {
          break;  // the write finished before reaching this call: every point of it has been tried
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      }
    }
    if (!stopped) {
      break;
    }
    ASSERT_EQ(::kill(writer->pid(), SIGKILL), 0);
    const int status = writer->wait();
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    ++kills;

    // The next program gets the camera at once, and what it reads is the old record, the new one or a plain
    // header or checksum failure.
    const std::string after = read_once();
    if (after.rfind("ok ", 0) == 0) {
      const std::string json = after.substr(3, after.size() - 4);
      EXPECT_TRUE(json == old_record || json == new_record) << "call " << stop_at << ": " << json;
    } else {
      const int code = std::atoi(after.c_str() + 5);
      EXPECT_TRUE(code == static_cast<int>(ErrorCode::BadMagic) || code == static_cast<int>(ErrorCode::InvalidHeader) ||
                  code == static_cast<int>(ErrorCode::InvalidLength) ||
                  code == static_cast<int>(ErrorCode::ChecksumMismatch))
          << "call " << stop_at << ": " << after;
    }

    // A rewrite restores the camera.
    std::unique_ptr<Helper> rewriter = start("rewrite-" + std::to_string(stop_at), {"write", "0", "1", "3"});
    ASSERT_TRUE(rewriter->exited_cleanly()) << rewriter->output();
    EXPECT_EQ(number_after(rewriter->output(), "written"), 1) << rewriter->output();
    EXPECT_EQ(read_once(), "ok " + record_json(3, 1) + "\n");
  }
  // Init, enumeration and descriptors, the flash type, unprotecting, erasing, writing and verifying.
  EXPECT_GE(kills, 8);
}

}  // namespace
}  // namespace tovanel::uvc_stereo
