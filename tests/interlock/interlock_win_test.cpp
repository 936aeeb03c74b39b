#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "interlock/interlock_programs.h"

// Several programs on one simulated camera kept in a directory, each a separate process
// running interlock_helper, meeting through the camera's named kernel objects.
namespace tovanel::uvc_stereo {
namespace {

using interlock_testing::is_written_record;
using interlock_testing::number_after;
using interlock_testing::record_json;

// One helper process, its standard output kept in a file.
class Helper {
 public:
  Helper(const std::string& output, const std::vector<std::string>& arguments) : output_(output) {
    std::string command = std::string("\"") + UVC_STEREO_INTERLOCK_HELPER + "\"";
    for (const std::string& argument : arguments) {
      command += " \"" + argument + "\"";
    }
    SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE out = CreateFileA(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, CREATE_ALWAYS,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out;
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    spawned_ =
        CreateProcessA(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process_) != 0;
    CloseHandle(out);
  }
  ~Helper() {
    if (spawned_) {
      TerminateProcess(process_.hProcess, 9);
      WaitForSingleObject(process_.hProcess, INFINITE);
      CloseHandle(process_.hProcess);
      CloseHandle(process_.hThread);
    }
  }
  Helper(const Helper&) = delete;
  Helper& operator=(const Helper&) = delete;

  [[nodiscard]] bool spawned() const noexcept { return spawned_; }
  void kill() {
    TerminateProcess(process_.hProcess, 9);
    WaitForSingleObject(process_.hProcess, INFINITE);
  }
  [[nodiscard]] bool exited_cleanly() {
    WaitForSingleObject(process_.hProcess, INFINITE);
    DWORD code = 1;
    GetExitCodeProcess(process_.hProcess, &code);
    return code == 0;
  }
  [[nodiscard]] std::string output() const { return interlock_testing::file_text(output_); }

 private:
  std::string output_;
  PROCESS_INFORMATION process_{};
  bool spawned_ = false;
};

// Lines may end in "\r\n" on Windows.
std::string first_line(const std::string& text) { return text.substr(0, text.find_first_of("\r\n")); }

class InterlockAcrossPrograms : public interlock_testing::InterlockPrograms<Helper> {
 protected:
  std::string read_once() { return first_line(read_once_output()); }
  void wait_for(const std::string& marker) { InterlockPrograms::wait_for(marker, 4000); }
};

TEST_F(InterlockAcrossPrograms, AWriterAReaderAndAnImuStreamerKeepEveryRecordWhole) {
  std::unique_ptr<Helper> writer = start("writer", {"write", "30", "10", "1"});
  std::unique_ptr<Helper> reader = start("reader", {"read", "30", "20"});
  std::unique_ptr<Helper> streamer = start("streamer", {"imu", "30", "6"});
  ASSERT_TRUE(writer->exited_cleanly()) << writer->output();
  ASSERT_TRUE(reader->exited_cleanly()) << reader->output();
  ASSERT_TRUE(streamer->exited_cleanly()) << streamer->output();
  EXPECT_GT(number_after(writer->output(), "written"), 0) << writer->output();
  EXPECT_GT(number_after(reader->output(), "whole"), 0) << reader->output();
  const std::string last = read_once();
  ASSERT_EQ(last.rfind("ok ", 0), 0u) << last;
  EXPECT_TRUE(is_written_record(last.substr(3))) << last;
}

TEST_F(InterlockAcrossPrograms, AWriteWhileAnotherProgramStreamsTheImuWaitsThenFailsAndTouchesNothing) {
  const std::string marker = directory_ / "imu-open";
  // Held long enough for the writer to start and give up, however slowly programs start here.
  std::unique_ptr<Helper> streamer = start("streamer", {"imu-hold", "0", "10000", marker});
  wait_for(marker);
  ASSERT_TRUE(std::filesystem::exists(marker)) << streamer->output();

  const auto started = std::chrono::steady_clock::now();
  std::unique_ptr<Helper> writer = start("writer", {"write", "300", "1", "5"});
  ASSERT_TRUE(writer->exited_cleanly()) << writer->output();
  EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(300));
  EXPECT_EQ(number_after(writer->output(), "written"), 0) << writer->output();
  EXPECT_NE(writer->output().find("refused=camera is busy: its IMU is open in another program"), std::string::npos)
      << writer->output();
  ASSERT_TRUE(streamer->exited_cleanly()) << streamer->output();
  EXPECT_EQ(read_once(), "ok " + record_json(1, 0));
}

TEST_F(InterlockAcrossPrograms, AProgramKilledWithItsImuOpenFreesTheCameraAtOnce) {
  const std::string marker = directory_ / "imu-open";
  std::unique_ptr<Helper> streamer = start("streamer", {"imu-hold", "0", "60000", marker});
  wait_for(marker);
  ASSERT_TRUE(std::filesystem::exists(marker));
  streamer->kill();
  std::unique_ptr<Helper> writer = start("writer", {"write", "0", "1", "4"});
  ASSERT_TRUE(writer->exited_cleanly()) << writer->output();
  EXPECT_EQ(number_after(writer->output(), "written"), 1) << writer->output();
  EXPECT_EQ(read_once(), "ok " + record_json(4, 1));
}

TEST_F(InterlockAcrossPrograms, AWriterKilledMidWriteAbandonsTheCameraToTheNextProgram) {
  const std::string marker = directory_ / "writing";
  // Stopped as it erases, inside its flash session: it owns the camera's mutex.
  std::unique_ptr<Helper> writer = start("killed", {"write-until-killed", "0", "1", marker, "SonixCam_SectorEraseSF"});
  wait_for(marker);
  ASSERT_TRUE(std::filesystem::exists(marker));
  std::ifstream stopped_at(marker);
  std::string call;
  std::getline(stopped_at, call);
  EXPECT_EQ(call, "SonixCam_SectorEraseSF");
  writer->kill();
  const std::string after = read_once();
  EXPECT_TRUE(after == "ok " + record_json(1, 0) || after == "ok " + record_json(2, 1) ||
              after.rfind("fail 7 ", 0) == 0 || after.rfind("fail 9 ", 0) == 0 || after.rfind("fail 11 ", 0) == 0)
      << after;
  std::unique_ptr<Helper> rewriter = start("rewrite", {"write", "0", "1", "3"});
  ASSERT_TRUE(rewriter->exited_cleanly()) << rewriter->output();
  EXPECT_EQ(read_once(), "ok " + record_json(3, 1));
}

}  // namespace
}  // namespace tovanel::uvc_stereo
