#include "cli/system/interrupt.h"
#include "platform/windows/windows_headers.h"

namespace plexum::cli {
namespace {

HANDLE seen = nullptr;

// Runs on a thread of its own.
BOOL WINAPI remember(DWORD event) {
  SetEvent(seen);
  // When the console is closed, the system ends the program as soon as this function returns. Wait
  // here, so that the command can end before that.
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(INFINITE);
  return TRUE;
}

}  // namespace

InterruptScope::InterruptScope() {
  // Is never closed, because the handler may run while the scope ends.
  if (seen == nullptr) seen = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ResetEvent(seen);
  SetConsoleCtrlHandler(remember, TRUE);
}

InterruptScope::~InterruptScope() { SetConsoleCtrlHandler(remember, FALSE); }

bool InterruptScope::interrupted() const { return WaitForSingleObject(seen, 0) == WAIT_OBJECT_0; }

void InterruptScope::wait() const { WaitForSingleObject(seen, INFINITE); }

}  // namespace plexum::cli
