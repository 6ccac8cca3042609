#include <functional>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::hex;

using Services = test::ConnectedFixture;

std::function<Value(PlexumLink&)> delete_block(const char* type, const char* number) {
  return [=](PlexumLink& link) { return link.pg_DelBlock(type, number); };
}

TEST_F(Services, AreOneTelegramAndAnyAnswerOfTheirLength) {
  struct Case {
    std::function<Value(PlexumLink&)> call;
    std::size_t answer_length;
    const char* telegram;
  };
  const Case cases[] = {
      {&PlexumLink::pg_plcstop, 20,
       "03 00 00 21 02 F0 80 32 01 00 00 03 00 00 10 00 00 29 00 00 00 00 00 09"
       "50 5F 50 52 4F 47 52 41 4D"},
      {&PlexumLink::pg_plcstart, 20,
       "03 00 00 25 02 F0 80 32 01 00 00 03 00 00 14 00 00 28 00 00 00 00 00 00 FD 00 00 09"
       "50 5F 50 52 4F 47 52 41 4D"},
      // Two bytes shorter than it says.
      {&PlexumLink::pg_Ramtorom, 20,
       "03 00 00 25 02 F0 80 32 01 00 00 07 00 00 12 00 00 28 00 00 00 00 00 00 FD 00 02 45 50 05"
       "5F 4D 4F 44 55"},
      {&PlexumLink::pg_plccompress, 20,
       "03 00 00 21 02 F0 80 32 01 00 00 33 00 00 10 00 00 28 00 00 00 00 00 00 FD 00 00 05"
       "5F 47 41 52 42"},
      {&PlexumLink::pg_plcErase, 33,
       "03 00 00 39 02 F0 80 32 07 00 00 04 00 00 0C 00 1C 00 01 12 08 12 41 0C 00 00 00 00 00"
       "FF 09 00 18 00 14 00 00 00 00 00 00 00 01 00 00 00 00 00 01 00 01 00 01 00 01 00 00"},
      {delete_block("DB", "00005"), 20,
       "03 00 00 2B 02 F0 80 32 01 00 00 6B 00 00 1A 00 00 28 00 00 00 00 00 00 FD 00 0A 01 00"
       "30 41 30 30 30 30 35 42 05 5F 44 45 4C 45"},
      // An unknown type and a short number leave the lengths as they are.
      {delete_block("db", "12"), 20,
       "03 00 00 2B 02 F0 80 32 01 00 00 6B 00 00 1A 00 00 28 00 00 00 00 00 00 FD 00 0A 01 00"
       "31 32 42 05 5F 44 45 4C 45"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.telegram);
    connect();
    tcp_client.answers = {std::string(c.answer_length, '\xD2')};
    EXPECT_EQ(c.call(link), Value(true)) << "a refusal is an answer too";
    ASSERT_EQ(tcp_client.sent.size(), 1u);
    EXPECT_EQ(hex(tcp_client.sent[0]), hex(bytes(c.telegram)));
    EXPECT_EQ(environment.waits, 0);
    EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  }
}

}  // namespace
}  // namespace plexum
