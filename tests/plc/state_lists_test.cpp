#include <string>

#include "support/link_fixture.h"

namespace plexum {

using test::hex;

namespace {

using test::error_of;
const std::string kListHead =
    "03 00 00 21 02 F0 80 32 07 00 00 61 00 00 08 00 08 00 01 12 04 11 44 01 00 FF 09 00 04 ";
const std::string kRunModeRequest = kListHead + "04 24 00 00";

class StateLists : public test::ConnectedFixture {
 protected:
  static std::string mode_answer(char mode) { return std::string(42, 'x') + mode; }
};

TEST_F(StateLists, TheRunModesBitsLeastSignificantFirst) {
  tcp_client.answers = {mode_answer('\xA1') + "more"};
  VariantArray bits;
  for (const char* bit : {"1", "0", "0", "0", "0", "1", "0", "1"}) {
    bits.elements.emplace_back(std::string(bit));
  }
  EXPECT_EQ(link.pg_plcRunMode(), Value(bits));
  EXPECT_EQ(hex(tcp_client.sent.back()), kRunModeRequest);
  EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");

  tcp_client.answers = {std::string(42, 'x')};
  EXPECT_EQ(error_of([&] { link.pg_plcRunMode(); }), kSubscriptOutOfRange);
  EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  EXPECT_TRUE(environment.boxes.empty());
}

TEST_F(StateLists, TheLampListShowsItsLengthFirst) {
  tcp_client.answers = {std::string(29, 'x') + std::string(6, '\xC0')};
  const Value byte = std::int16_t{0xC0};
  EXPECT_EQ(link.pg_SZL(), Value(VariantArray{1, std::vector<Value>(6, byte)}));
  EXPECT_EQ(hex(tcp_client.sent.back()), kListHead + "01 19 00 00");
  EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  EXPECT_EQ(error_of([&] { link.pg_SZL(); }), kInvalidArgument) << "no box for a time-out's error";
  connect();
  tcp_client.answers = {std::string(34, '\0')};
  EXPECT_EQ(error_of([&] { link.pg_SZL(); }), kSubscriptOutOfRange);
  EXPECT_EQ(environment.boxes, std::vector<std::string>{"0"});
}

}  // namespace
}  // namespace plexum
