#include "uvc-stereo/file_io.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tool/tool_test_support.h"

namespace tovanel::uvc_stereo::cli {
namespace {

using tool_testing::ScratchDirectory;
using tool_testing::WorkingDirectory;

// 2024-03-05 06:07:08 UTC.
constexpr std::time_t kMoment = 1709618828;

TEST(BackupFileName, NamesTheCameraAndTheUtcTime) {
  EXPECT_EQ(backup_file_name("TVS2-00417", kMoment), "uvc-stereo-backup-TVS2-00417-20240305T060708Z.json");
}

TEST(BackupFileName, KeepsOnlyCharactersSafeInAnyFileName) {
  EXPECT_EQ(backup_file_name("a/b\\c:d *e", kMoment), "uvc-stereo-backup-a_b_c_d__e-20240305T060708Z.json");
  EXPECT_EQ(backup_file_name("", kMoment), "uvc-stereo-backup-camera-20240305T060708Z.json");
}

TEST(CreateBackupFile, NeverReusesTheNameOfAnEarlierBackup) {
  const ScratchDirectory scratch;
  const WorkingDirectory inside(scratch.path());
  std::string error;
  EXPECT_EQ(create_backup_file("SN1", kMoment, "first", error), "uvc-stereo-backup-SN1-20240305T060708Z.json") << error;
  EXPECT_EQ(create_backup_file("SN1", kMoment, "second", error), "uvc-stereo-backup-SN1-20240305T060708Z-2.json")
      << error;
  EXPECT_EQ(create_backup_file("SN1", kMoment, "third", error), "uvc-stereo-backup-SN1-20240305T060708Z-3.json")
      << error;
  EXPECT_EQ(scratch.read(scratch.file("uvc-stereo-backup-SN1-20240305T060708Z.json")), "first");
  EXPECT_EQ(scratch.read(scratch.file("uvc-stereo-backup-SN1-20240305T060708Z-2.json")), "second");
}

TEST(CreateBackupFile, PassesOverAFileOfTheUsersOwnOfTheSameName) {
  const ScratchDirectory scratch;
  const WorkingDirectory inside(scratch.path());
  scratch.write(backup_file_name("SN1", kMoment), "earlier");
  std::string error;
  EXPECT_EQ(create_backup_file("SN1", kMoment, "{}", error), "uvc-stereo-backup-SN1-20240305T060708Z-2.json") << error;
  EXPECT_EQ(scratch.read(scratch.file(backup_file_name("SN1", kMoment))), "earlier");
}

TEST(CreateBackupFile, RunsAtTheSameMomentEachGetANameOfTheirOwn) {
  const ScratchDirectory scratch;
  const WorkingDirectory inside(scratch.path());
  constexpr int kRuns = 8;
  std::vector<std::string> names(kRuns);
  std::vector<std::string> errors(kRuns);
  {
    std::vector<std::thread> runs;
    for (int run = 0; run < kRuns; ++run) {
      runs.emplace_back([&, run] {
        names[static_cast<std::size_t>(run)] =
            create_backup_file("SN1", kMoment, "backup " + std::to_string(run), errors[static_cast<std::size_t>(run)]);
      });
    }
    for (std::thread& run : runs) {
      run.join();
    }
  }
  const std::set<std::string> distinct(names.begin(), names.end());
  EXPECT_EQ(distinct.size(), static_cast<std::size_t>(kRuns)) << ::testing::PrintToString(names);
  for (int run = 0; run < kRuns; ++run) {
    const std::string& name = names[static_cast<std::size_t>(run)];
    ASSERT_FALSE(name.empty()) << errors[static_cast<std::size_t>(run)];
    EXPECT_EQ(scratch.read(scratch.file(name)), "backup " + std::to_string(run));
  }
  EXPECT_EQ(scratch.names().size(), static_cast<std::size_t>(kRuns));
}

#if !defined(_WIN32)
// Only a name already in use moves on to the next one; any other failure ends the search.
TEST(CreateBackupFile, SaysWhyWhenTheFileCannotBeCreated) {
  const ScratchDirectory scratch;
  const std::filesystem::path gone = scratch.path() / "gone";
  std::filesystem::create_directory(gone);
  const WorkingDirectory inside(gone);
  // A working directory removed under the run (Windows does not allow this).
  std::filesystem::remove(gone);
  std::string error;
  EXPECT_EQ(create_backup_file("SN1", kMoment, "{}", error), "");
  EXPECT_EQ(error.rfind("cannot create 'uvc-stereo-backup-SN1-20240305T060708Z.json': ", 0), 0u) << error;
}
#endif

TEST(FileIo, WritesAndReadsBackBytesUnchanged) {
  const ScratchDirectory scratch;
  const std::string bytes("a\r\nb\0c\xff", 7);
  std::string error;
  ASSERT_TRUE(write_file(scratch.file("f.bin"), bytes, error)) << error;
  std::string read;
  ASSERT_TRUE(read_file(scratch.file("f.bin"), read, error)) << error;
  EXPECT_EQ(read, bytes);
  EXPECT_TRUE(file_exists(scratch.file("f.bin")));
  EXPECT_FALSE(file_exists(scratch.file("g.bin")));
}

TEST(FileIo, SaysWhyAFileCannotBeRead) {
  const ScratchDirectory scratch;
  std::string content;
  std::string error;
  EXPECT_FALSE(read_file(scratch.file("missing.json"), content, error));
  EXPECT_EQ(error.rfind("cannot read '" + scratch.file("missing.json") + "': ", 0), 0u) << error;
}

TEST(FileIo, SaysWhyAFileCannotBeWritten) {
  const ScratchDirectory scratch;
  std::string error;
  EXPECT_FALSE(write_file(scratch.file("no/such/dir/f.json"), "{}", error));
  EXPECT_EQ(error.rfind("cannot write '", 0), 0u) << error;
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli
