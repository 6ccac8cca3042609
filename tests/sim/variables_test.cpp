#include "sim/variables.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

// Items: 12 0A 10, transport size, count, data block, area, bit address.
TEST(Variables, ReadsOrTellsOfEachItemWhyItCannot) {
  const Exchange exchanges[] = {
      // clang-format off
      //                       fn n  syntax   ts count db    ar address
      {"BYTE",                "04 01 12 0A 10 02 00 04 00 01 84 00 00 08", "04 01 | FF 04 00 20 01 02 03 04"},
      {"BIT",                 "04 01 12 0A 10 01 00 01 00 01 84 00 01 22", "04 01 | FF 03 00 01 01"},
      {"CHAR",                "04 01 12 0A 10 03 00 05 00 01 84 00 01 40", "04 01 | FF 09 00 05 'Hello'"},
      {"WORD",                "04 01 12 0A 10 04 00 01 00 01 84 00 00 80", "04 01 | FF 04 00 10 12 34"},
      {"INT",                 "04 01 12 0A 10 05 00 01 00 01 84 00 00 90", "04 01 | FF 05 00 10 FF FE"},
      {"DWORD",               "04 01 12 0A 10 06 00 01 00 01 84 00 00 A0", "04 01 | FF 04 00 20 12 34 56 78"},
      {"DINT",                "04 01 12 0A 10 07 00 01 00 01 84 00 00 C0", "04 01 | FF 05 00 20 FF FE 79 60"},
      {"REAL",                "04 01 12 0A 10 08 00 02 00 01 84 00 00 E0", "04 01 | FF 07 00 08 40 48 F5 C3 C0 00 00 00"},
      {"inputs",              "04 01 12 0A 10 02 00 03 00 00 81 00 00 00", "04 01 | FF 04 00 18 01 02 04"},
      {"flags, last byte",    "04 01 12 0A 10 02 00 01 00 00 83 00 3F F8", "04 01 | FF 04 00 08 00"},
      {"timers 1 and 2",      "04 01 12 0A 10 1D 00 02 00 00 1D 00 00 01", "04 01 | FF 09 00 04 20 10 20 20"},
      {"timer 1 as bytes",    "04 01 12 0A 10 02 00 02 00 00 1D 00 00 10", "04 01 | FF 04 00 10 20 10"},
      {"counter 3",           "04 01 12 0A 10 1C 00 01 00 00 1C 00 00 03", "04 01 | FF 09 00 02 00 33"},
      {"across the DB's end", "04 01 12 0A 10 02 00 02 00 01 84 00 1F F8", "04 01 | 05 00 00 00"},
      {"beyond the timers",   "04 01 12 0A 10 1D 00 01 00 00 1D 00 01 00", "04 01 | 05 00 00 00"},
      {"the largest address", "04 01 12 0A 10 08 FF FF 00 01 84 FF FF FF", "04 01 | 05 00 00 00"},
      {"bytes between bytes", "04 01 12 0A 10 02 00 01 00 01 84 00 00 54", "04 01 | 05 00 00 00"},
      {"nothing",             "04 01 12 0A 10 02 00 00 00 01 84 00 00 00", "04 01 | 05 00 00 00"},
      {"two bits",            "04 01 12 0A 10 01 00 02 00 01 84 00 00 00", "04 01 | 06 00 00 00"},
      {"unknown type",        "04 01 12 0A 10 77 00 01 00 01 84 00 00 00", "04 01 | 06 00 00 00"},
      {"words of timers",     "04 01 12 0A 10 04 00 01 00 00 1D 00 00 00", "04 01 | 06 00 00 00"},
      {"timers in a DB",      "04 01 12 0A 10 1D 00 01 00 01 84 00 00 00", "04 01 | 06 00 00 00"},
      {"other syntax",        "04 01 12 08 B0 01 04 00 01 00 00 00",       "04 01 | 06 00 00 00"},
      {"no such DB",          "04 01 12 0A 10 02 00 01 00 63 84 00 00 00", "04 01 | 0A 00 00 00"},
      {"no such area",        "04 01 12 0A 10 02 00 01 00 01 87 00 00 00", "04 01 | 0A 00 00 00"},
      {"no items",            "04 00",                                     "refused 85 00"},
      {"two, one there",      "04 02 12 0A 10 02 00 01 00 01 84 00 00 00", "refused 85 00"},
      {"bytes behind it",     "04 01 12 0A 10 02 00 01 00 01 84 00 00 00 00", "refused 85 00"},
      {"item of 9 bytes",     "04 01 12 09 10 02 00 01 00 01 84 00 00",    "refused 85 00"},
      {"no variable specification",
                              "04 01 13 0A 10 02 00 01 00 01 84 00 00 00", "refused 85 00"},
      // clang-format on
  };
  Conversation().expect(exchanges);
}

