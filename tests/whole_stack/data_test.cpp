// Reads and writes through the control against the simulated PLC's memory: both sides mean the same
// bytes by the same telegram.

#include "support/hex.h"
#include "support/whole_stack.h"

namespace plexum {
namespace {

using test::bytes;
using test::kShort;

class Data : public test::WholeStack {
 protected:
  Data() : WholeStack(options()) {}

  // What the PLC itself holds.
  std::string held(sim::Area area, const char* block, std::size_t address, std::size_t size) {
    return plc.access([&](sim::Plc& inside) {
      const auto number = static_cast<std::uint16_t>(std::stoul(block));
      const sim::Bytes& memory = *inside.memory.find(area, number);
      return std::string(memory.begin(), memory.end()).substr(address, size);
    });
  }

  Value write(const char* block, std::string address, std::size_t size, const char* area) {
    return link.ag_WriteMB(block, address, std::string(size, 'x'), area);
  }

 private:
  static sim::Options options() {
    sim::Options options;
    options.data_blocks = {{1, 1024}, {4, 256}, {7, 65534}};
    return options;
  }
};

TEST_F(Data, WhatIsWrittenReadsBackInEveryAreaAndType) {
  struct Place {
    const char *code, *block;
    sim::Area area;
  };
  struct Case {
    const char* written;
    std::function<Value(std::string& start)> write;
    std::string bytes;
    const char* type;  // that ag_Read makes of them
    std::vector<double> read;
  };
  std::string value;
  for (const Place& at : {Place{"D", "1", sim::Area::kDataBlock},
                          {"M", "0", sim::Area::kFlags},
                          {"E", "0", sim::Area::kInputs},
                          {"A", "0", sim::Area::kOutputs},
                          {"P", "0", sim::Area::kPeripheral},
                          {"DI", "4", sim::Area::kInstanceBlock},
                          {"LD", "0", sim::Area::kLocalData}}) {
    PlexumLink* const control = &link;
    const auto member = [control, at](auto call, const std::string& text) {
      return [=](std::string& start) {
        std::string changed = text;
        return Value((control->*call)(at.block, start, changed, at.code));
      };
    };
    const auto write_bit = [&](std::string& start) {
      return Value(link.ag_WriteX(at.block, start, "1", at.code, "3"));
    };
    const Case cases[] = {
        {"byte", member(&PlexumLink::ag_WriteB, "\xA0"), bytes("A0"), "B", {160}},
        {"bit", write_bit, bytes("A8"), "X", {0, 0, 0, 1, 0, 1, 0, 1}},
        {"bytes", member(&PlexumLink::ag_WriteMB, "\x7F\xFF"), bytes("7F FF"), "I", {32767}},
        {"word", member(&PlexumLink::ag_WriteW, "65534"), bytes("FF FE"), "W", {65534}},
        {"word", member(&PlexumLink::ag_WriteW, "65534"), bytes("FF FE"), "I", {-2}},
        {"dword",
         member(&PlexumLink::ag_WriteD, "4294901761"),
         bytes("FF FF 00 01"),
         "D",
         {-65535}},
        {"float", member(&PlexumLink::ag_WriteF, "-2.5"), bytes("C0 20 00 00"), "F", {-2.5}},
        {"largest job", member(&PlexumLink::ag_WriteMB, std::string(212, '\1')),
         std::string(212, '\1'), "B", std::vector<double>(212, 1)},
    };
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(at.code) + " " + c.written);
      const std::string size = std::to_string(c.bytes.size());
      std::string start = "20";
      EXPECT_EQ(c.write(start), Value(true));
      EXPECT_EQ(held(at.area, at.block, 20, c.bytes.size()), c.bytes);
      EXPECT_EQ(link.ag_ReadB(at.block, size, "20", "C", at.code), Value(c.bytes));
      EXPECT_EQ(link.ag_Read(at.block, size, "20", c.type, at.code), Value(DoubleArray{1, c.read}));
    }
  }
}

TEST_F(Data, TimersAndCountersReadAsThePlcHoldsThem) {
  for (const auto& [code, second] : {std::pair{"T", bytes("20 10")}, {"Z", bytes("00 11")}}) {
    EXPECT_EQ(held(code == std::string("T") ? sim::Area::kTimers : sim::Area::kCounters, "0", 2, 2),
              second);
    const double number = 256.0 * static_cast<unsigned char>(second[0]) + second[1];
    EXPECT_EQ(link.ag_Read("0", "2", "2", "W", code), Value(DoubleArray{1, {number}})) << code;
  }
}

// Addresses that the three bytes can't carry are refused before anything is sent.
TEST_F(Data, ALargeBlockIsWrittenUpToItsLastByte) {
  for (const std::size_t address : {4092u, 8192u, 12284u, 57344u, 61436u}) {
    SCOPED_TRACE(address);
    const std::string text = std::to_string(address);
    EXPECT_EQ(write("7", text, 4, "D"), Value(true));
    EXPECT_EQ(held(sim::Area::kDataBlock, "7", address, 4), "xxxx");
    EXPECT_EQ(link.ag_ReadB("7", "4", text, "C", "D"), Value(std::string("xxxx")));
  }
  for (const char* address : {"4096", "8190", "61440"}) {
    EXPECT_EQ(outcome_of([&] { return write("7", address, 1, "D"); }),
              "error 6, err 0, inuse, s7init")
        << address;
    link.inuse(false);
  }
}

TEST_F(Data, WritesThatThePlcRefusesOrDoesNotAnswer) {
  struct Case {
    const char *block, *address, *area;
    std::size_t size;
    const char* outcome;
  };
  const Case cases[] = {
      {"1", "1024", "D", 4, "false, err 5, s7init"},
      {"1", "1024", "D", 0, "false, err 5, s7init"},
      {"99", "0", "DI", 4, "false, err 10, s7init"},
      {"1", "0", "D", 213, "error 5, err 1330"},  // a byte too long for the PDU: a short answer
      // An unknown area has no byte: the PLC waits for the last byte of the telegram.
      {"1", "8", "T", 4, "error 5, err 0, inuse, s7init"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.outcome);
    ASSERT_TRUE(connect_anew());
    link.Tzeit(kShort);
    EXPECT_EQ(outcome_of([&] { return write(c.block, c.address, c.size, c.area); }), c.outcome);
  }
}

}  // namespace
}  // namespace plexum
