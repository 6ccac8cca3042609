// System state lists, asked for in the CPU-function group of userdata. What the PLC answers is
// handed over as it is, an error, too.

#include "plc/state_lists.h"

#include <string>

#include "base/runtime_error.h"
#include "convert/byte_strings.h"
#include "protocol/telegram.h"

namespace plexum {
namespace {

// Read system state list; id and index are the last four bytes.
constexpr auto kRunModeList =
    "03 00 00 21 | 02 F0 80 | 32 07 00 00 61 00 00 08 00 08 | 00 01 12 04 11 44 01 00"
    "| FF 09 00 04 04 24 00 00"_hex;
static_assert(tpkt_length(kRunModeList) == kRunModeList.size());

constexpr auto kLampList =
    "03 00 00 21 | 02 F0 80 | 32 07 00 00 61 00 00 08 00 08 | 00 01 12 04 11 44 01 00"
    "| FF 09 00 04 01 19 00 00"_hex;
static_assert(tpkt_length(kLampList) == kLampList.size());

constexpr const char* kWaitingText = "PLC Stop";  // these have no text of their own
constexpr double kAnswerLength = 35;

constexpr std::size_t kRunModeByte = 42;  // second byte of the first record
constexpr std::size_t kListData = 29;     // from the data field's return code on

Value integers(const std::string& bytes) {
  if (bytes.empty()) throw RuntimeError(kSubscriptOutOfRange);
  VariantArray array;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    array.elements.emplace_back(static_cast<std::int16_t>(code_at(bytes, i)));
  }
  return array;
}

}  // namespace

Value pg_plcRunMode(RequestCycle& cycle) {
  const auto answer = cycle.control_job(to_string(kRunModeList), kWaitingText, kAnswerLength);
  if (!answer) return {};
  if (answer->size() <= kRunModeByte) throw RuntimeError(kSubscriptOutOfRange);
  const std::int32_t mode = code_at(*answer, kRunModeByte);
  VariantArray bits;
  for (int bit = 0; bit < 8; ++bit) {
    bits.elements.emplace_back(std::string((mode >> bit & 1) != 0 ? "1" : "0"));
  }
  return bits;
}

Value pg_SZL(RequestCycle& cycle) {
  const auto answer = cycle.control_job(to_string(kLampList), kWaitingText, kAnswerLength);
  if (!answer) return {};
  cycle.environment.show_message_box(std::to_string(answer->size()));
  return integers(bytes_from(*answer, kListData));
}

}  // namespace plexum
