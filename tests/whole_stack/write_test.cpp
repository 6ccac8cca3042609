// Writing through the control into the simulated PLC: what the PLC then holds, what reading gives
// back, and what refusals and faults leave behind.

#include <cmath>
#include <cstring>
#include <functional>
#include <random>

#include "support/whole_stack.h"

namespace plexum::cli {
namespace {

using test::outcome_of;
using test::WholeStack;

// The bytes of a number, most significant first.
std::string big_endian(std::uint32_t number, int size) {
  std::string bytes;
  for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
    bytes += static_cast<char>(number >> shift & 0xFF);
  }
  return bytes;
}

// The single nearest to a number among those that aren't farther from zero.
float truncated(double number) {
  const auto nearest = static_cast<float>(number);
  return std::fabs(nearest) > std::fabs(number) ? std::nextafter(nearest, 0.0F) : nearest;
}

std::uint32_t bits_of(float number) {
  std::uint32_t bits = 0;
  static_assert(sizeof bits == sizeof number);
  std::memcpy(&bits, &number, sizeof bits);
  return bits;
}

struct AreaCase {
  const char* code;
  const char* block;
  sim::Area area;
};

// The areas that every job accepts.
constexpr AreaCase kAreas[] = {
    {"D", "3", sim::Area::kDataBlock},  {"M", "0", sim::Area::kFlags},
    {"E", "0", sim::Area::kInputs},     {"A", "0", sim::Area::kOutputs},
    {"P", "0", sim::Area::kPeripheral}, {"DI", "4", sim::Area::kInstanceBlock},
    {"LD", "0", sim::Area::kLocalData},
};

// One control that writes to and reads from one area.
class AreaAccess {
 public:
  AreaAccess(PlexumLink& link, sim::SimulatedPlc& plc, const AreaCase& place)
      : link_(link), plc_(plc), block_(place.block), code_(place.code), area_(place.area) {}

  // What the PLC itself holds.
  std::string held(std::size_t address, std::size_t size) {
    return plc_.access([&](sim::Plc& inside) {
      const auto block = static_cast<std::uint16_t>(std::stoul(block_));
      const sim::Bytes& bytes = *inside.memory.find(area_, block);
      const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(address);
      return std::string(begin, begin + static_cast<std::ptrdiff_t>(size));
    });
  }
  std::string raw(std::size_t address, std::size_t size) {
    return std::get<std::string>(read_b(address, size, "C"));
  }
  // The result of ag_ReadB: a byte string or an array of variants.
  Value read_b(std::size_t address, std::size_t size, const char* type) {
    return link_.ag_ReadB(block_, std::to_string(size), std::to_string(address), type, code_);
  }
  std::vector<double> read(std::size_t address, std::size_t size, const char* type) {
    const Value value =
        link_.ag_Read(block_, std::to_string(size), std::to_string(address), type, code_);
    return std::get<DoubleArray>(value).elements;
  }

  bool write_bit(std::size_t address, unsigned bit, bool value) {
    std::string start = std::to_string(address);
    return link_.ag_WriteX(block_, start, value ? "1" : "0", code_, std::to_string(bit));
  }
  bool write_byte(std::size_t address, char value) {
    return link_.ag_WriteB(block_, std::to_string(address), {value}, code_) == Value(true);
  }
  bool write_bytes(std::size_t address, const std::string& bytes) {
    std::string start = std::to_string(address);
    return link_.ag_WriteMB(block_, start, bytes, code_) == Value(true);
  }
  bool write_word(std::size_t address, std::uint32_t value) {
    return link_.ag_WriteW(block_, std::to_string(address), std::to_string(value), code_);
  }
  bool write_double_word(std::size_t address, std::uint32_t value) {
    std::string start = std::to_string(address);
    std::string text = std::to_string(value);
    return link_.ag_WriteD(block_, start, text, code_);
  }
  bool write_float(std::size_t address, std::string text) {
    std::string start = std::to_string(address);
    return link_.ag_WriteF(block_, start, text, code_);
  }

