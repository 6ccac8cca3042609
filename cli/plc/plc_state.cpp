#include "cli/plc/plc_state.h"

#include <algorithm>
#include <iterator>

namespace plexum::cli {
namespace {

// The answer to a read of a state list, from its data field on: return code, transport size, length
// (2), list (2), index (2), length of a record (2), number of records (2), records.
constexpr std::size_t kLength = 2;
constexpr std::size_t kLengthCountsFrom = 4;
constexpr std::size_t kRecordLength = 8;
constexpr std::size_t kRecordCount = 10;
constexpr std::size_t kRecords = 12;
// A lamp's record: number (2), on, blinking.
constexpr std::size_t kLampRecord = 4;
constexpr std::uint8_t kSuccess = 0xFF;

constexpr unsigned kRunLamp = 4;
constexpr unsigned kStopLamp = 5;

constexpr const char* kLampNames[] = {nullptr, "SF",    "INTF",  "EXTF",  "RUN",   "STOP",
                                      "FRCE",  "CRST",  "BAF",   "USR",   "USR1",  "BUS1F",
                                      "BUS2F", "REDF",  "MSTR",  "RACK0", "RACK1", "RACK2",
                                      "IFM1F", "IFM2F", "BUS3F", "MAINT", "DC24V"};

unsigned byte_at(const std::string& bytes, std::size_t index) {
  return static_cast<unsigned char>(bytes[index]);
}

unsigned word_at(const std::string& bytes, std::size_t index) {
  return byte_at(bytes, index) << 8 | byte_at(bytes, index + 1);
}

std::vector<Lamp> lamps_in(const std::string& bytes) {
  const std::string what = "reading the lamps";
  if (bytes.empty() || byte_at(bytes, 0) != kSuccess) {
    throw Failure(what + ": the PLC has no state list 0x0119");
  }
  if (bytes.size() < kRecords || word_at(bytes, kLength) != bytes.size() - kLengthCountsFrom ||
      word_at(bytes, kRecordLength) != kLampRecord ||
      bytes.size() - kRecords != kLampRecord * word_at(bytes, kRecordCount)) {
    throw Failure(what + ": the answer is no whole list; try again");
  }
  std::vector<Lamp> lamps;
  for (std::size_t at = kRecords; at < bytes.size(); at += kLampRecord) {
    const unsigned blinking = std::min(byte_at(bytes, at + 3), 2u);
    lamps.push_back(
        {word_at(bytes, at), byte_at(bytes, at + 2) != 0, static_cast<Lamp::Blinking>(blinking)});
  }
  return lamps;
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

RunMode LampList::mode() const {
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

ModeByte read_mode_byte(PlcConnection& plc) {
  const Value bits = plc.run("reading the run mode", JobKind::kQuery,
                             [](PlexumLink& link) { return link.pg_plcRunMode(); });
  ModeByte byte;
  if (const auto* array = std::get_if<VariantArray>(&bits)) {
    for (std::size_t bit = 0; bit < array->elements.size(); ++bit) {
      const auto* text = std::get_if<std::string>(&array->elements[bit]);
      if (text != nullptr && *text == "1") byte.value |= static_cast<std::uint8_t>(1u << bit);
    }
  }
  return byte;
}

LampList read_lamps(PlcConnection& plc) {
  const Value result =
      plc.run("reading the lamps", JobKind::kQuery, [](PlexumLink& link) { return link.pg_SZL(); });
  LampList list;
  if (const auto* array = std::get_if<VariantArray>(&result)) {
    for (const Value& element : array->elements) {
      list.bytes += static_cast<char>(std::get<std::int16_t>(element));
    }
  }
  list.lamps = lamps_in(list.bytes);
  return list;
}

RunMode read_mode(PlcConnection& plc) {
  const RunMode mode = read_mode_byte(plc).mode();
  return mode == RunMode::kUnknown ? read_lamps(plc).mode() : mode;
}

}  // namespace plexum::cli
