#include "check.h"

#include <stdio.h>
#include <string.h>

static int g_failures = 0;
static int g_case_failures = 0;

static void failed(const char* file, int line) {
  ++g_failures;
  ++g_case_failures;
  fprintf(stderr, "%s:%d: ", file, line);
}

void check_true(int ok, const char* file, int line, const char* expression) {
  if (!ok) {
    failed(file, line);
    fprintf(stderr, "expected true: %s\n", expression);
  }
}

void check_unsigned(unsigned long long got, unsigned long long want, const char* file, int line,
                    const char* expression) {
  if (got != want) {
    failed(file, line);
    fprintf(stderr, "%s is %llu (0x%llx), expected %llu (0x%llx)\n", expression, got, got, want, want);
  }
}

void check_text(const char* got, const char* want, const char* file, int line, const char* expression) {
  if (got == NULL || strcmp(got, want) != 0) {
    failed(file, line);
    fprintf(stderr, "%s is \"%s\", expected \"%s\"\n", expression, got == NULL ? "(null)" : got, want);
  }
}

void check_result(uvc_stereo_error_t got, uvc_stereo_error_t want, const char* want_message, int prefix_only,
                  const char* file, int line, const char* expression) {
  const char* message = uvc_stereo_last_error_message();
  if (want == UVC_STEREO_OK) {
    if (got != UVC_STEREO_OK) {
      failed(file, line);
      fprintf(stderr, "%s failed: %s: %s\n", expression, uvc_stereo_error_name(got), message);
    }
    return;
  }
  if (got != want) {
    failed(file, line);
    fprintf(stderr, "%s returned %s, expected %s (last message \"%s\")\n", expression, uvc_stereo_error_name(got),
            uvc_stereo_error_name(want), message);
    return;
  }
  if (uvc_stereo_last_error_code() != want) {
    failed(file, line);
    fprintf(stderr, "%s: the last error code is %s, expected %s\n", expression,
            uvc_stereo_error_name(uvc_stereo_last_error_code()), uvc_stereo_error_name(want));
  }
  if (prefix_only ? strncmp(message, want_message, strlen(want_message)) != 0 : strcmp(message, want_message) != 0) {
    failed(file, line);
    fprintf(stderr, "%s: the last error message is \"%s\", expected %s\"%s\"\n", expression, message,
            prefix_only ? "a message beginning " : "", want_message);
  }
}

const char* too_small_message(char* out, size_t out_size, const char* function, const char* name, unsigned long size,
                              const char* type, unsigned long full) {
  snprintf(out, out_size, "%s: %s->struct_size is %lu, smaller than sizeof(%s) %lu", function, name, size, type, full);
  return out;
}

void test_camera_init(test_camera* camera, unsigned model_index, const char* serial) {
  const unsigned product_id = 0x6366u + model_index;
  memset(camera, 0, sizeof(*camera));
  camera->camera.struct_size = sizeof(camera->camera);
  CHECK_OK(uvc_stereo_rig_camera_defaults(&camera->camera));
  camera->camera.vendor_id = 0x0C45;
  camera->camera.product_id = (uint16_t)product_id;
  snprintf(camera->device_path, sizeof(camera->device_path),
           "\\\\?\\USB#VID_0C45&PID_%04X&MI_00#7&1c0ffee&0&%s#{65E8773D-8F56-11D0-A3B9-00A0C9223196}\\GLOBAL",
           product_id, serial);
  snprintf(camera->serial_number, sizeof(camera->serial_number), "%s", serial);
  camera->camera.device_path = camera->device_path;
  camera->camera.device_name = "USB Video Device";
  camera->camera.product_string = "Tovanel Stereo Camera";
  camera->camera.descriptor_3 = "Tovanel";
  camera->camera.serial_number = camera->serial_number;
}

uvc_stereo_rig_t* test_rig(void) {
  uvc_stereo_rig_t* rig = NULL;
  CHECK_OK(uvc_stereo_rig_create(&rig));
  CHECK(rig != NULL);
  return rig;
}

void finish_rig(uvc_stereo_rig_t* rig) {
  uvc_stereo_string_list_t* violations = NULL;
  size_t count = 99;
  int32_t sessions = -1;
  size_t i;
  CHECK_OK(uvc_stereo_rig_violations(rig, &violations));
  CHECK_OK(uvc_stereo_string_list_count(violations, &count));
  CHECK_EQ(count, 0);
  for (i = 0; i < count; ++i) {
    const char* text = NULL;
    CHECK_OK(uvc_stereo_string_list_get(violations, i, &text));
    fprintf(stderr, "  violation: %s\n", text == NULL ? "(null)" : text);
  }
  uvc_stereo_string_list_free(violations);
  CHECK_OK(uvc_stereo_rig_open_sessions(rig, &sessions));
  CHECK_EQ(sessions, 0);
  uvc_stereo_rig_destroy(rig);
}

uvc_stereo_device_list_t* scan_all(void) {
  uvc_stereo_device_list_t* list = NULL;
  CHECK_OK(uvc_stereo_scan_devices(NULL, &list));
  return list;
}

uvc_stereo_device_t* plug_and_open(uvc_stereo_rig_t* rig, const test_camera* camera, uint32_t required) {
  uvc_stereo_device_list_t* list = NULL;
  uvc_stereo_device_t* device = NULL;
  uvc_stereo_open_options_t options;
  size_t count = 0;
  CHECK_OK(uvc_stereo_rig_add_camera(rig, &camera->camera, NULL));
  list = scan_all();
  CHECK_OK(uvc_stereo_device_list_count(list, &count));
  CHECK_EQ(count, 1);
  memset(&options, 0, sizeof(options));
  options.struct_size = sizeof(options);
  options.required_capabilities = required;
  CHECK_OK(uvc_stereo_open_device(list, 0, &options, &device));
  uvc_stereo_device_list_free(list);
  return device;
}

size_t count_calls(const uvc_stereo_rig_t* rig, const char* name) {
  uvc_stereo_rig_call_log_t* log = NULL;
  size_t count = 0;
  size_t matching = 0;
  size_t i;
  CHECK_OK(uvc_stereo_rig_calls(rig, &log));
  CHECK_OK(uvc_stereo_rig_call_log_count(log, &count));
  for (i = 0; i < count; ++i) {
    uvc_stereo_rig_call_t call;
    memset(&call, 0, sizeof(call));
    call.struct_size = sizeof(call);
    CHECK_OK(uvc_stereo_rig_call_log_get(log, i, &call));
    matching += strcmp(call.name, name) == 0 ? 1u : 0u;
  }
  uvc_stereo_rig_call_log_free(log);
  return matching;
}

int check_failures(void) { return g_failures; }

void run_case(const char* name, void (*body)(void)) {
  g_case_failures = 0;
  printf("[ RUN      ] %s\n", name);
  fflush(stdout);
  body();
  printf("%s %s\n", g_case_failures == 0 ? "[       OK ]" : "[  FAILED  ]", name);
  fflush(stdout);
}
