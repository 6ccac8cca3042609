#include <string>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::error_of;
using test::hex;

// 'X' bit, 'B' byte, 'M' bytes, 'W' word, 'D' double word, 'F' float.
constexpr const char* kMembers = "XBMWDF";

class Writing : public test::ConnectedFixture {
 protected:
  struct Arguments {
    std::string db = "1", startad = "0", wert = "1", area = "D", bitadd = "0";
  };

  static std::string answer(const char* return_code) {
    return bytes("03 00 00 16 02 F0 80 32 03 00 00 02 00 00 02 00 01 00 00 05 01") +
           bytes(return_code);
  }

  bool write(char member, Arguments& a) {
    switch (member) {
      case 'X':
        return link.ag_WriteX(a.db, a.startad, a.wert, a.area, a.bitadd);
      case 'B':
        return std::get<bool>(link.ag_WriteB(a.db, a.startad, a.wert, a.area));
      case 'M':
        return std::get<bool>(link.ag_WriteMB(a.db, a.startad, a.wert, a.area));
      case 'W':
        return link.ag_WriteW(a.db, a.startad, a.wert, a.area);
      case 'D':
        return link.ag_WriteD(a.db, a.startad, a.wert, a.area);
      default:
        return link.ag_WriteF(a.db, a.startad, a.wert, a.area);
    }
  }
};

TEST_F(Writing, TheTelegramsAndWhatTheCallersVariablesHoldThen) {
  struct Case {
    char member;
    Arguments arguments;
    const char* variable;  // DB number, area, bit address
    const char* data;
    const char* startad;  // afterwards
    std::string wert;     // afterwards; "?" where it is some remainder
  };
  const std::string nul_ff("\0\xFF", 2);
  const Case cases[] = {
      {'X', {"0", "10", "1", "M", "3"}, "00 00 83 00 00 53", "01", "83", "1"},
      {'X', {"1", "1", " 254.5 ", "D", "2.9"}, "00 01 84 00 00 0A", "FE", "10", " 254.5 "},
      {'X', {"1", "1", "0.5", "D", "-0.5"}, "00 01 84 00 00 07", "00", "7", "0.5"},
      {'X', {"1", "8191", "1", "D", "7"}, "00 01 84 01 FF FF", "01", "-1", "1"},
      {'B', {"10.9", "4.5", "ABC", "D"}, "00 0A 84 00 00 24", "41 42 43", "4.5", "ABC"},
      {'B', {"0", "-0.125", "x", "E"}, "00 00 81 00 FF FF", "78", "-0.125", "x"},
      {'M', {"65535", "4095.875", nul_ff, "DI"}, "FF FF 85 00 7F FF", "00 FF", "32767", nul_ff},
      {'M', {"1", "2093055.875", "AB", "LD"}, "00 01 86 FF 7F FF", "41 42", "32767", "AB"},
      {'M', {"1", "0", "", "d"}, "00 01 00 00 00", "", "0", ""},
      {'W', {"1", "2", "300.6", "D"}, "00 01 84 00 00 10", "01 2C", "2", "300.6"},
      {'W', {"1", "2", "65535", "T"}, "00 01 00 00 10", "FF FF", "2", "65535"},
      {'D', {"1", "2", "70000", "D"}, "00 01 84 00 00 10", "00 01 11 70", "16", "4464"},
      {'D', {"1", "2", "4294967295", ""}, "00 01 00 00 10", "FF FF FF FF", "16", "65535"},
      {'D', {"1", "2", " 7 ", "M"}, "00 01 83 00 00 10", "00 00 00 07", "16", " 7 "},
      {'F', {"1", "2", "1", "D"}, "00 01 84 00 00 10", "3F 80 00 00", "16", "0"},
      {'F', {"1", "2", "0.0", "D"}, "00 01 84 00 00 10", "00 00 00 00", "16", "0.0"},
      {'F', {"1", "2", "0.1", "D"}, "00 01 84 00 00 10", "3D CC CC CC", "16", "?"},
  };
  const auto number = [](std::size_t value) { return hex({char(value / 256), char(value % 256)}); };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string{c.member} + " " + c.variable + " " + c.data);
    Arguments arguments = c.arguments;
    tcp_client.answers = {answer("FF")};
    EXPECT_TRUE(write(c.member, arguments));
    const std::size_t n = bytes(c.data).size();
    std::string head, item;
    if (c.member == 'X') {
      head = "03 00 00 24 02 F0 80 32 01 00 00 02 00 00 0E 00 05 05 01 12 0A 10 01 00 01";
      item = "00 03 00 01";
    } else if (c.member == 'B') {
      head = "03 00 00 24 02 F0 80 32 01 00 00 02 00 00 0E 00 05 05 01 12 0A 10 02 00 01";
      item = "00 04 00 08";
    } else if (c.member == 'W') {
      head = "03 00 00 25 02 F0 80 32 01 00 00 00 61 00 0E 00 06 05 01 12 0A 10 05 00 01";
      item = "12 05 00 10";
    } else {
      head = "03 00 " + number(n + 35) + " 02 F0 80 32 01 00 00 01 00 00 0E " + number(n + 4) +
             " 05 01 12 0A 10 02 " + number(n);
      item = "00 04 " + number(8 * n);
    }
    EXPECT_EQ(hex(tcp_client.sent.back()),
              hex(bytes(head) + bytes(c.variable) + bytes(item) + bytes(c.data)));
    EXPECT_EQ(arguments.startad, c.startad);
    if (c.wert != "?") {
      EXPECT_EQ(arguments.wert, c.wert);
    }
    EXPECT_EQ(arguments.db, c.arguments.db);
    EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  }
}