 private:
  PlexumLink& link_;
  sim::SimulatedPlc& plc_;
  std::string block_;
  std::string code_;
  sim::Area area_;
};

using Random = std::mt19937;

std::string random_bytes(Random& random, std::size_t size) {
  std::string bytes;
  while (bytes.size() < size) bytes += static_cast<char>(random() & 0xFF);
  return bytes;
}

template <typename Type>
Value variants(const std::vector<Type>& elements) {
  VariantArray array;
  for (const Type& element : elements) array.elements.emplace_back(element);
  return array;
}

void check_bits(AreaAccess access, Random& random) {
  std::vector<double> bits(16);
  std::vector<std::string> texts(2);
  for (std::size_t i = 0; i < bits.size(); ++i) {
    const bool value = (random() & 1) != 0;
    ASSERT_TRUE(access.write_bit(20 + i / 8, static_cast<unsigned>(i % 8), value));
    bits[i] = value ? 1 : 0;
    texts[i / 8] += value ? "1" : "0";
  }
  EXPECT_EQ(access.read(20, 2, "X"), bits);
  EXPECT_EQ(access.read_b(20, 2, "X"), variants(texts));
}

void check_bytes(AreaAccess access, Random& random) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{7}, std::size_t{212}}) {
    std::string bytes = random_bytes(random, size);
    ASSERT_TRUE(access.write_bytes(101, bytes));
    bytes[0] = static_cast<char>(random() & 0xFF);
    ASSERT_TRUE(access.write_byte(101, bytes[0]));
    EXPECT_EQ(access.held(101, size), bytes);
    EXPECT_EQ(access.raw(101, size), bytes);
    std::vector<double> numbers;
    std::vector<std::int16_t> integers;
    for (const char byte : bytes) {
      integers.push_back(static_cast<unsigned char>(byte));
      numbers.push_back(integers.back());
    }
    EXPECT_EQ(access.read(101, size, "B"), numbers);
    EXPECT_EQ(access.read_b(101, size, "B"), variants(integers));
  }
}

void check_word(AreaAccess access, std::uint32_t value) {
  ASSERT_TRUE(access.write_word(44, value));
  EXPECT_EQ(access.held(44, 2), big_endian(value, 2));
  EXPECT_EQ(access.read(44, 2, "W"), std::vector<double>{static_cast<double>(value)});
  const double signed_value = static_cast<std::int16_t>(value);
  EXPECT_EQ(access.read(44, 2, "I"), std::vector<double>{signed_value});
  if (value > 0x7FFF) return;  // ag_ReadB's words go no further
  for (const char* type : {"W", "I"}) {
    EXPECT_EQ(access.read_b(44, 2, type), variants(std::vector{static_cast<std::int16_t>(value)}));
  }
}

void check_double_word(AreaAccess access, std::uint32_t value) {
  ASSERT_TRUE(access.write_double_word(48, value));
  EXPECT_EQ(access.held(48, 4), big_endian(value, 4));
  const double signed_value = static_cast<std::int32_t>(value);
  EXPECT_EQ(access.read(48, 4, "D"), std::vector<double>{signed_value});
}

void check_float(AreaAccess access, const std::string& text) {
  SCOPED_TRACE(text);
  const float expected = truncated(std::stod(text));
  ASSERT_TRUE(access.write_float(52, text));
  EXPECT_EQ(access.held(52, 4), big_endian(bits_of(expected), 4));
  EXPECT_EQ(access.read(52, 4, "F"), std::vector<double>{expected});
}

// Numbers of a mantissa with 15 digits all over a single's range, both signs.
std::string random_float(Random& random) {
  const auto mantissa =
      std::uniform_int_distribution<std::int64_t>(100'000'000'000'000, 999'999'999'999'999)(random);
  const int exponent = std::uniform_int_distribution<int>(-51, 23)(random);
  return ((random() & 1) != 0 ? "-" : "") + std::to_string(mantissa) + "E" +
         std::to_string(exponent);
}

