#include <functional>
#include <string>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::hex;

class Services : public test::LinkFixture {
 protected:
  struct Case {
    const char* name;
    std::function<Value(PlexumLink&)> call;
    const char* telegram;
    std::size_t answer_length;
    const char* waiting_text;
  };

  static std::function<Value(PlexumLink&)> delete_block(const char* type, const char* number) {
    return [=](PlexumLink& link) { return link.pg_DelBlock(type, number); };
  }

  const Case cases[11] = {
      {"stop", &PlexumLink::pg_plcstop,
       "03 00 00 21 02 F0 80 32 01 00 00 03 00 00 10 00 00 29 00 00 00 00 00 09"
       "50 5F 50 52 4F 47 52 41 4D",
       20, "PLC Stop"},
      {"start", &PlexumLink::pg_plcstart,
       "03 00 00 25 02 F0 80 32 01 00 00 03 00 00 14 00 00 28 00 00 00 00 00 00 FD 00 00 09"
       "50 5F 50 52 4F 47 52 41 4D",
       20, "PLC Stop"},
      {"copy, two bytes shorter than it says", &PlexumLink::pg_Ramtorom,
       "03 00 00 25 02 F0 80 32 01 00 00 07 00 00 12 00 00 28 00 00 00 00 00 00 FD 00 02 45 50 05"
       "5F 4D 4F 44 55",
       20, "PLC Stop"},
      {"compress", &PlexumLink::pg_plccompress,
       "03 00 00 21 02 F0 80 32 01 00 00 33 00 00 10 00 00 28 00 00 00 00 00 00 FD 00 00 05"
       "5F 47 41 52 42",
       20, "PLC Stop"},
      {"erase", &PlexumLink::pg_plcErase,
       "03 00 00 39 02 F0 80 32 07 00 00 04 00 00 0C 00 1C 00 01 12 08 12 41 0C 00 00 00 00 00"
       "FF 09 00 18 00 14 00 00 00 00 00 00 00 01 00 00 00 00 00 01 00 01 00 01 00 01 00 00",
       33, "PLC Stop"},
      {"delete", delete_block("DB", "00005"),
       "03 00 00 2B 02 F0 80 32 01 00 00 6B 00 00 1A 00 00 28 00 00 00 00 00 00 FD 00 0A 01 00"
       "30 41 30 30 30 30 35 42 05 5F 44 45 4C 45",
       20, "Del Block"},
      {"delete, no such type", delete_block("db", "00005"),
       "03 00 00 2B 02 F0 80 32 01 00 00 6B 00 00 1A 00 00 28 00 00 00 00 00 00 FD 00 0A 01 00"
       "30 30 30 30 35 42 05 5F 44 45 4C 45",
       20, "Del Block"},
      {"delete, short number", delete_block("FB", "12"),
       "03 00 00 2B 02 F0 80 32 01 00 00 6B 00 00 1A 00 00 28 00 00 00 00 00 00 FD 00 0A 01 00"
       "30 45 31 32 42 05 5F 44 45 4C 45",
       20, "Del Block"},
      {"delete, no number", delete_block("SFB", ""),
       "03 00 00 2B 02 F0 80 32 01 00 00 6B 00 00 1A 00 00 28 00 00 00 00 00 00 FD 00 0A 01 00"
       "30 46 42 05 5F 44 45 4C 45",
       20, "Del Block"},
      {"delete", delete_block("OB", "x"),
       "03 00 00 2B 02 F0 80 32 01 00 00 6B 00 00 1A 00 00 28 00 00 00 00 00 00 FD 00 0A 01 00"
       "30 38 78 42 05 5F 44 45 4C 45",
       20, "Del Block"},
      {"delete", delete_block("SDB ", "x"),
       "03 00 00 2B 02 F0 80 32 01 00 00 6B 00 00 1A 00 00 28 00 00 00 00 00 00 FD 00 0A 01 00"
       "78 42 05 5F 44 45 4C 45",
       20, "Del Block"},
  };
};

TEST_F(Services, AreOneTelegramAndAnyAnswerOfTheirLength) {
  connect();
  link.auftrag_Fehler = 9;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    forget();
    std::string sending, waiting;
    tcp_client.on_send = [&](const std::string&) { sending = link.status_text(); };
    environment.on_wait = [&](std::uint32_t ms) {
      EXPECT_TRUE(link.inuse);
      waiting = link.status_text();
      tcp_client.available += std::string(environment.waits == 1 ? c.answer_length - 1 : 1, '\xD2');
      return ms;
    };
    EXPECT_EQ(c.call(link), Value(true)) << "a refusal is an answer too";
    ASSERT_EQ(tcp_client.sent.size(), 1u);
    EXPECT_EQ(hex(tcp_client.sent[0]), hex(bytes(c.telegram)));
    EXPECT_EQ(sending, "Wreit Send Data");
    EXPECT_EQ(waiting, c.waiting_text);
    EXPECT_EQ(environment.waits, 2);
    EXPECT_EQ(state(), "0 idle s7init 9 Send/Receive Ready");
  }
}

TEST_F(Services, AnEraseAnsweredLikeTheOthersIsATimeOut) {
  connect();
  tcp_client.answers = {bytes("03 00 00 14 02 F0 80 32 07 00 00 04 00 00 0C 00 00 00 01 12")};
  EXPECT_EQ(link.pg_plcErase(), Value(false));
  EXPECT_EQ(state(), "1 idle no-s7init 0 Send/Receive Ready");
}

}  // namespace
}  // namespace plexum
