// The request cycle as the jobs compose it: every job against every way in which the PLC or the
// host spoils it.

#include <array>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::error_of;

// Jobs of a kind end alike.
enum Kind { kWriteBit, kWrite, kService, kStateList, kRead, kRepeated, kSetClock, kTransfer };
constexpr std::size_t kKinds = kTransfer + 1;

constexpr const char* kReady = "Send/Receive Ready";  // where a job leaves the text as it was
constexpr const char* kSends = "Wreit Send Data";

struct Job {
  const char* name;
  Kind kind;
  std::size_t answer_length;  // that is waited for first
  const char *sending, *waiting;
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
  const auto write_bit = [](PlexumLink& link) -> Value {
    std::string startad = "0";
    return link.ag_WriteX("1", startad, "1", "M", "0");
  };
  const auto read = [](auto member) {
    return [=](PlexumLink& link) { return (link.*member)("1", "4", "0", "B", "D"); };
  };
  const auto delete_block = [](PlexumLink& link) { return link.pg_DelBlock("DB", "00001"); };
  const auto list = [](PlexumLink& link) { return link.pg_ListBlock("DB"); };
  const auto set_clock = [](PlexumLink& link) {
    return link.pg_SetClock("2026", "1", "2", "3", "4", "5", "6");
  };
  const auto upload = [](PlexumLink& link) { return link.pg_ReadBlock("DB", "00001"); };
  const auto download = [](PlexumLink& link) { return link.pg_WriteBlock(std::string(36, 'x')); };
  using L = PlexumLink;
  return {
      {"ag_WriteX", kWriteBit, 22, kSends, "Write Wait Data", write_bit},
      {"ag_WriteB", kWrite, 22, kSends, "Write Wait Data", write(&L::ag_WriteB, "x")},
      {"ag_WriteMB", kWrite, 22, kReady, "Write Wait Data", write(&L::ag_WriteMB, "xyz")},
      {"ag_WriteW", kWrite, 22, kSends, "Write Wait Data", write(&L::ag_WriteW, "1")},
      {"ag_WriteD", kWrite, 22, kReady, "Write Wait Data", write(&L::ag_WriteD, "1")},
      {"ag_WriteF", kWrite, 22, kReady, "Write Wait Data", write(&L::ag_WriteF, "1")},
      {"pg_plcstop", kService, 20, kSends, "PLC Stop", &L::pg_plcstop},
      {"pg_plcstart", kService, 20, kSends, "PLC Stop", &L::pg_plcstart},
      {"pg_Ramtorom", kService, 20, kSends, "PLC Stop", &L::pg_Ramtorom},
      {"pg_plccompress", kService, 20, kSends, "PLC Stop", &L::pg_plccompress},
      {"pg_plcErase", kService, 33, kSends, "PLC Stop", &L::pg_plcErase},
      {"pg_DelBlock", kService, 20, kSends, "Del Block", delete_block},
      {"pg_plcRunMode", kStateList, 35, kSends, "PLC Stop", &L::pg_plcRunMode},
      {"pg_SZL", kStateList, 35, kSends, "PLC Stop", &L::pg_SZL},
      {"ag_Read", kRead, 29, kReady, "Read Wait Data", read(&L::ag_Read)},
      {"ag_ReadB", kRead, 29, kReady, "Read Wait Data", read(&L::ag_ReadB)},
      {"pg_ListBlock", kRepeated, 25, kReady, "Read Wait Data", list},
      {"pg_ReadClock", kRepeated, 43, kReady, "Read Wait Data", &L::pg_ReadClock},
      {"pg_SetClock", kSetClock, 33, kReady, "Read Wait Data", set_clock},
      {"pg_ReadBlock", kTransfer, 25, kReady, "Read Wait Data", upload},
      {"pg_WriteBlock", kTransfer, 20, kReady, "Read Wait Data", download},
  };
}

using Outcomes = std::array<std::string, kKinds>;

