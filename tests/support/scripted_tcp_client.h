#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "base/runtime_error.h"
#include "base/tcp_client.h"

namespace plexum::test {

// A TCP client without a network: it connects when told to, records what the control sends and
// hands out scripted answers.
class ScriptedTcpClient : public TcpClient {
 public:
  std::int16_t state = kTcpClosed;
  std::string available;          // arrived, not taken
  std::vector<std::string> sent;  // one entry a SendData
  std::vector<std::string> log;   // members called, in order, State and BytesReceived left out
  std::string host;
  std::int32_t port = -1;
  // What the peer answers to each telegram, in order; nothing when the script has run out.
  std::deque<std::string> answers;
  // Everything that the peer does of its own accord.
  std::function<void()> on_connect = [this] { state = kTcpConnected; };
  std::function<void(const std::string&)> on_send;

  ScriptedTcpClient() { answer_in_order(); }

  // The usual peer: one of `answers` to each telegram.
  void answer_in_order() {
    on_send = [this](const std::string&) {
      if (answers.empty()) return;
      available += answers.front();
      answers.pop_front();
    };
  }

  std::int16_t State() override { return state; }
  std::int32_t BytesReceived() override { return static_cast<std::int32_t>(available.size()); }
  void RemoteHost(const std::string& value) override { host = value; }
  void RemotePort(std::int32_t value) override { port = value; }

  void Connect() override {
    log.emplace_back("Connect");
    on_connect();
  }

  void SendData(const std::string& bytes) override {
    log.emplace_back("SendData");
    if (state != kTcpConnected) throw RuntimeError(kTcpWrongState);
    sent.push_back(bytes);
    on_send(bytes);
  }

  std::string GetData() override {
    log.emplace_back("GetData");
    std::string taken;
    taken.swap(available);
    return taken;
  }

  void Close() override {
    log.emplace_back("Close");
    state = kTcpClosed;
    available.clear();
  }
};

}  // namespace plexum::test
