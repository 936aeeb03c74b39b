/* The IMU stream through the C interface: a timed simulated IMU in virtual time, read in
 * batches into the caller's array, held against the rig's truth. */
#include <math.h>
#include <string.h>

#include "check.h"

enum { kStreamBatch = 200 };

static uvc_stereo_imu_stream_sample_t g_stream[kStreamBatch];
static uvc_stereo_rig_imu_truth_t g_truth[kStreamBatch];

static void prepare_stream_samples(void) {
  size_t i;
  memset(g_stream, 0, sizeof(g_stream));
  memset(g_truth, 0, sizeof(g_truth));
  g_stream[0].struct_size = sizeof(g_stream[0]); /* the stride of the whole array */
  for (i = 0; i < kStreamBatch; ++i) {
    g_truth[i].struct_size = sizeof(g_truth[i]);
  }
}

/* A rig in virtual time with one camera whose IMU samples at `rate_hz` with `ppm`, opened. */
static uvc_stereo_device_t* open_timed(uvc_stereo_rig_t* rig, const char* serial, double rate_hz, double ppm) {
  test_camera camera;
  uvc_stereo_rig_imu_timing_t timing;
  uvc_stereo_device_t* device;
  CHECK_OK(uvc_stereo_rig_use_virtual_time(rig, 1000000000u));
  test_camera_init(&camera, 2, serial);
  device = plug_and_open(rig, &camera, 0);
  memset(&timing, 0, sizeof(timing));
  timing.struct_size = sizeof(timing);
  CHECK_OK(uvc_stereo_rig_imu_timing_defaults(&timing));
  CHECK(timing.rate_hz == 200.0);
  timing.rate_hz = rate_hz;
  timing.clock_error_ppm = ppm;
  timing.stall_probability = 0.01;
  CHECK_OK(uvc_stereo_rig_set_imu_timing(rig, 0, &timing));
  return device;
}

