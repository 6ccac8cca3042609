// Arguments of every kind to every member, by name and by reference: an HRESULT, never a fault.
#include "activex/control_host.h"

namespace plexum::test {
namespace {

VariantVariable of_type(VARTYPE type) {
  VariantVariable variable;
  (&variable)->vt = type;  // with all bits 0: a null pointer, 0, the first day
  return variable;
}

VariantVariable array_of(VARTYPE type, ULONG count) {
  VariantVariable variable = of_type(static_cast<VARTYPE>(VT_ARRAY | type));
  (&variable)->parray = SafeArrayCreateVector(type, 0, count);
  return variable;
}

struct Kind {
  const char* name;
  VariantVariable (*make)();
  bool is_address = false;  // that would be dialled, or looked up
};

const Kind kKinds[] = {
    {"nothing", [] { return VariantVariable(); }},
    {"null", [] { return of_type(VT_NULL); }},
    {"null text", [] { return of_type(VT_BSTR); }},
    {"empty text", [] { return VariantVariable::text(L""); }},
    {"64 KiB", [] { return VariantVariable::text(std::wstring(65536, L'x')); }},
    {"64 KiB of digits", [] { return VariantVariable::text(std::wstring(65536, L'9')); }},
    {"NUL inside", [] { return VariantVariable::text(std::wstring(L"1\0x", 3)); }},
    {"half a surrogate pair", [] { return VariantVariable::text(L"\xD800"); }, true},
    {"number", [] { return VariantVariable::number(127.1); }, true},
    {"no number", [] { return VariantVariable::number(-1E300); }, true},
    {"truth", [] { return VariantVariable::boolean(true); }, true},
    {"date", [] { return of_type(VT_DATE); }, true},
    {"currency", [] { return of_type(VT_CY); }, true},
    {"error", [] { return of_type(VT_ERROR); }},
    {"left out", [] { return VariantVariable::omitted(); }},
    {"no object", [] { return VariantVariable::object(nullptr); }},
    {"no unknown object", [] { return of_type(VT_UNKNOWN); }},
    {"no array", [] { return of_type(VT_ARRAY | VT_I2); }},
    {"array", [] { return array_of(VT_I2, 3); }},
    {"array of variants", [] { return array_of(VT_VARIANT, 2); }},
    {"array of 64 KiB", [] { return array_of(VT_UI1, 65536); }},
    {"no type", [] { return of_type(0x0FFF); }},
};

struct Member {
  std::wstring name;
  WORD flags;
  std::size_t parameters;
};

std::vector<Member> all_members(IDispatch* link) {
  ComPtr<ITypeInfo> type;
  EXPECT_EQ(link->GetTypeInfo(0, 0, &type), S_OK);
  std::vector<Member> members;
  FUNCDESC* function = nullptr;
  for (UINT index = 0; SUCCEEDED(type->GetFuncDesc(index, &function)); ++index) {
    BstrVariable name;
    UINT count = 0;
    const bool own = (function->wFuncFlags & FUNCFLAG_FRESTRICTED) == 0;
    if (own && type->GetNames(function->memid, &name, 1, &count) == S_OK) {
      members.push_back({name.text(), static_cast<WORD>(function->invkind),
                         static_cast<std::size_t>(function->cParams)});
    }
    type->ReleaseFuncDesc(function);
  }
  return members;
}

class Arguments : public ControlTest {
 protected:
  // One call with arguments of one kind, to a control that gives up waiting at once.
  void call(const Member& member, const Kind& kind, bool by_reference) {
    const auto link = file().create();
    link->put_Tzeit(0);
    std::vector<VariantVariable> variables;
    for (std::size_t i = 0; i < member.parameters; ++i) variables.push_back(kind.make());
    if (member.name == L"ag_ini" && kind.is_address) {
      VariantVariable address = VariantVariable::text(L"127.0.0.1");
      std::swap(*&variables[0], *&address);
    }
    std::vector<VariantVariable> arguments;
    for (VariantVariable& variable : variables) {
      arguments.push_back(by_reference ? VariantVariable::reference(&variable)
                                       : std::move(variable));
    }
    const auto result = invoke(link.Get(), member.name.c_str(), member.flags, std::move(arguments));
    EXPECT_TRUE(result.status == S_OK || FAILED(result.status)) << result.status;
    ++calls_;
  }

  std::size_t calls_ = 0;
};

TEST_F(Arguments, OfEveryKindToEveryMember) {
  const std::vector<Member> members = all_members(file().create().Get());
  EXPECT_GE(members.size(), 45u);
  for (const Member& member : members) {
    for (const Kind& kind : kKinds) {
      SCOPED_TRACE(std::string(member.name.begin(), member.name.end()) + ", " + kind.name);
      call(member, kind, false);
      call(member, kind, true);
      ASSERT_TRUE(file().is_unused()) << "a reference is left";
    }
  }
  EXPECT_EQ(calls_, 2 * members.size() * std::size(kKinds));
}

}  // namespace
}  // namespace plexum::test
