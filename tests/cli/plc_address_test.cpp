#include "cli/plc/plc_address.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "cli/text/failure.h"

namespace plexum::cli {
namespace {

// area block start count type, and where they aren't usual bit, elements and room.
std::string parsed(const std::string& text) {
  const PlcAddress a = parse_address(text);
  char area[8];
  std::snprintf(area, sizeof area, "%02X", static_cast<unsigned>(a.item.area));
  std::string found = area;
  found += " " + std::to_string(a.item.block) + " " + std::to_string(a.item.start) + " " +
           std::to_string(a.item.count) + " " + name_of(a.type);
  if (a.type == PlcType::kBool) found += " bit " + std::to_string(a.bit);
  if (a.array) found += " x" + std::to_string(a.count);
  if (a.max_length > 0) found += " room " + std::to_string(a.max_length);
  if (a.output) found += " output";
  EXPECT_TRUE(a.item.is_valid()) << text;
  return found + (a.readable ? "" : " unreadable") + (a.writable ? "" : " unwritable");
}

TEST(PlcAddress, IsWrittenInBothDialects) {
  struct Case {
    const char *text, *expected;
  };
  const Case cases[] = {
      {"DB10.DBW4", "84 10 4 2 WORD"},
      {"%db10.dbd8:real", "84 10 8 4 REAL"},
      {"DB10.DBX0.3", "84 10 0 1 BOOL bit 3"},
      {"DB1.DBX0.4[10]", "84 1 0 2 BOOL bit 4 x10"},
      {"DI10.DIW4:INT", "85 10 4 2 INT"},
      {"DB1.DBB0[100]", "84 1 0 100 BYTE x100"},
      {"MW20[8]:INT", "83 0 20 16 INT x8"},
      {"MW20:INT[8]", "83 0 20 16 INT x8"},
      {"MB7[1]", "83 0 7 1 BYTE x1"},
      {"DB1.DBB40[5]:CHAR", "84 1 40 5 CHAR x5"},
      {"DB1.DBB38:STRING", "84 1 38 2 STRING"},
      {"DB1.DBB38:STRING[24]", "84 1 38 26 STRING room 24"},
      {"DB1.DBB38[3]:STRING[24]", "84 1 38 78 STRING x3 room 24"},
      {"M5.1", "83 0 5 1 BOOL bit 1"},
      {"MD8:DINT", "83 0 8 4 DINT"},
      {"I0.1", "81 0 0 1 BOOL bit 1"},
      {"EB0", "81 0 0 1 BYTE"},
      {"ID4", "81 0 4 4 DWORD"},
      {"ED4", "81 0 4 4 DWORD"},
      {"QW2", "82 0 2 2 WORD output"},
      {"A0.7", "82 0 0 1 BOOL bit 7 output"},
      {"LD0", "86 0 0 4 DWORD"},
      {"PIW256", "80 0 256 1 WORD unwritable"},
      {"PEW256", "80 0 256 1 WORD unwritable"},
      {"PQB0", "80 0 0 1 BYTE output unreadable"},
      {"PAD4", "80 0 4 1 DWORD output unreadable"},
      {"T5", "1D 0 5 1 S5TIME unwritable"},
      {"C3", "1C 0 3 1 COUNTER unwritable"},
      {"Z3[2]", "1C 0 3 2 COUNTER x2 unwritable"},
      {"T2047", "1D 0 2047 1 S5TIME unwritable"},
      {"DB65535.DBB8192", "84 65535 8192 1 BYTE"},
      {"DB1.DBB4096", "84 1 4096 1 BYTE"},
      {"DB1.DBD65532", "84 1 65532 4 DWORD"},
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
      {"DB1.DBD65533", "out of range"},
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
