#pragma once

// The system's headers, in the one order that works (Winsock before Windows) and for the oldest
// Windows that the control runs on. Functions newer than that are looked up at run time.
#ifndef _WIN32_WINNT
#define _WIN32_WINNT 0x0601  // Windows 7
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif

#include <winsock2.h>
//
#include <ws2tcpip.h>
//
#include <windows.h>
//
#include <objbase.h>
#include <oleauto.h>
