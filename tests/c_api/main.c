/* The C interface's test program: plain C, only the public C header, linked to the shipped
 * shared library. Exits non-zero when any check fails. */
#include <stdio.h>

#include "check.h"

int main(void) {
  library_tests();
  record_tests();
  scan_tests();
  camera_access_tests();
  device_tests();
  json_tests();
  imu_tests();
  imu_batch_tests();
  imu_stream_tests();
  rig_tests();
  rig_directory_tests();
  argument_tests();
  thread_tests();
  if (check_failures() != 0) {
    printf("%d check(s) failed\n", check_failures());
    return 1;
  }
  printf("every check passed\n");
  return 0;
}
