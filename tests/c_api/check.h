/* A small test harness for the C test program: checks that count their failures and
 * name the file, line and expression, and helpers shared by the test files. */
#ifndef UVC_STEREO_TESTS_C_API_CHECK_H
#define UVC_STEREO_TESTS_C_API_CHECK_H

#include <stddef.h>
#include <stdint.h>

#include "uvc_stereo/uvc_stereo_c.h"

void check_true(int ok, const char* file, int line, const char* expression);
void check_unsigned(unsigned long long got, unsigned long long want, const char* file, int line,
                    const char* expression);
void check_text(const char* got, const char* want, const char* file, int line, const char* expression);
void check_result(uvc_stereo_error_t got, uvc_stereo_error_t want, const char* want_message, int prefix_only,
                  const char* file, int line, const char* expression);

#define CHECK(condition) check_true((condition) ? 1 : 0, __FILE__, __LINE__, #condition)
#define CHECK_EQ(got, want) \
  check_unsigned((unsigned long long)(got), (unsigned long long)(want), __FILE__, __LINE__, #got)
#define CHECK_TEXT(got, want) check_text((got), (want), __FILE__, __LINE__, #got)
#define CHECK_OK(call) check_result((call), UVC_STEREO_OK, "", 0, __FILE__, __LINE__, #call)
/* The call fails with `code`, and the calling thread's last failure is exactly `code`
 * and `message`. */
#define CHECK_FAILS(call, code, message) \
  (uvc_stereo_clear_last_error(), check_result((call), (code), (message), 0, __FILE__, __LINE__, #call))
/* As CHECK_FAILS, where the message only has to begin with `prefix`. */
#define CHECK_FAILS_WITH_PREFIX(call, code, prefix) \
  (uvc_stereo_clear_last_error(), check_result((call), (code), (prefix), 1, __FILE__, __LINE__, #call))

/* Writes "<function>: <name>->struct_size is <size>, smaller than sizeof(<type>) <full>"
 * into `out`: what a too-small struct is refused with. */
const char* too_small_message(char* out, size_t out_size, const char* function, const char* name, unsigned long size,
                              const char* type, unsigned long full);

/* One supported camera for the rig, with the texts a real one carries. The strings
 * live in the struct, so keep it in place while it is used. */
typedef struct test_camera {
  uvc_stereo_rig_camera_t camera;
  char device_path[200];
  char serial_number[64];
} test_camera;

/* Model `model_index` (0 to 4) of the supported table, serial number `serial`. */
void test_camera_init(test_camera* camera, unsigned model_index, const char* serial);

/* A fresh rig, failing the test when it cannot be made. */
uvc_stereo_rig_t* test_rig(void);
/* Checks that the rig saw no broken rule and no session is left open, then destroys it. */
void finish_rig(uvc_stereo_rig_t* rig);

/* Scans with no filter and returns the list (null when the scan failed). */
uvc_stereo_device_list_t* scan_all(void);
/* Adds `camera` to `rig`, scans, and opens the one camera found with `required` proven. */
uvc_stereo_device_t* plug_and_open(uvc_stereo_rig_t* rig, const test_camera* camera, uint32_t required);

/* How many calls named `name` the rig's log holds. */
size_t count_calls(const uvc_stereo_rig_t* rig, const char* name);

/* Each test file's cases. */
void library_tests(void);
void record_tests(void);
void scan_tests(void);
void camera_access_tests(void);
void device_tests(void);
void json_tests(void);
void imu_tests(void);
void imu_batch_tests(void);
void imu_stream_tests(void);
void rig_directory_tests(void);
void rig_tests(void);
void argument_tests(void);
void thread_tests(void);

/* How many checks failed so far. */
int check_failures(void);

/* Runs one case, reporting it in the GoogleTest style. */
void run_case(const char* name, void (*body)(void));

#endif /* UVC_STEREO_TESTS_C_API_CHECK_H */
