#include "convert/float_bits.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "base/runtime_error.h"
#include "support/error_of.h"
#include "support/fake_environment.h"
#include "support/hex.h"

namespace plexum {
namespace {

using test::hex;

class FloatBits : public testing::Test {
 protected:
  test::FakeEnvironment environment;

  std::string flottobeyt(std::string& wert) { return plexum::flottobeyt(wert, environment); }
};

TEST_F(FloatBits, Flottobeyt) {
  struct Case {
    const char *text, *bytes, *left;
  };
  const Case cases[] = {
      {"1", "3F 80 00 00", "0"},
      {"-2", "C0 00 00 00", "0"},
      {"100", "42 C8 00 00", "0"},
      {"0", "00 00 00 00", "0"},
      {"0.1", "3D CC CC CC", nullptr},    // nearest would be CD
      {"536870912", "4E 00 00 00", "0"},  // 2^29: a rounded logarithm may miss exact powers
      {"1.17549435082229E-38", "00 80 00 00", nullptr},
  };
  for (const Case& c : cases) {
    std::string wert = c.text;
    EXPECT_EQ(hex(flottobeyt(wert)), c.bytes) << c.text;
    if (c.left != nullptr) {
      EXPECT_EQ(wert, c.left) << c.text;
    }
  }
  EXPECT_TRUE(environment.boxes.empty());
}

TEST_F(FloatBits, TheVariableKeepsTheMantissasRemainder) {
  std::string wert = "-0.1";
  flottobeyt(wert);
  // 0.6 less its first 23 bits, by way of texts of 15 digits.
  EXPECT_NEAR(std::stod(wert), 0.6 - 5033164 / 8388608.0, 1e-14);
  EXPECT_LT(std::stod(wert), std::exp2(-23));
}

TEST_F(FloatBits, ATruncatedSingleForRandomNumbers) {
  std::mt19937 random(7);
  for (int i = 0; i < 500; ++i) {
    const double exact = std::ldexp(std::uniform_real_distribution<>(-2, 2)(random),
                                    std::uniform_int_distribution<>(-100, 100)(random));
    std::string wert = environment.text_from_number(exact);
    const double value = std::stod(wert);
    auto expected = static_cast<float>(value);
    if (std::abs(static_cast<double>(expected)) > std::abs(value)) {
      expected = std::nextafter(expected, 0.0f);
    }
    std::uint32_t bits = 0;
    std::memcpy(&bits, &expected, sizeof bits);
    const std::string text = wert;
    std::uint32_t got = 0;
    for (const char c : flottobeyt(wert)) got = got << 8 | static_cast<unsigned char>(c);
    // Texts of 15 digits may lose the last bit.
    EXPECT_LE(bits - got, 1u) << text;
  }
}

TEST_F(FloatBits, NumbersBeyondASingle) {
  std::string large = "6.80564733841877E+38";  // just above 2^129
  const std::string bytes = flottobeyt(large);
  EXPECT_EQ(bytes.size(), 4u);
  EXPECT_EQ(environment.boxes, std::vector<std::string>{"Zahl ist größer als 8 Bit"});
  // Without exponent bits the sign is followed by the mantissa, and the second half has 8 bits.
  EXPECT_EQ(bytes[2], '\0');

  std::string tiny = "-1E-40";
  EXPECT_EQ(hex(flottobeyt(tiny)).substr(0, 2), "80");
  EXPECT_EQ(environment.boxes.size(), 1u) << "too small is no message";

  std::string wrong = "1,5";
  EXPECT_EQ(test::error_of([&] { flottobeyt(wrong); }), kTypeMismatch);
  EXPECT_EQ(wrong, "1,5");
}

}  // namespace
}  // namespace plexum