TEST_F(WholeStack, WhatIsWrittenReadsBackInEveryAreaAndType) {
  Random random(20261122);
  for (const AreaCase& place : kAreas) {
    SCOPED_TRACE(place.code);
    LocalLink local(test::capture_path(std::string("write_and_read_") + place.code));
    ASSERT_TRUE(connect_anew(local.link));
    AreaAccess access(local.link, plc, place);
    check_bits(access, random);
    check_bytes(access, random);
    for (const std::uint32_t value : {0u, 1u, 0x7FFFu, 0x8000u, 0xFFFFu, 0x1234u}) {
      check_word(access, value);
    }
    for (const std::uint32_t value : {0u, 0xFFFFu, 0x10000u, 0x80000000u, 0xFFFFFFFFu}) {
      check_double_word(access, value);
    }
    for (const char* text : {"0", "-1", "0.1", "3.14", "16777217", "2.4E-38", "3.4E+38"}) {
      check_float(access, text);
    }
    for (int i = 0; i < 8; ++i) {
      check_word(access, random() & 0xFFFF);
      check_double_word(access, static_cast<std::uint32_t>(random()));
      check_float(access, random_float(random));
    }
    EXPECT_EQ(local.link.err(), 0);
    local.link.ag_exit();
  }
}

TEST_F(WholeStack, FloatsAreTruncatedNotRounded) {
  Random random(7);
  LocalLink local;
  ASSERT_TRUE(connect_anew(local.link));
  AreaAccess access(local.link, plc, kAreas[0]);
  int rounded_up = 0;
  for (int i = 0; i < 100; ++i) {
    const std::string text = random_float(random);
    check_float(access, text);
    const double number = std::stod(text);
    if (std::fabs(static_cast<float>(number)) > std::fabs(number)) ++rounded_up;
  }
  EXPECT_GT(rounded_up, 20) << "values that rounding would have changed";
}

TEST_F(WholeStack, TimersAndCountersReadAsThePlcHoldsThem) {
  LocalLink local;
  ASSERT_TRUE(connect_anew(local.link));
  Random random(3);
  for (const auto& [code, area] :
       {std::pair{"T", sim::Area::kTimers}, {"Z", sim::Area::kCounters}}) {
    const std::string bytes = random_bytes(random, 8);
    plc.access([&, area = area](sim::Plc& inside) {
      std::copy(bytes.begin(), bytes.end(), inside.memory.find(area, 0)->begin() + 100);
    });
    std::vector<double> words;
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
      words.push_back(256 * static_cast<unsigned char>(bytes[i]) +
                      static_cast<unsigned char>(bytes[i + 1]));
    }
    const Value read = local.link.ag_Read("0", "8", "100", "W", code);
    EXPECT_EQ(read, Value(DoubleArray{1, words})) << code;
  }
}

// Addresses that the three bytes can't carry are refused before anything is sent.
TEST(WholeStackOfALargeDataBlock, IsWrittenUpToItsLastByte) {
  sim::Options options = test::on_a_free_port();
  options.data_blocks = {{7, 65534}};
  sim::SimulatedPlc plc(options);
  LocalLink local;
  ASSERT_TRUE(test::connect_anew(local.link, plc));
  AreaAccess access(local.link, plc, {"D", "7", sim::Area::kDataBlock});
  Random random(5);
  for (const std::size_t address : {4092u, 8192u, 12284u, 57344u, 61436u}) {
    SCOPED_TRACE(address);
    const std::string bytes = random_bytes(random, 4);
    ASSERT_TRUE(access.write_bytes(address, bytes));
    EXPECT_EQ(access.held(address, 4), bytes);
    EXPECT_EQ(access.raw(address, 4), bytes);
  }
  for (const std::size_t address : {4096u, 8190u, 61440u}) {
    SCOPED_TRACE(address);
    EXPECT_EQ(outcome_of(local.link, [&]() -> Value { return access.write_bytes(address, "x"); }),
              "error 6, err 0, inuse, s7init");
    local.link.inuse(false);
  }
}

// The six writes, to an address of any area.
struct Write {
  const char* name;
  std::function<Value(PlexumLink&, std::string block, std::string address, const char* area)> call;
};

