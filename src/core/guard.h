#pragma once

#include <exception>
#include <utility>

#include "uvc_stereo/result.h"

#if defined(__GLIBCXX__)
#include <cxxabi.h>
#define UVC_STEREO_HAS_FORCED_UNWIND 1
// A forced unwind carries no C++ object, so its handler binds a reference to nothing; that is how the runtime
// hands it over, not a fault, and the undefined-behaviour checker is told not to flag it.
#define UVC_STEREO_PASSES_FORCED_UNWIND __attribute__((no_sanitize("null")))
#else
#define UVC_STEREO_HAS_FORCED_UNWIND 0
#define UVC_STEREO_PASSES_FORCED_UNWIND
#endif

namespace tovanel::uvc_stereo::detail {

/// Runs `body` and hands anything it throws to `on_failure`: a pointer to the standard exception, or null for
/// any other exception. Returns what `body` returns, or what `on_failure` returns instead.
///
/// A thread that ends inside `body` (pthread_exit, or a cancellation) unwinds with a forced unwind that must
/// reach the thread's start: it passes through untouched, so the thread ends as its owner asked and the
/// destructors on the way release the vendor lock and close the session. Every place where the SDK stops
/// exceptions goes through here, so that none swallows one.
template <typename Body, typename OnFailure>
UVC_STEREO_PASSES_FORCED_UNWIND auto catch_failures(Body&& body, OnFailure&& on_failure) -> decltype(body()) {
  try {
    return body();
#if UVC_STEREO_HAS_FORCED_UNWIND
  } catch (abi::__forced_unwind&) {
    throw;
#endif
  } catch (const std::exception& failure) {
    return on_failure(&failure);
  } catch (...) {
    return on_failure(nullptr);
  }
}

/// The InternalError that one caught exception becomes: the standard exception's own text, or `unknown_text`
/// when `failure` is null (an exception of another kind).
[[nodiscard]] inline Status guarded_failure(const std::exception* failure, const char* unknown_text) {
  return Status(ErrorCode::InternalError, failure != nullptr ? failure->what() : unknown_text);
}

/// The edge of one SDK operation: runs `body` (returning a Status or a Result) and turns what it throws into
/// InternalError, with the standard exception's own text, or `unknown_text` for any other exception.
template <typename Body>
auto guard_operation(const char* unknown_text, Body&& body) -> decltype(body()) {
  return catch_failures(std::forward<Body>(body), [unknown_text](const std::exception* failure) -> decltype(body()) {
    return guarded_failure(failure, unknown_text);
  });
}

}  // namespace tovanel::uvc_stereo::detail
