#include <cstdio>
#include <fstream>
#include <sstream>

#include "activex/control_host.h"

namespace plexum::test {
namespace {

// The GUIDs that hosts are compiled against.
constexpr wchar_t kLibrary[] = L"{ACD85100-F31F-49C6-B8A9-20E8DDA5729C}";
constexpr wchar_t kInterface[] = L"{C2157FE1-6F89-4F61-B560-4E51AF201512}";
constexpr wchar_t kEvents[] = L"{35C0DA89-CEB5-4ABD-8AC7-614CC18580D7}";
constexpr wchar_t kClass[] = L"{64643F6A-8FA8-46F5-84E0-D4FE4F73595C}";

std::wstring text_of(const GUID& guid) {
  wchar_t text[39];
  StringFromGUID2(guid, text, 39);
  return text;
}

std::string narrow(BSTR text) {
  std::string result;
  for (UINT i = 0; i < SysStringLen(text); ++i) result += static_cast<char>(text[i]);
  return result;
}

std::string name_of(const TYPEDESC& type) {
  switch (type.vt) {
    case VT_PTR:
      return name_of(*type.lptdesc) + "*";
    case VT_I2:
      return "I2";
    case VT_I4:
      return "I4";
    case VT_BOOL:
      return "BOOL";
    case VT_BSTR:
      return "BSTR";
    case VT_VARIANT:
      return "VARIANT";
    default:
      return "vt" + std::to_string(type.vt);
  }
}

TYPEATTR attributes_of(ITypeInfo* type) {
  TYPEATTR* attributes = nullptr;
  EXPECT_EQ(type->GetTypeAttr(&attributes), S_OK);
  const TYPEATTR copy = *attributes;
  type->ReleaseTypeAttr(attributes);
  return copy;
}

ComPtr<ITypeLib> load_library() {
  ComPtr<ITypeLib> library;
  EXPECT_EQ(LoadTypeLibEx(ControlFile::path().c_str(), REGKIND_NONE, &library), S_OK);
  return library;
}

// The interface as early-bound hosts see it, with its slots.
ComPtr<ITypeInfo> virtual_table_of(ITypeInfo* dispatch) {
  HREFTYPE reference = 0;
  EXPECT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
  ComPtr<ITypeInfo> type;
  EXPECT_EQ(dispatch->GetRefTypeInfo(reference, &type), S_OK);
  return type;
}

ComPtr<ITypeInfo> find_type(ITypeLib* library, const wchar_t* guid) {
  GUID id{};
  EXPECT_EQ(CLSIDFromString(guid, &id), S_OK);
  ComPtr<ITypeInfo> type;
  EXPECT_EQ(library->GetTypeInfoOfGuid(id, &type), S_OK) << "no type with the fixed GUID";
  return type;
}

// One line a function: slot, DISPID, kind, name, parameters, result.
std::string describe(ITypeInfo* type, UINT index) {
  FUNCDESC* function = nullptr;
  EXPECT_EQ(type->GetFuncDesc(index, &function), S_OK);
  BSTR names[16] = {};
  UINT count = 0;
  EXPECT_EQ(type->GetNames(function->memid, names, 16, &count), S_OK);

  const char* kind = function->invkind == INVOKE_PROPERTYGET   ? "get"
                     : function->invkind == INVOKE_PROPERTYPUT ? "put"
                                                               : "method";
  char head[64];
  std::snprintf(head, sizeof head, "%2d 0x%08lx %-6s ",
                function->oVft / static_cast<int>(sizeof(void*)), function->memid, kind);
  std::string parameters;
  std::string result;
  for (int i = 0; i < function->cParams; ++i) {
    const ELEMDESC& parameter = function->lprgelemdescParam[i];
    const USHORT flags = parameter.paramdesc.wParamFlags;
    if (flags & PARAMFLAG_FRETVAL) {
      result = " : " + name_of(*parameter.tdesc.lptdesc);
      continue;
    }
    if (!parameters.empty()) parameters += ", ";
    parameters += flags & PARAMFLAG_FOUT ? "inout " : "in ";
    // The library names a property's parts by its get; a put's parameter is the new value.
    const bool is_value = function->invkind == INVOKE_PROPERTYPUT;
    parameters += name_of(parameter.tdesc) + " " + (is_value ? "value" : narrow(names[i + 1]));
  }
  const std::string line = head + narrow(names[0]) + "(" + parameters + ")" + result + "\n";
  for (BSTR name : names) SysFreeString(name);
  type->ReleaseFuncDesc(function);
  return line;
}

TEST(TypeLibrary, HasTheMembersOfTheInterfaceInTheirSlots) {
  const auto library = load_library();
  const auto type = virtual_table_of(find_type(library.Get(), kInterface).Get());

  std::string members;
  for (UINT i = 0; i < attributes_of(type.Get()).cFuncs; ++i) members += describe(type.Get(), i);

  std::ifstream golden(PLEXUM_INTERFACE_FILE);
  std::stringstream expected;
  expected << golden.rdbuf();
  EXPECT_EQ(members, expected.str());
}

TEST(TypeLibrary, SaysWhatEachMemberDoes) {
  const auto library = load_library();
  const auto type = find_type(library.Get(), kInterface);
  for (UINT i = 0; i < attributes_of(type.Get()).cFuncs; ++i) {
    FUNCDESC* function = nullptr;
    ASSERT_EQ(type->GetFuncDesc(i, &function), S_OK);
    const MEMBERID id = function->memid;
    const bool own = (function->wFuncFlags & FUNCFLAG_FRESTRICTED) == 0;
    const bool hidden_in_grids = (function->wFuncFlags & FUNCFLAG_FNONBROWSABLE) != 0;
    type->ReleaseFuncDesc(function);
    if (!own) continue;
    BstrVariable name;
    BstrVariable help;
    ASSERT_EQ(type->GetDocumentation(id, &name, &help, nullptr, nullptr), S_OK);
    EXPECT_GT(help.text().size(), 20u) << narrow(name.get());
    EXPECT_EQ(hidden_in_grids, (id & 0x7FFF0000) == 0x40030000) << narrow(name.get());
  }
}

TEST(TypeLibrary, NamesTheControlItsEventsAndItself) {
  const auto library = load_library();
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
  EXPECT_EQ(text_of(attributes->guid), kLibrary);
  EXPECT_EQ(attributes->wMajorVerNum, 1);
  EXPECT_EQ(attributes->wMinorVerNum, 0);
  EXPECT_TRUE(attributes->wLibFlags & LIBFLAG_FCONTROL);
  EXPECT_EQ(attributes->syskind, sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32);
  library->ReleaseTLibAttr(attributes);
  BstrVariable name;
  ASSERT_EQ(library->GetDocumentation(-1, &name, nullptr, nullptr, nullptr), S_OK);
  EXPECT_EQ(name.text(), L"Plexum");

  const auto control = find_type(library.Get(), kClass);
  EXPECT_TRUE(attributes_of(control.Get()).wTypeFlags & TYPEFLAG_FCONTROL);
  EXPECT_TRUE(attributes_of(control.Get()).wTypeFlags & TYPEFLAG_FCANCREATE);
  ASSERT_EQ(attributes_of(control.Get()).cImplTypes, 2);
  const struct {
    const wchar_t* guid;
    INT flags;
  } kExpected[] = {{kInterface, IMPLTYPEFLAG_FDEFAULT},
                   {kEvents, IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE}};
  for (UINT i = 0; i < 2; ++i) {
    INT flags = 0;
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> type;
    ASSERT_EQ(control->GetImplTypeFlags(i, &flags), S_OK);
    ASSERT_EQ(control->GetRefTypeOfImplType(i, &reference), S_OK);
    ASSERT_EQ(control->GetRefTypeInfo(reference, &type), S_OK);
    EXPECT_EQ(text_of(attributes_of(type.Get()).guid), kExpected[i].guid);
    EXPECT_EQ(flags, kExpected[i].flags);
  }

  const auto type = virtual_table_of(find_type(library.Get(), kInterface).Get());
  const WORD flags = attributes_of(type.Get()).wTypeFlags;
  const WORD wanted =
      TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FHIDDEN | TYPEFLAG_FNONEXTENSIBLE;
  EXPECT_EQ(flags & wanted, wanted);
  EXPECT_EQ(attributes_of(find_type(library.Get(), kEvents).Get()).cFuncs, 0);
}

}  // namespace
}  // namespace plexum::test
