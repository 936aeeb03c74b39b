#pragma once

namespace tovanel::uvc_stereo::win_detail {

// Owns one reference to a COM object and releases it when the owner ends, so every
// interface of a listing is released on every way out, in the reverse order of taking.
template <typename Interface>
class ComRef {
 public:
  ComRef() = default;
  ComRef(const ComRef&) = delete;
  ComRef& operator=(const ComRef&) = delete;
  ~ComRef() { reset(); }

  [[nodiscard]] Interface* get() const noexcept { return object_; }
  Interface* operator->() const noexcept { return object_; }
  [[nodiscard]] explicit operator bool() const noexcept { return object_ != nullptr; }

  // Where a creating call stores its new reference; any reference held before is released.
  [[nodiscard]] Interface** put() noexcept {
    reset();
    return &object_;
  }

  void reset() noexcept {
    if (object_ != nullptr) {
      Interface* released = object_;
      object_ = nullptr;
      released->Release();
    }
  }

 private:
  Interface* object_ = nullptr;
};

}  // namespace tovanel::uvc_stereo::win_detail
