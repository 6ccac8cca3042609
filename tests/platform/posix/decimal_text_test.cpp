#include "platform/posix/decimal_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "control/runtime_error.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/host_environment.h"

namespace plexum::posix {
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
  const struct {
    std::string text;
    double number;
  } cases[] = {
      {"0", 0},
      {"10", 10},
      {"-7", -7},
      {"+7", 7},
      {" \t12\t ", 12},
      {"0012", 12},
      {"1.5", 1.5},
      {".5", 0.5},
      {"5.", 5},
      {"-.5", -0.5},
      {"1E3", 1000},
      {"1e+3", 1000},
      {"25E-1", 2.5},
      {"1.E2", 100},
      {"0.1", 0.1},
      {"1.7976931348623157E308", std::numeric_limits<double>::max()},
      {"4.9E-324", 4.9e-324},
      // What is too small is 0, however it is written; and 0 stays 0 however large the exponent.
      {"1E-400", 0},
      {"-1E-400", 0},
      {"1E-99999999999999999999999", 0},
      {"0E99999999999999999999999", 0},
      {"0.000E+400", 0},
      {"0." + std::string(400, '0') + "1", 0},
      // Digits and exponent may make up for each other.
      {"0." + std::string(400, '0') + "1E401", 1},
      {"1" + std::string(400, '0') + "E-400", 1},
      {std::string(65536, '0') + "3", 3},
      {"1." + std::string(65536, '0'), 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(error_of(c.text), 0) << c.text.substr(0, 60);
    EXPECT_EQ(number_from_text(c.text, '.'), c.number) << c.text.substr(0, 60);
  }
  EXPECT_FALSE(std::signbit(number_from_text("-0", '.')));
  EXPECT_FALSE(std::signbit(number_from_text("-1E-400", '.')));
}

TEST(NumberFromTextTest, Separators) {
  EXPECT_EQ(number_from_text("0,5", ','), 0.5);
  EXPECT_EQ(number_from_text(" -12,25E1 ", ','), -122.5);
  EXPECT_EQ(number_from_text(",5", ','), 0.5);
  EXPECT_EQ(number_from_text("5", ','), 5);
  EXPECT_EQ(error_of("0.5", ','), kTypeMismatch);
  EXPECT_EQ(error_of("0,5", '.'), kTypeMismatch);
  EXPECT_EQ(error_of("1,2,3", ','), kTypeMismatch);
}

TEST(NumberFromTextTest, NoNumbers) {
  const std::string cases[] = {
      "",
      " ",
      "\t",
      "-",
      "+",
      ".",
      "-.",
      "E5",
      ".E5",
      "1E",
      "1E+",
      "1E-",
      "1E 5",
      "1 E5",
      "1E5.0",
      "1E5E5",
      "1 2",
      "- 5",
      "--5",
      "+-5",
      "5-",
      "1.2.3",
      "..5",
      "0x1",
      "0x1p3",
      "1p3",
      "inf",
      "-inf",
      "nan",
      "NaN",
      "infinity",
      "&H10",
      "1,000",
      "1_0",
      "\n1",
      "1\r\n",
      "1\v",
      "\xA0"
      "1",
      "1\xC2\xA0",
      "\xD9\xA1",
      "1d3",
      "1f",
      "5%",
      "$5",
      "(5)",
      "abc",
      std::string(1, '\0'),
      std::string("1\0", 2),
      std::string("\0"
                  "1",
                  2),
      std::string("1\0"
                  "2",
                  3),
      std::string(65536, '\0'),
      std::string(65536, ' '),
  };
  for (const auto& text : cases) EXPECT_EQ(error_of(text), kTypeMismatch) << text.substr(0, 40);
}

TEST(NumberFromTextTest, BeyondTheRange) {
  const std::string cases[] = {
      "1E309",
      "-1E309",
      "1.8E308",
      "1E99999999999999999999999",
      "0.001E312",
      std::string(400, '9'),
      "1" + std::string(65536, '0'),
  };
  for (const auto& text : cases) EXPECT_EQ(error_of(text), kOverflow) << text.substr(0, 40);
}

TEST(TextFromNumberTest, Texts) {
  const struct {
    double number;
    const char* text;
  } cases[] = {
      {0, "0"},
      {-0.0, "0"},
      {1, "1"},
      {-1, "-1"},
      {100, "100"},
      {0.5, "0.5"},
      {-0.5, "-0.5"},
      {0.1 + 0.2, "0.3"},
      {1.0 / 3, "0.333333333333333"},
      {4294967295.0, "4294967295"},
      {999999999999999, "999999999999999"},
      {999999999999999.5, "1E+15"},
      {1e15, "1E+15"},
      {-1e15, "-1E+15"},
      {123456789012345678.0, "1.23456789012346E+17"},
      {0.0001, "0.0001"},
      {0.00001, "1E-05"},
      {0.000012345, "1.2345E-05"},
      {1e100, "1E+100"},
      {-1.5e-300, "-1.5E-300"},
      {std::numeric_limits<double>::max(), "1.79769313486232E+308"},
      {5e-324, "4.94065645841247E-324"},
  };
  for (const auto& c : cases) EXPECT_EQ(text_from_number(c.number, '.'), c.text);
  EXPECT_EQ(text_from_number(-1234.5, ','), "-1234,5");
  EXPECT_EQ(text_from_number(1.5e-7, ','), "1,5E-07");
  for (const double number :
       {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
        std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_THROW(text_from_number(number, '.'), RuntimeError);
  }
}

// Against the C library's own conversions, which are another implementation.
TEST(DecimalTextTest, AgreesWithTheCLibraryForNumbersOfEveryMagnitude) {
  ASSERT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
  std::mt19937_64 random(20240607);
  for (int i = 0; i < 20000; ++i) {
    double number = std::bit_cast<double>(random());
    if (i % 4 == 1) number = static_cast<double>(static_cast<std::int32_t>(random()));
    if (i % 4 == 2) number = static_cast<double>(static_cast<std::int32_t>(random())) / 1000;
    if (i % 4 == 3)
      number = static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
    if (!std::isfinite(number)) continue;
    char expected[40];
    std::snprintf(expected, sizeof expected, "%.15G", number == 0 ? 0.0 : number);
    const std::string text = text_from_number(number, ',');
    std::string with_point = text;
    std::replace(with_point.begin(), with_point.end(), ',', '.');
    ASSERT_EQ(with_point, expected);
    const double back = std::strtod(expected, nullptr);
    if (std::isinf(back)) {
      ASSERT_EQ(error_of(text, ','), kOverflow);
    } else {
      ASSERT_EQ(number_from_text(text, ','), back) << text;
    }
  }
}

TEST(PosixHostEnvironmentTest, SpeaksWithItsSeparatorAndWaitsOnItsLoop) {
  EventLoop loop;
  PosixHostEnvironment environment(loop, ',');
  EXPECT_EQ(environment.number_from_text("0,5"), 0.5);
  EXPECT_EQ(environment.text_from_number(0.5), "0,5");
  EXPECT_EQ(PosixHostEnvironment(loop).text_from_number(0.5), "0.5");

  const std::uint32_t start = environment.tick_count();
  environment.wait_for_input(5);
  EXPECT_GE(environment.tick_count() - start, 5u) << "a wait that nothing ended is never short";
  bool ran = false;
  loop.post([&] { ran = true; });
  environment.wait_for_input(10000);
  EXPECT_FALSE(ran);
  environment.process_messages();
  EXPECT_TRUE(ran);
  EXPECT_LT(environment.tick_count() - start, 5000u);
}

}  // namespace
}  // namespace plexum::posix
