#pragma once

// COM, OLE and the control's own interfaces, in the one order that works.
#include "platform/windows/windows_headers.h"
//
#include <ole2.h>
//
#include <ocidl.h>
#include <olectl.h>
#include <wrl/client.h>

#include "plexum_interfaces.h"  // made of plexum.idl

// COM interfaces have no virtual destructor by design: Release() ends an object.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace plexum::activex {

using Microsoft::WRL::ComPtr;

}  // namespace plexum::activex
