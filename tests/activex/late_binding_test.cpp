#include "activex/control_host.h"

namespace plexum::test {
namespace {

constexpr WORD kMethod = DISPATCH_METHOD;
constexpr WORD kMethodOrGet = DISPATCH_METHOD | DISPATCH_PROPERTYGET;

template <typename... Rest>
std::vector<VariantVariable> list(VariantVariable first, Rest... rest) {
  std::vector<VariantVariable> result;
  result.push_back(std::move(first));
  (result.push_back(std::move(rest)), ...);
  return result;
}

// 70000 as a double word.
constexpr std::wstring_view kBytesOf70000(L"\x00\x01\x11\x70", 4);

// An object whose default value is a text, as script hosts have them.
class ObjectWithDefault final : public IDispatch {
 public:
  explicit ObjectWithDefault(const wchar_t* value) : value_(value) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    const bool known = iid == __uuidof(IUnknown) || iid == __uuidof(IDispatch);
    *object = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override { return --references_; }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result,
                                   EXCEPINFO*, UINT*) override {
    if (id != DISPID_VALUE || result == nullptr) return DISP_E_MEMBERNOTFOUND;
    result->vt = VT_BSTR;
    result->bstrVal = SysAllocString(value_);
    return S_OK;
  }

  [[nodiscard]] ULONG references() const { return references_; }

 private:
  const wchar_t* value_;
  ULONG references_ = 1;
};

class LateBinding : public ControlTest {
 protected:
  LateBoundResult call(const wchar_t* name, std::vector<VariantVariable> arguments,
                       const std::vector<const wchar_t*>& names = {}) {
    return invoke(link_.Get(), name, kMethodOrGet, std::move(arguments), names);
  }
  std::wstring get(const wchar_t* name) {
    return invoke(link_.Get(), name, DISPATCH_PROPERTYGET, {}).value.shown();
  }
  HRESULT put(const wchar_t* name, VariantVariable value, WORD flags = DISPATCH_PROPERTYPUT) {
    return invoke(link_.Get(), name, flags, list(std::move(value))).status;
  }

