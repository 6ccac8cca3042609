#include "platform/windows/decimal_text.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "control/runtime_error.h"

namespace plexum::windows {
namespace {

constexpr LCID kEnglish = 0x0409;
constexpr LCID kGerman = 0x0407;

std::int32_t error_of(const std::string& text, LCID locale) {
  try {
    number_from_text(text, locale);
  } catch (const RuntimeError& error) {
    return error.number();
  }
  return 0;
}

TEST(DecimalTextTest, ReadsNumbersByTheLocale) {
  const struct {
    const char* text;
    LCID locale;
    double number;
  } kCases[] = {
      {"0.5", kEnglish, 0.5},       {"0,5", kGerman, 0.5},
      {"-12.25", kEnglish, -12.25}, {"1.000", kGerman, 1000},
      {"1,000", kEnglish, 1000},    {" 42 ", kEnglish, 42},
      {"1E3", kGerman, 1000},       {"1,5E-2", kGerman, 0.015},
      {"65535", kGerman, 65535},    {"4294967295", kEnglish, 4294967295.0},
  };
  for (const auto& one : kCases) {
    EXPECT_EQ(number_from_text(one.text, one.locale), one.number) << one.text;
  }
}

TEST(DecimalTextTest, RefusesWhatIsNoNumber) {
  const std::string kCases[] = {"",
                                " ",
                                "x",
                                "1x",
                                "1\xC3\xA4",
                                "\xFF",
                                std::string("1\0", 2),
                                std::string("\0"
                                            "1",
                                            2)};
  for (const std::string& text : kCases) {
    EXPECT_EQ(error_of(text, kEnglish), kTypeMismatch) << text;
    EXPECT_EQ(error_of(text, kGerman), kTypeMismatch) << text;
  }
  EXPECT_EQ(error_of("1E999", kEnglish), kOverflow);
}

TEST(DecimalTextTest, WritesNumbersByTheLocale) {
  const struct {
    double number;
    const char* english;
    const char* german;
  } kCases[] = {
      {0.5, "0.5", "0,5"},
      {-2.25, "-2.25", "-2,25"},
      {65535, "65535", "65535"},
      {4294967295.0, "4294967295", "4294967295"},
      {1.0 / 3.0, "0.333333333333333", "0,333333333333333"},
      {1e15, "1E+15", "1E+15"},
      {1e-5, "1E-05", "1E-05"},
      {123456789012345.0, "123456789012345", "123456789012345"},
  };
  for (const auto& one : kCases) {
    EXPECT_EQ(text_from_number(one.number, kEnglish), one.english);
    EXPECT_EQ(text_from_number(one.number, kGerman), one.german);
  }
  // Not asked for in German: Wine writes the mantissa's point there whatever the locale.
  EXPECT_EQ(text_from_number(1.5e-5, kEnglish), "1.5E-05");
}

}  // namespace
}  // namespace plexum::windows
