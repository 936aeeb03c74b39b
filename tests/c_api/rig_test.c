/* The simulated rig through the C interface: flash, descriptors, capability answers, sessions,
 * and hooks that run as a vendor call begins. */
#include <string.h>

#include "check.h"

static void flash_starts_erased_and_takes_what_is_set(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  unsigned char bytes[8];
  static const unsigned char pattern[4] = {0x12, 0x34, 0x56, 0x78};
  size_t copied = 0;
  bool is_protected = false;
  test_camera_init(&camera, 0, "SN-FLASH");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));

  memset(bytes, 0, sizeof(bytes));
  CHECK_OK(uvc_stereo_rig_flash(rig, 0, 0x51000, 8, bytes, sizeof(bytes), &copied));
  CHECK_EQ(copied, 8);
  CHECK(bytes[0] == 0xFF && bytes[7] == 0xFF);

  CHECK_OK(uvc_stereo_rig_set_flash(rig, 0, 0x51002, pattern, sizeof(pattern)));
  CHECK_OK(uvc_stereo_rig_flash(rig, 0, 0x51000, 8, bytes, sizeof(bytes), NULL));
  CHECK(bytes[1] == 0xFF && bytes[2] == 0x12 && bytes[5] == 0x78 && bytes[6] == 0xFF);
  CHECK_OK(uvc_stereo_rig_set_flash(rig, 0, 0x51000, NULL, 0));

  /* A range that runs off the 1 MiB chip is cut at its end. */
  CHECK_OK(uvc_stereo_rig_flash(rig, 0, 0xFFFFC, 8, bytes, sizeof(bytes), &copied));
  CHECK_EQ(copied, 4);
  CHECK_FAILS(uvc_stereo_rig_flash(rig, 0, 0x51000, 8, bytes, 4, &copied), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_flash: the buffer holds 4 bytes, the range is 8");
  CHECK_FAILS(uvc_stereo_rig_flash(rig, 0, 0x51000, 8, NULL, 8, &copied), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_flash: buffer is null");
  CHECK_FAILS(uvc_stereo_rig_flash(rig, 1, 0x51000, 8, bytes, 8, &copied), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_flash: the rig has no camera 1 (it has 1)");
  CHECK_FAILS(uvc_stereo_rig_set_flash(rig, 0, 0x51000, NULL, 4), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_set_flash: bytes is null");

  /* A camera powers up write-protected. */
  CHECK_OK(uvc_stereo_rig_write_protected(rig, 0, &is_protected));
  CHECK(is_protected);
  finish_rig(rig);
}

static void descriptors_in_either_byte_order_give_the_same_camera(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_info_t info;
  test_camera_init(&camera, 1, "SN-LE");
  camera.camera.descriptor_order = UVC_STEREO_DESCRIPTOR_LITTLE_ENDIAN;
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));
  list = scan_all();
  memset(&info, 0, sizeof(info));
  info.struct_size = sizeof(info);
  CHECK_OK(uvc_stereo_device_list_get(list, 0, &info));
  CHECK_EQ(info.vendor_id, 0x0C45);
  CHECK_EQ(info.product_id, 0x6367);
  uvc_stereo_device_list_free(list);
  finish_rig(rig);
}

static int32_t source_of(void) {
  uvc_stereo_device_list_t* list = scan_all();
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_capability_info_t capability;
  int32_t source = -1;
  CHECK_OK(uvc_stereo_open_device(list, 0, NULL, &device));
  memset(&capability, 0, sizeof(capability));
  capability.struct_size = sizeof(capability);
  CHECK_OK(uvc_stereo_device_capability_info(device, &capability));
  source = capability.source;
  uvc_stereo_device_close(device);
  uvc_stereo_device_list_free(list);
  return source;
}

static void the_capability_answer_can_change_while_plugged(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_capability_report_t report;
  uint8_t zeros[64];
  test_camera_init(&camera, 2, "SN-CAP");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));
  CHECK_EQ(source_of(), UVC_STEREO_CAPABILITY_SOURCE_FALLBACK);

  memset(&report, 0, sizeof(report));
  report.struct_size = sizeof(report);
  CHECK_OK(uvc_stereo_capability_report_defaults(&report));
  report.capability_bits = UVC_STEREO_CAPABILITY_FLASH_USER_SPACE;
  report.has_flash_user_space = true;
  report.flash_user_space_start = 0x51000;
  report.flash_user_space_size = 0x10000;
  CHECK_OK(uvc_stereo_rig_set_capability_report(rig, 0, &report));
  CHECK_EQ(source_of(), UVC_STEREO_CAPABILITY_SOURCE_REPORTED);

  memset(zeros, 0, sizeof(zeros));
  CHECK_OK(uvc_stereo_rig_set_capability_bytes(rig, 0, zeros));
  CHECK_EQ(source_of(), UVC_STEREO_CAPABILITY_SOURCE_FALLBACK);
  finish_rig(rig);
}

