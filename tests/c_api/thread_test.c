/* Device handles and rig hooks used from several threads: clearing the hooks waits for the
 * ones running, a hook that calls the SDK is refused instead of waiting for ever, and racing
 * calls on one device handle fail cleanly, closing included. Checks run on the main thread
 * only; the other threads leave what they saw in their job. */
#include <stdatomic.h>
#include <stdlib.h>
#include <string.h>

#include "check.h"
#include "test_thread.h"

static const char kJson[] = "{\"threads\":1}";
static const char kRefusedFromHook[] = "SonixCam_Init failed: vendor_code=ecLibInitFail(2)";

/* A write on another thread, and what it answered. */
typedef struct write_job {
  uvc_stereo_device_t* device;
  uvc_stereo_error_t result;
} write_job;

static void write_config(void* raw) {
  write_job* job = (write_job*)raw;
  job->result = uvc_stereo_device_write_json(job->device, kJson, sizeof(kJson) - 1);
}

/* A hook that says it began, then holds its call until told to let go (or sleeps). */
typedef struct holding_hook {
  atomic_int started;
  atomic_int let_go;
  atomic_int returned;
  unsigned sleep_ms; /* with no let_go to wait for: how long to hold */
} holding_hook;

static void holding_hook_init(holding_hook* hook, unsigned sleep_ms) {
  atomic_init(&hook->started, 0);
  atomic_init(&hook->let_go, 0);
  atomic_init(&hook->returned, 0);
  hook->sleep_ms = sleep_ms;
}

static int32_t UVC_STEREO_CALL hold_call(const uvc_stereo_rig_call_t* call, void* context) {
  holding_hook* hook = (holding_hook*)context;
  (void)call;
  if (atomic_exchange(&hook->started, 1) == 0) {
    if (hook->sleep_ms != 0) {
      test_sleep_ms(hook->sleep_ms);
    } else {
      while (!atomic_load(&hook->let_go)) {
        test_sleep_ms(1);
      }
    }
  }
  atomic_store(&hook->returned, 1);
  return 0;
}

static int32_t UVC_STEREO_CALL count_run(const uvc_stereo_rig_call_t* call, void* context) {
  (void)call;
  ++*(int*)context;
  return 0;
}

static void wait_until_started(const holding_hook* hook) {
  while (!atomic_load(&hook->started)) {
    test_sleep_ms(1);
  }
}

