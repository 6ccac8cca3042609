#include "cli/plc/plc_value.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli/text/failure.h"
#include "support/hex.h"

namespace plexum::cli {
namespace {

TEST(PlcValue, BytesAsTextAndJson) {
  struct Case {
    const char *address, *bytes, *text, *json;
  };
  const Case cases[] = {
      {"M0.3", "08", "1", "true"},
      {"M0.6[4]", "40 02", "1 0 0 1", "[true,false,false,true]"},
      {"MB0", "FF", "255", "255"},
      {"MB0[1]", "FF", "255", "[255]"},
      {"MW0", "FF FE", "65534", "65534"},
      {"MW0[2]:INT", "FF FE 12 34", "-2 4660", "[-2,4660]"},
      {"MD0", "FF FE 79 60", "4294867296", "4294867296"},
      {"MD0:DINT", "FF FE 79 60", "-100000", "-100000"},
      {"MD0:REAL", "40 48 F5 C3", "3.14", "3.14"},
      {"MD0:REAL", "00 00 00 01", "1e-45", "1e-45"},
      {"MD0:REAL", "80 00 00 00", "-0", "-0.0"},
      {"MD0:REAL", "7F C0 00 00", "NaN", "\"NaN\""},
      {"MD0:REAL", "FF 80 00 00", "-Inf", "\"-Infinity\""},
      {"MB0:CHAR", "41", "A", "\"A\""},
      {"MB0[3]:CHAR", "41 1B FC", "A\\x1Bü", "\"A\\u001bü\""},
      {"MB0:STRING[4]", "04 02 48 69 00 00", "Hi", "\"Hi\""},
      {"MB0:STRING", "FE 02 48 69", "Hi", "\"Hi\""},
      {"MB0[2]:STRING[1]", "01 01 48 01 00 00", "\"H\" \"\"", "[\"H\",\"\"]"},
      {"T0", "20 50", "S5T#50S", "50000"},
      {"T0", "35 40", "S5T#1H30M", "5400000"},
      {"T0", "00 25", "S5T#250MS", "250"},
      {"T0", "00 00", "S5T#0MS", "0"},
      {"T0", "20 5A", "16#205A", "\"16#205A\""},
      {"C0", "09 99", "999", "999"},
  };
  for (const Case& c : cases) {
    const PlcAddress address = parse_address(c.address);
    const std::vector<PlcValue> values = values_of(address, test::bytes(c.bytes));
    EXPECT_EQ(text_of_all(address, values), c.text) << c.address;
    EXPECT_EQ(json_of_all(address, values).dump(), c.json) << c.address;
  }
  EXPECT_THROW(values_of(parse_address("MB0:STRING[4]"), test::bytes("04 05 48 69 00 00")),
               Failure);
}

TEST(PlcValue, TextAsBytes) {
  struct Case {
    const char *address, *text, *bytes;  // or a part of the refusal
  };
  const Case cases[] = {
      {"MB0", "255", "FF"},
      {"MB0", "256", "0 to 255"},
      {"MW0", "W#16#1234", "12 34"},
      {"MW0", "0xffff", "FF FF"},
      {"MW0", "2#101", "00 05"},
      {"MW0", "-1", "0 to 65535"},
      {"MW0", "65536", "0 to 65535"},
      {"MW0", "", "\"\" is no WORD"},
      {"MW0", "16#", "is no WORD"},
      {"MW0", "1x", "is no WORD"},
      {"MW0", "--1", "is no WORD"},
      {"MW0:INT", "-32768", "80 00"},
      {"MW0:INT", "-32769", "-32768 to 32767"},
      {"MW0:INT", "32768", "-32768 to 32767"},
      {"MD0", "dw#16#ffffffff", "FF FF FF FF"},
      {"MD0", "4294967296", "0 to 4294967295"},
      {"MD0:DINT", "L#-100000", "FF FE 79 60"},
      {"MD0:DINT", "-2147483648", "80 00 00 00"},
      {"MD0:REAL", "3.14", "40 48 F5 C3"},
      {"MD0:REAL", "+1e1", "41 20 00 00"},
      {"MD0:REAL", "-inf", "FF 80 00 00"},
      {"MD0:REAL", "3,14", "such as 3.14"},
      {"MD0:REAL", "1e39", "below 3.5e38"},
      {"MB0:CHAR", "ü", "FC"},
      {"MB0:CHAR", "€", "one byte"},
      {"MB0:CHAR", "AB", "room for 1"},
      {"MB0[3]:CHAR", "AB", "41 42 20"},
      {"MB0:STRING[4]", "Hi", "02 48 69"},
      {"MB0:STRING[4]", "Hello", "room for 4"},
  };
  for (const Case& c : cases) {
    const PlcAddress address = parse_address(c.address);
    try {
      EXPECT_EQ(test::hex(bytes_of(address.type, parse_value(address, c.text))), c.bytes);
    } catch (const Failure& failure) {
      EXPECT_NE(std::string(failure.what()).find(c.bytes), std::string::npos)
          << c.address << ' ' << c.text << ": " << failure.what();
    }
  }
  const PlcAddress bit = parse_address("M0.0");
  EXPECT_EQ(text_of(parse_value(bit, "True")) + text_of(parse_value(bit, "0")), "10");
  EXPECT_THROW(parse_value(bit, "2"), Failure);
}

}  // namespace
}  // namespace plexum::cli
