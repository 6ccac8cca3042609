#include "sim/server.h"

#ifdef _WIN32
#include "platform/windows/winsock.h"
#else
#include <sys/socket.h>
#endif

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <optional>
#include <string>
#include <thread>

#include "sim/simulated_plc.h"
#include "sim/sockets.h"
#include "tests/sim/scenario.h"
#include "tests/support/tcp_peer.h"

namespace plexum::sim {
namespace {

constexpr std::size_t kReadAnswerSize = 29;

// Wine's own poll takes a reset away, and what is left of it looks like an orderly end.
#ifdef _WIN32
constexpr const char* kResetSeen = " closed";
#else
constexpr const char* kResetSeen = " reset";
#endif

Options on_free_port() {
  Options options;
  options.port = 0;
  return options;
}

// A client that has set up its connection.
struct Client : test::TcpVisitor {
  explicit Client(const SimulatedPlc& plc) : TcpVisitor(plc.port()) {
    say(kConnectionRequest);
    say(kSetup);
    hear(22 + 27);
  }

  void say(std::string_view telegrams) {
    const Bytes bytes = hex(telegrams);
    send({bytes.begin(), bytes.end()});
  }

  // The next `count` bytes; fewer, and how it ended, when the connection ends before.
  std::string hear(std::size_t count) {
    try {
      const std::string bytes = receive(count);
      return test::hex(bytes) + (bytes.size() < count ? " closed" : "");
    } catch (const Reset&) {
      return " reset";
    }
  }

  std::string ask() {
    say(kRead);
    return hear(kReadAnswerSize);
  }
};

TEST(Server, ServesManyClientsEachByItselfAndTurnsTheNextAway) {
  SimulatedPlc plc(on_free_port());
  std::deque<std::optional<Client>> clients;
  for (std::size_t i = 0; i < Options::kMostConnections; ++i) clients.emplace_back(plc);
  Client& last = *clients.back();
  test::TcpVisitor one_more(plc.port());
  EXPECT_EQ(one_more.receive(1), "");

  clients[0]->say("03 00 00 07 02 F0");
  EXPECT_EQ(last.ask(), kReadAnswer) << "half a telegram holds nobody up";

  clients[1]->say("'GET / HTTP/1.1'");
  EXPECT_EQ(clients[1]->hear(1).substr(0, 1), " ") << "closed or reset";
  EXPECT_EQ(last.ask(), kReadAnswer);

  clients[0].reset();
  EXPECT_EQ(last.ask(), kReadAnswer);
  EXPECT_EQ(Client(plc).ask(), kReadAnswer);
}

TEST(Server, AnswersAClientThatHasFinishedSending) {
  SimulatedPlc plc(on_free_port());
  plc.add_fault("late=20");
  Client client(plc);
  client.say(kRead);
  client.finish();
  EXPECT_EQ(client.hear(kReadAnswerSize + 1), kReadAnswer + " closed");
}

// Three jobs at 100 ms each come back together.
TEST(Server, LetsTheLatenciesOfJobsInFlightOverlap) {
  constexpr std::chrono::milliseconds kLatency{100};
  Options options = on_free_port();
  options.latency = kLatency;
  SimulatedPlc plc(options);
  Client client(plc);
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 3; ++i) client.say(kRead);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(client.hear(kReadAnswerSize), kReadAnswer);
  const auto taken = std::chrono::steady_clock::now() - start;
  EXPECT_GE(taken, kLatency);
  EXPECT_LT(taken, 3 * kLatency);
}

TEST(Server, TellsAResetFromAnOrderlyEnd) {
  SimulatedPlc plc(on_free_port());
  for (const std::string fault : {"close", "reset"}) {
    Client client(plc);
    plc.add_fault(fault + "@1");
    EXPECT_EQ(client.ask(), fault == "close" ? " closed" : kResetSeen);
  }
}

TEST(Server, LivesThroughClientsThatVanish) {
  SimulatedPlc plc(on_free_port());
  plc.add_fault("late=10");
  for (std::size_t i = 0; i < 2 * Options::kMostConnections; ++i) {
    Client client(plc);
    client.say(kRead);
    client.TcpEnd::reset();
  }
  EXPECT_EQ(Client(plc).ask(), kReadAnswer);
}

TEST(Server, ClosesClientsThatNeverSayAnything) {
  Options options = on_free_port();
  options.longest_silence = std::chrono::milliseconds(200);
  SimulatedPlc plc(options);
  Client client(plc);
  test::TcpVisitor silent(plc.port());
  test::TcpVisitor stammering(plc.port());
  stammering.send("\x03");
  EXPECT_EQ(silent.receive(1), "");
  EXPECT_EQ(stammering.receive(1), "");
  EXPECT_EQ(client.ask(), kReadAnswer) << "one that is connected may be silent";
}

// The probes of keep-alive find clients whose machine has vanished.
TEST(Server, KeepsItsConnectionsAlive) {
  EventLoop loop;  // Winsock is ready while it lives
  const Socket listener = listen_on("127.0.0.1", 0);
  const test::TcpVisitor visitor(port_of(listener));
  Accepted accepted{Outcome::kNotNow, {}};
  while (accepted.outcome == Outcome::kNotNow) accepted = accept_from(listener);
  int kept_alive = 0;
  socklen_t size = sizeof kept_alive;
  ::getsockopt(accepted.socket, SOL_SOCKET, SO_KEEPALIVE, reinterpret_cast<char*>(&kept_alive),
               &size);
  EXPECT_NE(kept_alive, 0);
  close_socket(accepted.socket);
  close_socket(listener);
}

TEST(Server, TakesNoMoreJobsFromAClientThatTakesNoAnswers) {
  SimulatedPlc plc(on_free_port());
  plc.add_fault("late=3600000@1");  // nothing leaves after this one
  Client client(plc);
  const Bytes job = hex(kRead);
  std::string jobs;
  for (int i = 0; i < 1000; ++i) jobs.append(job.begin(), job.end());
  int refusals = 0;
  for (int i = 0; i < 1000 && refusals < 3; ++i) {
    if (client.send_some(jobs) > 0) {
      refusals = 0;
    } else {
      ++refusals;
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
  }
  EXPECT_EQ(refusals, 3);
}

TEST(Server, SaysWhyItCannotListen) {
  SimulatedPlc first(on_free_port());
  EXPECT_EQ(first.address(), "127.0.0.1:" + std::to_string(first.port()));
  Options same = on_free_port();
  same.port = first.port();
  EXPECT_THROW(SimulatedPlc second(same), std::system_error);
  Options nowhere = on_free_port();
  nowhere.listen = "256.0.0.1";
  EXPECT_THROW(SimulatedPlc third(nowhere), std::system_error);
}

}  // namespace
}  // namespace plexum::sim
