#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/tcp_client.h"
#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// The environment's TCP client component (ProgID MSWinsockLib.Winsock), driven through eight of its
// members by their names. Its strings hold one byte a character, through the ANSI code page. What
// it raises comes out as a RuntimeError of the same number and text; the number may be an HRESULT.
//
// The component tells that its peer is closing while bytes are still to be taken. Here it is
// connected until they are, and what is sent meanwhile is dropped, as in the built-in client.
class LateBoundTcpClient : public TcpClient {
 public:
  // A new component on this thread (COM is initialised); null where there is none, where it can't
  // be created, and where it lacks one of the members.
  static std::unique_ptr<LateBoundTcpClient> create();

  ~LateBoundTcpClient() override;

  std::int16_t State() override;
  std::int32_t BytesReceived() override;
  void RemoteHost(const std::string& host) override;
  void RemotePort(std::int32_t port) override;
  void Connect() override;
  void SendData(const std::string& bytes) override;
  std::string GetData() override;
  void Close() override;

 private:
  enum Member {
    kState,
    kBytesReceived,
    kRemoteHost,
    kRemotePort,
    kConnect,
    kSendData,
    kGetData,
    kClose,
    kMemberCount
  };

  explicit LateBoundTcpClient(IDispatch* component) : component_(component) {}
  bool resolve_members();
  // Arguments in the order of the call's parameters, reversed, as Invoke wants them.
  void invoke(Member member, WORD kind, VARIANT* reversed_arguments, UINT count, VARIANT* result);
  std::int32_t get_number(Member member);

  IDispatch* component_;  // owned
  DISPID members_[kMemberCount] = {};
};

// The TCP client of a new control: the environment's component if it can be had, else the built-in
// one. Tries once.
std::unique_ptr<TcpClient> make_tcp_client();

}  // namespace plexum::windows
