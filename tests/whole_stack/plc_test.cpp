// The services and state lists through the control against the simulated PLC: what they bring about
// in the PLC, and what faults leave in the control.

#include <functional>

#include "support/whole_stack.h"

namespace plexum::cli {
namespace {

using test::outcome_of;
using test::WholeStack;

std::string run_mode(PlexumLink& link) {
  std::string bits;
  const Value mode = link.pg_plcRunMode();
  for (const Value& bit : std::get<VariantArray>(mode).elements) bits += std::get<std::string>(bit);
  return bits;
}
// The low byte of the last transition's event, least significant bit first.
constexpr const char* kRuns = "00100010";    // 5144: runs
constexpr const char* kStands = "00100000";  // 4304: stopped by a programming device

// Whether a lamp is on, in the answer that pg_SZL hands over: data header (4 bytes), list id,
// index, length of a record and their number (2 each), then lamp (2), on, blinking.
bool shines(const Value& answer, int lamp) {
  const std::vector<Value>& bytes = std::get<VariantArray>(answer).elements;
  for (std::size_t record = 12; record + 4 <= bytes.size(); record += 4) {
    if (bytes[record + 1] == Value(static_cast<std::int16_t>(lamp))) {
      return bytes[record + 2] == Value(std::int16_t{1});
    }
  }
  ADD_FAILURE() << "no lamp " << lamp;
  return false;
}
constexpr int kRunLamp = 4;
constexpr int kStopLamp = 5;

TEST_F(WholeStack, StopAndStartShowInModeAndLamps) {
  LocalLink local(test::capture_path("services"));
  PlexumLink& link = local.link;
  std::vector<std::string> boxes;
  local.environment.on_message_box = [&](const std::string& text) { boxes.push_back(text); };
  ASSERT_TRUE(connect_anew(link));
  EXPECT_EQ(run_mode(link), kRuns);
  EXPECT_TRUE(shines(link.pg_SZL(), kRunLamp));

  EXPECT_EQ(link.pg_plcstop(), Value(true));
  EXPECT_EQ(run_mode(link), kStands);
  const Value lamps = link.pg_SZL();
  EXPECT_FALSE(shines(lamps, kRunLamp));
  EXPECT_TRUE(shines(lamps, kStopLamp));
  EXPECT_EQ(link.pg_plcstop(), Value(true)) << "a PLC that stands stays so";

  EXPECT_EQ(link.pg_plcstart(), Value(true));
  EXPECT_EQ(run_mode(link), kRuns);
  EXPECT_EQ(link.pg_plccompress(), Value(true));
  EXPECT_EQ(plc.access([](sim::Plc& inside) { return inside.compressions; }), 1u);
  // 29 bytes before what it hands over: 4 + 8 bytes of heads and 7 lamps.
  EXPECT_EQ(boxes, (std::vector<std::string>{"69", "69"}));
  EXPECT_EQ(link.err(), 0);
  link.ag_exit();
}

// Its telegram is two bytes shorter than its TPKT length: whoever waits for these never answers,
// and whoever takes them off the next telegram loses that one.
TEST_F(WholeStack, AfterACopyToRomTheNextJobIsAnswered) {
  LocalLink local(test::capture_path("copy_ram_to_rom"));
  ASSERT_TRUE(connect_anew(local.link));
  for (unsigned copies = 1; copies <= 3; ++copies) {
    EXPECT_EQ(local.link.pg_Ramtorom(), Value(true));
    EXPECT_EQ(plc.access([](sim::Plc& inside) { return inside.copies_to_rom; }), copies);
    EXPECT_EQ(local.link.ag_ReadB("1", "4", "0", "C", "D"), Value(std::string("\0\1\2\3", 4)));
  }
  local.link.ag_exit();
}

TEST_F(WholeStack, ABlockThatIsDeletedIsGone) {
  LocalLink local(test::capture_path("delete_block"));
  ASSERT_TRUE(connect_anew(local.link));
  const auto holds = [&](sim::BlockType type, std::uint16_t number) {
    return plc.access([&](sim::Plc& inside) {
      for (const auto& entry : inside.blocks.list(type)) {
        if (entry.number == number) return true;
      }
      return false;
    });
  };
  ASSERT_TRUE(holds(sim::BlockType::kFunction, 1));
  EXPECT_EQ(local.link.pg_DelBlock("FC", "00001"), Value(true));
  EXPECT_FALSE(holds(sim::BlockType::kFunction, 1));
  EXPECT_TRUE(holds(sim::BlockType::kFunction, 2));

  EXPECT_EQ(local.link.pg_DelBlock("DB", "00007"), Value(true));
  local.link.Tzeit(test::kShort);
  EXPECT_EQ(outcome_of(local.link, [&] { return local.link.ag_ReadB("7", "2", "0", "C", "D"); }),
            "empty, err 3");

  // The PLC's refusals are short answers, so they show as time-outs with the PLC's error.
  const std::pair<const char*, const char*> unknown[] = {
      {"FC", "00001"}, {"DB", "00007"}, {"OB", "00122"}};
  for (const auto& block : unknown) {
    ASSERT_TRUE(connect_anew(local.link));
    local.link.Tzeit(test::kShort);
    const auto call = [&] { return local.link.pg_DelBlock(block.first, block.second); };
    EXPECT_EQ(outcome_of(local.link, call), "false, err 2109") << block.first << block.second;
  }
}

TEST_F(WholeStack, ErasingLeavesAStandingPlcWithoutProgram) {
  LocalLink local(test::capture_path("erase"));
  ASSERT_TRUE(connect_anew(local.link));
  std::string start = "10";
  ASSERT_EQ(local.link.ag_WriteMB("0", start, "abc", "M"), Value(true));
  EXPECT_EQ(local.link.pg_plcErase(), Value(true));
  EXPECT_EQ(run_mode(local.link), kStands);
  EXPECT_EQ(local.link.ag_ReadB("0", "3", "10", "C", "M"), Value(std::string(3, '\0')));
  EXPECT_TRUE(plc.access([](sim::Plc& inside) {
    return inside.memory.data_blocks().empty() &&
           inside.blocks.list(sim::BlockType::kOrganisation).empty();
  }));
  local.link.ag_exit();
}

struct Service {
  const char* name;
  std::function<Value(PlexumLink&)> call;
};

const std::vector<Service>& services() {
  static const std::vector<Service> kServices = {
      {"pg_plcstop", &PlexumLink::pg_plcstop},
      {"pg_plcstart", &PlexumLink::pg_plcstart},
      {"pg_plcErase", &PlexumLink::pg_plcErase},
      {"pg_Ramtorom", &PlexumLink::pg_Ramtorom},
      {"pg_plccompress", &PlexumLink::pg_plccompress},
      {"pg_DelBlock", [](PlexumLink& link) { return link.pg_DelBlock("DB", "00001"); }},
  };
  return kServices;
}

TEST_F(WholeStack, AProtectedPlcRefusesItsServices) {
  sim::Options options = test::on_a_free_port();
  options.write_protected = true;
  sim::SimulatedPlc locked(options);
  LocalLink local;
  for (const Service& service : services()) {
    SCOPED_TRACE(service.name);
    ASSERT_TRUE(test::connect_anew(local.link, locked));
    local.link.Tzeit(test::kShort);
    // The refused erase is an answer of full length, at which nobody looks.
    const bool seen = std::string(service.name) != "pg_plcErase";
    EXPECT_EQ(outcome_of(local.link, [&] { return service.call(local.link); }),
              seen ? "false, err 21065" : "true, err 0, s7init");
  }
  ASSERT_TRUE(test::connect_anew(local.link, locked));
  EXPECT_EQ(run_mode(local.link), kRuns);
  EXPECT_EQ(local.link.ag_ReadB("1", "4", "0", "C", "D"), Value(std::string("\0\1\2\3", 4)));
}

// Only what has come when 35 bytes are there is taken.
TEST_F(WholeStack, AStateListThatComesInPiecesIsCut) {
  LocalLink local;
  std::string box;
  local.environment.on_message_box = [&](const std::string& text) { box += text; };
  ASSERT_TRUE(connect_anew(local.link));
  plc.add_fault("length=35");
  EXPECT_EQ(outcome_of(local.link, [&] { return local.link.pg_plcRunMode(); }),
            "error 9, err 0, s7init");
  EXPECT_EQ(outcome_of(local.link, [&] { return local.link.pg_SZL(); }),
            "6 elements, err 0, s7init");
  EXPECT_EQ(box, "35");
}

}  // namespace
}  // namespace plexum::cli
