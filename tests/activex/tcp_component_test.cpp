#include "activex/control_host.h"
#include "support/winsock_stand_in.h"

namespace plexum::test {
namespace {

// The environment's TCP component, from its failure to what the host gets.
class TcpComponent : public ControlTest {
 protected:
  windows::test::WinsockStandIn component_;
};

TEST_F(TcpComponent, ErrorsReachTheHostWithTheirOwnNumbers) {
  const struct {
    HRESULT failure;
    HRESULT scode;
    WORD code;
    unsigned result;
  } cases[] = {
      {E_ACCESSDENIED, 0, 0, 0x80070005},
      {DISP_E_EXCEPTION, E_ACCESSDENIED, 0, 0x80070005},
      {DISP_E_EXCEPTION, static_cast<HRESULT>(0x800A9C46), 0, 0x800A9C46},
      {DISP_E_EXCEPTION, 0, 1001, 0x800A03E9},
      {DISP_E_EXCEPTION, E_FAIL, 0, 0x80004005},
      {DISP_E_OVERFLOW, 0, 0, 0x800A0006},
  };
  const ComPtr<_PlexumLink> link = file().create();
  Address address(102);
  for (const auto& c : cases) {
    component_.script.failure = c.failure;
    component_.script.scode = c.scode;
    component_.script.code = c.code;
    const auto wanted = static_cast<HRESULT>(c.result);
    VARIANT_BOOL done = VARIANT_FALSE;
    EXPECT_EQ(address.ini(link.Get(), &done), wanted);
    std::vector<VariantVariable> arguments;
    for (BSTR* text : {&address.host, &address.port, &address.calling, &address.called}) {
      arguments.emplace_back(text);
    }
    const LateBoundResult late = invoke(link.Get(), L"ag_ini", DISPATCH_METHOD, arguments);
    EXPECT_EQ(late.status, DISP_E_EXCEPTION);
    EXPECT_EQ(late.error, wanted);
  }
  component_.script.failure = S_OK;
}

}  // namespace
}  // namespace plexum::test