static void without_cameras_a_scan_is_empty_either_way(void) {
  uvc_stereo_rig_t* rig = test_rig();
  uvc_stereo_device_list_t* list = NULL;
  size_t count = 99;
  CHECK_OK(uvc_stereo_rig_set_init_fails_without_cameras(rig, false));
  CHECK_OK(uvc_stereo_scan_devices(NULL, &list));
  CHECK_OK(uvc_stereo_device_list_count(list, &count));
  CHECK_EQ(count, 0);
  uvc_stereo_device_list_free(list);
  /* Starting a session now succeeds, so the scan closes it again. */
  CHECK_EQ(count_calls(rig, "SonixCam_UnInit"), 1);
  finish_rig(rig);
}

static void the_newest_rig_is_in_force(void) {
  uvc_stereo_rig_t* older = test_rig();
  uvc_stereo_rig_t* newer = test_rig();
  test_camera camera;
  uvc_stereo_device_list_t* list = NULL;
  size_t count = 99;
  test_camera_init(&camera, 0, "SN-OLD");
  CHECK_OK(uvc_stereo_rig_add_camera(older, &camera.camera, NULL));
  CHECK_OK(uvc_stereo_scan_devices(NULL, &list));
  CHECK_OK(uvc_stereo_device_list_count(list, &count));
  CHECK_EQ(count, 0);
  uvc_stereo_device_list_free(list);
  finish_rig(older);
  test_camera_init(&camera, 0, "SN-NEW");
  CHECK_OK(uvc_stereo_rig_add_camera(newer, &camera.camera, NULL));
  CHECK_OK(uvc_stereo_scan_devices(NULL, &list));
  CHECK_OK(uvc_stereo_device_list_count(list, &count));
  CHECK_EQ(count, 1);
  uvc_stereo_device_list_free(list);
  finish_rig(newer);
}

static void a_write_outside_the_cameras_user_space_is_a_violation(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_capability_report_t report;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_string_list_t* violations = NULL;
  size_t count = 0;
  size_t i;
  const char* text = NULL;
  /* The report sends the SDK to 0x80000, where this camera allows no writes. */
  memset(&report, 0, sizeof(report));
  report.struct_size = sizeof(report);
  CHECK_OK(uvc_stereo_capability_report_defaults(&report));
  report.capability_bits = UVC_STEREO_CAPABILITY_FLASH_USER_SPACE;
  report.has_flash_user_space = true;
  report.flash_user_space_start = 0x80000;
  report.flash_user_space_size = 0x8000;
  test_camera_init(&camera, 2, "SN-OUTSIDE");
  camera.camera.capability = &report;
  device = plug_and_open(rig, &camera, 0);
  CHECK_OK(uvc_stereo_device_write_json(device, "{}", 2));
  uvc_stereo_device_close(device);

  CHECK_OK(uvc_stereo_rig_violations(rig, &violations));
  CHECK_OK(uvc_stereo_string_list_count(violations, &count));
  CHECK(count >= 1);
  for (i = 0; i < count; ++i) {
    text = NULL;
    CHECK_OK(uvc_stereo_string_list_get(violations, i, &text));
    CHECK(text != NULL && strstr(text, "outside its user space [0x00051000, 0x00061000)") != NULL);
  }
  uvc_stereo_string_list_free(violations);
  uvc_stereo_rig_destroy(rig);
}

