#pragma once

#include "activex/com_headers.h"

namespace plexum::activex {

// What a caller of IDispatch::Invoke gives.
struct LateBoundCall {
  DISPID member;
  WORD flags;  // DISPATCH_METHOD and so on
  DISPPARAMS& parameters;
  VARIANT* result;       // may be null
  EXCEPINFO* exception;  // may be null
  UINT* argument;        // index of an argument of the wrong type; may be null
};

// Calls a member of the interface with whatever arguments script hosts pass: variables (by
// reference, of any type), literals, numbers, objects with a default value, by position or by
// name. A by-reference text that the member changed goes back into the caller's variable, also
// when the call fails; an unchanged variable keeps its value and its type.
HRESULT invoke_late_bound(ITypeInfo& type, _PlexumLink* instance, const LateBoundCall& call);

}  // namespace plexum::activex
