#include "platform/windows/late_bound_tcp_client.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/runtime_error.h"
#include "platform/windows/tcp_client.h"
#include "support/winsock_stand_in.h"

namespace plexum::windows {
namespace {

// COM on the test's thread.
class Apartment {
 public:
  Apartment() { CoInitialize(nullptr); }
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
  ~Apartment() { CoUninitialize(); }
};

bool is_built_in(const std::unique_ptr<TcpClient>& client) {
  return dynamic_cast<BuiltInTcpClient*>(client.get()) != nullptr;
}

class LateBoundTcpClientTest : public testing::Test {
 protected:
  ~LateBoundTcpClientTest() override { EXPECT_EQ(component.references(), 0u); }

  Apartment apartment;
  test::WinsockStandIn component;
};

// Every byte survives both ways.
TEST_F(LateBoundTcpClientTest, DrivesTheComponentByItsMembers) {
  CPINFO code_page{};
  ASSERT_TRUE(GetCPInfo(CP_ACP, &code_page));
  ASSERT_EQ(code_page.MaxCharSize, 1u) << "strings of a multi-byte code page can't hold all bytes";
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  const std::unique_ptr<TcpClient> client = make_tcp_client();
  client->RemoteHost("10.0.0.1");
  client->RemotePort(102);
  client->Connect();
  EXPECT_EQ(client->State(), 7);
  component.script.received = bytes;
  EXPECT_EQ(client->BytesReceived(), 256);
  client->SendData(bytes);
  EXPECT_EQ(client->GetData(), bytes);
  client->Close();
  EXPECT_EQ(component.script.calls,
            (std::vector<std::string>{"put RemoteHost '10.0.0.1'", "put RemotePort 102",
                                      "call Connect", "get State", "get BytesReceived", "get State",
                                      "call SendData '" + bytes + "'", "call GetData & 8",
                                      "call Close"}));
}

TEST_F(LateBoundTcpClientTest, TheBuiltInClientStandsInForALackingComponent) {
  for (const wchar_t* name : {L"State", L"BytesReceived", L"RemoteHost", L"RemotePort", L"Connect",
                              L"SendData", L"GetData", L"Close"}) {
    component.script.missing_member = name;
    EXPECT_TRUE(is_built_in(make_tcp_client())) << name;
  }
  component.script.missing_member.clear();
  EXPECT_FALSE(is_built_in(make_tcp_client()));
  component.script.refuses_creation = true;
  EXPECT_TRUE(is_built_in(make_tcp_client()));
}

TEST_F(LateBoundTcpClientTest, IsConnectedUntilTheLastByteIsTaken) {
  const std::unique_ptr<TcpClient> client = make_tcp_client();
  component.script.state = kTcpPeerClosing;
  component.script.received = "last words";
  EXPECT_EQ(client->State(), kTcpConnected);
  client->SendData("nobody reads this");
  EXPECT_EQ(component.script.calls.back(), "get BytesReceived") << "nothing is sent";
  EXPECT_EQ(client->GetData(), "last words");
  EXPECT_EQ(client->State(), kTcpPeerClosing);
}

TEST_F(LateBoundTcpClientTest, ErrorsKeepTheirNumbersAndTexts) {
  const auto hresult = [](unsigned number) { return static_cast<HRESULT>(number); };
  const struct {
    HRESULT failure;
    HRESULT scode;
    WORD code;
    std::int32_t number;
  } kCases[] = {
      {DISP_E_EXCEPTION, hresult(0x800A9C46), 0, kTcpWrongState},
      {DISP_E_EXCEPTION, 0, 1001, 1001},
      {DISP_E_EXCEPTION, E_ACCESSDENIED, 0, E_ACCESSDENIED},
      {DISP_E_TYPEMISMATCH, 0, 0, kTypeMismatch},
      {DISP_E_OVERFLOW, 0, 0, kOverflow},
      {hresult(0x800A9C46), 0, 0, kTcpWrongState},
      {E_FAIL, 0, 0, E_FAIL},
  };
  const std::unique_ptr<TcpClient> client = make_tcp_client();
  component.script.description = L"Nicht verbunden: \x00FC";
  for (const auto& one : kCases) {
    component.script.failure = one.failure;
    component.script.scode = one.scode;
    component.script.code = one.code;
    try {
      client->Connect();
      ADD_FAILURE() << "no error " << one.number;
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error.number(), one.number);
      if (one.failure == DISP_E_EXCEPTION) {
        EXPECT_EQ(error.text(), "Nicht verbunden: \xC3\xBC");
      }
    }
  }
}

TEST(MakeTcpClientTest, WithoutAComponentItIsTheBuiltInClient) {
  const Apartment apartment;
  EXPECT_TRUE(is_built_in(make_tcp_client()));
}

}  // namespace
}  // namespace plexum::windows