static void an_empty_violation_list_has_no_entries(void) {
  uvc_stereo_rig_t* rig = test_rig();
  uvc_stereo_string_list_t* violations = NULL;
  const char* text = NULL;
  CHECK_OK(uvc_stereo_rig_violations(rig, &violations));
  CHECK_FAILS(uvc_stereo_string_list_get(violations, 0, &text), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_string_list_get: index 0 is out of range (0 texts)");
  CHECK(text == NULL);
  uvc_stereo_string_list_free(violations);
  finish_rig(rig);
}

enum { kUserSpace = 0x51000, kUserSpaceEnd = 0x61000, kChipSize = 0x100000, kMaxArgs = 8 };

/* What a hook saw, and what it is to do. */
typedef struct hook_probe {
  uvc_stereo_rig_t* rig;
  int32_t unplug_camera; /* -1: unplug nothing */
  int32_t answer;
  size_t runs;
  const void* context_seen;
  uint32_t struct_size;
  char name[64];
  int64_t args[kMaxArgs];
  size_t arg_count;
  int32_t camera;
  bool succeeded;
  bool lock_held;
  int32_t open_sessions;
} hook_probe;

static void hook_probe_init(hook_probe* probe, uvc_stereo_rig_t* rig) {
  memset(probe, 0, sizeof(*probe));
  probe->rig = rig;
  probe->unplug_camera = -1;
  probe->camera = -2;
}

static int32_t UVC_STEREO_CALL probing_hook(const uvc_stereo_rig_call_t* call, void* context) {
  hook_probe* probe = (hook_probe*)context;
  size_t i;
  probe->runs += 1;
  probe->context_seen = context;
  probe->struct_size = call->struct_size;
  strncpy(probe->name, call->name, sizeof(probe->name) - 1);
  probe->arg_count = call->arg_count;
  for (i = 0; i < call->arg_count && i < kMaxArgs; ++i) {
    probe->args[i] = call->args[i];
  }
  probe->camera = call->camera;
  probe->succeeded = call->succeeded;
  probe->lock_held = call->lock_held;
  probe->open_sessions = call->open_sessions;
  if (probe->unplug_camera >= 0) {
    CHECK_OK(uvc_stereo_rig_unplug(probe->rig, probe->unplug_camera));
  }
  return probe->answer;
}

static size_t g_context_free_runs;

static int32_t UVC_STEREO_CALL context_free_hook(const uvc_stereo_rig_call_t* call, void* context) {
  CHECK(call != NULL);
  CHECK(context == NULL);
  g_context_free_runs += 1;
  return 0;
}

static size_t log_size(const uvc_stereo_rig_t* rig) {
  uvc_stereo_rig_call_log_t* log = NULL;
  size_t count = 0;
  CHECK_OK(uvc_stereo_rig_calls(rig, &log));
  CHECK_OK(uvc_stereo_rig_call_log_count(log, &count));
  uvc_stereo_rig_call_log_free(log);
  return count;
}

static unsigned char g_flash_before[kChipSize];
static unsigned char g_flash_after[kChipSize];

static void read_whole_flash(const uvc_stereo_rig_t* rig, unsigned char* bytes) {
  size_t copied = 0;
  CHECK_OK(uvc_stereo_rig_flash(rig, 0, 0, kChipSize, bytes, kChipSize, &copied));
  CHECK_EQ(copied, kChipSize);
}

static void a_camera_unplugged_as_its_flash_is_erased_fails_the_write_and_touches_nothing(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  hook_probe probe;
  test_camera_init(&camera, 0, "SN-HOOK");
  device = plug_and_open(rig, &camera, UVC_STEREO_TRANSPORT_FLASH);
  CHECK_OK(uvc_stereo_device_write_json(device, "{\"kept\":true}", 13));
  read_whole_flash(rig, g_flash_before);

  hook_probe_init(&probe, rig);
  probe.unplug_camera = 0;
  CHECK_OK(uvc_stereo_rig_on_call(rig, "SonixCam_SectorEraseSF", probing_hook, &probe));
  CHECK_FAILS(uvc_stereo_device_write_json(device, "{\"kept\":false}", 14), UVC_STEREO_ERROR_ERASE_FAILED,
              "SonixCam_SectorEraseSF failed: vendor_code=ecDeviceDisconnect(7) (address=0x00051000, length=4096)");
  CHECK_EQ(probe.runs, 1);
  uvc_stereo_device_close(device);

  /* The erase never began: every byte of the chip, in the user space and outside it, is as it was. */
  read_whole_flash(rig, g_flash_after);
  CHECK(memcmp(g_flash_before, g_flash_after, kChipSize) == 0);
  CHECK(g_flash_after[kUserSpace - 1] == 0xFF && g_flash_after[kUserSpaceEnd] == 0xFF);
  CHECK_OK(uvc_stereo_rig_clear_call_hooks(rig));
  CHECK_OK(uvc_stereo_rig_plug(rig, 0));
  finish_rig(rig);
}

static void a_hook_on_every_call_sees_each_call_the_log_records(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  hook_probe probe;
  char text[64];
  test_camera_init(&camera, 0, "SN-STAR");
  CHECK_OK(uvc_stereo_rig_clear_calls(rig));
  hook_probe_init(&probe, rig);
  CHECK_OK(uvc_stereo_rig_on_call(rig, "*", probing_hook, &probe));
  device = plug_and_open(rig, &camera, UVC_STEREO_TRANSPORT_FLASH);
  CHECK_OK(uvc_stereo_device_write_json(device, "{\"a\":1}", 7));
  CHECK_OK(uvc_stereo_device_read_json(device, text, sizeof(text), NULL, NULL));
  uvc_stereo_device_close(device);
  CHECK(probe.runs > 10);
  CHECK_EQ(probe.runs, log_size(rig));
  /* The last call of all closes the session. */
  CHECK_TEXT(probe.name, "SonixCam_UnInit");
  CHECK_OK(uvc_stereo_rig_clear_call_hooks(rig));
  finish_rig(rig);
}

/* Plugs a camera in, opens it, hooks `probe` (made ready by the caller) on its flash erase and
 * writes a small configuration; returns the device, still open. */
static uvc_stereo_device_t* write_with_the_erase_hooked(uvc_stereo_rig_t* rig, test_camera* camera, const char* serial,
                                                        hook_probe* probe) {
  uvc_stereo_device_t* device = NULL;
  test_camera_init(camera, 0, serial);
  device = plug_and_open(rig, camera, UVC_STEREO_TRANSPORT_FLASH);
  CHECK_OK(uvc_stereo_rig_on_call(rig, "SonixCam_SectorEraseSF", probing_hook, probe));
  CHECK_OK(uvc_stereo_device_write_json(device, "{\"a\":1}", 7));
  return device;
}

static void the_call_a_hook_is_given_is_the_one_the_log_records(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_rig_call_log_t* log = NULL;
  uvc_stereo_rig_call_t logged;
  hook_probe probe;
  size_t count = 0;
  size_t i;
  size_t erases = 0;
  hook_probe_init(&probe, rig);
  uvc_stereo_device_close(write_with_the_erase_hooked(rig, &camera, "SN-SAME", &probe));
  CHECK_EQ(probe.runs, 1);
  CHECK(probe.context_seen == &probe);
  CHECK_EQ(probe.struct_size, sizeof(uvc_stereo_rig_call_t));
  CHECK_TEXT(probe.name, "SonixCam_SectorEraseSF");
  CHECK_EQ(probe.camera, 0);
  /* It had not run yet when the hook saw it. */
  CHECK(!probe.succeeded);
  CHECK(probe.lock_held);
  CHECK_EQ(probe.open_sessions, 1);

  CHECK_OK(uvc_stereo_rig_calls(rig, &log));
  CHECK_OK(uvc_stereo_rig_call_log_count(log, &count));
  for (i = 0; i < count; ++i) {
    memset(&logged, 0, sizeof(logged));
    logged.struct_size = sizeof(logged);
    CHECK_OK(uvc_stereo_rig_call_log_get(log, i, &logged));
    if (strcmp(logged.name, "SonixCam_SectorEraseSF") != 0) {
      continue;
    }
    erases += 1;
    CHECK_EQ(probe.arg_count, logged.arg_count);
    CHECK_EQ(logged.arg_count, 2);
    CHECK(probe.arg_count == logged.arg_count &&
          memcmp(probe.args, logged.args, logged.arg_count * sizeof(int64_t)) == 0);
    CHECK_EQ(probe.args[0], kUserSpace);
    CHECK_EQ(probe.camera, logged.camera);
    CHECK_EQ(probe.lock_held, logged.lock_held);
    CHECK_EQ(probe.open_sessions, logged.open_sessions);
    CHECK(logged.succeeded);
  }
  uvc_stereo_rig_call_log_free(log);
  CHECK_EQ(erases, 1);
  CHECK_OK(uvc_stereo_rig_clear_call_hooks(rig));
  finish_rig(rig);
}

static void a_null_context_reaches_the_hook_as_null(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  test_camera_init(&camera, 0, "SN-NULL");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));
  g_context_free_runs = 0;
  CHECK_OK(uvc_stereo_rig_on_call(rig, "SonixCam_Init", context_free_hook, NULL));
  uvc_stereo_device_list_free(scan_all());
  CHECK_EQ(g_context_free_runs, 1);
  CHECK_OK(uvc_stereo_rig_clear_call_hooks(rig));
  finish_rig(rig);
}

