#include "cli/plc/plc_address.h"

#include <gtest/gtest.h>

#include "cli/text/failure.h"

namespace plexum::cli {
namespace {

// area block start size type, and where they aren't usual bit, count and room.
std::string parsed(const std::string& text) {
  const PlcAddress a = parse_address(text);
  std::string found = a.range.area + " " + std::to_string(a.range.block) + " " +
                      std::to_string(a.range.start) + " " + std::to_string(a.range.size) + " " +
                      name_of(a.type);
  if (a.type == PlcType::kBool) found += " bit " + std::to_string(a.bit);
  if (a.array) found += " x" + std::to_string(a.count);
  if (a.max_length > 0) found += " room " + std::to_string(a.max_length);
  if (a.output) found += " output";
  return found + (a.readable ? "" : " unreadable") + (a.writable ? "" : " unwritable");
}

TEST(PlcAddress, IsWrittenInBothDialects) {
  struct Case {
    const char *text, *expected;
  };
  const Case cases[] = {
      {"DB10.DBW4", "D 10 4 2 WORD"},
      {"%db10.dbd8:real", "D 10 8 4 REAL"},
      {"DB10.DBX0.3", "D 10 0 1 BOOL bit 3"},
      {"DB1.DBX0.4[10]", "D 1 0 2 BOOL bit 4 x10"},
      {"DI10.DIW4:INT", "DI 10 4 2 INT"},
      {"DB1.DBB0[100]", "D 1 0 100 BYTE x100"},
      {"MW20[8]:INT", "M 0 20 16 INT x8"},
      {"MW20:INT[8]", "M 0 20 16 INT x8"},
      {"MB7[1]", "M 0 7 1 BYTE x1"},
      {"DB1.DBB40[5]:CHAR", "D 1 40 5 CHAR x5"},
      {"DB1.DBB38:STRING", "D 1 38 2 STRING"},
      {"DB1.DBB38:STRING[24]", "D 1 38 26 STRING room 24"},
      {"DB1.DBB38[3]:STRING[24]", "D 1 38 78 STRING x3 room 24"},
      {"M5.1", "M 0 5 1 BOOL bit 1"},
      {"MD8:DINT", "M 0 8 4 DINT"},
      {"I0.1", "E 0 0 1 BOOL bit 1"},
      {"EB0", "E 0 0 1 BYTE"},
      {"ID4", "E 0 4 4 DWORD"},
      {"ED4", "E 0 4 4 DWORD"},
      {"QW2", "A 0 2 2 WORD output"},
      {"A0.7", "A 0 0 1 BOOL bit 7 output"},
      {"LD0", "LD 0 0 4 DWORD"},
      {"PIW256", "P 0 256 2 WORD unwritable"},
      {"PEW256", "P 0 256 2 WORD unwritable"},
      {"PQB0", "P 0 0 1 BYTE output unreadable"},
      {"PAD4", "P 0 4 4 DWORD output unreadable"},
      {"T5", "T 0 10 2 S5TIME unwritable"},
      {"C3", "Z 0 6 2 COUNTER unwritable"},
      {"Z3[2]", "Z 0 6 4 COUNTER x2 unwritable"},
      {"T2047", "T 0 4094 2 S5TIME unwritable"},
      {"DB65535.DBB8192", "D 65535 8192 1 BYTE"},
      {"DB1.DBB4095", "D 1 4095 1 BYTE"},
  };
  for (const Case& c : cases) EXPECT_EQ(parsed(c.text), c.expected) << c.text;
}

TEST(PlcAddress, WhatIsNoneGetsARightExample) {
  struct Case {
    const char *text, *part;
  };
  const Case cases[] = {
      {"", "is no address; write one such as DB10.DBW4"},
      {"DB10W4", "is no address"},
      {"DB10.DIW4", "is no address"},
      {"MW-2", "is no address"},
      {"MW2 ", "is no address"},
      {"MW99999999", "is no address"},
      {"DB0.DBW4", "1 to 65535"},
      {"DB65536.DBW4", "1 to 65535"},
      {"M5.8", "write M5.7"},
      {"M5", "MB5, MW5 or MD5, or M5.0"},
      {"DB1.DB5", "DB1.DBB5, DB1.DBW5 or DB1.DBD5, or DB1.DBX5.0"},
      {"DB1.DBX5", "write DB1.DBX5.0"},
      {"DB1.DBW5.3", "write DB1.DBX5.3"},
      {"PIB0.1", "write PIB0"},
      {"PI0.1", "write PIB0"},
      {"TW5", "write T5"},
      {"MB5:INT", "write MW5:INT"},
      {"MW5:BOOL", "write M5.0"},
      {"MD5:FLOAT", "there are BOOL, BYTE"},
      {"T5:WORD", "leave the type out"},
      {"MW5:S5TIME", "leave the type out"},
      {"MW5[2]:INT[3]", "two counts"},
      {"MW5[0]", "out of range"},
      {"MB65535[2]", "out of range"},
      {"T2047[2]", "out of range"},
      {"MB0:STRING[255]", "1 to 254"},
      {"MB0[2]:STRING", "STRING[24]"},
      {"DB1.DBB4096", "can't address byte 4096"},
      {"DB1.DBB8191", "can't address byte 8191"},
  };
  for (const Case& c : cases) {
    try {
      ADD_FAILURE() << c.text << " is " << parsed(c.text);
    } catch (const Failure& failure) {
      EXPECT_NE(std::string(failure.what()).find(c.part), std::string::npos) << failure.what();
      EXPECT_EQ(failure.code(), ExitCode::kUsage);
    }
  }
}

}  // namespace
}  // namespace plexum::cli
