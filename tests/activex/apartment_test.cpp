// The control through COM's own activation, as an installed host or one with a manifest uses it,
// and from a multithreaded apartment, where every call goes through a proxy.
#include "activex/control_host.h"

namespace plexum::test {
namespace {

ComPtr<IDispatch> create(const wchar_t* prog_id) {
  CLSID class_id{};  // one of the activation context's own, where a manifest is asked
  EXPECT_EQ(CLSIDFromProgID(prog_id, &class_id), S_OK);
  ComPtr<IDispatch> link;
  EXPECT_EQ(CoCreateInstance(class_id, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&link)), S_OK);
  return link;
}

class Apartments : public ::testing::TestWithParam<DWORD> {
 protected:
  Apartments() { EXPECT_EQ(CoInitializeEx(nullptr, GetParam()), S_OK); }
  ~Apartments() override { CoUninitialize(); }
};

TEST_P(Apartments, CallEarlyBound) {
  for (const wchar_t* prog_id : {L"Plexum.PlexumLink", L"Plexum.PlexumLink.1"}) {
    const auto dispatch = create(prog_id);
    ASSERT_TRUE(dispatch);
    ComPtr<_PlexumLink> link;
    ASSERT_EQ(dispatch.As(&link), S_OK) << "no proxy for the interface";
    BstrVariable number(L"70000");
    BstrVariable bytes;
    EXPECT_EQ(link->dwordtobeyt(&number, &bytes), S_OK);
    EXPECT_EQ(bytes.text(), std::wstring(L"\x00\x01\x11\x70", 4));
    EXPECT_EQ(number.text(), L"4464");
    EXPECT_EQ(link->put_Tzeit(7), S_OK);
    LONG slices = 0;
    EXPECT_EQ(link->get_Tzeit(&slices), S_OK);
    EXPECT_EQ(slices, 7);
    BstrVariable no_number(L"x");
    EXPECT_EQ(link->wordtobeyt(&no_number, &bytes), static_cast<HRESULT>(0x800A000D));
  }
}

TEST_P(Apartments, CallLateBound) {
  const auto link = create(L"Plexum.PlexumLink");
  ASSERT_TRUE(link);
  VariantVariable variable(L"70000");
  const auto result = invoke(link.Get(), L"dwordtobeyt", DISPATCH_METHOD, list(&variable));
  EXPECT_EQ(result.status, S_OK);
  EXPECT_EQ(variable.shown(), L"String:4464");
  const auto failed = invoke(link.Get(), L"wordtobeyt", DISPATCH_METHOD, list(L"x"));
  EXPECT_EQ(failed.status, DISP_E_EXCEPTION);
  EXPECT_EQ(failed.error, static_cast<HRESULT>(0x800A000D));
  EXPECT_EQ(failed.description, L"Type mismatch");
}

INSTANTIATE_TEST_SUITE_P(All, Apartments,
                         ::testing::Values(COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED),
                         [](const auto& kind) {
                           return kind.param == COINIT_MULTITHREADED ? "Multithreaded" : "Single";
                         });

}  // namespace
}  // namespace plexum::test
