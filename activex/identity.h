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

// The class of the page in a designer's property dialog.
inline constexpr CLSID kPropertyPageId{
    0x795531A0, 0xFE9F, 0x4FA0, {0x8B, 0xB3, 0xC7, 0x39, 0xA1, 0xE9, 0xC5, 0xDD}};
inline constexpr wchar_t kPropertyPageName[] = L"Plexum PLC link properties";

// The resource of its dialog.
inline constexpr int kPropertyPageDialog = 102;

// The resource of the picture in a designer's toolbox.
inline constexpr int kToolboxBitmap = 101;

}  // namespace plexum::activex
