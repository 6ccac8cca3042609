#include "platform/windows/late_bound_tcp_client.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "control/runtime_error.h"
#include "platform/windows/tcp_client.h"
#include "support/winsock_stand_in.h"

namespace plexum::windows {
namespace {

using test::WinsockStandIn;

// COM on the test's thread.
class Apartment {
 public:
  Apartment() { CoInitialize(nullptr); }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
  ~Apartment() { CoUninitialize(); }
};

class LateBoundTcpClientTest : public testing::Test {
 protected:
  ~LateBoundTcpClientTest() override { EXPECT_EQ(WinsockStandIn::alive(), 0); }

  static bool is_built_in(TcpClient& client) {
    return dynamic_cast<BuiltInTcpClient*>(&client) != nullptr;
  }

  Apartment apartment;
  WinsockStandIn component;
};

TEST_F(LateBoundTcpClientTest, DrivesTheComponentByItsMembers) {
  const std::unique_ptr<TcpClient> client = make_tcp_client();
  ASSERT_FALSE(is_built_in(*client));
  client->RemoteHost("10.0.0.1");
  client->RemotePort(102);
  client->Connect();
  EXPECT_EQ(client->State(), 7);
  component.script.received = "abc";
  EXPECT_EQ(client->BytesReceived(), 3);
  client->SendData("xyz");
  EXPECT_EQ(component.script.sent, "xyz");
  EXPECT_EQ(client->GetData(), "abc");
  EXPECT_EQ(client->GetData(), "");
  client->Close();
  EXPECT_EQ(
      component.script.calls,
      (std::vector<std::string>{"put RemoteHost 10.0.0.1", "put RemotePort 102", "call Connect",
                                "get State", "get BytesReceived", "call SendData", "call GetData",
                                "call GetData", "call Close"}));
}

TEST_F(LateBoundTcpClientTest, EveryByteSurvivesBothWays) {
  CPINFO code_page{};
  ASSERT_TRUE(GetCPInfo(CP_ACP, &code_page));
  ASSERT_EQ(code_page.MaxCharSize, 1u) << "strings of a multi-byte code page can't hold all bytes";
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  const std::unique_ptr<TcpClient> client = make_tcp_client();
  client->SendData(bytes);
  EXPECT_EQ(component.script.sent, bytes);
  component.script.received = bytes;
  EXPECT_EQ(client->GetData(), bytes);
}

TEST_F(LateBoundTcpClientTest, TheBuiltInClientStandsInForALackingComponent) {
  for (const wchar_t* name : {L"State", L"BytesReceived", L"RemoteHost", L"RemotePort", L"Connect",
                              L"SendData", L"GetData", L"Close"}) {
    component.script.missing_member = name;
    EXPECT_TRUE(is_built_in(*make_tcp_client())) << name;
    EXPECT_EQ(WinsockStandIn::alive(), 0);
  }
  component.script.missing_member.clear();
  component.script.refuses_creation = true;
  EXPECT_TRUE(is_built_in(*make_tcp_client()));
}

TEST_F(LateBoundTcpClientTest, ErrorsKeepTheirNumbers) {
  const std::unique_ptr<TcpClient> client = make_tcp_client();
  const auto error_of_send = [&client] {
    try {
      client->SendData("x");
    } catch (const RuntimeError& error) {
      return error;
    }
    return RuntimeError(0, "none");
  };
  const auto hresult = [](unsigned number) { return static_cast<HRESULT>(number); };

  const struct {
    HRESULT failure;
    HRESULT scode;
    WORD code;
    std::int32_t number;
  } kCases[] = {
      {DISP_E_EXCEPTION, hresult(0x800A9C46), 0, kTcpWrongState},
      {DISP_E_EXCEPTION, hresult(0x800A9C54), 0, kTcpInvalidOperation},
      {DISP_E_EXCEPTION, hresult(0x800A0005), 0, kInvalidArgument},
      {DISP_E_EXCEPTION, 0, 1001, 1001},
      {DISP_E_EXCEPTION, E_ACCESSDENIED, 0, E_ACCESSDENIED},
      {DISP_E_TYPEMISMATCH, 0, 0, kTypeMismatch},
      {DISP_E_OVERFLOW, 0, 0, kOverflow},
      {hresult(0x800A9C46), 0, 0, kTcpWrongState},
      {E_FAIL, 0, 0, E_FAIL},
  };
  for (const auto& one : kCases) {
    component.script.failure = one.failure;
    component.script.raised.scode = one.scode;
    component.script.raised.wCode = one.code;
    EXPECT_EQ(error_of_send().number(), one.number);
  }

  BSTR description = SysAllocString(L"Nicht verbunden: \x00FC");
  component.script.failure = DISP_E_EXCEPTION;
  component.script.raised.bstrDescription = description;
  EXPECT_EQ(error_of_send().text(), "Nicht verbunden: \xC3\xBC");
  SysFreeString(description);
  component.script.failure = S_OK;
}

TEST(MakeTcpClientTest, WithoutAComponentItIsTheBuiltInClient) {
  const Apartment apartment;
  const std::unique_ptr<TcpClient> client = make_tcp_client();
  EXPECT_NE(dynamic_cast<BuiltInTcpClient*>(client.get()), nullptr);
}

}  // namespace
}  // namespace plexum::windows