static void stream_delivers_each_sample_once_in_order_with_its_time(void) {
  uvc_stereo_rig_t* rig = test_rig();
  uvc_stereo_device_t* device = open_timed(rig, "SN-C-STREAM", 200.0, 100.0);
  uvc_stereo_imu_stream_t* stream = NULL;
  uvc_stereo_imu_stream_options_t options;
  uvc_stereo_imu_stream_statistics_t stats;
  size_t read = 999;
  size_t truths = 999;
  size_t i;
  size_t total = 0;
  uint64_t missed = 0;
  uint64_t last_index = 0;
  uint64_t last_time = 0;
  double worst_us = 0.0;
  int round;

  memset(&options, 0, sizeof(options));
  options.struct_size = sizeof(options);
  CHECK_OK(uvc_stereo_imu_stream_options_defaults(&options));
  CHECK(options.reads_per_sample == 3.0);
  CHECK_OK(uvc_stereo_imu_stream_open(device, &options, &stream));
  CHECK(stream != NULL);
  CHECK_OK(uvc_stereo_rig_take_imu_truth(rig, 0, g_truth, 0, &truths));
  CHECK_EQ(truths, 0);

  /* 100 batches of 200 samples: about 100 s, long enough for the clock fit to settle. */
  for (round = 0; round < 100; ++round) {
    prepare_stream_samples();
    CHECK_OK(uvc_stereo_imu_stream_read(stream, g_stream, kStreamBatch, 2000000000u, &read));
    CHECK_EQ(read, kStreamBatch);
    CHECK_OK(uvc_stereo_rig_take_imu_truth(rig, 0, g_truth, kStreamBatch, &truths));
    CHECK_EQ(truths, read);
    for (i = 0; i < read && i < truths; ++i) {
      const uvc_stereo_imu_stream_sample_t* sample = &g_stream[i];
      CHECK_EQ(sample->struct_size, sizeof(*sample));
      CHECK_EQ(sample->counter, g_truth[i].counter);
      CHECK_EQ(sample->raw.sample_counter, sample->counter);
      CHECK_EQ(sample->raw.host_timestamp_ns, sample->read_time_ns);
      CHECK_EQ(sample->converted.host_timestamp_ns, sample->host_time_ns);
      CHECK(fabs(sample->converted.accel_g[2] - 1.0) < 0.05);
      if (total > 0) {
        CHECK_EQ(sample->sample_index, last_index + 1 + sample->missed_before);
        CHECK(sample->host_time_ns > last_time);
      }
      if (round >= 10) {
        const double error_us = fabs((double)sample->host_time_ns - (double)g_truth[i].taken_ns) / 1e3;
        worst_us = error_us > worst_us ? error_us : worst_us;
      }
      missed += sample->missed_before;
      last_index = sample->sample_index;
      last_time = sample->host_time_ns;
      ++total;
    }
  }
  /* Past the first ten seconds no sample is a millisecond off. */
  CHECK(worst_us < 1000.0);

  memset(&stats, 0, sizeof(stats));
  stats.struct_size = sizeof(stats);
  CHECK_OK(uvc_stereo_imu_stream_statistics(stream, &stats));
  CHECK_EQ(stats.samples_delivered, total);
  CHECK_EQ(stats.samples_missed, missed);
  CHECK_EQ(stats.reads, stats.samples_delivered + stats.duplicate_reads);
  CHECK_EQ(stats.restarts, 0);
  CHECK(stats.nominal_rate_hz == 200.0);
  CHECK(fabs(stats.clock_error_ppm - 100.0) < 10.0);
  CHECK(stats.read_latency_min_ns >= 200000u);
  CHECK(stats.read_latency_max_ns <= 22000000u);
  CHECK(stats.read_latency_median_ns > stats.read_latency_min_ns);
  CHECK(stats.read_latency_p99_ns >= stats.read_latency_median_ns);

  uvc_stereo_imu_stream_free(stream);
  uvc_stereo_imu_stream_free(NULL);
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void status_byte_ends_the_read_after_the_samples_before_it(void) {
  uvc_stereo_rig_t* rig = test_rig();
  uvc_stereo_device_t* device = open_timed(rig, "SN-C-STREAM-FAULT", 200.0, 0.0);
  uvc_stereo_imu_stream_t* stream = NULL;
  size_t read = 999;
  uint64_t last_index;
  CHECK_OK(uvc_stereo_imu_stream_open(device, NULL, &stream));
  prepare_stream_samples();
  CHECK_OK(uvc_stereo_imu_stream_read(stream, g_stream, 20, 1000000000u, &read));
  CHECK_EQ(read, 20);
  last_index = g_stream[19].sample_index;

  CHECK_OK(uvc_stereo_rig_queue_imu_status(rig, 0, 0xF2));
  prepare_stream_samples();
  CHECK_FAILS(uvc_stereo_imu_stream_read(stream, g_stream, 20, 1000000000u, &read), UVC_STEREO_ERROR_READ_FAILED,
              "IMU device reported read failure");
  CHECK_EQ(read, 0);

  /* The stream stays open and its timeline carries on. */
  prepare_stream_samples();
  CHECK_OK(uvc_stereo_imu_stream_read(stream, g_stream, 20, 1000000000u, &read));
  CHECK_EQ(read, 20);
  CHECK_EQ(g_stream[0].sample_index, last_index + 1 + g_stream[0].missed_before);
  CHECK(!g_stream[0].restarted);

  /* A restart of the camera is flagged on the first sample after it. */
  CHECK_OK(uvc_stereo_rig_restart_imu(rig, 0));
  CHECK_OK(uvc_stereo_rig_advance_time(rig, 50000000u));
  prepare_stream_samples();
  CHECK_OK(uvc_stereo_imu_stream_read(stream, g_stream, 5, 1000000000u, &read));
  CHECK_EQ(read, 5);
  CHECK(g_stream[0].restarted);
  CHECK_EQ(g_stream[0].segment, 1);
  CHECK(g_stream[1].segment == 1 && !g_stream[1].restarted);

  uvc_stereo_imu_stream_free(stream);
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

static void stream_arguments_are_checked(void) {
  uvc_stereo_rig_t* rig = test_rig();
  uvc_stereo_device_t* device = open_timed(rig, "SN-C-STREAM-ARGS", 200.0, 0.0);
  uvc_stereo_imu_stream_t* stream = NULL;
  uvc_stereo_imu_stream_options_t options;
  uvc_stereo_imu_stream_statistics_t stats;
  size_t read = 999;
  uint64_t before = 0;
  uint64_t after = 0;
  char message[256];

  CHECK_FAILS(uvc_stereo_imu_stream_open(NULL, NULL, &stream), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_imu_stream_open: device is null");
  CHECK_FAILS(uvc_stereo_imu_stream_open(device, NULL, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_imu_stream_open: stream is null");
  memset(&options, 0, sizeof(options));
  options.struct_size = sizeof(options);
  CHECK_OK(uvc_stereo_imu_stream_options_defaults(&options));
  options.reads_per_sample = 0.5;
  CHECK_FAILS(uvc_stereo_imu_stream_open(device, &options, &stream), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "invalid IMU stream options");
  CHECK(stream == NULL);
  options.struct_size = 4;
  CHECK_FAILS(uvc_stereo_imu_stream_open(device, &options, &stream), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              too_small_message(message, sizeof(message), "uvc_stereo_imu_stream_open", "options", 4,
                                "uvc_stereo_imu_stream_options_t", sizeof(options)));

  CHECK_OK(uvc_stereo_imu_stream_open(device, NULL, &stream));
  CHECK_FAILS(uvc_stereo_imu_stream_read(stream, NULL, 3, 0, &read), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_imu_stream_read: samples is null");
  CHECK_EQ(read, 0);
  CHECK_FAILS(uvc_stereo_imu_stream_read(stream, g_stream, 3, 0, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_imu_stream_read: samples_read is null");
  prepare_stream_samples();
  g_stream[0].struct_size = 8;
  CHECK_FAILS(uvc_stereo_imu_stream_read(stream, g_stream, 3, 0, &read), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              too_small_message(message, sizeof(message), "uvc_stereo_imu_stream_read", "samples", 8,
                                "uvc_stereo_imu_stream_sample_t", sizeof(g_stream[0])));
  CHECK_OK(uvc_stereo_imu_stream_read(stream, NULL, 0, 0, &read));
  CHECK_EQ(read, 0);

  /* A zero timeout never waits. */
  prepare_stream_samples();
  CHECK_OK(uvc_stereo_rig_now_ns(rig, &before));
  CHECK_OK(uvc_stereo_imu_stream_read(stream, g_stream, kStreamBatch, 0, &read));
  CHECK_OK(uvc_stereo_rig_now_ns(rig, &after));
  CHECK(read <= 1);
  CHECK(after - before <= 22000000u);

  memset(&stats, 0, sizeof(stats));
  stats.struct_size = 4;
  CHECK_FAILS(uvc_stereo_imu_stream_statistics(stream, &stats), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              too_small_message(message, sizeof(message), "uvc_stereo_imu_stream_statistics", "statistics", 4,
                                "uvc_stereo_imu_stream_statistics_t", sizeof(stats)));
  CHECK_FAILS(uvc_stereo_rig_set_imu_timing(rig, 3, NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_set_imu_timing: the rig has no camera 3 (it has 1)");
  uvc_stereo_imu_stream_free(stream);
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

void imu_stream_tests(void) {
  run_case("ImuStream.DeliversEachSampleOnceInOrderWithItsTime",
           stream_delivers_each_sample_once_in_order_with_its_time);
  run_case("ImuStream.StatusByteEndsTheReadAfterTheSamplesBeforeIt",
           status_byte_ends_the_read_after_the_samples_before_it);
  run_case("ImuStream.ArgumentsAreChecked", stream_arguments_are_checked);
}
