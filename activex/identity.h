#pragma once

#include "activex/com_headers.h"

namespace plexum::activex {

// One value below Software\Classes. `key` and `text` may hold <file>, <folder> and <system>, which
// whoever registers fills in.
struct RegistryValue {
  const wchar_t* key;
  const wchar_t* name;  // empty for the key's default value
  const wchar_t* text;
};

// The facts of identity.toml, where each is described: kDescription, kMiscStatus, kPropertyPageId,
// kPropertyPageDialog; and of the registry kServerKey, kRegistryValues, kOwnKeys, kSharedKeys.
#include "identity_constants.inc"

}  // namespace plexum::activex