TEST(Variables, WritesOrTellsOfEachItemWhyItCannot) {
  const std::string kFlags = "04 01 12 0A 10 02 00 02 00 00 83 00 00 50";
  const Exchange exchanges[] = {
      // clang-format off
      {"a bit",                 "05 01 12 0A 10 01 00 01 00 00 83 00 00 53 | 00 03 00 01 01", "05 01 | FF"},
      {"another",               "05 01 12 0A 10 01 00 01 00 00 83 00 00 56 | 00 03 00 01 01", "05 01 | FF"},
      {"clear one",             "05 01 12 0A 10 01 00 01 00 00 83 00 00 53 | 00 03 00 01 00", "05 01 | FF"},
      {"bits, read",            kFlags,                                      "04 01 | FF 04 00 10 40 00"},
      {"a word, 12 first",      "05 01 12 0A 10 05 00 01 00 00 83 00 00 50 | 12 05 00 10 12 34", "05 01 | FF"},
      {"word, read",            kFlags,                                      "04 01 | FF 04 00 10 12 34"},
      {"a timer",               "05 01 12 0A 10 1D 00 01 00 00 1D 00 00 00 | 00 09 00 02 00 00", "05 01 | 03"},
      {"a counter as bytes",    "05 01 12 0A 10 02 00 02 00 00 1C 00 00 00 | 00 04 00 10 00 00", "05 01 | 03"},
      {"fewer bytes than said", "05 01 12 0A 10 02 00 02 00 01 84 00 00 00 | 00 04 00 08 00", "05 01 | 07"},
      {"a byte for a bit",      "05 01 12 0A 10 01 00 01 00 01 84 00 00 00 | 00 04 00 08 00", "05 01 | 07"},
      {"no data",               "05 01 12 0A 10 02 00 01 00 01 84 00 00 00 |", "refused 85 00"},
      {"data cut short",        "05 01 12 0A 10 02 00 01 00 01 84 00 00 00 | 00 04 00 08", "refused 85 00"},
      {"data behind the item",  "05 01 12 0A 10 02 00 01 00 01 84 00 00 00 | 00 04 00 08 00 00 00", "refused 85 00"},
      // clang-format on
  };
  Conversation().expect(exchanges);
}

TEST(Variables, PadsAllItemsButTheLastToEven) {
  const Exchange exchanges[] = {
      {"read",
       "04 03 12 0A 10 02 00 01 00 01 84 00 00 08 12 0A 10 02 00 01 00 63 84 00 00 00"
       "      12 0A 10 02 00 03 00 01 84 00 00 10",
       "04 03 | FF 04 00 08 01 00 0A 00 00 00 FF 04 00 18 02 03 04"},
      {"write",
       "05 02 12 0A 10 02 00 01 00 00 83 00 00 00 12 0A 10 02 00 01 00 00 83 00 00 08 |"
       "00 04 00 08 AA 00 00 04 00 08 BB",
       "05 02 | FF FF"},
      {"written", "04 01 12 0A 10 02 00 02 00 00 83 00 00 00", "04 01 | FF 04 00 10 AA BB"},
  };
  Conversation().expect(exchanges);
}

// 240 bytes: a read's answer has 12 of header, 2 of parameter and 4 of item; a write's job has 10
// of header, 14 of parameter and 4 of item.
TEST(Variables, MeasuresJobsAndAnswersByThePdu) {
  const auto write = [](std::size_t count) {
    return "05 01 12 0A 10 02" + dump(Writer().u16(count).take()) + "00 01 84 00 00 00 | 00 04" +
           dump(Writer().u16(8 * count).zeros(count).take());
  };
  const Exchange exchanges[] = {
      {"read 222", "04 01 12 0A 10 02 00 DE 00 01 84 00 00 00", "04 01 | FF 04 06 F0 ..."},
      {"read 223", "04 01 12 0A 10 02 00 DF 00 01 84 00 00 00", "refused 85 00"},
      {"write 212", write(212), "05 01 | FF"},
      {"write 213", write(213), "refused 85 00"},
  };
  Conversation().expect(exchanges);
}

TEST(Variables, TheBlocksOfTheOptionsExist) {
  const Exchange exchanges[] = {
      {"DB 12", "04 01 12 0A 10 02 00 03 00 0C 84 00 00 00", "04 01 | FF 04 00 18 00 00 00"},
      {"DB 1", "04 01 12 0A 10 02 00 01 00 01 84 00 00 00", "04 01 | 0A 00 00 00"},
  };
  Options options;
  options.data_blocks = {parse_data_block("12:3")};
  Conversation(options).expect(exchanges);
  for (const char* text :
       {"", "1", "1:", ":1", "0:1", "1:0", "1:65535", "70000:1", "1:1 ", "-1:1"}) {
    EXPECT_THROW(parse_data_block(text), std::invalid_argument) << text;
  }
}

}  // namespace
}  // namespace plexum::sim
