#include "platform/windows/decimal_text.h"

#include <gtest/gtest.h>

#include <string>

#include "base/runtime_error.h"

namespace plexum::windows {
namespace {

constexpr LCID kEnglish = 0x0409;
constexpr LCID kGerman = 0x0407;

TEST(DecimalTextTest, WritesAndReadsNumbersByTheLocale) {
  const struct {
    double number;
    const char* english;
    const char* german;
  } kCases[] = {
      // clang-format off
      {-2.25,             "-2.25",             "-2,25"},
      {4294967295.0,      "4294967295",        "4294967295"},
      {0.333333333333333, "0.333333333333333", "0,333333333333333"},
      {1e15,              "1E+15",             "1E+15"},
      // clang-format on
  };
  for (const auto& one : kCases) {
    EXPECT_EQ(text_from_number(one.number, kEnglish), one.english);
    EXPECT_EQ(text_from_number(one.number, kGerman), one.german);
    EXPECT_EQ(number_from_text(one.english, kEnglish), one.number);
    EXPECT_EQ(number_from_text(one.german, kGerman), one.number);
  }
  EXPECT_EQ(number_from_text(" 1.000 ", kGerman), 1000);
  EXPECT_EQ(number_from_text(text_from_number(1e-5, kGerman), kGerman), 1e-5);
  try {
    text_from_number(8 * 1e308);
    ADD_FAILURE() << "an infinite number";
  } catch (const RuntimeError& error) {
    EXPECT_EQ(error.number(), kOverflow);
  }
}

TEST(DecimalTextTest, RefusesWhatIsNoNumber) {
  for (const std::string& text :
       {std::string(), std::string(" "), std::string("1x"), std::string("\xFF"),
        std::string("1\0", 2), std::string("1E999")}) {
    try {
      number_from_text(text, kGerman);
      ADD_FAILURE() << text;
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error.number(), text == "1E999" ? kOverflow : kTypeMismatch) << text;
    }
  }
}

}  // namespace
}  // namespace plexum::windows