  ComPtr<_PlexumLink> link_ = file().create();
};

TEST_F(LateBinding, TakesVariablesOfAnyTypeAndWritesBack) {
  struct {
    const char* name;
    VariantVariable variable;
    const wchar_t* afterwards;
  } rows[] = {
      {"text", VariantVariable::text(L"70000"), L"text 4464"},
      {"long", VariantVariable::integer(70000), L"text 4464"},
      {"double", VariantVariable::number(70000), L"text 4464"},
  };
  for (auto& row : rows) {
    SCOPED_TRACE(row.name);
    const auto result = call(L"dwordtobeyt", list(VariantVariable::reference(&row.variable)));
    EXPECT_EQ(result.status, S_OK);
    EXPECT_EQ(result.value.shown(), L"text " + std::wstring(kBytesOf70000));
    EXPECT_EQ(row.variable.shown(), row.afterwards);
  }
}

TEST_F(LateBinding, TakesReferencesToTypedVariablesAndKeepsTheirType) {
  BstrVariable text(L"70000");
  EXPECT_EQ(call(L"dwordtobeyt", list(VariantVariable::reference(&text))).status, S_OK);
  EXPECT_EQ(text.text(), L"4464");

  LONG integer = 70000;
  EXPECT_EQ(call(L"dwordtobeyt", list(VariantVariable::reference(&integer))).status, S_OK);
  EXPECT_EQ(integer, 4464);

  double number = 70000;
  EXPECT_EQ(call(L"dwordtobeyt", list(VariantVariable::reference(&number))).status, S_OK);
  EXPECT_EQ(number, 4464);

  // A reference to a variant that is itself a reference, as hosts pass their own by-ref arguments.
  integer = 70000;
  VariantVariable inner = VariantVariable::reference(&integer);
  EXPECT_EQ(call(L"dwordtobeyt", list(VariantVariable::reference(&inner))).status, S_OK);
  EXPECT_EQ(integer, 4464);
}

TEST_F(LateBinding, TakesValuesWithoutTouchingThem) {
  ObjectWithDefault object(L"70000");
  VARIANT holder;
  holder.vt = VT_DISPATCH;
  holder.pdispVal = &object;
  const auto expect_bytes = [this](VariantVariable argument) {
    const auto result = call(L"dwordtobeyt", list(std::move(argument)));
    EXPECT_EQ(result.value.shown(), L"text " + std::wstring(kBytesOf70000));
  };
  expect_bytes(VariantVariable::text(L"70000"));
  expect_bytes(VariantVariable::integer(70000));
  expect_bytes(VariantVariable::number(70000));
  expect_bytes(VariantVariable::object(&object));
  expect_bytes(VariantVariable::reference(&holder));
  EXPECT_EQ(holder.vt, VT_DISPATCH) << "a variable keeps the object that it holds";
  EXPECT_EQ(object.references(), 1u);
}

TEST_F(LateBinding, LeavesAnUnchangedVariableItsType) {
  VariantVariable number = VariantVariable::integer(258);
  EXPECT_EQ(call(L"wordtobeyt", list(VariantVariable::reference(&number))).value.shown(),
            L"text \x01\x02");
  EXPECT_EQ(number.shown(), L"long 258");
}

TEST_F(LateBinding, WritesBackWhenTheCallFails) {
  VariantVariable variable = VariantVariable::text(L"131071.6");
  const auto result = call(L"dwordtobeyt", list(VariantVariable::reference(&variable)));
  EXPECT_EQ(result.status, DISP_E_EXCEPTION);
  EXPECT_EQ(variable.shown(), L"text 65535.6");
}

TEST_F(LateBinding, TakesOneVariableTwice) {
  VariantVariable variable = VariantVariable::text(L"\x01");
  const auto result = call(L"beyttoword", list(VariantVariable::reference(&variable),
                                               VariantVariable::reference(&variable)));
  EXPECT_EQ(result.value.shown(), L"text 1256");
  EXPECT_EQ(variable.shown(), L"text 1256");

  BstrVariable text(L"\x01");
  const auto typed = call(
      L"beyttoword", list(VariantVariable::reference(&text), VariantVariable::reference(&text)));
  EXPECT_EQ(typed.value.shown(), L"text 1256");
  EXPECT_EQ(text.text(), L"1256");
}

TEST_F(LateBinding, TakesNamedArguments) {
  const auto result =
      call(L"BEYTTOWORD", list(VariantVariable::text(L"\x02"), VariantVariable::text(L"\x01")),
           {L"WERT2", L"wert1"});
  EXPECT_EQ(result.value.shown(), L"text 2256");
  EXPECT_EQ(call(L"beyttoword",
                 list(VariantVariable::text(L"\x01"), VariantVariable::text(L"\x02")), {L"wert2"})
                .value.shown(),
            L"text 2256");
  EXPECT_EQ(call(L"beyttoword",
                 list(VariantVariable::text(L"\x01"), VariantVariable::text(L"\x02")), {L"wert1"})
                .status,
            DISP_E_PARAMNOTFOUND)
      << "the first parameter is given twice";
}

TEST_F(LateBinding, ReadsAndWritesVariablesAndProperties) {
  EXPECT_EQ(get(L"CP_IP"), L"text 0.0.0.0");
  EXPECT_EQ(get(L"tsape"), L"text 0");
  EXPECT_EQ(get(L"TSAPF"), L"text 0");
  EXPECT_EQ(get(L"Tzeit"), L"long 100");
  EXPECT_EQ(get(L"err"), L"long 0");
  EXPECT_EQ(get(L"inuse"), L"false");
  EXPECT_EQ(get(L"auftrag_Fehler"), L"integer 0");

  EXPECT_EQ(put(L"Tzeit", VariantVariable::text(L"250")), S_OK);
  EXPECT_EQ(get(L"Tzeit"), L"long 250");
  EXPECT_EQ(put(L"CP_IP", VariantVariable::number(12)), S_OK);
  EXPECT_EQ(get(L"CP_IP"), L"text 12");
  VariantVariable variable = VariantVariable::text(L"plc.example");
  EXPECT_EQ(put(L"CP_IP", VariantVariable::reference(&variable),
                DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF),
            S_OK);
  EXPECT_EQ(get(L"CP_IP"), L"text plc.example");
  EXPECT_EQ(put(L"s7init", VariantVariable::integer(1)), S_OK);
  EXPECT_EQ(get(L"s7init"), L"true");
  EXPECT_EQ(put(L"auftrag_Fehler", VariantVariable::integer(40000)), DISP_E_OVERFLOW);
  EXPECT_EQ(get(L"auftrag_Fehler"), L"integer 0");
}

TEST_F(LateBinding, RefusesWhatIsNoCall) {
  EXPECT_EQ(call(L"no_such_member", {}).status, DISP_E_UNKNOWNNAME);
  EXPECT_EQ(call(L"wordtobeyt", {}).status, DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(call(L"ag_exit", list(VariantVariable::integer(1))).status, DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(call(L"wordtobeyt", list(VariantVariable::omitted())).status, DISP_E_PARAMNOTOPTIONAL);
  EXPECT_EQ(put(L"wordtobeyt", VariantVariable::integer(1)), DISP_E_MEMBERNOTFOUND);

  VariantVariable array;
  (*&array).vt = VT_ARRAY | VT_I2;
  (*&array).parray = SafeArrayCreateVector(VT_I2, 0, 3);
  const auto result =
      call(L"beyttoword", list(VariantVariable::text(L"\x01"), VariantVariable::reference(&array)));
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
    const auto result = call(row.member, list(VariantVariable::text(row.argument)));
    EXPECT_EQ(result.status, DISP_E_EXCEPTION);
    EXPECT_EQ(result.error, static_cast<HRESULT>(row.error));
    EXPECT_EQ(result.description, row.description);
    EXPECT_EQ(result.source, L"Plexum");
  }
}

TEST_F(LateBinding, FoldsAnyValueOfAVariant) {
  EXPECT_EQ(call(L"xor_str", list(VariantVariable::text(L"\x01\x02\x03"))).value.shown(),
            L"long 0");
  EXPECT_EQ(call(L"xor_str", list(VariantVariable::integer(123))).value.shown(), L"long 48");
  VariantVariable variable = VariantVariable::text(L"abc");
  EXPECT_EQ(call(L"xor_str", list(VariantVariable::reference(&variable))).value.shown(),
            L"long 96");
  BstrVariable text(L"abc");
  EXPECT_EQ(call(L"xor_str", list(VariantVariable::reference(&text))).value.shown(), L"long 96");
  EXPECT_EQ(call(L"xor_str", list(VariantVariable())).value.shown(), L"long 0");
}

TEST_F(LateBinding, WorksWithoutPlacesForResultAndError) {
  LPOLESTR name = const_cast<LPOLESTR>(L"wordtobeyt");
  DISPID id = 0;
  ASSERT_EQ(link_->GetIDsOfNames(IID_NULL, &name, 1, 0, &id), S_OK);
  EXPECT_EQ(id, 0x6003001C);
  VariantVariable argument = VariantVariable::text(L"65536");
  DISPPARAMS parameters{&argument, nullptr, 1, 0};
  EXPECT_EQ(link_->Invoke(id, IID_NULL, 0, kMethod, &parameters, nullptr, nullptr, nullptr),
            DISP_E_EXCEPTION);
  EXPECT_EQ(link_->Invoke(id, IID_NULL, 0, kMethod, nullptr, nullptr, nullptr, nullptr),
            E_INVALIDARG);
  EXPECT_EQ(link_->Invoke(id, IID_IUnknown, 0, kMethod, &parameters, nullptr, nullptr, nullptr),
            DISP_E_UNKNOWNINTERFACE);
}

}  // namespace
}  // namespace plexum::test
