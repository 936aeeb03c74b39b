#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <sstream>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"
#include "uvc-stereo/output_stream.h"

// Standard output as the real program writes it, on descriptors that fail the way a full
// disk, a closed descriptor and a vanished reader do.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

ToolRun run_tool_into_descriptor(const std::vector<std::string>& args, int descriptor) {
  cli::DescriptorBuffer buffer(descriptor, false);
  std::ostream out(&buffer);
  return run_tool_on(out, args);
}

class OutputDescriptor : public ScenarioTest {};

TEST_F(OutputDescriptor, AFullDeviceIsNamedWithItsReason) {
  const int full = ::open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  const ToolRun run = run_tool_into_descriptor({"config", "get", "--index", "0"}, full);
  ::close(full);
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err,
            "format version: 0\nuvc-stereo: FileError: cannot write standard output: No space left on device\n");
}

TEST_F(OutputDescriptor, ALongStreamToAFullDeviceFailsOnce) {
  const int full = ::open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  const ToolRun run =
      run_tool_into_descriptor({"imu", "--index", "1", "--csv", "--count", "3000", "--rate", "0"}, full);
  ::close(full);
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(count_of(run.err, "cannot write standard output: No space left on device\n"), 1u) << run.err;
}

TEST_F(OutputDescriptor, AStreamToAFullDeviceStopsAtTheFirstRow) {
  for (const char* rate : {"0", "2000", "50"}) {
    const int full = ::open("/dev/full", O_WRONLY);
    ASSERT_GE(full, 0);
    const ToolRun run =
        run_tool_into_descriptor({"imu", "--index", "1", "--csv", "--count", "3000", "--rate", rate}, full);
    ::close(full);
    EXPECT_EQ(run.status, 3);
    // Each row goes out as its sample comes, whatever the reads' pace.
    EXPECT_EQ(run.err.rfind("read 1 samples in ", 0), 0u) << rate << ": " << run.err;
  }
}

TEST_F(OutputDescriptor, AClosedDescriptorIsNamed) {
  int pipe_ends[2];
  ASSERT_EQ(::pipe(pipe_ends), 0);
  ::close(pipe_ends[0]);
  ::close(pipe_ends[1]);
  // Both ends are closed now, so the descriptor number refers to nothing.
  const ToolRun run = run_tool_into_descriptor({"scan"}, pipe_ends[1]);
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "uvc-stereo: FileError: cannot write standard output: Bad file descriptor\n");
}

TEST_F(OutputDescriptor, AReaderThatWentAwayEndsTheRunQuietly) {
  int pipe_ends[2];
  ASSERT_EQ(::pipe(pipe_ends), 0);
  ::close(pipe_ends[0]);
  // As in a program whose parent ignores SIGPIPE: the write fails with EPIPE instead.
  const auto previous = std::signal(SIGPIPE, SIG_IGN);
  const ToolRun run = run_tool_into_descriptor({"scan", "--json"}, pipe_ends[1]);
  std::signal(SIGPIPE, previous);
  ::close(pipe_ends[1]);
  EXPECT_EQ(run.status, 3);
  EXPECT_EQ(run.err, "");
}

TEST(DescriptorBuffer, WritesEverythingItIsGivenInOrder) {
  int pipe_ends[2];
  ASSERT_EQ(::pipe(pipe_ends), 0);
  std::string expected;
  {
    cli::DescriptorBuffer buffer(pipe_ends[1], false);
    std::ostream out(&buffer);
    for (int i = 0; i < 1000; ++i) {
      out << "line " << i << "\n";
      expected += "line " + std::to_string(i) + "\n";
    }
    out.flush();
    EXPECT_TRUE(out.good());
    EXPECT_EQ(buffer.error_number(), 0);
  }
  ::close(pipe_ends[1]);
  std::string got;
  char chunk[4096];
  for (ssize_t n = 0; (n = ::read(pipe_ends[0], chunk, sizeof(chunk))) > 0;) {
    got.append(chunk, static_cast<std::size_t>(n));
  }
  ::close(pipe_ends[0]);
  EXPECT_EQ(got, expected);
}

TEST(DescriptorBuffer, ALineBufferedTerminalSeesEachLineAtOnce) {
  int pipe_ends[2];
  ASSERT_EQ(::pipe(pipe_ends), 0);
  cli::DescriptorBuffer buffer(pipe_ends[1], true);
  std::ostream out(&buffer);
  out << "first line\n";
  char chunk[64];
  const ssize_t n = ::read(pipe_ends[0], chunk, sizeof(chunk));
  EXPECT_EQ(std::string(chunk, static_cast<std::size_t>(n > 0 ? n : 0)), "first line\n");
  ::close(pipe_ends[0]);
  ::close(pipe_ends[1]);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
