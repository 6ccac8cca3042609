#include "platform/windows/reception.h"

#include <algorithm>

namespace plexum::windows {

Reception::~Reception() { stop(); }

bool Reception::start(std::size_t most) {
  WSABUF buffer{static_cast<ULONG>(std::min(most, buffer_.size())), buffer_.data()};
  DWORD flags = 0;
  operation_ = {};
  operation_.hEvent = wake_.get();
  // One that is done at once is completed like any other.
  const int failed = WSARecv(socket_, &buffer, 1, nullptr, &flags, &operation_, nullptr);
  under_way_ = failed == 0 || WSAGetLastError() == WSA_IO_PENDING;
  return under_way_;
}

Reception::Arrival Reception::take() {
  if (!under_way_ || !HasOverlappedIoCompleted(&operation_)) return {State::kNothing, {}};
  under_way_ = false;
  DWORD size = 0;
  DWORD flags = 0;
  if (!WSAGetOverlappedResult(socket_, &operation_, &size, FALSE, &flags)) {
    return {State::kLost, {}};
  }
  if (size == 0) return {State::kEnd, {}};
  return {State::kBytes, {buffer_.data(), size}};
}

Reception::Arrival Reception::stop() {
  if (!under_way_) return {State::kNothing, {}};
  if (!HasOverlappedIoCompleted(&operation_)) {
    CancelIoEx(reinterpret_cast<HANDLE>(socket_), &operation_);
    // The system may write into the buffer until the receive is completed.
    while (!HasOverlappedIoCompleted(&operation_)) WaitForSingleObject(wake_.get(), 1);
    // The event may have told of another connection, too.
    SetEvent(wake_.get());
  }
  return take();
}

}  // namespace plexum::windows
