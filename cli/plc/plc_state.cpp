#include "cli/plc/plc_state.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

namespace plexum::cli {
namespace {

constexpr std::uint16_t kModeList = 0x0424;
constexpr std::uint16_t kLampList = 0x0119;

// A lamp's record: number (2), on, blinking.
constexpr std::size_t kLampRecord = 4;

constexpr unsigned kRunLamp = 4;
constexpr unsigned kStopLamp = 5;

constexpr const char* kLampNames[] = {nullptr, "SF",    "INTF",  "EXTF",  "RUN",   "STOP",
                                      "FRCE",  "CRST",  "BAF",   "USR",   "USR1",  "BUS1F",
                                      "BUS2F", "REDF",  "MSTR",  "RACK0", "RACK1", "RACK2",
                                      "IFM1F", "IFM2F", "BUS3F", "MAINT", "DC24V"};

unsigned byte_at(std::string_view bytes, std::size_t index) {
  return static_cast<unsigned char>(bytes[index]);
}

}  // namespace

const char* name_of(RunMode mode) {
  constexpr const char* kNames[] = {"unknown", "STOP", "STARTUP", "RUN"};
  return kNames[static_cast<int>(mode)];
}

std::string ModeByte::bits() const {
  std::string text;
  for (int bit = 0; bit < 8; ++bit) text += (value >> bit & 1) != 0 ? '1' : '0';
  return text;
}

RunMode ModeByte::mode() const {
  switch (value) {
    case 0x02:  // from STARTUP to RUN
    case 0x44:  // what a CPU in RUN shows
      return RunMode::kRun;
    case 0x03:  // by the mode selector
    case 0x04:  // by a programming device
      return RunMode::kStop;
    default:
      return RunMode::kUnknown;
  }
}

std::string Lamp::name() const {
  const bool named = number > 0 && number < std::size(kLampNames);
  return named ? kLampNames[number] : "lamp " + std::to_string(number);
}

const char* Lamp::state() const {
  if (blinking == Blinking::kSlowly) return "blinking slowly";
  if (blinking == Blinking::kNormally) return "blinking";
  return on ? "on" : "off";
}

bool is_list_of_lamps(const client::StateList& list) {
  const unsigned number = list.id & 0xFFu;
  return (number == 0x19 || number == 0x74) && list.record_size >= kLampRecord;
}

std::vector<Lamp> lamps_in(const client::StateList& list) {
  std::vector<Lamp> lamps;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const std::string_view record = list.record(i);
    const unsigned blinking = std::min(byte_at(record, 3), 2u);
    lamps.push_back({byte_at(record, 0) << 8 | byte_at(record, 1), byte_at(record, 2) != 0,
                     static_cast<Lamp::Blinking>(blinking)});
  }
  return lamps;
}

RunMode mode_by_lamps(const std::vector<Lamp>& lamps) {
  const auto lit = [&](unsigned number) {
    return std::find_if(lamps.begin(), lamps.end(), [&](const Lamp& lamp) {
      return lamp.number == number && (lamp.on || lamp.blinking != Lamp::Blinking::kNo);
    });
  };
  const auto run = lit(kRunLamp);
  if (run != lamps.end()) {
    return run->blinking == Lamp::Blinking::kNo ? RunMode::kRun : RunMode::kStartUp;
  }
  return lit(kStopLamp) != lamps.end() ? RunMode::kStop : RunMode::kUnknown;
}

client::StateList read_state_list(PlcConnection& plc, std::uint16_t id, std::uint16_t index) {
  char text[20];
  std::snprintf(text, sizeof text, "0x%04X", id);
  return plc.run(std::string("reading state list ") + text,
                 [&](S7Client& client) { return client.state_list(id, index); });
}

ModeByte read_mode_byte(PlcConnection& plc) {
  const std::string what = "reading the run mode";
  const client::StateList list =
      plc.run(what, [](S7Client& client) { return client.state_list(kModeList); });
  constexpr std::size_t kEventLow = 1;
  if (list.size() == 0 || list.record_size <= kEventLow) {
    throw Failure(what + ": the PLC's state list 0x0424 is empty");
  }
  return {static_cast<std::uint8_t>(byte_at(list.record(0), kEventLow))};
}

std::vector<Lamp> read_lamps(PlcConnection& plc) {
  const std::string what = "reading the lamps";
  const client::StateList list =
      plc.run(what, [](S7Client& client) { return client.state_list(kLampList); });
  if (!is_list_of_lamps(list)) throw Failure(what + ": the PLC's state list 0x0119 has no lamps");
  return lamps_in(list);
}

RunMode mode_by(PlcConnection& plc, ModeByte byte) {
  const RunMode mode = byte.mode();
  return mode == RunMode::kUnknown ? mode_by_lamps(read_lamps(plc)) : mode;
}

RunMode read_mode(PlcConnection& plc) { return mode_by(plc, read_mode_byte(plc)); }

}  // namespace plexum::cli
