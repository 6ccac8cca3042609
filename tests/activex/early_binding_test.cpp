#include <xmmintrin.h>

#include <cstdint>
#include <utility>

#include "activex/control_host.h"

namespace plexum::test {
namespace {

class EarlyBinding : public ControlTest {
 protected:
  ComPtr<_PlexumLink> link_ = file().create();
};

TEST_F(EarlyBinding, TakesAndReturnsByteStringsThroughTheCodePage) {
  BstrVariable number(L"128");
  BstrVariable result;
  ASSERT_EQ(link_->wordtobeyt(&number, &result), S_OK);
  // The byte 0x80 as Chr(128) of VB hosts gives it.
  char byte = '\x80';
  wchar_t character = 0;
  MultiByteToWideChar(CP_ACP, 0, &byte, 1, &character, 1);
  EXPECT_EQ(result.text(), std::wstring({L'\0', character}));
  EXPECT_EQ(number.text(), L"128");
}

TEST_F(EarlyBinding, ReadsANullTextAsAnEmptyOne) {
  BstrVariable none;
  BstrVariable result;
  EXPECT_EQ(link_->wordtobeyt(&none, &result), static_cast<HRESULT>(0x800A000D));
  EXPECT_EQ(result.get(), nullptr);
  ASSERT_EQ(link_->put_CP_IP(nullptr), S_OK);
  ASSERT_EQ(link_->get_CP_IP(&result), S_OK);
  EXPECT_EQ(result.text(), L"");
  VARIANT empty;
  VariantInit(&empty);
  LONG folded = 1;
  EXPECT_EQ(link_->xor_str(&empty, &folded), S_OK);
  EXPECT_EQ(folded, 0);
}

TEST_F(EarlyBinding, KeepsPropertyTextsExactly) {
  // NUL, the euro sign, an unpaired surrogate, a pair.
  const std::wstring text(L"a\0\x20AC\xD800z\xD83D\xDE00", 7);
  BstrVariable stored(text);
  BstrVariable result;
  ASSERT_EQ(link_->put_TsapE(stored.get()), S_OK);
  ASSERT_EQ(link_->get_TsapE(&result), S_OK);
  EXPECT_EQ(result.text(), text);
}

TEST_F(EarlyBinding, TellsErrorsAsErrorObjectsAndWritesBackAllTheSame) {
  ComPtr<ISupportErrorInfo> support;
  ASSERT_EQ(link_.As(&support), S_OK);
  EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(_PlexumLink)), S_OK);
  EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(IUnknown)), S_FALSE);

  BstrVariable number(L"131071.6");
  BstrVariable result;
  EXPECT_EQ(link_->dwordtobeyt(&number, &result), static_cast<HRESULT>(0x800A0005));
  EXPECT_EQ(number.text(), L"65535.6");
  ComPtr<IErrorInfo> error;
  ASSERT_EQ(GetErrorInfo(0, &error), S_OK);
  BstrVariable description;
  BstrVariable source;
  error->GetDescription(&description);
  error->GetSource(&source);
  EXPECT_EQ(description.text(), L"Invalid procedure call or argument");
  EXPECT_EQ(source.text(), L"Plexum");

  SetErrorInfo(0, error.Get());
  BstrVariable fine(L"5");
  EXPECT_EQ(link_->wordtobeytadd(&fine, &result), S_OK);
  EXPECT_EQ(GetErrorInfo(0, error.ReleaseAndGetAddressOf()), S_FALSE) << "an older error is left";
}

TEST_F(EarlyBinding, RefusesMissingPlaces) {
  BstrVariable number(L"5");
  BstrVariable result;
  EXPECT_EQ(link_->wordtobeyt(nullptr, &result), E_POINTER);
  EXPECT_EQ(link_->wordtobeyt(&number, nullptr), E_POINTER);
  EXPECT_EQ(link_->get_err(nullptr), E_POINTER);
  EXPECT_EQ(link_->QueryInterface(__uuidof(IUnknown), nullptr), E_POINTER);
}

TEST_F(EarlyBinding, DescribesItsClass) {
  ComPtr<IProvideClassInfo2> provider;
  ASSERT_EQ(link_.As(&provider), S_OK);
  GUID guid{};
  EXPECT_EQ(provider->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &guid), S_OK);
  EXPECT_TRUE(guid == __uuidof(__PlexumLink));
  EXPECT_EQ(provider->GetGUID(99, &guid), E_INVALIDARG);
  ComPtr<ITypeInfo> type;
  ASSERT_EQ(provider->GetClassInfo(&type), S_OK);
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(type->GetTypeAttr(&attributes), S_OK);
  EXPECT_TRUE(attributes->guid == __uuidof(::PlexumLink));
  EXPECT_EQ(attributes->typekind, TKIND_COCLASS);
  type->ReleaseTypeAttr(attributes);
}

std::uint16_t x87_control() {
  std::uint16_t control = 0;
  asm volatile("fnstcw %0" : "=m"(control));
  return control;
}

void set_x87_control(std::uint16_t control) { asm volatile("fldcw %0" : : "m"(control)); }

TEST_F(EarlyBinding, ComputesInItsOwnFloatingPointState) {
  BstrVariable number(L"0.1");
  BstrVariable bytes;
  ASSERT_EQ(link_->flottobeyt(&number, &bytes), S_OK);

  // A host that rounds towards zero in single precision and traps divisions by zero and inexact
  // results.
  const std::pair before(x87_control(), _mm_getcsr());
  set_x87_control(0x0C5B);
  _mm_setcsr(0x6D80);
  BstrVariable same_number(L"0.1");
  BstrVariable same_bytes;
  const HRESULT status = link_->flottobeyt(&same_number, &same_bytes);
  const std::pair afterwards(x87_control(), _mm_getcsr() & ~0x3FU);
  set_x87_control(before.first);
  _mm_setcsr(before.second);

  EXPECT_EQ(afterwards, std::pair(std::uint16_t{0x0C5B}, 0x6D80U)) << "the host's own is changed";
  EXPECT_EQ(status, S_OK);
  EXPECT_EQ(same_bytes.text(), bytes.text());
  EXPECT_EQ(same_number.text(), number.text());
}

TEST_F(EarlyBinding, LetsTheFactoryRefuseAggregationAndCountLocks) {
  link_.Reset();
  ComPtr<IClassFactory> factory = file().class_factory();
  void* object = &object;
  EXPECT_EQ(factory->CreateInstance(factory.Get(), __uuidof(IUnknown), &object),
            CLASS_E_NOAGGREGATION);
  EXPECT_EQ(object, nullptr);
  object = &object;
  EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IMarshal), &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  ASSERT_EQ(factory->LockServer(TRUE), S_OK);
  factory.Reset();
  EXPECT_FALSE(file().is_unused());
  factory = file().class_factory();
  ASSERT_EQ(factory->LockServer(FALSE), S_OK);
  factory.Reset();
  EXPECT_TRUE(file().is_unused());
}

}  // namespace
}  // namespace plexum::test
