// The client over real sockets, against the simulated PLC and its faults.

#include "client/s7_client.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "cli/link/local_platform.h"
#include "control/plexum_link.h"
#include "sim/simulated_plc.h"
#include "support/hex.h"

namespace plexum::client {
namespace {

using namespace std::string_literals;
using std::chrono::milliseconds;

constexpr milliseconds kPatient{10000};  // for what comes, however busy the machine is
constexpr milliseconds kShort{150};      // for what never comes

sim::Options with_pdu(std::uint16_t pdu) {
  sim::Options options;
  options.port = 0;
  options.pdu = pdu;
  return options;
}

class ClientAndPlc : public testing::Test {
 protected:
  sim::SimulatedPlc plc{with_pdu(240)};
  cli::LocalPlatform platform;
  S7Client client{platform.environment(), platform.tcp_client()};

  ClientAndPlc() {
    client.options().time_out = kPatient;
    client.options().connect_time_out = kPatient;
  }

  void connect() { connect(plc); }
  void connect(sim::SimulatedPlc& to) { client.connect({.host = "127.0.0.1", .port = to.port()}); }

  // Fills a data block of the PLC with bytes that differ from their neighbours.
  void make_block(std::uint16_t number, std::size_t size) {
    plc.access([&](sim::Plc& inside) {
      inside.memory.create_data_block(number, size);
      sim::Bytes& bytes = *inside.memory.find(sim::Area::kDataBlock, number);
      for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
    });
  }
  std::string memory(sim::Area area, std::uint16_t block, std::size_t start, std::size_t size) {
    return plc.access([&](sim::Plc& inside) {
      const auto first =
          inside.memory.find(area, block)->begin() + static_cast<std::ptrdiff_t>(start);
      return std::string(first, first + static_cast<std::ptrdiff_t>(size));
    });
  }
};

// What a job came to, for tables: its failure, or "done".
template <typename Job>
std::string outcome_of(Job job) {
  try {
    job();
  } catch (const Error& error) {
    return error.what();
  }
  return "done";
}

TEST_F(ClientAndPlc, ReadsEveryAreaAtAnyAddress) {
  make_block(1000, 65534);
  connect();
  struct Row {
    Item item;
    sim::Area area;
    std::size_t start;  // byte in the area
  };
  const Row rows[] = {
      {{.block = 1000, .start = 4094, .count = 5}, sim::Area::kDataBlock, 4094},
      {{.block = 1000, .start = 65533}, sim::Area::kDataBlock, 65533},
      {{.block = 1000, .start = 3, .count = 60001}, sim::Area::kDataBlock, 3},
      {{.area = Area::kInstanceBlock, .block = 1, .count = 16}, sim::Area::kInstanceBlock, 0},
      {{.area = Area::kInputs, .count = 8}, sim::Area::kInputs, 0},
      {{.area = Area::kOutputs, .start = 2047}, sim::Area::kOutputs, 2047},
      {{.area = Area::kFlags, .start = 2000, .count = 48}, sim::Area::kFlags, 2000},
      {{.area = Area::kLocalData, .count = 3}, sim::Area::kLocalData, 0},
      {{.area = Area::kPeripherals, .type = ElementType::kWord, .start = 256, .count = 2},
       sim::Area::kPeripheral,
       256},
      {{.area = Area::kTimers, .type = ElementType::kTimer, .start = 5, .count = 3},
       sim::Area::kTimers,
       10},
      {{.area = Area::kCounters, .type = ElementType::kCounter, .start = 255},
       sim::Area::kCounters,
       510},
  };
  std::vector<Item> items;
  for (const Row& row : rows) items.push_back(row.item);
  const std::vector<ReadOutcome> together = client.read(items);
  for (std::size_t i = 0; i < items.size(); ++i) {
    const std::string expected =
        memory(rows[i].area, items[i].block, rows[i].start, items[i].size());
    EXPECT_EQ(test::hex(together[i].data), test::hex(expected)) << i;
    EXPECT_EQ(client.read(items[i]).data, together[i].data) << i << ", alone";
  }
  const Item bits[] = {{.area = Area::kInputs, .type = ElementType::kBit, .start = 3, .bit = 3},
                       {.area = Area::kInputs, .type = ElementType::kBit, .start = 3, .bit = 4}};
  EXPECT_EQ(client.read(bits[0]).data, "\1");
  EXPECT_EQ(client.read(bits[1]).data, "\0"s);
  EXPECT_EQ(client.read(bits)[0].data, "\1");
  EXPECT_EQ(client.read(bits)[1].data, "\0"s);
}

TEST_F(ClientAndPlc, WritesWhatWasGivenAndNothingBesides) {
  make_block(1000, 65534);
  const std::string before = memory(sim::Area::kDataBlock, 1000, 0, 65534);
  connect();
  const std::string large(30001, '\x5A');
  const WriteItem items[] = {
      {{.block = 1000, .start = 20000, .count = 30001}, large},
      {{.block = 1000, .start = 65533}, "Z"},
      {{.block = 1000, .start = 7}, "A"},
      {{.block = 1000, .start = 8, .count = 2}, "BC"},
      {{.block = 1000, .type = ElementType::kBit, .start = 1, .bit = 6}, "\1"},
      {{.area = Area::kFlags, .type = ElementType::kDWord, .start = 100, .count = 2}, "12345678"},
  };
  for (const WriteOutcome& outcome : client.write(items)) {
    EXPECT_TRUE(outcome.ok());
    EXPECT_EQ(outcome.written.size(), 1u);
  }
  std::string expected = before;
  expected.replace(20000, large.size(), large);
  expected.replace(7, 3, "ABC");
  expected[65533] = 'Z';
  expected[1] = static_cast<char>(expected[1] | 0x40);
  EXPECT_TRUE(memory(sim::Area::kDataBlock, 1000, 0, 65534) == expected);
  EXPECT_EQ(memory(sim::Area::kFlags, 0, 99, 10), "\0"s + "12345678" + "\0"s);
}

TEST_F(ClientAndPlc, LetsNoBadItemSpoilOthers) {
  make_block(1, 100);
  connect();
  const Item items[] = {{.block = 1, .start = 90, .count = 4},
                        {.block = 1, .start = 94, .count = 6},
                        {.block = 1, .start = 100, .count = 4},   // behind the end
                        {.block = 777, .start = 0, .count = 4},   // no such block
                        {.block = 1, .start = 50, .count = 400},  // its second part
                        {.area = Area::kFlags, .start = 4}};
  const std::vector<ReadOutcome> read = client.read(items);
  const ReturnCode codes[] = {ReturnCode::kSuccess,           ReturnCode::kSuccess,
                              ReturnCode::kAddressOutOfRange, ReturnCode::kNoSuchObject,
                              ReturnCode::kAddressOutOfRange, ReturnCode::kSuccess};
  for (std::size_t i = 0; i < std::size(items); ++i) {
    EXPECT_EQ(read[i].code, codes[i]) << i;
    EXPECT_EQ(read[i].data.size(), read[i].ok() ? items[i].size() : 0) << i;
  }

  // 212 bytes fit into one job; of a block of 500 the third part is the bad one.
  make_block(2, 500);
  const WriteItem writes[] = {{{.block = 2, .start = 0, .count = 4}, "good"},
                              {{.block = 2, .start = 20, .count = 600}, std::string(600, 'w')},
                              {{.block = 2, .start = 498, .count = 2}, "ok"},
                              {{.block = 2, .start = 500, .count = 2}, "no"}};
  const std::vector<WriteOutcome> written = client.write(writes);
  EXPECT_TRUE(written[0].ok());
  EXPECT_EQ(written[1].code, ReturnCode::kAddressOutOfRange);
  EXPECT_EQ(written[1].written, (std::vector<Stretch>{{0, 424}}));
  EXPECT_TRUE(written[2].ok());
  EXPECT_EQ(written[3].code, ReturnCode::kAddressOutOfRange);
  EXPECT_TRUE(written[3].written.empty());
  EXPECT_EQ(memory(sim::Area::kDataBlock, 2, 440, 6), "wwww%,") << "where the third begins";
  EXPECT_EQ(memory(sim::Area::kDataBlock, 2, 498, 2), "ok");
}

TEST_F(ClientAndPlc, AsksAgainItemByItemWhereAJobIsRefusedAsAWhole) {
  connect();
  const Item items[] = {{.block = 1, .count = 4}, {.block = 2, .count = 4}};
  plc.add_fault("error=8500@1");
  EXPECT_TRUE(client.read(items)[0].ok() && client.read(items)[1].ok());
  plc.clear_faults();
  plc.add_fault("error=8500@1-2");  // the job, then the first item's
  const std::vector<ReadOutcome> read = client.read(items);
  EXPECT_EQ(read[0].error.number(), 0x8500);
  EXPECT_TRUE(read[1].ok());
}

// What the caller sees of each fault, and what the next job does: on the same connection after a
// refusal or none at all, on a new one after anything else.
TEST_F(ClientAndPlc, TellsFaultsApart) {
  struct Row {
    const char* fault;
    const char* connecting;
    const char* reading;
  };
  const Row rows[] = {
      {"accept:silence", "NoConnection COTP, time-out", ""},
      {"accept:close", "NoConnection COTP, closed", ""},
      {"confirm:silence", "NoConnection COTP, time-out", ""},
      {"confirm:close", "NoConnection COTP, closed", ""},
      {"confirm:length=10", "NoConnection COTP, time-out", ""},
      {"confirm:pieces=1", "done", "done"},
      {"setup:silence", "NoConnection set-up, time-out", ""},
      {"setup:close", "NoConnection set-up, closed", ""},
      {"setup:error=8104", "Refused 8104", ""},
      {"setup:length=30", "done", "SenselessAnswer: no TPKT"},
      {"setup:double", "done", "done"},
      {"late=40", "done", "done"},
      {"pieces=1:0", "done", "done"},
      {"pieces=7:1", "done", "done"},
      {"double", "done", "done"},
      {"silence@1", "done", "NoAnswer"},
      {"length=20@1", "done", "NoAnswer"},
      {"length=40@1", "done", "SenselessAnswer: no TPKT"},
      {"close@1", "done", "ClosedByPlc"},
      {"reset@1", "done", "ClosedByPlc"},
      {"then-close@1", "done", "done"},
      {"error=D209@1", "done", "0xD209"},
      {"error=8104@1", "done", "0x8104"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.fault);
    plc.clear_faults();
    plc.add_fault(row.fault);
    const bool times_out = std::string(row.connecting).ends_with("time-out");
    client.options().connect_time_out = times_out ? kShort : kPatient;
    client.options().time_out = std::string(row.reading) == "NoAnswer" ? kShort : kPatient;
    EXPECT_EQ(outcome_of([&] { connect(); }), row.connecting);
    if (*row.reading == '\0') {
      EXPECT_FALSE(client.connected());
      EXPECT_EQ(outcome_of([&] { client.read({.block = 1}); }), "NoConnection TCP, not connected");
      continue;
    }
    std::string reading = outcome_of([&] {
      const ReadOutcome outcome = client.read({.block = 1, .start = 1});
      if (outcome.error) throw Error(Refused{outcome.error});
      EXPECT_EQ(outcome.data, "\1");
    });
    if (reading.starts_with("Refused ")) reading = "0x" + reading.substr(8);
    if (reading.starts_with("NoAnswer")) reading = "NoAnswer";
    EXPECT_EQ(reading, row.reading);
    plc.clear_faults();
    if (reading == "done" || reading.starts_with("0x")) {
      if (!std::string(row.fault).starts_with("then-")) {
        EXPECT_TRUE(client.read({.block = 1}).ok());
      }
    } else {
      EXPECT_FALSE(client.connected());
    }
  }
}

TEST_F(ClientAndPlc, TellsWhyThereIsNoConnection) {
  const std::uint16_t port = sim::SimulatedPlc(with_pdu(240)).port();
  const auto connect_to = [&](const std::string& host) {
    return outcome_of([&] { client.connect({.host = host, .port = port}); });
  };
  EXPECT_EQ(connect_to("127.0.0.1"), "NoConnection TCP, refused");
  EXPECT_EQ(connect_to("no-such-host.invalid"), "NoConnection TCP, no such host");
}

TEST_F(ClientAndPlc, SaysWhichBytesAreWrittenWhenTheConnectionEnds) {
  make_block(1000, 5000);
  connect();
  ASSERT_EQ(client.granted().calling_jobs, 3u);
  // Of ten parts of 212 bytes each the first four are answered.
  plc.add_fault("close@5");
  const WriteItem item{{.block = 1000, .count = 2120}, std::string(2120, 'w')};
  try {
    client.write({&item, 1});
    FAIL() << "no failure";
  } catch (const InterruptedWrite& interrupted) {
    EXPECT_EQ(interrupted.failure(), Failure(ClosedByPlc{}));
    const WriteOutcome& outcome = interrupted.outcomes().at(0);
    EXPECT_EQ(outcome.written, (std::vector<Stretch>{{0, 4 * 212}}));
    ASSERT_EQ(outcome.in_doubt.size(), 1u);
    EXPECT_EQ(outcome.in_doubt[0].offset, 4u * 212);
    EXPECT_LE(outcome.in_doubt[0].size, 3u * 212) << "no more than were in flight";
  }
}

TEST_F(ClientAndPlc, KeepsNothingOfAnOldConnection) {
  sim::SimulatedPlc large(with_pdu(960));
  connect(large);
  EXPECT_EQ(client.granted().pdu, 960u);
  EXPECT_EQ(client.read({.block = 1, .count = 940}).data.size(), 940u);
  connect();
  EXPECT_EQ(client.granted().pdu, 240u);
  EXPECT_EQ(client.read({.block = 1, .count = 940}).data.size(), 940u);
  client.disconnect();
  EXPECT_FALSE(client.connected());
}

TEST_F(ClientAndPlc, EndsAJobWhenTheCallerSaysSo) {
  connect();
  plc.add_fault("silence");
  int asked = 0;
  client.options().cancelled = [&] { return ++asked > 2; };
  EXPECT_EQ(outcome_of([&] { client.read({.block = 1}); }), "Cancelled");
}

TEST_F(ClientAndPlc, JoinsListsOfAnyLength) {
  std::vector<std::uint16_t> numbers;
  plc.access([&](sim::Plc& inside) {
    for (std::uint16_t i = 0; i < 300; ++i) {
      inside.memory.create_data_block(static_cast<std::uint16_t>(2000 + i), 10);
    }
    for (const auto& entry : inside.blocks.list(sim::BlockType::kData)) {
      numbers.push_back(entry.number);
    }
  });
  connect();
  const std::vector<BlockEntry> list = client.block_list(BlockType::kDb);
  ASSERT_EQ(list.size(), numbers.size());
  for (std::size_t i = 0; i < list.size(); ++i) EXPECT_EQ(list[i].number, numbers[i]);
  const std::vector<BlockCount> counts = client.block_counts();
  EXPECT_EQ(std::count(counts.begin(), counts.end(), BlockCount{BlockType::kDb, numbers.size()}),
            1);

  const StateList components = client.state_list(0x001C);  // 348 bytes, so two parts
  EXPECT_EQ(components.size(), 10u);
  EXPECT_TRUE(components.is_whole());
  EXPECT_EQ(components.record(1).substr(2, 5), "PLC_1");
  EXPECT_EQ(components.record(9).substr(0, 2), "\x00\x0B"s);
  EXPECT_FALSE(client.state_list(0x0F11).is_whole()) << "the head alone";
  EXPECT_EQ(client.protection().in_force, 1);
}

TEST_F(ClientAndPlc, HasWordsForEveryRefusalAtOnce) {
  plc.access([](sim::Plc& inside) { inside.blocks.remove({sim::BlockType::kFunctionBlock, 1}); });
  connect();
  const BlockId missing{BlockType::kDb, 777};
  EXPECT_EQ(outcome_of([&] { client.state_list(0x7777); }), "Refused D401");
  EXPECT_EQ(outcome_of([&] { client.state_list(0x0111, 99); }), "Refused D402");
  EXPECT_EQ(outcome_of([&] { client.block_information(missing); }), "Refused D209");
  EXPECT_EQ(outcome_of([&] { client.upload(missing); }), "Refused D209");
  EXPECT_EQ(outcome_of([&] { client.remove(missing); }), "Refused D209");
  EXPECT_EQ(outcome_of([&] { client.start_session("secret"); }), "Refused 8104");
  EXPECT_TRUE(client.block_list(BlockType::kFb).empty()) << "no block of this type";
  EXPECT_TRUE(client.connected()) << "all on one connection";

  sim::Options protect = with_pdu(240);
  protect.write_protected = true;
  sim::SimulatedPlc guarded(protect);
  connect(guarded);
  EXPECT_EQ(outcome_of([&] { client.stop(); }), "Refused D241");
  EXPECT_EQ(outcome_of([&] { client.erase(); }), "Refused D241");
  EXPECT_EQ(outcome_of([&] { client.set_clock({}); }), "Refused D241");
  EXPECT_EQ(client.write({{.block = 1}, "x"}).code, ReturnCode::kAccessDenied);
  EXPECT_EQ(client.protection().in_force, 3);
}

TEST_F(ClientAndPlc, ActsOnThePlc) {
  connect();
  const auto mode = [&] { return plc.access([](sim::Plc& inside) { return inside.mode; }); };
  client.stop();
  EXPECT_EQ(mode(), sim::Mode::kStop);
  client.warm_start();
  EXPECT_EQ(mode(), sim::Mode::kRun);
  client.stop();
  client.cold_start();
  EXPECT_EQ(mode(), sim::Mode::kRun);
  client.compress();
  client.copy_ram_to_rom();
  EXPECT_EQ(
      plc.access([](sim::Plc& inside) { return inside.compressions * 10 + inside.copies_to_rom; }),
      11u);

  const PlcTime time = std::chrono::sys_days(std::chrono::year(2031) / 2 / 28) +
                       std::chrono::hours(23) + milliseconds(59'250);
  client.set_clock(time);
  EXPECT_LT(client.clock() - time, std::chrono::seconds(30));
  EXPECT_GE(client.clock(), time);

  client.erase();
  EXPECT_TRUE(client.block_list(BlockType::kOb).empty());
}

TEST_F(ClientAndPlc, BringsBlocksOutAndIn) {
  make_block(50, 3000);
  connect();
  const BlockId block{BlockType::kDb, 50};
  const std::string image = client.upload(block);
  EXPECT_EQ(image.substr(36, 3000), memory(sim::Area::kDataBlock, 50, 0, 3000));
  EXPECT_EQ(client.block_information(block).substr(0, 36), image.substr(0, 36));
  client.remove(block);
  EXPECT_EQ(outcome_of([&] { client.upload(block); }), "Refused D209");
  client.download(block, image, 3000);
  client.insert(block);
  EXPECT_EQ(client.upload(block), image);
  EXPECT_EQ(outcome_of([&] {
              client.insert({BlockType::kDb, 51});
            }),
            "Refused D209")
      << "nothing was downloaded";
}

// Both mean the same, where both can do it.
TEST_F(ClientAndPlc, AgreesWithTheControlBothWays) {
  make_block(10, 4096);
  connect();
  cli::LocalPlatform other;
  PlexumLink link(other.environment(), other.tcp_client());
  link.Tzeit(static_cast<std::int32_t>(kPatient.count()));
  ASSERT_TRUE(link.ag_ini("127.0.0.1", std::to_string(plc.port()), "1.0", "3.2"));
  struct Row {
    const char* area;
    Item item;
  };
  const Row rows[] = {
      {"D", {.block = 10, .start = 0, .count = 1}},
      {"D", {.block = 10, .start = 4000, .count = 96}},
      {"DI", {.area = Area::kInstanceBlock, .block = 10, .start = 17, .count = 199}},
      {"M", {.area = Area::kFlags, .start = 20, .count = 13}},
      {"A", {.area = Area::kOutputs, .start = 1000, .count = 8}},
      {"E", {.area = Area::kInputs, .start = 0, .count = 8}},
      {"P", {.area = Area::kPeripherals, .start = 512, .count = 2}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.area + std::to_string(row.item.start));
    const std::string block = std::to_string(row.item.block);
    const std::string size = std::to_string(row.item.count);
    std::string start = std::to_string(row.item.start);
    const auto read_by_control = [&] {
      const Value value = link.ag_ReadB(block, size, std::to_string(row.item.start), "C", row.area);
      const auto* bytes = std::get_if<std::string>(&value);
      return bytes == nullptr ? "err " + std::to_string(link.err()) : *bytes;
    };
    EXPECT_EQ(test::hex(client.read(row.item).data), test::hex(read_by_control()));

    const std::string ours(row.item.size(), '\xC3');
    EXPECT_TRUE(client.write({row.item, ours}).ok());
    EXPECT_EQ(test::hex(read_by_control()), test::hex(ours));
    const std::string theirs(row.item.size(), '\x3C');
    link.ag_WriteMB(block, start, theirs, row.area);
    EXPECT_EQ(link.err(), 0);
    EXPECT_EQ(test::hex(client.read(row.item).data), test::hex(theirs));
  }
}

}  // namespace
}  // namespace plexum::client