const std::vector<Write>& writes() {
  static const std::vector<Write> kWrites = {
      {"ag_WriteX",
       [](auto& link, auto block, auto address, auto area) -> Value {
         return link.ag_WriteX(block, address, "1", area, "3");
       }},
      {"ag_WriteB", [](auto& link, auto block, auto address,
                       auto area) { return link.ag_WriteB(block, address, "x", area); }},
      {"ag_WriteMB", [](auto& link, auto block, auto address,
                        auto area) { return link.ag_WriteMB(block, address, "four", area); }},
      {"ag_WriteW",
       [](auto& link, auto block, auto address, auto area) -> Value {
         return link.ag_WriteW(block, address, "1234", area);
       }},
      {"ag_WriteD",
       [](auto& link, auto block, auto address, auto area) -> Value {
         std::string value = "70000";
         return link.ag_WriteD(block, address, value, area);
       }},
      {"ag_WriteF",
       [](auto& link, auto block, auto address, auto area) -> Value {
         std::string value = "3.14";
         return link.ag_WriteF(block, address, value, area);
       }},
  };
  return kWrites;
}

TEST_F(WholeStack, WritesThatThePlcRefusesTellItsReturnCode) {
  sim::Options options = test::on_a_free_port();
  options.write_protected = true;
  sim::SimulatedPlc locked(options);
  struct Case {
    const char *block, *address, *area;
    sim::SimulatedPlc& plc;
    const char* outcome;
  };
  const Case cases[] = {
      {"1", "1024", "D", plc, "false, err 5, s7init"},
      {"0", "2048", "M", plc, "false, err 5, s7init"},
      {"99", "0", "D", plc, "false, err 10, s7init"},
      {"99", "0", "DI", plc, "false, err 10, s7init"},
      {"1", "0", "D", locked, "false, err 3, s7init"},
  };
  for (const Write& write : writes()) {
    LocalLink local(test::capture_path(std::string("refused_") + write.name));
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(write.name) + " " + c.area + " " + c.block + " " + c.address);
      const auto call = [&] { return write.call(local.link, c.block, c.address, c.area); };
      ASSERT_TRUE(test::connect_anew(local.link, c.plc));
      EXPECT_EQ(outcome_of(local.link, call), c.outcome);
      const std::int32_t left = local.link.err();
      EXPECT_EQ(outcome_of(local.link, call), "false, err " + std::to_string(left))
          << "an err that the host leaves stops the next write";
      local.link.err(0);
    }
  }
  EXPECT_TRUE(locked.access([](sim::Plc& inside) {
    const sim::Bytes& bytes = *inside.memory.find(sim::Area::kDataBlock, 1);
    return bytes[0] == 0 && bytes[1] == 1 && bytes[2] == 2 && bytes[3] == 3;
  })) << "what a protected PLC refuses hasn't happened";
}

// The largest job of PDU 240 carries 212 bytes; the PLC refuses a longer one by a short answer.
TEST_F(WholeStack, ByteStringsBeyondThePduAreThePlcsToRefuse) {
  struct Case {
    std::size_t size;
    const char* outcome;
  };
  const Case cases[] = {{0, "false, err 5, s7init"},
                        {212, "true, err 0, s7init"},
                        {213, "error 5, err 1330"},
                        {8191, "error 5, err 1330"},
                        {8192, "error 5, err 0, inuse, s7init"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.size);
    LocalLink local;
    ASSERT_TRUE(connect_anew(local.link));
    if (c.size == 213 || c.size == 8191) local.link.Tzeit(test::kShort);
    std::string start = "0";
    const std::string bytes(c.size, 'x');
    EXPECT_EQ(outcome_of(local.link, [&] { return local.link.ag_WriteMB("1", start, bytes, "D"); }),
              c.outcome);
  }
}

// The request is a byte shorter than it says, and the PLC waits for that byte.
TEST_F(WholeStack, WritesToAnUnknownAreaStayUnanswered) {
  LocalLink local;
  for (const Write& write : writes()) {
    for (const char* area : {"T", "Z", "m", ""}) {
      SCOPED_TRACE(std::string(write.name) + " " + area);
      ASSERT_TRUE(connect_anew(local.link));
      local.link.Tzeit(test::kShortest);
      const bool bit = std::string(write.name) == "ag_WriteX";
      EXPECT_EQ(outcome_of(local.link, [&] { return write.call(local.link, "1", "8", area); }),
                bit ? "error 5, err 3" : "error 5, err 0, inuse, s7init");
    }
  }
}

}  // namespace
}  // namespace plexum::cli
