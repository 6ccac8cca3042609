// The request cycle as the jobs compose it: every job against every way in which the PLC or the
// host spoils it. Reading has its own rules and its own tests.

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;

// Jobs of a kind end alike.
enum Kind { kWriteBit, kWrite, kService, kStateList, kRepeated, kSetClock, kTransfer, kKinds };

struct Job {
  const char* name;
  Kind kind;
  std::size_t answer_length;  // that is waited for first
  std::function<Value(PlexumLink&)> call;
};

std::vector<Job> all_jobs() {
  // The arguments that a job changes are its own for every call.
  const auto write = [](auto member, const char* value) {
    return [=](PlexumLink& link) -> Value {
      std::string startad = "0";
      std::string wert = value;
      return (link.*member)("1", startad, wert, "D");
    };
  };
  return {
      {"ag_WriteX", kWriteBit, 22,
       [](PlexumLink& link) -> Value {
         std::string startad = "0";
         return link.ag_WriteX("1", startad, "1", "M", "0");
       }},
      {"ag_WriteB", kWrite, 22, write(&PlexumLink::ag_WriteB, "x")},
      {"ag_WriteMB", kWrite, 22, write(&PlexumLink::ag_WriteMB, "xyz")},
      {"ag_WriteW", kWrite, 22, write(&PlexumLink::ag_WriteW, "1")},
      {"ag_WriteD", kWrite, 22, write(&PlexumLink::ag_WriteD, "1")},
      {"ag_WriteF", kWrite, 22, write(&PlexumLink::ag_WriteF, "1")},
      {"pg_plcstop", kService, 20, &PlexumLink::pg_plcstop},
      {"pg_plcstart", kService, 20, &PlexumLink::pg_plcstart},
      {"pg_Ramtorom", kService, 20, &PlexumLink::pg_Ramtorom},
      {"pg_plccompress", kService, 20, &PlexumLink::pg_plccompress},
      {"pg_plcErase", kService, 33, &PlexumLink::pg_plcErase},
      {"pg_DelBlock", kService, 20,
       [](PlexumLink& link) { return link.pg_DelBlock("DB", "00001"); }},
      {"pg_plcRunMode", kStateList, 35, &PlexumLink::pg_plcRunMode},
      {"pg_SZL", kStateList, 35, &PlexumLink::pg_SZL},
      {"pg_ListBlock", kRepeated, 25, [](PlexumLink& link) { return link.pg_ListBlock("DB"); }},
      {"pg_ReadClock", kRepeated, 43, &PlexumLink::pg_ReadClock},
      {"pg_SetClock", kSetClock, 33,
       [](PlexumLink& link) { return link.pg_SetClock("2026", "1", "2", "3", "4", "5", "6"); }},
      {"pg_ReadBlock", kTransfer, 25,
       [](PlexumLink& link) { return link.pg_ReadBlock("DB", "00001"); }},
      {"pg_WriteBlock", kTransfer, 20,
       [](PlexumLink& link) { return link.pg_WriteBlock(std::string(36, 'x')); }},
  };
}

class RequestCycle : public test::LinkFixture {
 protected:
  // The result and the state in one line.
  std::string outcome(const Job& job) {
    Value result;
    std::string line = "error " + std::to_string(error_of([&] { result = job.call(link); }));
    if (line == "error 0") {
      const auto* boolean = std::get_if<bool>(&result);
      line = result.is_empty()    ? "empty"
             : boolean == nullptr ? "array"
             : *boolean           ? "true"
                                  : "false";
    }
    return line + ": " + state();
  }

  void connect_anew() {
    environment.on_process_messages = [] {};
    environment.on_wait = [](std::uint32_t ms) { return ms; };
    tcp_client.answer_in_order();
    tcp_client.state = kTcpClosed;
    connect();
    link.auftrag_Fehler = 9;
    link.inuse = false;
  }

  // What a guard that refuses returns, and the auftrag_Fehler that it leaves of a 9.
  static const char* refused(const Job& job) { return job.kind <= kWrite ? "false: " : "empty: "; }
  static const char* count(const Job& job) { return job.kind >= kRepeated ? "0" : "9"; }

  const std::vector<Job> jobs = all_jobs();
};

TEST_F(RequestCycle, TheGuardsRefusals) {
  for (const Job& job : jobs) {
    SCOPED_TRACE(job.name);
    // An err of an earlier job.
    connect_anew();
    link.err = 7;
    link.inuse = true;
    EXPECT_EQ(outcome(job),
              std::string(refused(job)) + "7 idle no-s7init " + count(job) + " Send/Receive Ready");
    // Closed by the host.
    connect_anew();
    link.ag_exit();
    link.inuse = true;
    EXPECT_EQ(outcome(job),
              std::string(refused(job)) + "4 idle no-s7init " + count(job) + " TCP Not Ready");
    EXPECT_TRUE(tcp_client.sent.empty());
    // The one after that connects, and fails: all but err and s7init is as before.
    link.auftrag_Fehler = 9;
    link.inuse = true;
    tcp_client.on_connect = [&] { tcp_client.state = kTcpError; };
    EXPECT_EQ(outcome(job), std::string(refused(job)) + "1 inuse no-s7init 9 TCP Not Ready");
    // And the next one finds the PLC again, by the stored address.
    tcp_client.on_connect = [&] { tcp_client.state = kTcpConnected; };
    tcp_client.answers = {connection_confirm(), setup_answer(), std::string(100, '\xFF')};
    outcome(job);
    EXPECT_EQ(tcp_client.host + " " + std::to_string(tcp_client.port), "127.0.0.1 102");
    EXPECT_GE(tcp_client.sent.size(), 3u);
    EXPECT_EQ(link.auftrag_Fehler, job.kind >= kRepeated ? 0 : 9);
  }
}

