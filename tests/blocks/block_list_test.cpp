#include <string>
#include <vector>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::hex;

class BlockList : public test::LinkFixture {
 protected:
  void SetUp() override { connect(); }

  static std::string answer(const std::string& entries) { return std::string(33, 'x') + entries; }

  static Value numbers(const std::vector<double>& list) {
    VariantArray array;
    for (const double number : list) array.elements.emplace_back(number);
    return array;
  }
};

TEST_F(BlockList, TheRequestNamesTheType) {
  struct Case {
    const char *type, *code;
  };
  for (const Case& c : {Case{"OB", " 30 38"}, {"SFB", " 30 46"}, {"db", ""}, {"", ""}}) {
    tcp_client.answers = {answer("abcd")};
    link.pg_ListBlock(c.type);
    EXPECT_EQ(hex(tcp_client.sent.back()),
              std::string("03 00 00 1F 02 F0 80 32 07 00 00 00 00 00 08 00 06 00 01 12 04 11 43 02 "
                          "00 FF 09 00 02") +
                  c.code);
  }
}

TEST_F(BlockList, TheEntriesOfTheAnswer) {
  struct Case {
    std::size_t header;
    const char* entries;
    std::vector<double> expected;  // none: error 9
  };
  const Case cases[] = {
      {33, "00 01 22 05 00 0A 22 05", {1, 10}},
      {33, "FF FF 00 00", {65535}},
      {33, "00 07 22", {7}},
      {33, "00 01 22 05 00 02", {1, 2}},
      {33, "00 01 22 05 00 02 22", {1, 2}},
      {33, "01", {}},
      {33, "00 01", {}},
      {33, "00 01 22 05 00", {}},
      {33, "00 01 22 05 00 02 22 05 00 03", {}},  // two and a half: the half is evened away
      {33, "00 01 22 05 00 02 22 05 00 03 22 05 00 04", {1, 2, 3, 4}},
      {25, "", {}},
      {32, "", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.entries);
    tcp_client.answers = {std::string(c.header, 'x') + bytes(c.entries)};
    Value result;
    EXPECT_EQ(error_of([&] { result = link.pg_ListBlock("DB"); }),
              c.expected.empty() ? kSubscriptOutOfRange : 0);
    EXPECT_EQ(result, c.expected.empty() ? Value() : numbers(c.expected));
    EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  }
}

TEST_F(BlockList, AnEmptyListStaysInUse) {
  tcp_client.answers = {answer("")};
  EXPECT_EQ(link.pg_ListBlock("FC"), Value(VariantArray{0, {Value()}}));
  EXPECT_EQ(state(), "0 inuse s7init 0 Send/Receive Ready");
}

TEST_F(BlockList, AShortAnswerIsAskedForAgain) {
  tcp_client.answers = {std::string(24, 'x'), "", answer(bytes("00 05 22 05"))};
  environment.on_wait = [&](std::uint32_t ms) {
    EXPECT_EQ(link.status_text(), "Read Wait Data");
    return ms;
  };
  EXPECT_EQ(link.pg_ListBlock("DB"), numbers({5}));
  EXPECT_EQ(tcp_client.sent.size(), 3u);
  EXPECT_EQ(tcp_client.sent[0], tcp_client.sent[2]);
  EXPECT_EQ(environment.waits, 12);
  EXPECT_EQ(environment.pumps, 2);
  EXPECT_EQ(state(), "0 idle no-s7init 2 Send/Receive Ready") << "a time-out shows in s7init";

  // The count is the host's to set while it waits; at its limit it overflows.
  link.ag_exit();
  environment.on_wait = [](std::uint32_t ms) { return ms; };
  connect();
  environment.on_process_messages = [&] { link.auftrag_Fehler = 32767; };
  EXPECT_EQ(error_of([&] { link.pg_ListBlock("DB"); }), kOverflow);
  EXPECT_EQ(tcp_client.sent.size(), 1u);
}

}  // namespace
}  // namespace plexum