static void clearing_the_hooks_waits_for_a_hook_running_on_another_thread(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  holding_hook first;
  int* context = (int*)malloc(sizeof(int));
  write_job job;
  test_thread* writer = NULL;

  test_camera_init(&camera, 0, "SN-CLEAR");
  device = plug_and_open(rig, &camera, 0);
  holding_hook_init(&first, 100);
  CHECK(context != NULL);
  if (context == NULL) {
    return;
  }
  *context = 0;
  /* Two hooks on the Init of a write on another thread: the first holds the call while the
   * main thread clears the hooks and frees the second one's context. */
  CHECK_OK(uvc_stereo_rig_on_call(rig, "SonixCam_Init", hold_call, &first));
  CHECK_OK(uvc_stereo_rig_on_call(rig, "SonixCam_Init", count_run, context));
  job.device = device;
  job.result = -1;
  writer = test_thread_start(write_config, &job);
  CHECK(writer != NULL);
  if (writer != NULL) {
    wait_until_started(&first);
    CHECK_OK(uvc_stereo_rig_clear_call_hooks(rig));
    CHECK(atomic_load(&first.returned)); /* the clear waited for the hook in flight */
  }
  free(context);
  test_thread_join(writer);
  CHECK_EQ(job.result, UVC_STEREO_OK);
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

/* What a hook tried through the SDK, once. */
typedef struct reentry {
  uvc_stereo_device_t* same;  /* the handle whose call runs the hook */
  uvc_stereo_device_t* other; /* a second handle on the same camera */
  int tried;
  uvc_stereo_error_t same_result;
  uvc_stereo_error_t other_result;
  char same_message[200];
  char other_message[200];
  char close_message[200];
} reentry;

static void keep_message(char* out, size_t out_size) {
  strncpy(out, uvc_stereo_last_error_message(), out_size - 1);
  out[out_size - 1] = '\0';
}

static int32_t UVC_STEREO_CALL write_from_hook(const uvc_stereo_rig_call_t* call, void* context) {
  reentry* tried = (reentry*)context;
  (void)call;
  if (tried->tried == 0) {
    tried->tried = 1;
    tried->same_result = uvc_stereo_device_write_json(tried->same, kJson, sizeof(kJson) - 1);
    keep_message(tried->same_message, sizeof(tried->same_message));
    tried->other_result = uvc_stereo_device_write_json(tried->other, kJson, sizeof(kJson) - 1);
    keep_message(tried->other_message, sizeof(tried->other_message));
    uvc_stereo_clear_last_error();
    uvc_stereo_device_close(tried->same);
    keep_message(tried->close_message, sizeof(tried->close_message));
  }
  return 0;
}

static void a_hook_that_calls_the_sdk_is_refused_and_listed_as_a_broken_rule(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_string_list_t* violations = NULL;
  const char* text = NULL;
  size_t count = 0;
  int32_t sessions = -1;
  char buffer[64];
  reentry tried;
  static const char kWritten[] = "{\"kept\":true}";

  memset(&tried, 0, sizeof(tried));
  test_camera_init(&camera, 0, "SN-REENTER");
  tried.same = plug_and_open(rig, &camera, 0);
  list = scan_all();
  CHECK_OK(uvc_stereo_open_device(list, 0, NULL, &tried.other));
  uvc_stereo_device_list_free(list);
  CHECK_OK(uvc_stereo_device_write_json(tried.same, kWritten, sizeof(kWritten) - 1));

  CHECK_OK(uvc_stereo_rig_on_call(rig, "SonixCam_CstmReadFromSF", write_from_hook, &tried));
  CHECK_OK(uvc_stereo_device_read_json(tried.same, buffer, sizeof(buffer), NULL, NULL));
  CHECK_OK(uvc_stereo_rig_clear_call_hooks(rig));
  CHECK_TEXT(buffer, kWritten);

  CHECK_EQ(tried.tried, 1);
  /* The handle in use refuses the call itself; the other handle reaches the rig, which refuses it. */
  CHECK_EQ(tried.same_result, UVC_STEREO_ERROR_INVALID_ARGUMENT);
  CHECK_TEXT(tried.same_message, "uvc_stereo_device_write_json: another call on this device is using the camera");
  CHECK_EQ(tried.other_result, UVC_STEREO_ERROR_DEVICE_UNAVAILABLE);
  CHECK_TEXT(tried.other_message, kRefusedFromHook);
  /* Closing the handle whose call runs the hook could never wait for that call: it is refused. */
  CHECK_TEXT(tried.close_message,
             "uvc_stereo_device_close: called from inside a call on this device (a rig hook); the device stays open");
  CHECK_OK(uvc_stereo_device_read_json(tried.same, buffer, sizeof(buffer), NULL, NULL));

  CHECK_OK(uvc_stereo_rig_violations(rig, &violations));
  CHECK_OK(uvc_stereo_string_list_count(violations, &count));
  CHECK(count >= 1);
  if (count >= 1) {
    CHECK_OK(uvc_stereo_string_list_get(violations, 0, &text));
    CHECK_TEXT(text,
               "SonixCam_Init called from a hook on SonixCam_CstmReadFromSF: a hook may use the rig, not the SDK or "
               "the vendor library");
  }
  uvc_stereo_string_list_free(violations);
  uvc_stereo_device_close(tried.other);
  uvc_stereo_device_close(tried.same);
  CHECK_OK(uvc_stereo_rig_open_sessions(rig, &sessions));
  CHECK_EQ(sessions, 0);
  uvc_stereo_rig_destroy(rig);
}

/* Many IMU samples on another thread, and how the run ended. */
enum { kManySamples = 4096 };

typedef struct imu_job {
  uvc_stereo_device_t* device;
  uvc_stereo_imu_sample_t* samples;
  size_t samples_read;
  uvc_stereo_error_t result;
  char message[200];
} imu_job;

static void read_many_samples(void* raw) {
  imu_job* job = (imu_job*)raw;
  job->result = uvc_stereo_device_read_imu_samples(job->device, job->samples, kManySamples, &job->samples_read);
  keep_message(job->message, sizeof(job->message));
}

static int32_t UVC_STEREO_CALL slow_imu_read(const uvc_stereo_rig_call_t* call, void* context) {
  atomic_int* reads = (atomic_int*)context;
  (void)call;
  atomic_fetch_add(reads, 1);
  test_sleep_ms(2);
  return 0;
}

static void closing_a_device_waits_for_a_read_in_progress_and_stops_it(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  atomic_int reads;
  imu_job job;
  test_thread* reader = NULL;
  size_t i;

  test_camera_init(&camera, 2, "SN-CLOSE");
  device = plug_and_open(rig, &camera, 0);
  CHECK_OK(uvc_stereo_device_open_imu(device));
  memset(&job, 0, sizeof(job));
  job.device = device;
  job.result = -1;
  job.samples = (uvc_stereo_imu_sample_t*)calloc(kManySamples, sizeof(uvc_stereo_imu_sample_t));
  CHECK(job.samples != NULL);
  if (job.samples == NULL) {
    return;
  }
  for (i = 0; i < kManySamples; ++i) {
    job.samples[i].struct_size = sizeof(job.samples[i]);
  }
  atomic_init(&reads, 0);
  /* Every sample takes a little while, as on a camera, so the close meets the run in progress. */
  CHECK_OK(uvc_stereo_rig_on_call(rig, "SonixCam_XuRead", slow_imu_read, &reads));
  reader = test_thread_start(read_many_samples, &job);
  CHECK(reader != NULL);
  while (reader != NULL && atomic_load(&reads) < 3) {
    test_sleep_ms(1);
  }
  uvc_stereo_device_close(device);
  test_thread_join(reader);
  CHECK_OK(uvc_stereo_rig_clear_call_hooks(rig));

  CHECK_EQ(job.result, UVC_STEREO_ERROR_INVALID_ARGUMENT);
  CHECK_TEXT(job.message, "uvc_stereo_device_read_imu_samples: device is closed");
  CHECK(job.samples_read >= 2);
  CHECK(job.samples_read < kManySamples);
  free(job.samples);
  finish_rig(rig);
}

/* A single IMU read on another thread, and what it answered. */
typedef struct one_read_job {
  uvc_stereo_device_t* device;
  uvc_stereo_imu_sample_t sample;
  uvc_stereo_error_t result;
} one_read_job;

static void read_one_sample(void* raw) {
  one_read_job* job = (one_read_job*)raw;
  job->result = uvc_stereo_device_read_imu(job->device, &job->sample);
}

static void close_device(void* raw) { uvc_stereo_device_close((uvc_stereo_device_t*)raw); }

static void calls_that_begin_while_a_close_waits_are_refused_and_the_call_in_progress_ends_well(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_device_info_t info;
  holding_hook hold;
  one_read_job job;
  test_thread* reader = NULL;
  test_thread* closer = NULL;
  uvc_stereo_error_t refused = UVC_STEREO_OK;
  char message[200];

  test_camera_init(&camera, 2, "SN-CLOSING");
  device = plug_and_open(rig, &camera, 0);
  CHECK_OK(uvc_stereo_device_open_imu(device));
  holding_hook_init(&hold, 0);
  memset(&job, 0, sizeof(job));
  job.device = device;
  job.sample.struct_size = sizeof(job.sample);
  job.result = -1;
  CHECK_OK(uvc_stereo_rig_on_call(rig, "SonixCam_XuRead", hold_call, &hold));
  reader = test_thread_start(read_one_sample, &job);
  CHECK(reader != NULL);
  if (reader == NULL) {
    return;
  }
  wait_until_started(&hold);
  closer = test_thread_start(close_device, device);
  CHECK(closer != NULL);
  /* The handle lives while the read is held; once the close has begun, new calls are refused. */
  memset(&info, 0, sizeof(info));
  info.struct_size = sizeof(info);
  while (closer != NULL && refused == UVC_STEREO_OK) {
    refused = uvc_stereo_device_info(device, &info);
  }
  keep_message(message, sizeof(message));
  CHECK_EQ(refused, UVC_STEREO_ERROR_INVALID_ARGUMENT);
  CHECK_TEXT(message, "uvc_stereo_device_info: device is closed");
  CHECK_FAILS(uvc_stereo_device_read_json(device, message, sizeof(message), NULL, NULL),
              UVC_STEREO_ERROR_INVALID_ARGUMENT, "uvc_stereo_device_read_json: device is closed");
  atomic_store(&hold.let_go, 1);
  test_thread_join(reader);
  test_thread_join(closer);
  CHECK_OK(uvc_stereo_rig_clear_call_hooks(rig));
  CHECK_EQ(job.result, UVC_STEREO_OK);
  finish_rig(rig);
}

static void racing_calls_on_one_handle_are_refused_while_reading_accessors_run_beside_them(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_device_info_t info;
  holding_hook hold;
  write_job job;
  test_thread* writer = NULL;
  char buffer[64];

  test_camera_init(&camera, 0, "SN-RACE");
  device = plug_and_open(rig, &camera, 0);
  holding_hook_init(&hold, 0);
  CHECK_OK(uvc_stereo_rig_on_call(rig, "SonixCam_Init", hold_call, &hold));
  job.device = device;
  job.result = -1;
  writer = test_thread_start(write_config, &job);
  CHECK(writer != NULL);
  if (writer != NULL) {
    wait_until_started(&hold);
    CHECK_FAILS(uvc_stereo_device_read_json(device, buffer, sizeof(buffer), NULL, NULL),
                UVC_STEREO_ERROR_INVALID_ARGUMENT,
                "uvc_stereo_device_read_json: another call on this device is using the camera");
    CHECK_FAILS(uvc_stereo_device_open_imu(device), UVC_STEREO_ERROR_INVALID_ARGUMENT,
                "uvc_stereo_device_open_imu: another call on this device is using the camera");
    memset(&info, 0, sizeof(info));
    info.struct_size = sizeof(info);
    CHECK_OK(uvc_stereo_device_info(device, &info));
    CHECK_TEXT(info.serial_number, "SN-RACE");
    atomic_store(&hold.let_go, 1);
  }
  test_thread_join(writer);
  CHECK_OK(uvc_stereo_rig_clear_call_hooks(rig));
  CHECK_EQ(job.result, UVC_STEREO_OK);
  /* Once the write has left, the handle takes the next call. */
  CHECK_OK(uvc_stereo_device_read_json(device, buffer, sizeof(buffer), NULL, NULL));
  CHECK_TEXT(buffer, kJson);
  uvc_stereo_device_close(device);
  finish_rig(rig);
}

void thread_tests(void) {
  run_case("Threads.ClearingTheHooksWaitsForAHookRunningOnAnotherThread",
           clearing_the_hooks_waits_for_a_hook_running_on_another_thread);
  run_case("Threads.AHookThatCallsTheSdkIsRefusedAndListedAsABrokenRule",
           a_hook_that_calls_the_sdk_is_refused_and_listed_as_a_broken_rule);
  run_case("Threads.ClosingADeviceWaitsForAReadInProgressAndStopsIt",
           closing_a_device_waits_for_a_read_in_progress_and_stops_it);
  run_case("Threads.CallsThatBeginWhileACloseWaitsAreRefusedAndTheCallInProgressEndsWell",
           calls_that_begin_while_a_close_waits_are_refused_and_the_call_in_progress_ends_well);
  run_case("Threads.RacingCallsOnOneHandleAreRefusedWhileReadingAccessorsRunBesideThem",
           racing_calls_on_one_handle_are_refused_while_reading_accessors_run_beside_them);
}
