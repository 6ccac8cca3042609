#pragma once

#include <vector>

#include "activex/com_headers.h"

namespace plexum::activex {

// The description of one of the library's types, from the type library within this file, so that
// it needs no registration.
ComPtr<ITypeInfo> load_type_info(const GUID& guid);

// What a late-bound call needs to know of a member.
struct MemberSignature {
  DISPID id;
  INVOKEKIND kind;
  // VT_BSTR, VT_I4 and so on; VT_BYREF with it where the member writes back.
  std::vector<VARTYPE> parameters;
};

// The member of the control's interface that a call with these DISPATCH_ flags means, or null.
const MemberSignature* find_member(DISPID id, WORD flags);

}  // namespace plexum::activex
