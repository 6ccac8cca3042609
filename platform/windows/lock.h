#pragma once

#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// Holds a lock within a block.
class Lock {
 public:
  explicit Lock(SRWLOCK& lock) : lock_(lock) { AcquireSRWLockExclusive(&lock_); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
  ~Lock() { ReleaseSRWLockExclusive(&lock_); }

 private:
  SRWLOCK& lock_;
};

}  // namespace plexum::windows
