// What the simulated rig saw, through the C interface: its call log, its rule violations
// and its open sessions, each a snapshot the caller frees.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "c_api/rig_call.h"
#include "c_api/rig_change.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_calls(const uvc_stereo_rig_t* rig, uvc_stereo_rig_call_log_t** log) {
  constexpr const char* kFunction = "uvc_stereo_rig_calls";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::first_failure(c_api::require(rig, kFunction, "rig"), c_api::require(log, kFunction, "log"));
    if (checked.ok()) {
      auto made = std::make_unique<uvc_stereo_rig_call_log_t>();
      made->calls = rig->rig.calls();
      *log = made.release();
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_call_log_count(const uvc_stereo_rig_call_log_t* log,
                                                                 std::size_t* count) {
  constexpr const char* kFunction = "uvc_stereo_rig_call_log_count";
  return c_api::guarded(kFunction, [&] {
    Status checked =
        c_api::first_failure(c_api::require(log, kFunction, "log"), c_api::require(count, kFunction, "count"));
    if (checked.ok()) {
      *count = log->calls.size();
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_call_log_get(const uvc_stereo_rig_call_log_t* log, std::size_t index,
                                                               uvc_stereo_rig_call_t* call) {
  constexpr const char* kFunction = "uvc_stereo_rig_call_log_get";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::first_failure(c_api::require(log, kFunction, "log"),
                                          c_api::require_struct(call, kFunction, "call", "uvc_stereo_rig_call_t"));
    if (checked.ok()) {
      checked = c_api::require_index(index, log->calls.size(), kFunction, "calls");
    }
    if (checked.ok()) {
      c_api::to_c(log->calls[index], *call);
    }
    return checked;
  });
}

void UVC_STEREO_CALL uvc_stereo_rig_call_log_free(uvc_stereo_rig_call_log_t* log) { delete log; }

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_clear_calls(uvc_stereo_rig_t* rig) {
  return c_api::on_rig(rig, "uvc_stereo_rig_clear_calls", [](sim::SimulatedRig& held) { held.clear_calls(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_violations(const uvc_stereo_rig_t* rig,
                                                             uvc_stereo_string_list_t** violations) {
  constexpr const char* kFunction = "uvc_stereo_rig_violations";
  return c_api::guarded(kFunction, [&] {
    Status checked = c_api::first_failure(c_api::require(rig, kFunction, "rig"),
                                          c_api::require(violations, kFunction, "violations"));
    if (checked.ok()) {
      auto made = std::make_unique<uvc_stereo_string_list_t>();
      made->texts = rig->rig.violations();
      *violations = made.release();
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_string_list_count(const uvc_stereo_string_list_t* list,
                                                                std::size_t* count) {
  constexpr const char* kFunction = "uvc_stereo_string_list_count";
  return c_api::guarded(kFunction, [&] {
    Status checked =
        c_api::first_failure(c_api::require(list, kFunction, "list"), c_api::require(count, kFunction, "count"));
    if (checked.ok()) {
      *count = list->texts.size();
    }
    return checked;
  });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_string_list_get(const uvc_stereo_string_list_t* list, std::size_t index,
                                                              const char** text) {
  constexpr const char* kFunction = "uvc_stereo_string_list_get";
  return c_api::guarded(kFunction, [&] {
    Status checked =
        c_api::first_failure(c_api::require(list, kFunction, "list"), c_api::require(text, kFunction, "text"));
    if (checked.ok()) {
      checked = c_api::require_index(index, list->texts.size(), kFunction, "texts");
    }
    if (checked.ok()) {
      *text = list->texts[index].c_str();
    }
    return checked;
  });
}

void UVC_STEREO_CALL uvc_stereo_string_list_free(uvc_stereo_string_list_t* list) { delete list; }

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_open_sessions(const uvc_stereo_rig_t* rig, std::int32_t* sessions) {
  constexpr const char* kFunction = "uvc_stereo_rig_open_sessions";
  return c_api::guarded(kFunction, [&] {
    Status checked =
        c_api::first_failure(c_api::require(rig, kFunction, "rig"), c_api::require(sessions, kFunction, "sessions"));
    if (checked.ok()) {
      *sessions = rig->rig.open_sessions();
    }
    return checked;
  });
}

}  // extern "C"