static void a_hook_that_answers_non_zero_is_a_broken_rule_and_the_call_goes_on(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_string_list_t* violations = NULL;
  hook_probe probe;
  size_t count = 0;
  const char* text = NULL;
  char read_back[16];
  hook_probe_init(&probe, rig);
  probe.answer = -3;
  device = write_with_the_erase_hooked(rig, &camera, "SN-ANSWER", &probe);
  CHECK_OK(uvc_stereo_device_read_json(device, read_back, sizeof(read_back), NULL, NULL));
  CHECK_TEXT(read_back, "{\"a\":1}");
  uvc_stereo_device_close(device);
  CHECK_EQ(probe.runs, 1);

  CHECK_OK(uvc_stereo_rig_violations(rig, &violations));
  CHECK_OK(uvc_stereo_string_list_count(violations, &count));
  CHECK_EQ(count, 1);
  CHECK_OK(uvc_stereo_string_list_get(violations, 0, &text));
  CHECK_TEXT(text, "a hook on SonixCam_SectorEraseSF threw");
  uvc_stereo_string_list_free(violations);
  uvc_stereo_rig_destroy(rig);
}

static void cleared_hooks_run_no_more(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  hook_probe named;
  hook_probe every;
  test_camera_init(&camera, 0, "SN-CLEAR");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));
  hook_probe_init(&named, rig);
  hook_probe_init(&every, rig);
  CHECK_OK(uvc_stereo_rig_on_call(rig, "SonixCam_Init", probing_hook, &named));
  CHECK_OK(uvc_stereo_rig_on_call(rig, "*", probing_hook, &every));
  uvc_stereo_device_list_free(scan_all());
  CHECK_EQ(named.runs, 1);
  CHECK(every.runs > 1);
  every.runs = 0;
  CHECK_OK(uvc_stereo_rig_clear_call_hooks(rig));
  uvc_stereo_device_list_free(scan_all());
  CHECK_EQ(named.runs, 1);
  CHECK_EQ(every.runs, 0);
  finish_rig(rig);
}

