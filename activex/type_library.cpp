#include "activex/type_library.h"

#include <algorithm>

#include "activex/com_error.h"
#include "activex/module.h"

namespace plexum::activex {
namespace {

// Owns what ITypeInfo hands out.
class FunctionDescription {
 public:
  FunctionDescription(ITypeInfo& type, UINT index) : type_(type) {
    check(type.GetFuncDesc(index, &function_));
  }
  ~FunctionDescription() { type_.ReleaseFuncDesc(function_); }
  FunctionDescription(const FunctionDescription&) = delete;
  FunctionDescription& operator=(const FunctionDescription&) = delete;

  const FUNCDESC* operator->() const { return function_; }

 private:
  ITypeInfo& type_;
  FUNCDESC* function_ = nullptr;
};

VARTYPE parameter_type(const TYPEDESC& type) {
  if (type.vt != VT_PTR) return type.vt;
  return static_cast<VARTYPE>(type.lptdesc->vt | VT_BYREF);
}

UINT function_count(ITypeInfo& type) {
  TYPEATTR* attributes = nullptr;
  check(type.GetTypeAttr(&attributes));
  const UINT count = attributes->cFuncs;
  type.ReleaseTypeAttr(attributes);
  return count;
}

std::vector<MemberSignature> read_members() {
  const ComPtr<ITypeInfo> type = load_type_info(__uuidof(_PlexumLink));
  std::vector<MemberSignature> members;
  for (UINT i = 0; i < function_count(*type.Get()); ++i) {
    const FunctionDescription function(*type.Get(), i);
    if (function->wFuncFlags & FUNCFLAG_FRESTRICTED) continue;  // those of IDispatch itself
    MemberSignature member{function->memid, function->invkind, {}};
    for (SHORT k = 0; k < function->cParams; ++k) {
      member.parameters.push_back(parameter_type(function->lprgelemdescParam[k].tdesc));
    }
    members.push_back(member);
  }
  return members;
}

}  // namespace

ComPtr<ITypeInfo> load_type_info(const GUID& guid) {
  ComPtr<ITypeLib> library;
  check(LoadTypeLibEx(module_path().c_str(), REGKIND_NONE, library.GetAddressOf()));
  ComPtr<ITypeInfo> type;
  check(library->GetTypeInfoOfGuid(guid, type.GetAddressOf()));
  return type;
}

const MemberSignature* find_member(DISPID id, WORD flags) {
  static const std::vector<MemberSignature> kMembers = read_members();
  const auto found =
      std::find_if(kMembers.begin(), kMembers.end(), [id, flags](const MemberSignature& member) {
        return member.id == id && (member.kind & flags) != 0;
      });
  return found == kMembers.end() ? nullptr : &*found;
}

}  // namespace plexum::activex
