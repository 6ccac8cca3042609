#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "control/plexum_link.h"
#include "support/error_of.h"
#include "support/fake_environment.h"
#include "support/hex.h"
#include "support/scripted_tcp_client.h"

namespace plexum::test {

// A control with a scripted PLC behind it and a hand-driven clock.
class LinkFixture : public testing::Test {
 protected:
  FakeEnvironment environment;
  ScriptedTcpClient tcp_client;
  PlexumLink link{environment, tcp_client};

  LinkFixture() {
    link.CP_IP("127.0.0.1");
    link.TsapE("1.0");
    link.TsapF("3.2");
    link.Tzeit(5);
  }

  static std::string connection_confirm() { return std::string(22, '\0'); }
  static std::string setup_answer() { return std::string(27, '\0'); }

  // Connects as for the first time, whatever an earlier case has left; what this sends isn't kept.
  void connect() {
    environment.on_wait = [](std::uint32_t ms) { return ms; };
    environment.on_process_messages = [] {};
    environment.boxes.clear();
    tcp_client.answer_in_order();
    tcp_client.Close();
    link.inuse(false);
    link.auftrag_Fehler(0);
    link.Tzeit(5);
    tcp_client.answers = {connection_confirm(), setup_answer()};
    ASSERT_TRUE(link.ag_ini("127.0.0.1", "102", "1.0", "3.2"));
    forget();
  }

  void forget() {
    tcp_client.sent.clear();
    tcp_client.log.clear();
    environment.waits = 0;
    environment.pumps = 0;
  }

  // The state variables in one line, for comparison: err, inuse, s7init, auftrag_Fehler, text.
  [[nodiscard]] std::string state() const {
    return std::to_string(link.err()) + (link.inuse() ? " inuse" : " idle") +
           (link.s7init() ? " s7init " : " no-s7init ") + std::to_string(link.auftrag_Fehler()) +
           " " + link.status_text();
  }
};

class ConnectedFixture : public LinkFixture {
 protected:
  void SetUp() override { connect(); }
};

}  // namespace plexum::test
