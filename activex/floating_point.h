#pragma once

#include <xmmintrin.h>

#include <cstdint>
#include <optional>

namespace plexum::activex {

// The floating-point state of the processor: some hosts unmask exceptions or choose a precision or
// rounding of their own, which must neither change results nor be changed by a call.
class FloatingPointState {
 public:
  static FloatingPointState current() noexcept {
    FloatingPointState state;
    asm volatile("fnstcw %0" : "=m"(state.x87_control_));
    state.mxcsr_ = _mm_getcsr();
    return state;
  }

  // All exceptions masked, full precision, round to nearest: what the control computes with.
  static FloatingPointState standard() noexcept { return {}; }

  void apply() const noexcept {
    // An exception that is still pending would strike once it is unmasked.
    asm volatile("fnclex\n\tfldcw %0" : : "m"(x87_control_));
    _mm_setcsr(mxcsr_);
  }

 private:
  std::uint16_t x87_control_ = 0x037F;
  std::uint32_t mxcsr_ = 0x1F80;
};

// The change between the host's state and the control's own. It knows which of the two is applied,
// and keeps the host's while the control computes. Scopes of both kinds nest: a member waits, the
// wait lets the host run, and the host calls another member.
class FloatingPointBoundary {
 public:
  // The control computes within this scope.
  class Control {
   public:
    explicit Control(FloatingPointBoundary& boundary) noexcept
        : boundary_(boundary), outer_(boundary.host_) {
      if (outer_) return;
      boundary_.host_ = FloatingPointState::current();
      FloatingPointState::standard().apply();
    }
    ~Control() {
      if (!outer_) boundary_.host_->apply();
      boundary_.host_ = outer_;
    }
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

   private:
    FloatingPointBoundary& boundary_;
    const std::optional<FloatingPointState> outer_;
  };

  // The host runs within this scope, called from inside the control.
  class Host {
   public:
    explicit Host(FloatingPointBoundary& boundary) noexcept
        : boundary_(boundary), host_(boundary.host_) {
      if (!host_) return;
      boundary_.host_.reset();
      host_->apply();
    }
    ~Host() {
      boundary_.host_ = host_;
      if (host_) FloatingPointState::standard().apply();
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

   private:
    FloatingPointBoundary& boundary_;
    const std::optional<FloatingPointState> host_;
  };

 private:
  std::optional<FloatingPointState> host_;  // while the control runs
};

}  // namespace plexum::activex