class JobsCycles : public test::LinkFixture {
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
    connect();
    link.auftrag_Fehler(9);
  }

  const std::vector<Job> jobs = all_jobs();
  const std::string exit = " idle no-s7init 9 Read Exit";
  const std::string ready = " idle no-s7init 9 Send/Receive Ready";
  // What no answer ends in when the connection stands no more.
  const Outcomes lost = {"error 5: 3" + exit,
                         "error 5: 3" + exit,
                         "false: 3" + ready,
                         "error 9: 3" + ready,
                         "empty: 3 idle no-s7init 0 Read Exit",
                         "error 9: 3 idle no-s7init 3 Send/Receive Ready",
                         "empty: 0 idle no-s7init 3 Send/Receive Ready",
                         "empty: 3 idle no-s7init 0 Read Exit"};
};

TEST_F(JobsCycles, TheTextsOfTheSteps) {
  for (const Job& job : jobs) {
    SCOPED_TRACE(job.name);
    connect();
    std::string sending, waiting;
    tcp_client.on_send = [&](const std::string&) {
      if (tcp_client.sent.size() == 1) sending = link.status_text();
    };
    environment.on_wait = [&](std::uint32_t ms) {
      if (environment.waits == 1) {
        EXPECT_TRUE(link.inuse());
        waiting = link.status_text();
      }
      tcp_client.state = kTcpPeerClosing;
      return ms;
    };
    outcome(job);
    EXPECT_EQ(sending, job.sending);
    EXPECT_EQ(waiting, job.waiting);
  }
}

TEST_F(JobsCycles, TheGuardsRefusals) {
  for (const Job& job : jobs) {
    if (job.kind == kRead) continue;  // with rules of their own
    SCOPED_TRACE(job.name);
    const std::string refused = job.kind <= kWrite ? "false: " : "empty: ";
    const char* const count = job.kind >= kRepeated ? "0" : "9";
    // An err of an earlier job.
    connect_anew();
    link.err(7);
    link.inuse(true);
    EXPECT_EQ(outcome(job), refused + "7 idle no-s7init " + count + " Send/Receive Ready");
    // Closed by the host.
    connect_anew();
    link.ag_exit();
    link.inuse(true);
    EXPECT_EQ(outcome(job), refused + "4 idle no-s7init " + count + " TCP Not Ready");
    EXPECT_TRUE(tcp_client.sent.empty());
    // The one after that connects, and fails: all but err and s7init is as before.
    link.auftrag_Fehler(9);
    link.inuse(true);
    tcp_client.on_connect = [&] { tcp_client.state = kTcpError; };
    EXPECT_EQ(outcome(job), refused + "1 inuse no-s7init 9 TCP Not Ready");
    // And the next one finds the PLC again, by the stored address.
    tcp_client.on_connect = [&] { tcp_client.state = kTcpConnected; };
    tcp_client.answers = {connection_confirm(), setup_answer(), std::string(100, '\xFF')};
    outcome(job);
    EXPECT_EQ(tcp_client.host + " " + std::to_string(tcp_client.port), "127.0.0.1 102");
    EXPECT_GE(tcp_client.sent.size(), 3u);
    EXPECT_EQ(std::to_string(link.auftrag_Fehler()), count);
  }
}