static void hook_arguments_are_checked(void) {
  uvc_stereo_rig_t* rig = test_rig();
  test_camera camera;
  hook_probe probe;
  hook_probe_init(&probe, rig);
  CHECK_FAILS(uvc_stereo_rig_on_call(NULL, "*", probing_hook, &probe), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_on_call: rig is null");
  CHECK_FAILS(uvc_stereo_rig_on_call(rig, NULL, probing_hook, &probe), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_on_call: call is null");
  CHECK_FAILS(uvc_stereo_rig_on_call(rig, "*", NULL, &probe), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_on_call: hook is null");
  CHECK_FAILS(uvc_stereo_rig_clear_call_hooks(NULL), UVC_STEREO_ERROR_INVALID_ARGUMENT,
              "uvc_stereo_rig_clear_call_hooks: rig is null");
  /* A hook on a name no vendor call has, the empty one among them, is kept and never runs. */
  CHECK_OK(uvc_stereo_rig_on_call(rig, "", probing_hook, &probe));
  CHECK_OK(uvc_stereo_rig_on_call(rig, "SonixCam_NoSuchCall", probing_hook, &probe));
  test_camera_init(&camera, 0, "SN-ARGS");
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera.camera, NULL));
  uvc_stereo_device_list_free(scan_all());
  CHECK(log_size(rig) > 0);
  CHECK_EQ(probe.runs, 0);
  CHECK_OK(uvc_stereo_rig_clear_call_hooks(rig));
  finish_rig(rig);
}

void rig_tests(void) {
  run_case("Rig.FlashStartsErasedAndTakesWhatIsSet", flash_starts_erased_and_takes_what_is_set);
  run_case("Rig.DescriptorsInEitherByteOrderGiveTheSameCamera", descriptors_in_either_byte_order_give_the_same_camera);
  run_case("Rig.TheCapabilityAnswerCanChangeWhilePlugged", the_capability_answer_can_change_while_plugged);
  run_case("Rig.WithoutCamerasAScanIsEmptyEitherWay", without_cameras_a_scan_is_empty_either_way);
  run_case("Rig.TheNewestRigIsInForce", the_newest_rig_is_in_force);
  run_case("Rig.AWriteOutsideTheCamerasUserSpaceIsAViolation", a_write_outside_the_cameras_user_space_is_a_violation);
  run_case("Rig.AnEmptyViolationListHasNoEntries", an_empty_violation_list_has_no_entries);
  run_case("Rig.ACameraUnpluggedAsItsFlashIsErasedFailsTheWriteAndTouchesNothing",
           a_camera_unplugged_as_its_flash_is_erased_fails_the_write_and_touches_nothing);
  run_case("Rig.AHookOnEveryCallSeesEachCallTheLogRecords", a_hook_on_every_call_sees_each_call_the_log_records);
  run_case("Rig.TheCallAHookIsGivenIsTheOneTheLogRecords", the_call_a_hook_is_given_is_the_one_the_log_records);
  run_case("Rig.ANullContextReachesTheHookAsNull", a_null_context_reaches_the_hook_as_null);
  run_case("Rig.AHookThatAnswersNonZeroIsABrokenRuleAndTheCallGoesOn",
           a_hook_that_answers_non_zero_is_a_broken_rule_and_the_call_goes_on);
  run_case("Rig.ClearedHooksRunNoMore", cleared_hooks_run_no_more);
  run_case("Rig.HookArgumentsAreChecked", hook_arguments_are_checked);
}
