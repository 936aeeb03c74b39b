/* Threads and pauses for the C test program: Win32 threads on Windows, POSIX threads elsewhere. */
#if !defined(_WIN32)
#define _POSIX_C_SOURCE 200809L
#endif

#include "test_thread.h"

#include <stdlib.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <pthread.h>
#include <time.h>
#endif

struct test_thread {
  void (*body)(void*);
  void* argument;
#if defined(_WIN32)
  HANDLE handle;
#else
  pthread_t handle;
#endif
};

#if defined(_WIN32)
static DWORD WINAPI thread_entry(LPVOID raw) {
  test_thread* thread = (test_thread*)raw;
  thread->body(thread->argument);
  return 0;
}
#else
static void* thread_entry(void* raw) {
  test_thread* thread = (test_thread*)raw;
  thread->body(thread->argument);
  return NULL;
}
#endif

test_thread* test_thread_start(void (*body)(void*), void* argument) {
  test_thread* thread = (test_thread*)malloc(sizeof(test_thread));
  if (thread == NULL) {
    return NULL;
  }
  thread->body = body;
  thread->argument = argument;
#if defined(_WIN32)
  thread->handle = CreateThread(NULL, 0, thread_entry, thread, 0, NULL);
  if (thread->handle == NULL) {
    free(thread);
    return NULL;
  }
#else
  if (pthread_create(&thread->handle, NULL, thread_entry, thread) != 0) {
    free(thread);
    return NULL;
  }
#endif
  return thread;
}

void test_thread_join(test_thread* thread) {
  if (thread == NULL) {
    return;
  }
#if defined(_WIN32)
  WaitForSingleObject(thread->handle, INFINITE);
  CloseHandle(thread->handle);
#else
  pthread_join(thread->handle, NULL);
#endif
  free(thread);
}

void test_sleep_ms(unsigned milliseconds) {
#if defined(_WIN32)
  Sleep(milliseconds);
#else
  struct timespec pause;
  pause.tv_sec = (time_t)(milliseconds / 1000u);
  pause.tv_nsec = (long)(milliseconds % 1000u) * 1000000L;
  nanosleep(&pause, NULL);
#endif
}
