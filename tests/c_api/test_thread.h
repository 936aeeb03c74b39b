/* Threads and pauses for the C test program, on the platform's own thread interface. */
#ifndef UVC_STEREO_TESTS_C_API_TEST_THREAD_H
#define UVC_STEREO_TESTS_C_API_TEST_THREAD_H

typedef struct test_thread test_thread;

/* Starts `body(argument)` on a new thread; null when no thread could be started. */
test_thread* test_thread_start(void (*body)(void*), void* argument);
/* Waits for the thread to end and frees it; null is harmless. */
void test_thread_join(test_thread* thread);
/* Pauses the calling thread for about `milliseconds`. */
void test_sleep_ms(unsigned milliseconds);

#endif /* UVC_STEREO_TESTS_C_API_TEST_THREAD_H */
