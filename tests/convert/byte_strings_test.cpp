#include "convert/byte_strings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "base/runtime_error.h"
#include "convert/repeated_subtraction.h"
#include "support/error_of.h"
#include "support/fake_environment.h"
#include "support/hex.h"

namespace plexum {
namespace {

using test::bytes;
using test::hex;

// What a conversion is to make of a text: bytes or the number of an error, and what the caller's
// variable holds then.
struct Conversion {
  const char *text, *result, *variable;
};

class ByteStrings : public testing::Test {
 protected:
  test::FakeEnvironment environment;

  template <typename Function>
  void expect_conversions(std::initializer_list<Conversion> cases, Function function) {
    for (const Conversion& c : cases) {
      std::string variable = c.text;
      std::string result;
      const std::int32_t error =
          test::error_of([&] { result = hex(function(variable, environment)); });
      EXPECT_EQ(error == 0 ? result : "error " + std::to_string(error), c.result) << c.text;
      EXPECT_EQ(variable, c.variable) << c.text;
    }
  }
};

TEST_F(ByteStrings, WordtobeytAndTheIntegerPartOfAText) {
  struct Case {
    const char *text, *word, *integer_part;
  };
  const Case cases[] = {
      {"258", "01 02", "01 02"},       {"65535", "FF FF", "FF FF"},
      {" 40000 ", "9C 40", "9C 40"},   {"12a", "error 13", "error 13"},
      {"300.6", "01 2D", "01 2C"},     {"2.5", "00 02", "00 02"},
      {"255.7", "error 5", "00 FF"},   {"511.5", "error 5", "01 FF"},
      {"65536", "error 5", "error 5"}, {"-1", "error 5", "error 5"},
      {"-0.5", "error 5", "error 5"},  {"1E12", "error 6", "error 6"},
  };
  for (const Case& c : cases) {
    expect_conversions({{c.text, c.word, c.text}}, wordtobeyt);
    expect_conversions({{c.text, c.integer_part, c.text}}, integer_part_bytes);
  }
}

TEST_F(ByteStrings, Dwordtobeyt) {
  expect_conversions(
      {
          {"16909060", "01 02 03 04", "772"},
          {"65536", "00 01 00 00", "0"},
          {" 7 ", "00 00 00 07", " 7 "},
          {"4294967295", "FF FF FF FF", "65535"},
          {"65536.5", "00 01 00 00", "0.5"},
          {"65535.5", "error 5", "65535.5"},
          // What the loop would end in after hours or days.
          {"4294967296", "error 5", "0"},
          {"999999999999999", "error 5", "32767"},
          {" 1.00000000000001E+20", "error 5", " 1.00000000000001E+20"},
      },
      dwordtobeyt);
}

TEST_F(ByteStrings, Wordtobeytadd) {
  expect_conversions(
      {
          {"800", "00 03 20", "800"},
          {"84.4", "00 00 54", "84.4"},
          {"255.6", "error 5", "255.6"},
          {"32767", "00 7F FF", "32767"},
          {"32768", "error 6", "32768"},
          {"65534", "error 6", "65534"},
          {"65535", "01 FF FF", "-1"},
          {"65536", "01 00 00", "0"},
          {"98303", "01 7F FF", "32767"},
          {"16711680", "FF 00 00", "0"},
          {"16777216", "error 5", "0"},
          {"-1", "00 FF FF", "-1"},
          {"-40000", "error 6", "-40000"},
          {"1E10", "error 6", "58368"},
          {"1E300", "error 5", "1E300"},
      },
      wordtobeytadd);
}

// The plain loop that take_words must agree with, in passes, rest and text.
double plain_loop(std::string& wert, HostEnvironment& environment, double least) {
  double passes = 0;
  while (environment.number_from_text(wert) >= least) {
    wert = environment.text_from_number(environment.number_from_text(wert) - 65536);
    ++passes;
  }
  return passes;
}

TEST_F(ByteStrings, TakingWordsAtOnceIsThePlainLoop) {
  std::mt19937 random(20261122);
  for (int i = 0; i < 300; ++i) {
    const double magnitude = std::exp(std::uniform_real_distribution<>(9, 19.5)(random));
    char written[64];
    std::snprintf(written, sizeof written, "%.*f", i % 9, magnitude);
    const double least = i % 2 == 0 ? 65536 : std::nextafter(65534.0, 65535.0);
    std::string plain = written;
    std::string leaping = written;
    const double passes = plain_loop(plain, environment, least);
    ASSERT_EQ(take_words(leaping, environment, least), passes) << written;
    ASSERT_EQ(leaping, plain) << written;
  }
}

// Above 1E15 a text rounds each rest to tens, hundreds and more, and what a pass takes depends on
// the number. The plain loop is run for as much of the way as a test can wait for.
TEST_F(ByteStrings, TakingWordsFollowsTheRoundingOfLargeNumbers) {
  for (const char* start : {"1.00000654E15", "1.0000065E16", "7.30000651E17", "1.000000651E18",
                            "9.32000651E18", "1.00000065E19", "7.4000065E19", "1E20"}) {
    const double least = environment.number_from_text(start) - 65536 * 9000.0;
    std::string plain = start;
    std::string leaping = start;
    const double passes = plain_loop(plain, environment, least);
    EXPECT_EQ(take_words(leaping, environment, least), passes) << start;
    EXPECT_EQ(leaping, plain) << start;
    std::string whole = start;
    EXPECT_GT(take_words(whole, environment, 65536), 1e10) << start;
    EXPECT_LT(environment.number_from_text(whole), 65536) << start;
  }
}

TEST_F(ByteStrings, Beyttoword) {
  struct Words {
    std::string wert1, wert2;
    const char *result, *left1;
  };
  const Words cases[] = {
      {bytes("00"), bytes("05"), "50", "0"},
      {bytes("01"), bytes("02"), "2256", "256"},
      {bytes("12"), bytes("34"), "459072", "4608"},       // 524608 - 65536
      {bytes("FF 01"), bytes("00 02"), "-256", "65280"},  // 065280 - 65536
  };
  for (const Words& c : cases) {
    std::string wert1 = c.wert1;
    std::string wert2 = c.wert2;
    const std::string result = beyttoword(wert1, wert2, environment);
    EXPECT_EQ(result, c.result) << hex(c.wert1);
    EXPECT_EQ(wert2, c.result);
    EXPECT_EQ(wert1, c.left1);
  }
  std::string first = "A";
  std::string empty;
  EXPECT_EQ(test::error_of([&] { beyttoword(first, empty, environment); }), kInvalidArgument);
  EXPECT_EQ(first, "65") << "the first argument is changed before the second is looked at";
  EXPECT_EQ(test::error_of([&] { beyttoword(empty, first, environment); }), kInvalidArgument);
}

TEST_F(ByteStrings, XorStr) { EXPECT_EQ(xor_str(bytes("FF 00 0F")), 0xF0); }

}  // namespace
}  // namespace plexum
