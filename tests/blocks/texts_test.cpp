#include "blocks/texts.h"

#include <gtest/gtest.h>

#include "control/runtime_error.h"
#include "protocol/block_type.h"
#include "support/hex.h"

namespace plexum {
namespace {

using test::bytes;

TEST(BlockTexts, Fillzero) {
  struct Case {
    const char* text;
    std::size_t width;
    const char* expected;
  };
  for (const Case& c : {Case{"12", 5, "00012"},
                        {"  7 ", 3, "007"},
                        {"123456", 5, "123456"},
                        {"", 2, "00"},
                        {"  ", 0, ""},
                        {"-1", 4, "00-1"},
                        {"1 2", 4, "01 2"}}) {
    EXPECT_EQ(fillzero(c.text, c.width), c.expected) << c.text;
  }
}

TEST(BlockTexts, Beyttodword) {
  EXPECT_EQ(beyttodword(bytes("00 01 11 70")), "70000");
  EXPECT_EQ(beyttodword(bytes("FF FF FF FF 00")), "4294967295");
  EXPECT_THROW(beyttodword("abc"), RuntimeError);
}

TEST(BlockTexts, BytesAndHexadecimalDigits) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string digits = beyttohex(static_cast<std::uint8_t>(byte));
    EXPECT_EQ(digits.size(), 2u);
    EXPECT_EQ(hextowert(digits), byte);
  }
  EXPECT_EQ(beyttohex(0x2A), "2A");
  struct Case {
    const char* text;
    std::int32_t value;
  };
  for (const Case& c : {Case{"59", 0x59},
                        {"0x59", 0x59},
                        {"0X5a", 0x5A},
                        {"&H59", 0x59},
                        {"&hA", 0x0A},
                        {"A", 0x0A},
                        {"100", 0x100},
                        {"5g", 5},
                        {"1.5", 1},
                        {"", 0},
                        {"g", 0},
                        {"0x", 0},
                        {"&H", 0},
                        {"&59", 0},
                        {"-1", 0},
                        {"+1", 0},
                        {" 59", 0},
                        {"x59", 0},
                        {"00x5", 0},
                        {"7FFFFFFF", 0x7FFFFFFF},
                        {"FFFFFFFF", -1},
                        {"123456789", 0},
                        {"000000000012", 0x12}}) {
    EXPECT_EQ(hextowert(c.text), c.value) << c.text;
  }
}

TEST(BlockTexts, TypeCodesByNameAndByHeader) {
  struct Case {
    const char* name;
    std::int32_t byte;
    const char* code;
  };
  for (const Case& c : {Case{"OB", 8, "08"},
                        {"DB", 10, "0A"},
                        {"SDB", 11, "0B"},
                        {"FC", 12, "0C"},
                        {"SFC", 13, "0D"},
                        {"FB", 14, "0E"},
                        {"SFB", 15, "0F"},
                        {"db", 9, ""},
                        {"", 0, ""},
                        {"DB ", 255, ""}}) {
    EXPECT_EQ(block_type_code(c.name), c.code);
    EXPECT_EQ(block_type_code(c.byte), c.code);
  }
}

}  // namespace
}  // namespace plexum