TEST_F(JobsCycles, WhatEachKindMakesOfAFault) {
  struct Fault {
    const char* description;
    // The answer to a job that waits for so many bytes.
    std::function<std::string(std::size_t)> answer;
    std::int16_t tcp_state;
    Outcomes outcomes;
  };
  const auto header = [](const char* error, std::size_t length) {
    return std::string(length, '\0').replace(17, 2, bytes(error));
  };
  const auto nothing = [](std::size_t) { return std::string(); };
  const auto refused_by = [&](const std::string& err) {
    Outcomes outcomes = lost;
    outcomes[kWrite] = "error 5: " + err + exit;
    outcomes[kService] = "false: " + err + ready;
    outcomes[kStateList] = "error 9: " + err + ready;
    outcomes[kRead] = outcomes[kTransfer] = "empty: " + err + " idle no-s7init 0 Read Exit";
    return outcomes;
  };
  // The error bytes of so short an answer can't be read.
  Outcomes silence = lost;
  silence[kWrite] = silence[kService] = silence[kStateList] = "error 5: 0 inuse s7init 9 Read Exit";
  silence[kRead] = silence[kTransfer] = "error 5: 0 inuse s7init 0 Read Exit";
  Outcomes one_byte_short = refused_by("3");
  one_byte_short[kTransfer] = "empty: 0 idle no-s7init 0 Read Exit";
  const Fault faults[] = {
      {"silence", nothing, kTcpConnected, silence},
      {"one byte short", [&](std::size_t length) { return std::string(length - 1, '\0'); },
       kTcpConnected, one_byte_short},
      {"refused", [&](std::size_t) { return header("D2 09", 19); }, kTcpConnected,
       refused_by("2109")},
      {"refused at almost full length",
       [&](std::size_t length) { return header("81 04", length - 1); }, kTcpConnected,
       refused_by("1294")},
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
}

// The whole answer comes in the last slice, so the time-out takes it. The jobs that look at it
// take a second time, which finds nothing, or an answer that has come in the meantime; only when
// the host closes the connection in between, the first one counts.
TEST_F(JobsCycles, AnAnswerInTheLastSlice) {
  const std::string list = "array: 0 idle no-s7init 0 Send/Receive Ready";
  const std::string transfer = "empty: 0 idle no-s7init 0 Read Exit";
  Outcomes nothing = lost;
  nothing[kTransfer] = transfer;
  const Outcomes answered = {"true: 0" + ready,
                             "true: 0" + ready,
                             "false: 3" + ready,
                             "array: 3" + ready,
                             lost[kRead],
                             list,
                             "empty: 0 idle no-s7init 0 Send/Receive Ready",
                             transfer};
  const std::string accepted = std::string(100, '\0').replace(21, 1, "\xFF");
  for (const std::string meantime : {"nothing", "an answer", "closed"}) {
    for (const Job& job : jobs) {
      SCOPED_TRACE(job.name + (", " + meantime));
      connect_anew();
      tcp_client.on_send = [](const std::string&) {};
      environment.on_wait = [&](std::uint32_t ms) {
        if (environment.waits == 6) {
          tcp_client.available = accepted;
          // Another return code, so that the write jobs fail unless the second one replaces it.
          if (meantime == "an answer") tcp_client.available[21] = '\x05';
        }
        return ms;
      };
      environment.on_process_messages = [&] {
        if (meantime == "an answer") tcp_client.available = accepted;
        if (meantime == "closed") tcp_client.Close();
      };
      EXPECT_EQ(outcome(job), (meantime == "nothing" ? nothing : answered)[job.kind]);
    }
  }
}

TEST_F(JobsCycles, AHostThatClosesInsideTheWait) {
  for (const Job& job : jobs) {
    SCOPED_TRACE(job.name);
    connect_anew();
    tcp_client.on_send = [](const std::string&) {};
    environment.on_wait = [](std::uint32_t) { return 0u; };
    environment.on_process_messages = [&] {
      if (environment.pumps > 1) return;
      link.ag_exit();
      link.Tzeit(2);  // which gives the wait up early
    };
    EXPECT_EQ(outcome(job), lost[job.kind]);
    EXPECT_EQ(environment.waits, job.kind == kRepeated || job.kind == kSetClock ? 9 : 3);
  }
}

// Nothing is locked: a read in another job's wait takes whatever has arrived, and the other job is
// left without an answer.
TEST_F(JobsCycles, AReadInsideTheWaitTakesTheAnswer) {
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
      EXPECT_FALSE(link.inuse());
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
