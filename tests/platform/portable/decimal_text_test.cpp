#include "platform/portable/decimal_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "base/runtime_error.h"

namespace plexum::portable {
namespace {

std::int32_t error_of(const std::string& text, char separator = '.') {
  try {
    number_from_text(text, separator);
  } catch (const RuntimeError& error) {
    return error.number();
  }
  return 0;
}

TEST(NumberFromTextTest, Numbers) {
  const std::string zeros(400, '0');
  const struct {
    std::string text;
    double number;
    char separator = '.';
  } cases[] = {
      // clang-format off
      {"-7", -7}, {" \t0012\t ", 12}, {"-.5", -0.5}, {"5.", 5}, {"+1e+3", 1000}, {"25E-1", 2.5},
      {"1.E2", 100}, {" -12,25E1 ", -122.5, ','}, {"4.9E-324", 4.9e-324},
      {"1.7976931348623157E308", std::numeric_limits<double>::max()},
      // What is too small is 0, however it is written; and 0 stays 0 however large the exponent.
      {"-1E-400", 0}, {"1E-99999999999999999999999", 0}, {"0.000E99999999999999999999999", 0},
      // Digits and exponent may make up for each other.
      {"0." + zeros + "1", 0}, {"0." + zeros + "1E401", 1}, {"1" + zeros + "E-400", 1},
      // clang-format on
  };
  for (const auto& c : cases) {
    ASSERT_EQ(error_of(c.text, c.separator), 0) << c.text;
    const double number = number_from_text(c.text, c.separator);
    EXPECT_EQ(number, c.number) << c.text;
    EXPECT_EQ(std::signbit(number), c.number < 0) << c.text;
  }
}

TEST(NumberFromTextTest, NoNumbersAndNumbersBeyondTheRange) {
  for (const std::string text :
       {"",      " ",    "-",     ".",   "-.",  "E5",  ".E5",  "1E", "1E+",
        "1E 5",  "1 E5", "1E5.0", "1 2", "- 5", "--5", "+-5",  "5-", "1..2",
        "1.2.3", "0x1",  "inf",   "nan", "1,0", "\n1", "1\r\n"}) {
    EXPECT_EQ(error_of(text), kTypeMismatch) << text;
  }
  EXPECT_EQ(error_of(std::string("1\0", 2)), kTypeMismatch);
  EXPECT_EQ(error_of("0.5", ','), kTypeMismatch);
  const std::string nines(400, '9');
  for (const std::string text :
       {"-1E309", "1.8E308", "1E99999999999999999999999", "0.001E312", nines.c_str()}) {
    EXPECT_EQ(error_of(text), kOverflow) << text;
  }
}

// As hosts on Windows see them.
TEST(TextFromNumberTest, SmallNumbersHavePlainDecimalsUpTo15) {
  const struct {
    double number;
    const char* text;
  } cases[] = {
      // clang-format off
      {1e-5, "0.00001"}, {-2.5e-5, "-0.000025"}, {1e-12, "0.000000000001"}, {1e-14, "0.00000000000001"},
      {1e-15, "1E-15"}, {-1e-15, "-1E-15"}, {2e-15, "0.000000000000002"}, {1e-16, "1E-16"},
      {3.0517578125e-5, "0.000030517578125"}, {7.62939453125e-6, "7.62939453125E-06"},
      {1.23456789012e-5, "1.23456789012E-05"}, {0.000123456789012345, "0.000123456789012345"},
      // clang-format on
  };
  for (const auto& c : cases) EXPECT_EQ(text_from_number(c.number, '.'), c.text);
}

// Text and way back, against the C library's own conversions, which are another implementation.
TEST(TextFromNumberTest, AgreesWithTheCLibraryForNumbersOfEveryMagnitude) {
  constexpr double kMax = std::numeric_limits<double>::max();
  std::vector<double> numbers{
      -0.0, 0.1 + 0.2, 999999999999999.0, 999999999999999.5, -1e15, 0.0001, 5e-324, kMax};
  std::mt19937_64 random(20240607);
  for (int i = 0; i < 5000; ++i) {
    const auto number = std::bit_cast<double>(random());
    if (std::isfinite(number) && (std::abs(number) > 1e-4 || std::abs(number) < 1e-15)) {
      numbers.push_back(number);
    }
    numbers.push_back(static_cast<std::int32_t>(random()));
    numbers.push_back(static_cast<std::int32_t>(random()) / 1000.0);
  }
  for (const double number : numbers) {
    char expected[40];
    std::snprintf(expected, sizeof expected, "%.15G", number == 0 ? 0.0 : number);
    ASSERT_EQ(text_from_number(number, '.'), expected);
    const double back = std::strtod(expected, nullptr);
    if (std::isinf(back)) {
      ASSERT_EQ(error_of(expected), kOverflow);
    } else {
      ASSERT_EQ(number_from_text(expected, '.'), back) << expected;
    }
  }
}

TEST(TextFromNumberTest, SeparatorsAndWhatIsNoNumber) {
  EXPECT_EQ(text_from_number(-1234.5, ','), "-1234,5");
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double number : {infinity, -infinity, std::nan("")}) {
    EXPECT_THROW(text_from_number(number, '.'), RuntimeError);
  }
}

}  // namespace
}  // namespace plexum::portable
