#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <vector>

// What the stress test knows about the writes to one camera's record, kept under its own mutex. Every write takes a
// ticket from a shared clock before it starts and another once it has returned, so that the record left at the end
// can be checked against the order in which the writes happened.
namespace tovanel::uvc_stereo::stress {

// The shared clock: each call returns a later tick than every call before it, in any thread.
class TicketClock {
 public:
  std::uint64_t next() noexcept { return ticks_.fetch_add(1, std::memory_order_acq_rel) + 1; }

 private:
  std::atomic<std::uint64_t> ticks_{0};
};

struct FinishedWrite {
  std::string json;
  std::uint64_t started = 0;
  std::uint64_t finished = 0;
};

class WriteBook {
 public:
  // Called before the write is issued: from then on a read may return it.
  void begin(const std::string& json) {
    const std::lock_guard<std::mutex> guard(mutex_);
    attempted_.insert(json);
  }

  void finish(const std::string& json, std::uint64_t started, std::uint64_t finished) {
    const std::lock_guard<std::mutex> guard(mutex_);
    finished_.push_back(FinishedWrite{json, started, finished});
  }

  // A record read while writes were going on must be one of the records some write put there.
  [[nodiscard]] bool was_written(const std::string& json) const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return attempted_.count(json) != 0;
  }

  [[nodiscard]] std::size_t finished_count() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return finished_.size();
  }

  // Empty when `final_json` can be the record that the finished writes leave: it was written by a write that no
  // other write started after, since writes to one camera never overlap. Otherwise, what is wrong.
  [[nodiscard]] std::string explain_final_record(const std::string& final_json) const {
    const std::lock_guard<std::mutex> guard(mutex_);
    const FinishedWrite* last = nullptr;
    for (const FinishedWrite& write : finished_) {
      if (write.json == final_json) {
        last = &write;
      }
    }
    if (last == nullptr) {
      return "the record is not one that a successful write left";
    }
    for (const FinishedWrite& write : finished_) {
      if (write.started > last->finished) {
        return "the record was overwritten by a write that started after it had finished (ticks " +
               std::to_string(write.started) + " > " + std::to_string(last->finished) + ")";
      }
    }
    return std::string();
  }

 private:
  mutable std::mutex mutex_;
  std::set<std::string> attempted_;
  std::vector<FinishedWrite> finished_;
};

}  // namespace tovanel::uvc_stereo::stress