TEST_F(RequestCycle, WhatEachKindMakesOfAFault) {
  struct Fault {
    const char* description;
    // The answer to a job that waits for so many bytes.
    std::function<std::string(std::size_t)> answer;
    std::int16_t tcp_state;
    std::array<std::string, kKinds> outcomes;  // by kind
  };
  const auto header = [](const char* error, std::size_t length) {
    return std::string(length, '\0').replace(17, 2, bytes(error));
  };
  const auto nothing = [](std::size_t) { return std::string(); };
  const std::string exit = " idle no-s7init 9 Read Exit";
  const std::string ready = " idle no-s7init 9 Send/Receive Ready";
  const std::string repeated = "error 9: 3 idle no-s7init 3 Send/Receive Ready";
  const std::string set_clock = "empty: 0 idle no-s7init 3 Send/Receive Ready";
  const std::array<std::string, kKinds> lost = {"error 5: 3" + exit,
                                                "error 5: 3" + exit,
                                                "false: 3" + ready,
                                                "error 9: 3" + ready,
                                                repeated,
                                                set_clock,
                                                "empty: 3 idle no-s7init 0 Read Exit"};
  const auto refused_by = [&](const std::string& err) -> std::array<std::string, kKinds> {
    return {"error 5: 3" + exit,
            "error 5: " + err + exit,
            "false: " + err + ready,
            "error 9: " + err + ready,
            repeated,
            set_clock,
            "empty: " + err + " idle no-s7init 0 Read Exit"};
  };
  const std::string cut_off = "error 5: 0 inuse s7init 9 Read Exit";
  const std::array<std::string, kKinds> too_short = {"error 5: 3" + exit,
                                                     cut_off,
                                                     cut_off,
                                                     cut_off,
                                                     repeated,
                                                     set_clock,
                                                     "error 5: 0 inuse s7init 0 Read Exit"};
  std::array<std::string, kKinds> one_byte_short = refused_by("3");
  one_byte_short[kTransfer] = "empty: 0 idle no-s7init 0 Read Exit";
  const Fault faults[] = {
      {"silence", nothing, kTcpConnected, too_short},
      {"18 bytes", [](std::size_t) { return std::string(18, '\xD2'); }, kTcpConnected, too_short},
      {"one byte short", [&](std::size_t length) { return std::string(length - 1, '\0'); },
       kTcpConnected, one_byte_short},
      {"81 04", [&](std::size_t) { return header("81 04", 19); }, kTcpConnected,
       refused_by("1294")},
      {"85 00", [&](std::size_t) { return header("85 00", 19); }, kTcpConnected,
       refused_by("1330")},
      {"D2 09", [&](std::size_t) { return header("D2 09", 19); }, kTcpConnected,
       refused_by("2109")},
      {"D4 01, long, but not long enough",
       [&](std::size_t length) { return header("D4 01", length - 1); }, kTcpConnected,
       refused_by("2121")},
      {"closed by the PLC", nothing, kTcpPeerClosing, lost},
      {"reset", nothing, kTcpError, lost},
  };
  for (const Fault& fault : faults) {
    for (const Job& job : jobs) {
      SCOPED_TRACE(std::string(fault.description) + ", " + job.name);
      connect_anew();
      tcp_client.on_send = [&](const std::string&) {
        tcp_client.available = fault.answer(job.answer_length);
        tcp_client.state = fault.tcp_state;
      };
      EXPECT_EQ(outcome(job), fault.outcomes[job.kind]);
      EXPECT_EQ(environment.waits % 6, 0) << "Tzeit and one";
    }
  }
  for (const Job& job : jobs) {
    SCOPED_TRACE(job.name);
    // Closed by the host in the first slice, which also gives the wait up early.
    connect_anew();
    tcp_client.on_send = [](const std::string&) {};
    environment.on_wait = [](std::uint32_t) { return 0u; };
    environment.on_process_messages = [&] {
      if (environment.pumps == 1) {
        EXPECT_TRUE(link.inuse);
        link.ag_exit();
        link.Tzeit(2);
      }
    };
    EXPECT_EQ(outcome(job), lost[job.kind]);
    EXPECT_EQ(environment.waits, job.kind == kRepeated || job.kind == kSetClock ? 9 : 3);
    link.Tzeit(5);
  }
}

// Nothing is locked: a read in another job's wait takes whatever has arrived, and the other job is
// left without an answer.
TEST_F(RequestCycle, AReadInsideTheWaitTakesTheAnswer) {
  for (const Job& job : jobs) {
    SCOPED_TRACE(job.name);
    connect_anew();
    tcp_client.on_send = [](const std::string&) {};
    environment.on_wait = [](std::uint32_t) { return 0u; };
    bool entered = false;
    environment.on_process_messages = [&] {
      if (std::exchange(entered, true)) return;
      tcp_client.available = std::string(100, 'r');
      EXPECT_EQ(link.ag_ReadB("1", "3", "0", "C", "D"), Value(std::string("rrr")));
      EXPECT_FALSE(link.inuse);
      tcp_client.state = kTcpPeerClosing;
    };
    const std::string line = outcome(job);
    EXPECT_EQ(tcp_client.sent.size(), 2u);
    EXPECT_EQ(line.substr(line.find(':') + 2, 15),
              job.kind == kSetClock ? "0 idle no-s7ini" : "3 idle no-s7ini");
  }
}

}  // namespace
}  // namespace plexum