TEST_F(Writing, BadArgumentsRaiseAndSendNothing) {
  struct Case {
    const char* members;
    Arguments arguments;
    std::int32_t error;
    std::string startad, wert;  // afterwards; startad for those that write it back
  };
  const std::string too_long(8192, 'x');
  const Case cases[] = {
      {"XBMW", {"65536", "1"}, kInvalidArgument, "8", "1"},
      {"XBMW", {"", "1"}, kTypeMismatch, "8", "1"},
      {"XBMW", {"1", "x"}, kTypeMismatch, "x", "1"},
      {"XBMW", {"1", "4096"}, kOverflow, "32768", "1"},
      {"XBMW", {"1", "2097152"}, kInvalidArgument, "0", "1"},
      {"X", {"1", "1", "1", "D", "x"}, kTypeMismatch, "1", "1"},
      {"X", {"1", "1", "256"}, kInvalidArgument, "8", "256"},
      {"X", {"1", "1", "3E9"}, kOverflow, "8", "3E9"},
      {"XW", {"1", "1", ""}, kTypeMismatch, "8", ""},
      {"W", {"1", "1", "65536"}, kInvalidArgument, "8", "65536"},
      {"M", {"1", "1", too_long}, kInvalidArgument, "8", too_long},
      // These two convert before they begin a job.
      {"DF", {"1", "1", "x"}, kTypeMismatch, "1", "x"},
      {"D", {"1", "1", "-1"}, kInvalidArgument, "1", "-1"},
      {"D", {"1", "1", "65535.7"}, kInvalidArgument, "1", "65535.7"},
      {"D", {"1", "1", "4294967296"}, kInvalidArgument, "1", "0"},
      {"D", {"1", "1", "1E15"}, kOverflow, "1", "32768"},
  };
  for (const Case& c : cases) {
    for (const char* member = c.members; *member != '\0'; ++member) {
      SCOPED_TRACE(std::string{*member} + " " + c.arguments.db + " " + c.arguments.startad + " " +
                   c.arguments.wert.substr(0, 20));
      link.inuse(false);
      Arguments arguments = c.arguments;
      EXPECT_EQ(error_of([&] { write(*member, arguments); }), c.error);
      const bool copies = *member == 'B' || *member == 'W';
      EXPECT_EQ(arguments.startad, copies ? c.arguments.startad : c.startad);
      EXPECT_EQ(arguments.wert, c.wert);
      EXPECT_EQ(state(), *member == 'D' || *member == 'F' ? "0 idle s7init 0 Send/Receive Ready"
                                                          : "0 inuse s7init 0 Send/Receive Ready");
    }
  }
  EXPECT_TRUE(tcp_client.sent.empty());
  Arguments longest;
  longest.wert = too_long.substr(1);
  tcp_client.answers = {answer("FF")};
  EXPECT_TRUE(write('M', longest));
  EXPECT_EQ(tcp_client.sent[0].size(), 8191u + 35);
}

TEST_F(Writing, TheReturnCodeDecides) {
  struct Case {
    const char* return_code;
    bool result;
    const char* state;
  };
  for (const char* member = kMembers; *member != '\0'; ++member) {
    for (const Case& c : {Case{"FF", true, "0 idle s7init 9 Send/Receive Ready"},
                          {"00", true, "0 idle s7init 9 Send/Receive Ready"},
                          {"05", false, "5 idle s7init 9 Send/Receive Ready"},
                          {"FE 00 00", false, "254 idle s7init 9 Send/Receive Ready"}}) {
      link.err(0);
      link.auftrag_Fehler(9);  // not theirs
      tcp_client.answers = {answer(c.return_code)};
      Arguments arguments;
      EXPECT_EQ(write(*member, arguments), c.result) << *member << c.return_code;
      EXPECT_EQ(state(), c.state) << *member;
    }
  }
}

}  // namespace
}  // namespace plexum
