// A 32-bit host that has the compiler's run-time library as a DLL, as programs of MinGW have it.
// The DLL here is one of that name that keeps what is registered with it to itself.
#include "activex/com_headers.h"

namespace {

const HMODULE runtime = LoadLibraryA(PLEXUM_FOREIGN_RUNTIME);
[[maybe_unused]] const bool loaded = runtime != nullptr || (ExitProcess(99), false);

}  // namespace
