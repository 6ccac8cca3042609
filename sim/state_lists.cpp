#include "sim/state_lists.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

#include "sim/plc.h"

namespace plexum::sim {
namespace {

// A partial list: records of one length, each under the index that selects it alone.
struct Record {
  std::uint16_t index;
  Bytes bytes;
};

struct List {
  std::size_t record_length;
  std::vector<Record> records;
};

// 11: what the CPU is made of: order number, module type, hardware version, firmware version.
List modules() {
  constexpr std::size_t kRecord = 28;
  constexpr std::size_t kOrderNumber = 20;
  const auto module = [](std::uint16_t index, std::string_view order_number, unsigned type,
                         unsigned version, unsigned release) {
    return Record{index, Writer()
                             .u16(index)
                             .field(order_number, kOrderNumber, ' ')
                             .u16(type)
                             .u16(version)
                             .u16(release)
                             .take()};
  };
  return {kRecord,
          {module(0x0001, "6ES7 315-2SM00-0AB0", 0x00C0, 0x0003, 0x0001),
           module(0x0006, "6ES7 315-2SM00-0AB0", 0x00C0, 0x0003, 0x0001),
           module(0x0007, "", 0x00C0, 0x5603, 0x0207),  // firmware V3.2.7
           module(0x0081, "Boot Loader", 0x0000, 0x4120, 0x0909)}};
}

// 1C: names and numbers of the components.
List components() {
  constexpr std::size_t kRecord = 34;
  constexpr std::size_t kText = 32;
  constexpr std::pair<std::uint16_t, std::string_view> kTexts[] = {
      {0x0001, "SIMULATED STATION"},
      {0x0002, "PLC_1"},
      {0x0003, ""},
      {0x0004, "Simulated equipment"},
      {0x0005, "S SIM-000000001"},
      {0x0007, "CPU 315-2 PN/DP"},
      {0x0008, "MMC 00000001"},
      {0x0009, ""},
      {0x000A, ""},
      {0x000B, ""},
  };
  List list{kRecord, {}};
  for (const auto& [index, text] : kTexts) {
    list.records.push_back({index, Writer().u16(index).field(text, kText).take()});
  }
  return list;
}

// 19 and 74: the lamps; on, and whether blinking.
List lamps(const Plc& plc) {
  enum Lamp : std::uint16_t {
    kFault = 1,
    kRun = 4,
    kStop = 5,
    kForce = 6,
    kBus1 = 11,
    kBus2 = 12,
    kMaintenance = 21
  };
  List list{4, {}};
  for (const Lamp lamp : {kFault, kRun, kStop, kForce, kBus1, kBus2, kMaintenance}) {
    const bool on =
        (lamp == kRun && plc.mode == Mode::kRun) || (lamp == kStop && plc.mode == Mode::kStop);
    list.records.push_back({lamp, Writer().u16(lamp).u8(on ? 1 : 0).u8(0).take()});
  }
  return list;
}

constexpr std::size_t kCommunicationRecord = 40;

Record communication_record(std::uint16_t index, Writer content = {}) {
  Bytes bytes = Writer().u16(index).bytes(content.take()).take();
  bytes.resize(kCommunicationRecord);
  return {index, std::move(bytes)};
}

// 31: what the CPU can do: PDU size, connections and rates (1); test, transfer and diagnostic
// functions as bit fields (2, 4, 5), none of which this one has.
List communication_abilities(const Plc& plc) {
  constexpr std::size_t kFieldBus = 12'000'000;  // bits a second
  constexpr std::size_t kBackplane = 187'500;
  constexpr std::size_t kEthernet = 100'000'000;
  return {
      kCommunicationRecord,
      {communication_record(0x0001, Writer()
                                        .u16(plc.options.pdu)
                                        .u16(Options::kMostConnections)
                                        .u32(kFieldBus)
                                        .u32(kBackplane)
                                        .u32(kEthernet)),
       communication_record(0x0002), communication_record(0x0004), communication_record(0x0005)}};
}

// 32: the state of communication and test functions (1, 2), of the protection (4): level by the
// mode selector, by password, the level in force, the selector's position (2: RUN), the start-up
// switch; of the clock (8).
List communication_state(const Plc& plc) {
  constexpr unsigned kFullAccess = 1;
  constexpr unsigned kNoAccess = 3;
  constexpr unsigned kSelectorAtRun = 2;
  const unsigned by_password = plc.options.write_protected ? kNoAccess : 0;
  return {kCommunicationRecord,
          {communication_record(0x0001, Writer().u16(1).u16(1).u16(1).u16(0).u16(1)),
           communication_record(0x0002),
           communication_record(0x0004, Writer()
                                            .u16(kFullAccess)
                                            .u16(by_password)
                                            .u16(std::max(kFullAccess, by_password))
                                            .u16(kSelectorAtRun)
                                            .u16(0)),
           communication_record(0x0008, Writer().zeros(18).bytes(plc.clock.date_and_time()))}};
}

// 24: the last change of the mode: its event, FF, the mode, reserved and start-up information, the
// time now. Event 5144 is that of running CPUs in recorded dialogues; 4304 is the diagnostic
// buffer's event for a stop by a programming device.
List mode(const Plc& plc) {
  constexpr unsigned kStoppedByDevice = 0x4304;
  constexpr unsigned kRunning = 0x5144;
  const unsigned event = plc.mode == Mode::kRun ? kRunning : kStoppedByDevice;
  return {20,
          {{0, Writer()
                   .u16(event)
                   .u8(0xFF)
                   .u8(static_cast<std::size_t>(plc.mode))
                   .zeros(8)
                   .bytes(plc.clock.date_and_time())
                   .take()}}};
}

constexpr std::array<std::uint16_t, 15> kIds{0x0000, 0x0011, 0x0111, 0x0F11, 0x0019,
                                             0x0119, 0x0F19, 0x001C, 0x011C, 0x0F1C,
                                             0x0131, 0x0132, 0x0424, 0x0074, 0x0174};

List ids() {
  List list{2, {}};
  for (const std::uint16_t id : kIds) list.records.push_back({0, Writer().u16(id).take()});
  return list;
}

List partial_list(const Plc& plc, std::uint16_t id) {
  switch (id & 0x00FF) {
    case 0x00:
      return ids();
    case 0x11:
      return modules();
    case 0x19:
    case 0x74:
      return lamps(plc);
    case 0x1C:
      return components();
    case 0x24:
      return mode(plc);
    case 0x31:
      return communication_abilities(plc);
    case 0x32:
      return communication_state(plc);
    default:
      throw Refusal{Error::kNoSuchList};
  }
}

// Of the lists 01xx the record that the index selects.
void select(List& list, std::uint16_t id, std::uint16_t index) {
  const bool lamp = (id & 0x00FF) == 0x19 || (id & 0x00FF) == 0x74;
  if (lamp && index == 0) return;
  std::erase_if(list.records, [&](const Record& record) { return record.index != index; });
  if (list.records.empty()) throw Refusal{Error::kNoSuchIndex};
}

}  // namespace

Bytes read_state_list(const Plc& plc, std::uint16_t id, std::uint16_t index) {
  constexpr unsigned kOneRecord = 0x01;
  constexpr unsigned kHeadOnly = 0x0F;
  if (std::find(kIds.begin(), kIds.end(), id) == kIds.end()) throw Refusal{Error::kNoSuchList};
  List list = partial_list(plc, id);
  if (id >> 8 == kOneRecord) select(list, id, index);

  Writer writer;
  writer.u16(id).u16(index).u16(list.record_length).u16(list.records.size());
  if (id >> 8 != kHeadOnly) {
    for (const Record& record : list.records) writer.bytes(record.bytes);
  }
  return writer.take();
}

}  // namespace plexum::sim
