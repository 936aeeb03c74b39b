#include "uvc-stereo/interrupt_deferral.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "tool/interrupt_test_support.h"
#include "tool/tool_test_support.h"

// Interrupts are only recorded while a command holds them: the command decides what they
// may cut, a repeated interrupt is recorded again, an ignored signal stays ignored, and an
// IMU stream ends cleanly at the read where one arrives.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

using cli::InterruptDeferral;

TEST(InterruptDeferral, RecordsEveryInterruptAndSpeaksOnlyOnceTheFlashIsWritten) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const InterruptDeferral interrupts;
    EXPECT_FALSE(interrupts.interrupted());
    ::testing::internal::CaptureStderr();
    std::raise(signal);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(interrupts.interrupted());
  }
}

TEST(InterruptDeferral, AnInterruptRepeatedDuringTheWriteIsHeldAgain) {
  InterruptDeferral interrupts;
  interrupts.flash_write_begins();
  ::testing::internal::CaptureStderr();
  std::raise(SIGINT);
  std::raise(SIGINT);
  std::raise(SIGTERM);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), kFinishingLine + kFinishingLine + kFinishingLine);
  EXPECT_TRUE(interrupts.interrupted());
}

TEST(InterruptDeferral, EachCommandStartsUninterrupted) {
  {
    const InterruptDeferral first;
    std::raise(SIGINT);
    EXPECT_TRUE(first.interrupted());
  }
  const InterruptDeferral second;
  EXPECT_FALSE(second.interrupted());
}

TEST(InterruptDeferral, CtrlCAndSigtermAreCaughtAlsoWhenStartedIgnored) {
  // As a shell starts a run in the background.
  for (const int signal : {SIGINT, SIGTERM}) {
    const auto previous = std::signal(signal, SIG_IGN);
    {
      const InterruptDeferral interrupts;
      std::raise(signal);
      EXPECT_TRUE(interrupts.interrupted());
    }
    EXPECT_EQ(std::signal(signal, previous), SIG_IGN) << "the ignored disposition was not put back";
  }
}

#if !defined(_WIN32)
TEST(InterruptDeferral, AHangupIgnoredUnderNohupStaysIgnored) {
  const auto previous = std::signal(SIGHUP, SIG_IGN);
  {
    const InterruptDeferral interrupts;
    std::raise(SIGHUP);
    EXPECT_FALSE(interrupts.interrupted()) << "a hangup meant to be ignored was caught";
  }
  EXPECT_EQ(std::signal(SIGHUP, previous), SIG_IGN);
}

TEST(InterruptDeferral, AHangupIsAnInterrupt) {
  const auto previous = std::signal(SIGHUP, SIG_DFL);
  {
    const InterruptDeferral interrupts;
    std::raise(SIGHUP);
    EXPECT_TRUE(interrupts.interrupted());
  }
  EXPECT_EQ(std::signal(SIGHUP, previous), SIG_DFL);
}
#endif

class ImuInterrupt : public InterruptedImuTest {};

TEST_F(ImuInterrupt, AnInterruptEndsTheStreamAtTheSampleItArrivesWithTheRowsCompleteAndThePlotWritten) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const ScratchDirectory scratch;
    // Each run starts on a sample of its own.
    rig_.advance_time(10000000);
    const auto [run, reads, answered, plot] = stream_interrupted_at_read(
        7, [&] { std::raise(signal); }, scratch);
    EXPECT_EQ(run.status, 0) << run.err;
    // The stream ends with the sample the interrupted read, or the next read with a new sample,
    // delivered: every sample the camera answered is a row, and no read came after it.
    EXPECT_GE(reads, 7);
    EXPECT_LE(answered, 7u) << "reads faster than the IMU answer some samples twice";
    const std::vector<std::string> rows = lines_of(run.out);
    ASSERT_EQ(rows.size(), answered + 1) << "a header and the samples read: " << run.out;
    for (const std::string& row : rows) {
      EXPECT_EQ(count_of(row, ","), 15u) << row;
    }
    const std::string samples = std::to_string(answered) + " samples";
    EXPECT_NE(run.err.find("read " + samples + " in "), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("plot written to " + plot + "\n"), std::string::npos) << run.err;
    EXPECT_NE(scratch.read(plot).find(": " + samples + "</text>"), std::string::npos);
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing
