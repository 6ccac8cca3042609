#include <string>
#include <vector>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::error_of;
using test::hex;

class BlockList : public test::ConnectedFixture {
 protected:
  static std::string answer(const std::string& entries) { return std::string(33, 'x') + entries; }

  static Value numbers(const std::vector<double>& list) {
    VariantArray array;
    for (const double number : list) array.elements.emplace_back(number);
    return array;
  }
};

TEST_F(BlockList, TheRequestNamesTheType) {
  const std::string head =
      "03 00 00 1F 02 F0 80 32 07 00 00 00 00 00 08 00 06 00 01 12 04 11 43 02 00 FF 09 00 02";
  tcp_client.answers = {answer("abcd"), answer("abcd")};
  link.pg_ListBlock("SFB");
  EXPECT_EQ(hex(tcp_client.sent.back()), head + " 30 46");
  link.pg_ListBlock("db");
  EXPECT_EQ(hex(tcp_client.sent.back()), head);
}

TEST_F(BlockList, TheEntriesOfTheAnswer) {
  struct Case {
    const char* entries;
    std::vector<double> expected;  // none: error 9
  };
  const Case cases[] = {
      {"00 01 22 05 00 0A 22 05", {1, 10}},
      {"FF FF 00 00", {65535}},
      // Bytes that are no multiple of four: 3, 6, 7, 11; then 1, 2, 5, 9, 10.
      {"00 07 22", {7}},
      {"00 01 22 05 00 02", {1, 2}},
      {"00 01 22 05 00 02 22", {1, 2}},
      {"00 01 22 05 00 02 22 05 00 03 22", {1, 2, 3}},
      {"00", {}},
      {"00 01", {}},
      {"00 01 22 05 00", {}},
      {"00 01 22 05 00 02 22 05 00", {}},
      {"00 01 22 05 00 02 22 05 00 03", {}},
      {"00 01 22 05 00 02 22 05 00 03 22 05 00 04", {1, 2, 3, 4}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.entries);
    tcp_client.answers = {answer(bytes(c.entries))};
    Value result;
    EXPECT_EQ(error_of([&] { result = link.pg_ListBlock("DB"); }),
              c.expected.empty() ? kSubscriptOutOfRange : 0);
    EXPECT_EQ(result, c.expected.empty() ? Value() : numbers(c.expected));
    EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  }
  tcp_client.answers = {std::string(32, 'x')};
  EXPECT_EQ(error_of([&] { link.pg_ListBlock("DB"); }), kSubscriptOutOfRange);
  tcp_client.answers = {answer("")};
  EXPECT_EQ(link.pg_ListBlock("FC"), Value(VariantArray{0, {Value()}}));
  EXPECT_EQ(state(), "0 inuse s7init 0 Send/Receive Ready") << "an empty list stays in use";
}

// The count of the repetitions is the host's to set while it waits.
TEST_F(BlockList, TheCountOverflowsAtItsLimit) {
  environment.on_process_messages = [&] { link.auftrag_Fehler(32767); };
  EXPECT_EQ(error_of([&] { link.pg_ListBlock("DB"); }), kOverflow);
  EXPECT_EQ(tcp_client.sent.size(), 1u);
}

}  // namespace
}  // namespace plexum
