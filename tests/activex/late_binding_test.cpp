// Calls by IDispatch::Invoke, as script hosts make them.
#include "activex/control_host.h"
#include "activex/stub_container.h"

namespace plexum::test {
namespace {

class LateBinding : public ControlTest {
 protected:
  template <typename... Arguments>
  LateBoundResult call(const wchar_t* name, Arguments&&... arguments) {
    return invoke(link_.Get(), name, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                  list(std::forward<Arguments>(arguments)...));
  }
  std::wstring get(const wchar_t* name) {
    return invoke(link_.Get(), name, DISPATCH_PROPERTYGET, {}).value.shown();
  }
  HRESULT put(const wchar_t* name, VariantVariable value, WORD flags = DISPATCH_PROPERTYPUT) {
    return invoke(link_.Get(), name, flags, list(std::move(value))).status;
  }

  ComPtr<_PlexumLink> link_ = file().create();
};

TEST_F(LateBinding, TakesEveryFormOfAnArgumentAndWritesBackIntoVariables) {
  VariantVariable text(L"70000");
  VariantVariable integer(70000);
  VariantVariable number(70000.0);
  BstrVariable typed_text(L"70000");
  LONG typed_integer = 70000;
  double typed_number = 70000;
  LONG inner = 70000;
  VariantVariable reference(&inner);
  StubContainer object;  // whose default value is a text, as script hosts have them
  VariantVariable default_value(L"70000");
  object.ambient[DISPID_VALUE] = *&default_value;
  VARIANT holder{};
  holder.vt = VT_DISPATCH;
  holder.pdispVal = &object;
  struct {
    const char* name;
    VariantVariable argument;
  } rows[] = {
      {"variable with a text", &text},
      {"variable with a long", &integer},
      {"variable with a double", &number},
      {"variable of type text", &typed_text},
      {"variable of type long", &typed_integer},
      {"variable of type double", &typed_number},
      {"by-reference argument of the host's own", &reference},
      {"text", L"70000"},
      {"long", 70000},
      {"double", 70000.0},
      {"object", static_cast<IDispatch*>(&object)},
      {"variable with an object", &holder},
  };
  for (auto& row : rows) {
    const auto result = call(L"dwordtobeyt", std::move(row.argument));
    EXPECT_EQ(result.value.shown(), std::wstring(L"String:\x00\x01\x11\x70", 11)) << row.name;
  }
  EXPECT_EQ(text.shown(), L"String:4464");
  EXPECT_EQ(integer.shown(), L"String:4464");
  EXPECT_EQ(number.shown(), L"String:4464");
  EXPECT_EQ(typed_text.text(), L"4464");
  EXPECT_EQ(typed_integer, 4464);
  EXPECT_EQ(typed_number, 4464);
  EXPECT_EQ(inner, 4464);
  EXPECT_EQ(holder.vt, VT_DISPATCH) << "a variable keeps the object that it holds";
  EXPECT_EQ(object.references(), 0u);

  VariantVariable unchanged(258);
  EXPECT_EQ(call(L"wordtobeyt", &unchanged).value.shown(), L"String:\x01\x02");
  EXPECT_EQ(unchanged.shown(), L"Long:258") << "an unchanged variable keeps its type";
  VariantVariable of_failure(L"131071.6");
  EXPECT_EQ(call(L"dwordtobeyt", &of_failure).status, DISP_E_EXCEPTION);
  EXPECT_EQ(of_failure.shown(), L"String:65535.6");
}

TEST_F(LateBinding, TakesOneVariableTwice) {
  VariantVariable variable(L"\x01");
  EXPECT_EQ(call(L"beyttoword", &variable, &variable).value.shown(), L"String:1256");
  EXPECT_EQ(variable.shown(), L"String:1256");
  BstrVariable text(L"\x01");
  EXPECT_EQ(call(L"beyttoword", &text, &text).value.shown(), L"String:1256");
  EXPECT_EQ(text.text(), L"1256");
}

TEST_F(LateBinding, TakesNamedArguments) {
  const auto call_named = [this](const wchar_t* first, const wchar_t* second,
                                 const std::vector<const wchar_t*>& names) {
    return invoke(link_.Get(), L"BEYTTOWORD", DISPATCH_METHOD, list(first, second), names);
  };
  EXPECT_EQ(call_named(L"\x02", L"\x01", {L"WERT2", L"wert1"}).value.shown(), L"String:2256");
  EXPECT_EQ(call_named(L"\x01", L"\x02", {L"wert2"}).value.shown(), L"String:2256");
  EXPECT_EQ(call_named(L"\x01", L"\x02", {L"wert1"}).status, DISP_E_PARAMNOTFOUND)
      << "the first parameter is given twice";
}

TEST_F(LateBinding, ReadsAndWritesVariablesAndProperties) {
  const struct {
    const wchar_t* name;
    const wchar_t* value;
  } kFresh[] = {{L"CP_IP", L"String:0.0.0.0"}, {L"tsape", L"String:0"},
                {L"TSAPF", L"String:0"},       {L"Tzeit", L"Long:100"},
                {L"err", L"Long:0"},           {L"inuse", L"Boolean:0"},
                {L"s7init", L"Boolean:0"},     {L"auftrag_Fehler", L"Integer:0"}};
  for (const auto& row : kFresh) EXPECT_EQ(get(row.name), row.value);

  EXPECT_EQ(put(L"Tzeit", L"250"), S_OK);
  EXPECT_EQ(get(L"Tzeit"), L"Long:250");
  EXPECT_EQ(put(L"CP_IP", 12.0), S_OK);
  EXPECT_EQ(get(L"CP_IP"), L"String:12");
  VariantVariable variable(L"plc.example");
  EXPECT_EQ(put(L"CP_IP", &variable, DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF), S_OK);
  EXPECT_EQ(get(L"CP_IP"), L"String:plc.example");
  EXPECT_EQ(put(L"s7init", 1), S_OK);
  EXPECT_EQ(get(L"s7init"), L"Boolean:1");
  EXPECT_EQ(put(L"auftrag_Fehler", 40000), DISP_E_OVERFLOW);
  EXPECT_EQ(get(L"auftrag_Fehler"), L"Integer:0");
}

TEST_F(LateBinding, RefusesWhatIsNoCall) {
  EXPECT_EQ(call(L"no_such_member").status, DISP_E_UNKNOWNNAME);
  EXPECT_EQ(call(L"wordtobeyt").status, DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(call(L"ag_exit", 1).status, DISP_E_BADPARAMCOUNT);
  VariantVariable omitted(VT_ERROR, nullptr);
  (&omitted)->scode = DISP_E_PARAMNOTFOUND;
  EXPECT_EQ(call(L"wordtobeyt", std::move(omitted)).status, DISP_E_PARAMNOTOPTIONAL);
  EXPECT_EQ(put(L"wordtobeyt", 1), DISP_E_MEMBERNOTFOUND);
  VariantVariable array(VT_ARRAY | VT_I2, SafeArrayCreateVector(VT_I2, 0, 3));
  const auto result = call(L"beyttoword", L"\x01", &array);
  EXPECT_EQ(result.status, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(result.argument, 0u) << "counted from the last argument";
}

TEST_F(LateBinding, TellsRunTimeErrors) {
  const struct {
    const wchar_t* member;
    const wchar_t* argument;
    unsigned long error;
    const wchar_t* description;
  } kRows[] = {
      {L"wordtobeyt", L"65536", 0x800A0005, L"Invalid procedure call or argument"},
      {L"wordtobeytadd", L"40000", 0x800A0006, L"Overflow"},
      {L"wordtobeyt", L"x", 0x800A000D, L"Type mismatch"},
      // A character that no number has.
      {L"wordtobeyt", L"1\x20AC", 0x800A000D, L"Type mismatch"},
      // One that is no byte.
      {L"xor_str", L"\x4E2D", 0x800A0005, L"Invalid procedure call or argument"},
  };
  for (const auto& row : kRows) {
    const auto result = call(row.member, row.argument);
    EXPECT_EQ(result.status, DISP_E_EXCEPTION);
    EXPECT_EQ(result.error, static_cast<HRESULT>(row.error));
    EXPECT_EQ(result.description, row.description);
    EXPECT_EQ(result.source, L"Plexum");
  }
}

TEST_F(LateBinding, FoldsAnyValueOfAVariant) {
  VariantVariable variable(L"abc");
  BstrVariable text(L"abc");
  EXPECT_EQ(call(L"xor_str", L"\x01\x02\x03").value.shown(), L"Long:0");
  EXPECT_EQ(call(L"xor_str", 123).value.shown(), L"Long:48");
  EXPECT_EQ(call(L"xor_str", &variable).value.shown(), L"Long:96");
  EXPECT_EQ(call(L"xor_str", &text).value.shown(), L"Long:96");
  EXPECT_EQ(call(L"xor_str", VariantVariable()).value.shown(), L"Long:0");
}

TEST_F(LateBinding, WorksWithoutPlacesForResultAndError) {
  VariantVariable argument(L"65536");
  DISPPARAMS parameters{&argument, nullptr, 1, 0};
  const auto call_bare = [&](const IID& iid, DISPPARAMS* given) {
    return link_->Invoke(0x6003001C, iid, 0, DISPATCH_METHOD, given, nullptr, nullptr, nullptr);
  };
  EXPECT_EQ(call_bare(IID_NULL, &parameters), DISP_E_EXCEPTION);
  EXPECT_EQ(call_bare(IID_NULL, nullptr), E_INVALIDARG);
  EXPECT_EQ(call_bare(IID_IUnknown, &parameters), DISP_E_UNKNOWNINTERFACE);
}

// Arguments of every kind to every member, by value and by reference: an HRESULT, never a fault.
TEST_F(LateBinding, SurvivesArgumentsOfEveryKindInEveryMember) {
  const std::function<VariantVariable()> kinds[] = {
      [] { return VariantVariable(); },
      [] { return L""; },
      [] { return VariantVariable(std::wstring(65536, L'x')); },
      [] { return VariantVariable(std::wstring(65536, L'9')); },
      [] { return std::wstring_view(L"1\0x", 3); },
      [] { return L"\xD800"; },  // half a surrogate pair
      [] { return 127.1; },
      [] { return -1E300; },
      [] { return VariantVariable(VT_ARRAY | VT_I2, SafeArrayCreateVector(VT_I2, 0, 3)); },
      [] {
        return VariantVariable(VT_ARRAY | VT_VARIANT, SafeArrayCreateVector(VT_VARIANT, 0, 2));
      },
      [] { return VariantVariable(VT_ARRAY | VT_UI1, SafeArrayCreateVector(VT_UI1, 0, 65536)); },
  };
  std::vector<std::function<VariantVariable()>> all(std::begin(kinds), std::end(kinds));
  for (const int type :
       {int{VT_NULL}, int{VT_BSTR}, int{VT_BOOL}, int{VT_DATE}, int{VT_CY}, int{VT_ERROR},
        int{VT_DISPATCH}, int{VT_UNKNOWN}, VT_ARRAY | VT_I2, 0x0FFF}) {
    all.emplace_back([type] { return VariantVariable(type, nullptr); });
  }
  ComPtr<ITypeInfo> type;
  ASSERT_EQ(link_->GetTypeInfo(0, 0, &type), S_OK);
  link_.Reset();
  int members = 0;
  FUNCDESC* function = nullptr;
  for (UINT index = 0; SUCCEEDED(type->GetFuncDesc(index, &function)); ++index) {
    const FUNCDESC member = *function;
    type->ReleaseFuncDesc(function);
    if (member.wFuncFlags & FUNCFLAG_FRESTRICTED) continue;  // those of IDispatch
    ++members;
    for (std::size_t kind = 0; kind < all.size(); ++kind) {
      for (const bool by_reference : {false, true}) {
        SCOPED_TRACE(std::to_string(index) + ", kind " + std::to_string(kind));
        const auto link = file().create();
        link->put_Tzeit(0);
        std::vector<VariantVariable> variables;
        for (SHORT i = 0; i < member.cParams; ++i) variables.push_back(all[kind]());
        // ag_ini isn't to look up or dial what isn't this machine.
        VariantVariable here(L"127.0.0.1");
        if (member.memid == 0x60030017) std::swap(*&variables[0], *&here);
        std::vector<VARIANT> block;
        for (VariantVariable& each : variables) {
          block.insert(block.begin(), by_reference ? VariantVariable(&each).get() : each.get());
        }
        DISPID put = DISPID_PROPERTYPUT;
        DISPPARAMS parameters{block.data(), &put, static_cast<UINT>(block.size()),
                              member.invkind == INVOKE_PROPERTYPUT ? 1U : 0U};
        VariantVariable result;
        const HRESULT status =
            link->Invoke(member.memid, IID_NULL, 0, static_cast<WORD>(member.invkind), &parameters,
                         &result, nullptr, nullptr);
        EXPECT_TRUE(status == S_OK || FAILED(status)) << status;
      }
    }
    ASSERT_TRUE(file().is_unused()) << "a reference is left";
  }
  EXPECT_EQ(members, 46);
}

}  // namespace
}  // namespace plexum::test
