#pragma once

#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// The module (control or program) that this code is part of.
HINSTANCE this_module();

// Keeps this module in the process until it ends.
void pin_module();

// Takes a reference on this module; a thread gives it back by FreeLibraryAndExitThread.
// Null on failure.
HMODULE hold_module();

}  // namespace plexum::windows
