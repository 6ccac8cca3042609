#include "sim/server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <vector>

#include "sim/simulated_plc.h"
#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

constexpr std::size_t kReadAnswerSize = 29;

Options on_free_port() {
  Options options;
  options.port = 0;
  return options;
}

// A plain blocking client.
class Client {
 public:
  explicit Client(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    const timeval patience{10, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  ~Client() { ::close(socket_); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  void send(ByteView bytes) {
    EXPECT_EQ(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }

  // The next `count` bytes; fewer, and how it ended, when the connection ends before.
  std::string receive(std::size_t count) {
    Bytes bytes(count);
    std::size_t have = 0;
    std::string end;
    while (have < count) {
      const ssize_t got = ::recv(socket_, bytes.data() + have, count - have, 0);
      if (got <= 0) {
        end = got == 0 ? " closed" : errno == ECONNRESET ? " reset" : " silent";
        break;
      }
      have += static_cast<std::size_t>(got);
    }
    return dump(ByteView(bytes).first(have)) + end;
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

  int descriptor() const { return socket_; }

 private:
  int socket_;
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
  ::shutdown(client.descriptor(), SHUT_WR);
  EXPECT_EQ(client.receive(kReadAnswerSize + 1), kReadAnswer + " closed");
}

TEST(Server, TellsAResetFromAnOrderlyEnd) {
  SimulatedPlc plc(on_free_port());
  for (const char* fault : {"close", "reset"}) {
    plc.clear_faults();
    Client client(plc.port());
    client.set_up();
    plc.add_fault(fault);
    EXPECT_EQ(client.ask(), fault == std::string("close") ? " closed" : " reset");
  }
}

TEST(Server, LivesThroughClientsThatVanish) {
  SimulatedPlc plc(on_free_port());
  plc.add_fault("late=10");
  for (int i = 0; i < 2 * static_cast<int>(Options::kMostConnections); ++i) {
    Client client(plc.port());
    client.set_up();
    client.send(hex(kRead));
    const linger at_once{1, 0};
    ::setsockopt(client.descriptor(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
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
  const timeval patience{0, 300'000};
  ::setsockopt(client.descriptor(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  const Bytes jobs = [] {
    Bytes many;
    const Bytes job = hex(kRead);
    for (int i = 0; i < 1000; ++i) many.insert(many.end(), job.begin(), job.end());
    return many;
  }();
  bool stopped = false;
  for (int i = 0; i < 1000 && !stopped; ++i) {
    stopped = ::send(client.descriptor(), jobs.data(), jobs.size(), MSG_NOSIGNAL) < 0;
  }
  EXPECT_TRUE(stopped);
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
