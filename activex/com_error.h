#pragma once

#include "activex/com_headers.h"

namespace plexum::activex {

// A failure that is known by its HRESULT alone.
class ComError {
 public:
  explicit ComError(HRESULT result) noexcept : result_(result) {}
  [[nodiscard]] HRESULT result() const noexcept { return result_; }

 private:
  HRESULT result_;
};

// Throws the failure, if it is one.
inline void check(HRESULT result) {
  if (FAILED(result)) throw ComError(result);
}

// The one place where exceptions become HRESULTs; call it in a catch (...) block. A run-time error
// leaves its text and source to the caller too, as the thread's error object.
HRESULT result_of_current_exception() noexcept;

// Runs the body of an entry point, out of which no exception may get: it would end the host.
template <typename Body>
HRESULT guarded(Body&& body) noexcept {
  try {
    body();
    return S_OK;
  } catch (...) {
    return result_of_current_exception();
  }
}

}  // namespace plexum::activex
