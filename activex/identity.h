#pragma once

#include "activex/com_headers.h"

namespace plexum::activex {

// What registry, manifest and the object itself say alike of the control.
inline constexpr wchar_t kProgId[] = L"Plexum.PlexumLink";
inline constexpr wchar_t kVersionedProgId[] = L"Plexum.PlexumLink.1";
inline constexpr wchar_t kFriendlyName[] = L"Plexum PLC link";
inline constexpr wchar_t kTypeLibraryVersion[] = L"1.0";

// Recompose on resize, can't link inside, inside out, activate when visible, client site first.
inline constexpr DWORD kMiscStatus = OLEMISC_RECOMPOSEONRESIZE | OLEMISC_CANTLINKINSIDE |
                                     OLEMISC_INSIDEOUT | OLEMISC_ACTIVATEWHENVISIBLE |
                                     OLEMISC_SETCLIENTSITEFIRST;
static_assert(kMiscStatus == 131473);

// The resource of the picture in a designer's toolbox.
inline constexpr int kToolboxBitmap = 101;

}  // namespace plexum::activex
