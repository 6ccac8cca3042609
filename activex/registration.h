#pragma once

#include "activex/com_headers.h"

namespace plexum::activex {

// Writes what hosts look up in the registry, below the root (HKEY_LOCAL_MACHINE for all users,
// HKEY_CURRENT_USER for one): class, ProgIDs, type library, and the interfaces, so that calls from
// another apartment find their proxy. ComError on failure; nothing is left then.
void register_server(HKEY root);

// Removes it again. The 32- and the 64-bit file may be registered side by side: ProgIDs and type
// library are one for both and go with the last of them.
void unregister_server(HKEY root);

}  // namespace plexum::activex
