#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/windows/windows_headers.h"

namespace plexum::windows::test {

// What the stand-in does and has seen.
struct StandInScript {
  std::wstring missing_member;    // not known to GetIDsOfNames
  bool refuses_creation = false;  // as a component without its licence
  HRESULT failure = S_OK;         // of every call; DISP_E_EXCEPTION raises the next three
  HRESULT scode = S_OK;
  WORD code = 0;
  std::wstring description;
  SHORT state = 7;                 // connected
  std::string received;            // what GetData gives, as bytes
  std::vector<std::string> calls;  // "get State", "put RemotePort 102", "call SendData 'bytes'"
};

class StandInComponent;
class StandInFactory;

// An in-process component under the ProgID of the environment's TCP client, registered for the
// lifetime of this object. Its strings convert through the ANSI code page as the real one's do.
class WinsockStandIn {
 public:
  // Throws std::runtime_error where it can't be registered.
  WinsockStandIn();
  WinsockStandIn(const WinsockStandIn&) = delete;
  WinsockStandIn& operator=(const WinsockStandIn&) = delete;
  ~WinsockStandIn();

  // How many references to the component are held.
  [[nodiscard]] ULONG references() const;

  StandInScript script;

 private:
  HANDLE turn_;  // other test processes use the same key of the registry
  DWORD registration_ = 0;
  std::unique_ptr<StandInComponent> component_;
  std::unique_ptr<StandInFactory> factory_;
};

}  // namespace plexum::windows::test
