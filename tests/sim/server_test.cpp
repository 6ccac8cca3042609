#include "sim/server.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "sim/simulated_plc.h"
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

class Client {
 public:
  explicit Client(std::uint16_t port) : visitor(port) {}

  void send(ByteView bytes) { visitor.send({bytes.begin(), bytes.end()}); }

  // The next `count` bytes; fewer, and how it ended, when the connection ends before.
  std::string receive(std::size_t count) {
    try {
      const std::string bytes = visitor.receive(count);
      return dump(Bytes(bytes.begin(), bytes.end())) + (bytes.size() < count ? " closed" : "");
    } catch (const test::TcpEnd::Reset&) {
      return " reset";
    }
  }

  void set_up() {
    constexpr std::size_t kConfirmSize = 22;
    constexpr std::size_t kSetupAnswerSize = 27;
    send(hex(kConnectionRequest));
    EXPECT_EQ(receive(kConfirmSize), dump(kConnectionConfirm));
    send(hex(kSetup));
    receive(kSetupAnswerSize);
  }

  std::string ask() {
    send(hex(kRead));
    return receive(kReadAnswerSize);
  }

  test::TcpVisitor visitor;
};

TEST(Server, ServesManyClientsEachByItselfAndTurnsTheNextAway) {
  SimulatedPlc plc(on_free_port());
  std::vector<std::unique_ptr<Client>> clients;
  for (std::size_t i = 0; i < Options::kMostConnections; ++i) {
    clients.push_back(std::make_unique<Client>(plc.port()));
    clients.back()->set_up();
  }
  Client& last = *clients.back();
  Client one_more(plc.port());
  EXPECT_EQ(one_more.receive(1), " closed");

  clients[0]->send(hex("03 00 00 07 02 F0"));
  EXPECT_EQ(last.ask(), kReadAnswer) << "half a telegram holds nobody up";

  clients[1]->send(hex("'GET / HTTP/1.1'"));
  EXPECT_EQ(clients[1]->receive(1).substr(0, 1), " ") << "closed or reset";
  EXPECT_EQ(last.ask(), kReadAnswer);

  clients[0].reset();
  EXPECT_EQ(last.ask(), kReadAnswer);
  Client instead(plc.port());
  instead.set_up();
}

TEST(Server, AnswersAClientThatHasFinishedSending) {
  SimulatedPlc plc(on_free_port());
  plc.add_fault("late=20");
  Client client(plc.port());
  client.set_up();
  client.send(hex(kRead));
  client.visitor.finish();
  EXPECT_EQ(client.receive(kReadAnswerSize + 1), kReadAnswer + " closed");
}

TEST(Server, TellsAResetFromAnOrderlyEnd) {
  SimulatedPlc plc(on_free_port());
  for (const char* fault : {"close", "reset"}) {
    plc.clear_faults();
    Client client(plc.port());
    client.set_up();
    plc.add_fault(fault);
    EXPECT_EQ(client.ask(), fault == std::string("close") ? " closed" : kResetSeen);
  }
}

TEST(Server, LivesThroughClientsThatVanish) {
  SimulatedPlc plc(on_free_port());
  plc.add_fault("late=10");
  for (int i = 0; i < 2 * static_cast<int>(Options::kMostConnections); ++i) {
    Client client(plc.port());
    client.set_up();
    client.send(hex(kRead));
    client.visitor.reset();
  }
  plc.clear_faults();
  Client client(plc.port());
  client.set_up();
  EXPECT_EQ(client.ask(), kReadAnswer);
}

TEST(Server, TakesNoMoreJobsFromAClientThatTakesNoAnswers) {
  SimulatedPlc plc(on_free_port());
  plc.add_fault("silence@1");
  plc.add_fault("late=3600000@2");  // nothing leaves after this one
  Client client(plc.port());
  client.set_up();
  const Bytes job = hex(kRead);
  std::string jobs;
  for (int i = 0; i < 1000; ++i) jobs.append(job.begin(), job.end());
  int refusals = 0;
  for (int i = 0; i < 1000 && refusals < 3; ++i) {
    if (client.visitor.send_some(jobs) > 0) {
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
