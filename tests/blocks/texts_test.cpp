#include "blocks/texts.h"

#include <gtest/gtest.h>

#include "protocol/block_type.h"

namespace plexum {
namespace {

TEST(BlockTexts, Fillzero) {
  EXPECT_EQ(fillzero("12", 5), "00012");
  EXPECT_EQ(fillzero("  7 ", 3), "007");
  EXPECT_EQ(fillzero("123456", 5), "123456");
  EXPECT_EQ(fillzero("", 2), "00");
}

TEST(BlockTexts, PartsAreCutBetweenCharacters) {
  const std::string text =
      "1\xC3\xA4\xE2\x82\xAC"
      "2";  // 1ä€2
  EXPECT_EQ(characters_from(text, 0, 2), "1\xC3\xA4");
  EXPECT_EQ(characters_from(text, 2, 2),
            "\xE2\x82\xAC"
            "2");
  EXPECT_EQ(characters_from(text, 3, 9), "2");
  EXPECT_EQ(characters_from(text, 4, 2), "");
  EXPECT_EQ(characters_from("\x80\xC3", 1, 1), "\xC3") << "no UTF-8";
}

TEST(BlockTexts, BytesAndHexadecimalDigits) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string digits = beyttohex(static_cast<std::uint8_t>(byte));
    EXPECT_EQ(digits.size(), 2u);
    EXPECT_EQ(hextowert(digits), byte);
  }
  EXPECT_EQ(beyttohex(0x2A), "2A");
  const std::pair<const char*, std::int32_t> cases[] = {
      {"59", 0x59},
      {"0x59", 0x59},
      {"0X5a", 0x5A},
      {"&H59", 0x59},
      {"&hA", 0x0A},
      {"5g", 5},
      {"", 0},
      {"0x", 0},
      {"-1", 0},
      {" 59", 0},
      {"FFFFFFFF", -1},
      {"123456789", 0},
      {"000000000012", 0x12},
  };
  for (const auto& [text, value] : cases) EXPECT_EQ(hextowert(text), value) << text;
}

TEST(BlockTexts, TypeCodesByNameAndByHeader) {
  struct Case {
    const char* name;
    std::int32_t byte;
    const char* code;
  };
  const Case cases[] = {
      {"OB", 8, "08"},   {"DB", 10, "0A"}, {"SDB", 11, "0B"}, {"FC", 12, "0C"},
      {"SFC", 13, "0D"}, {"FB", 14, "0E"}, {"SFB", 15, "0F"}, {"db", 9, ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(block_type_code(c.name), c.code);
    EXPECT_EQ(block_type_code(c.byte), c.code);
  }
}

}  // namespace
}  // namespace plexum
