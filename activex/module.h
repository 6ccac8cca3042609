#pragma once

#include <string>

#include "activex/com_headers.h"

namespace plexum::activex {

// The path of the file that this code was loaded from.
std::wstring module_path();

// Holds the module in memory: every object owns one, and every LockServer(TRUE) adds one.
class ModuleLock {
 public:
  ModuleLock() noexcept { add(); }
  ~ModuleLock() { remove(); }
  ModuleLock(const ModuleLock&) = delete;
  ModuleLock& operator=(const ModuleLock&) = delete;

  static void add() noexcept;
  static void remove() noexcept;
  // Whether nobody holds the module.
  static bool none() noexcept;
};

}  // namespace plexum::activex
