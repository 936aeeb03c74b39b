// What the simulated rig saw, through the C interface: its call log, its rule violations
// and its open sessions, each a snapshot the caller frees.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "c_api/boundary.h"
#include "c_api/handles.h"
#include "c_api/rig_call.h"
#include "c_api/rig_change.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/uvc_stereo_c.h"

using namespace tovanel::uvc_stereo;

namespace {

// Hands the caller a new snapshot of what the rig saw, filled by `fill(rig, snapshot)`, to free with its own function.
template <typename Snapshot, typename Fill>
uvc_stereo_error_t snapshot(const uvc_stereo_rig_t* rig, const char* function, Snapshot** out, const char* out_name,
                            Fill&& fill) {
  return c_api::checked_call(
      function,
      [&] {
        return c_api::first_failure(c_api::require(rig, function, "rig"), c_api::require(out, function, out_name));
      },
      [&] {
        auto made = std::make_unique<Snapshot>();
        fill(*rig, *made);
        *out = made.release();
      });
}

}  // namespace

extern "C" {

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_calls(const uvc_stereo_rig_t* rig, uvc_stereo_rig_call_log_t** log) {
  return snapshot(rig, "uvc_stereo_rig_calls", log, "log",
                  [](const uvc_stereo_rig_t& held, uvc_stereo_rig_call_log_t& made) { made.calls = held.rig.calls(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_call_log_count(const uvc_stereo_rig_call_log_t* log,
                                                                 std::size_t* count) {
  return c_api::count_into("uvc_stereo_rig_call_log_count", log, "log", count,
                           [](const uvc_stereo_rig_call_log_t& held) { return held.calls.size(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_call_log_get(const uvc_stereo_rig_call_log_t* log, std::size_t index,
                                                               uvc_stereo_rig_call_t* call) {
  constexpr const char* kFunction = "uvc_stereo_rig_call_log_get";
  return c_api::item_into(
      kFunction, log, "log", [&] { return c_api::require_struct(call, kFunction, "call", "uvc_stereo_rig_call_t"); },
      index, "calls", [](const uvc_stereo_rig_call_log_t& held) -> const auto& { return held.calls; },
      [&](const sim::VendorCall& item) { c_api::to_c(item, *call); });
}

void UVC_STEREO_CALL uvc_stereo_rig_call_log_free(uvc_stereo_rig_call_log_t* log) { delete log; }

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_clear_calls(uvc_stereo_rig_t* rig) {
  return c_api::on_rig(rig, "uvc_stereo_rig_clear_calls", [](sim::SimulatedRig& held) { held.clear_calls(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_violations(const uvc_stereo_rig_t* rig,
                                                             uvc_stereo_string_list_t** violations) {
  return snapshot(
      rig, "uvc_stereo_rig_violations", violations, "violations",
      [](const uvc_stereo_rig_t& held, uvc_stereo_string_list_t& made) { made.texts = held.rig.violations(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_string_list_count(const uvc_stereo_string_list_t* list,
                                                                std::size_t* count) {
  return c_api::count_into("uvc_stereo_string_list_count", list, "list", count,
                           [](const uvc_stereo_string_list_t& held) { return held.texts.size(); });
}

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_string_list_get(const uvc_stereo_string_list_t* list, std::size_t index,
                                                              const char** text) {
  constexpr const char* kFunction = "uvc_stereo_string_list_get";
  return c_api::item_into(
      kFunction, list, "list", [&] { return c_api::require(text, kFunction, "text"); }, index, "texts",
      [](const uvc_stereo_string_list_t& held) -> const auto& { return held.texts; },
      [&](const std::string& item) { *text = item.c_str(); });
}

void UVC_STEREO_CALL uvc_stereo_string_list_free(uvc_stereo_string_list_t* list) { delete list; }

uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_open_sessions(const uvc_stereo_rig_t* rig, std::int32_t* sessions) {
  constexpr const char* kFunction = "uvc_stereo_rig_open_sessions";
  return c_api::checked_call(
      kFunction,
      [&] {
        return c_api::first_failure(c_api::require(rig, kFunction, "rig"),
                                    c_api::require(sessions, kFunction, "sessions"));
      },
      [&] { *sessions = rig->rig.open_sessions(); });
}

}  // extern "C"
