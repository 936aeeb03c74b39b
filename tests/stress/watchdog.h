#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

// Stops the program when the stress threads stop making progress: a deadlock would otherwise hang the test run until
// an outside time-out, without saying where it stood.
namespace tovanel::uvc_stereo::stress {

template <std::size_t Workers>
class Watchdog {
 public:
  explicit Watchdog(std::chrono::seconds patience) : patience_(patience), thread_([this] { watch(); }) {}
  ~Watchdog() {
    {
      const std::lock_guard<std::mutex> guard(mutex_);
      done_ = true;
    }
    wake_.notify_all();
    thread_.join();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  // Each worker calls this after every operation it completed.
  void progress(std::size_t worker) noexcept { operations_[worker].fetch_add(1, std::memory_order_relaxed); }

  [[nodiscard]] std::uint64_t operations(std::size_t worker) const noexcept {
    return operations_[worker].load(std::memory_order_relaxed);
  }

 private:
  std::uint64_t total() const noexcept {
    std::uint64_t sum = 0;
    for (const auto& count : operations_) {
      sum += count.load(std::memory_order_relaxed);
    }
    return sum;
  }

  void watch() {
    std::uint64_t seen = total();
    auto last_change = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> lock(mutex_);
    while (!wake_.wait_for(lock, std::chrono::milliseconds(100), [this] { return done_; })) {
      const std::uint64_t now_total = total();
      const auto now = std::chrono::steady_clock::now();
      if (now_total != seen) {
        seen = now_total;
        last_change = now;
      } else if (now - last_change > patience_) {
        std::fprintf(stderr, "FATAL: no stress operation completed for %lld s; a deadlock? Operations per thread:",
                     static_cast<long long>(patience_.count()));
        for (std::size_t i = 0; i < Workers; ++i) {
          std::fprintf(stderr, " %llu", static_cast<unsigned long long>(operations(i)));
        }
        std::fprintf(stderr, "\n");
        std::fflush(stderr);
        std::abort();
      }
    }
  }

  std::chrono::seconds patience_;
  std::array<std::atomic<std::uint64_t>, Workers> operations_{};
  std::mutex mutex_;
  std::condition_variable wake_;
  bool done_ = false;
  std::thread thread_;
};

}  // namespace tovanel::uvc_stereo::stress
