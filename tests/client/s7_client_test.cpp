#include "client/s7_client.h"

#include <gtest/gtest.h>

#include "cli/link/local_platform.h"
#include "sim/simulated_plc.h"

namespace plexum::client {
namespace {

sim::Options on_a_free_port() {
  sim::Options options;
  options.port = 0;
  return options;
}

class ClientAndPlc : public testing::Test {
 protected:
  sim::SimulatedPlc plc{on_a_free_port()};
  cli::LocalPlatform platform;
  S7Client client{platform.environment(), platform.tcp_client()};

  void connect() { client.connect({.host = "127.0.0.1", .port = plc.port()}); }
};

TEST_F(ClientAndPlc, Smoke) {
  connect();
  EXPECT_EQ(client.granted().pdu, 240u);
  EXPECT_EQ(client.granted().calling_jobs, 3u);
  const ReadOutcome outcome = client.read({.block = 1, .count = 4});
  EXPECT_TRUE(outcome.ok());
  EXPECT_EQ(outcome.data, std::string("\0\1\2\3", 4));
  EXPECT_EQ(client.read({.block = 1, .count = 1000}).data.size(), 1000u);
  EXPECT_TRUE(client.write({{.block = 2, .start = 10, .count = 900}, std::string(900, 'x')}).ok());
  EXPECT_EQ(client.read({.block = 2, .start = 9, .count = 3}).data, std::string("\0xx", 3));
}

}  // namespace
}  // namespace plexum::client
