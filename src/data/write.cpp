// One write-variable job (function 05) of one item. The four jobs differ in their PDU references
// and in what they write back into their caller's variables; hosts and PLCs know each as it is.

#include "data/write.h"

#include <cmath>
#include <utility>

#include "base/integers.h"
#include "convert/byte_strings.h"
#include "convert/float_bits.h"
#include "convert/repeated_subtraction.h"
#include "data/area.h"
#include "protocol/telegram.h"

namespace plexum {
namespace {

// Each telegram in three parts: the head up to the element count; then DB number, area byte and
// bit address; then the data item's header (return code, transport size, length in bits) and data.
constexpr std::size_t kVariableLength = 2 + 1 + 3;

constexpr auto kBitHead =
    "03 00 00 24 | 02 F0 80 | 32 01 00 00 02 00 00 0E 00 05 | 05 01 12 0A 10 01 00 01"_hex;
constexpr auto kBitItem = "00 03 00 01"_hex;
static_assert(tpkt_length(kBitHead) == kBitHead.size() + kVariableLength + kBitItem.size() + 1);

constexpr auto kByteHead =
    "03 00 00 24 | 02 F0 80 | 32 01 00 00 02 00 00 0E 00 05 | 05 01 12 0A 10 02 00 01"_hex;
constexpr auto kByteItem = "00 04 00 08"_hex;
static_assert(tpkt_length(kByteHead) == kByteHead.size() + kVariableLength + kByteItem.size() + 1);

// The return-code field of a word's data item holds 12. It means nothing in a request; that every
// PLC passes over it is a guess.
constexpr auto kWordHead =
    "03 00 00 25 | 02 F0 80 | 32 01 00 00 00 61 00 0E 00 06 | 05 01 12 0A 10 05 00 01"_hex;
constexpr auto kWordItem = "12 05 00 10"_hex;
static_assert(tpkt_length(kWordHead) == kWordHead.size() + kVariableLength + kWordItem.size() + 2);

// A byte string's lengths are its own: three numbers go between these.
constexpr auto kBytesTpkt = "03 00"_hex;
constexpr auto kBytesHeader = "02 F0 80 | 32 01 00 00 01 00 00 0E"_hex;
constexpr auto kBytesParameter = "05 01 12 0A 10 02"_hex;
constexpr auto kBytesItem = "00 04"_hex;
constexpr double kBytesOverhead = 35;   // telegram without the bytes
constexpr double kBytesItemHeader = 4;  // data field without the bytes

constexpr double kAnswerLength = 22;
constexpr std::size_t kReturnCode = 21;
constexpr std::int32_t kAccepted = 0xFF;

// Takes a write's answer, in place of what a time-out left, and err from its return code.
void take_return_code(RequestCycle& cycle, std::string answer) {
  // After a time-out this is a second take. A short or empty answer raises error 5 here, with the
  // err of the time-out in place.
  cycle.take_or_keep(answer);
  const std::int32_t return_code = code_at(answer, kReturnCode);
  cycle.err = return_code == kAccepted ? 0 : return_code;
  cycle.status_text = "Send/Receive Ready";
  cycle.inuse = false;
}

}  // namespace

bool ag_WriteX(RequestCycle& cycle, const std::string& db, std::string& startad,
               const std::string& wert, const std::string& Spsarts, const std::string& bitadd) {
  if (!cycle.guard()) return false;
  cycle.inuse = true;
  startad = cycle.text(cycle.number(startad) * 8 + std::floor(cycle.number(bitadd)));
  std::string variable = integer_part_bytes(db, cycle.environment);
  variable += area_byte(Spsarts);
  variable += wordtobeytadd(startad, cycle.environment);
  const char value = byte_from_code(to_int32(cycle.number(wert)));
  cycle.status_text = "Wreit Send Data";
  cycle.send_if_connected(to_string(kBitHead) + variable + to_string(kBitItem) + value);
  cycle.status_text = "Write Wait Data";
  std::string answer;
  if (!cycle.wait_for_bytes(kAnswerLength)) {
    cycle.status_text = "Read Exit";
    cycle.take_or_keep(answer);  // a refusal shows as a time-out here
    cycle.err = 3;
    cycle.environment.process_messages();
    cycle.drop_connection_state();
  }
  take_return_code(cycle, std::move(answer));
  return cycle.err <= 0;
}

Value ag_WriteB(RequestCycle& cycle, const std::string& db, const std::string& startad_w,
                const std::string& wert, const std::string& Spsarts) {
  if (!cycle.guard()) return false;
  cycle.inuse = true;
  std::string bit_address = cycle.text(cycle.number(startad_w) * 8);
  std::string variable = integer_part_bytes(db, cycle.environment);
  variable += area_byte(Spsarts);
  variable += wordtobeytadd(bit_address, cycle.environment);
  cycle.status_text = "Wreit Send Data";
  // One byte is declared, whatever the length of `wert`.
  cycle.send_if_connected(to_string(kByteHead) + variable + to_string(kByteItem) + wert);
  cycle.status_text = "Write Wait Data";
  std::string answer;
  if (!cycle.wait_for_bytes(kAnswerLength)) answer = cycle.end_after_timeout();
  take_return_code(cycle, std::move(answer));
  return cycle.err == 0;
}

Value ag_WriteMB(RequestCycle& cycle, const std::string& db, std::string& startad,
                 const std::string& wertBytesstring, const std::string& Spsarts) {
  if (!cycle.guard()) return false;
  cycle.inuse = true;
  startad = cycle.text(cycle.number(startad) * 8);
  std::string variable = integer_part_bytes(db, cycle.environment);
  variable += area_byte(Spsarts);
  variable += wordtobeytadd(startad, cycle.environment);
  const auto count = static_cast<double>(wertBytesstring.size());
  std::string telegram = to_string(kBytesTpkt) + word_bytes(count + kBytesOverhead);
  telegram += to_string(kBytesHeader) + word_bytes(count + kBytesItemHeader);
  telegram += to_string(kBytesParameter) + word_bytes(count) + variable;
  telegram += to_string(kBytesItem) + word_bytes(count * 8) + wertBytesstring;
  // This one keeps the status text of what came before.
  cycle.send_if_connected(telegram);
  cycle.status_text = "Write Wait Data";
  std::string answer;
  if (!cycle.wait_for_bytes(kAnswerLength)) answer = cycle.end_after_timeout();
  take_return_code(cycle, std::move(answer));
  return cycle.err == 0;
}

bool ag_WriteF(RequestCycle& cycle, const std::string& DBNr, std::string& startad,
               std::string& wert, const std::string& Spsarts) {
  const std::string bytes = flottobeyt(wert, cycle.environment);
  return ag_WriteMB(cycle, DBNr, startad, bytes, Spsarts) == Value(true);
}

bool ag_WriteD(RequestCycle& cycle, const std::string& DBNr, std::string& startad,
               std::string& wert, const std::string& Spsarts) {
  const double high = take_words(wert, cycle.environment, 65536);
  const std::string bytes = word_bytes(high) + wordtobeyt(wert, cycle.environment);
  return ag_WriteMB(cycle, DBNr, startad, bytes, Spsarts) == Value(true);
}

bool ag_WriteW(RequestCycle& cycle, const std::string& DBNr, const std::string& startad,
               const std::string& wert, const std::string& Spsarts) {
  if (!cycle.guard()) return false;
  cycle.inuse = true;
  std::string bit_address = cycle.text(cycle.number(startad) * 8);
  std::string variable = integer_part_bytes(DBNr, cycle.environment);
  variable += area_byte(Spsarts);
  variable += wordtobeytadd(bit_address, cycle.environment);
  const std::string value = integer_part_bytes(wert, cycle.environment);
  cycle.status_text = "Wreit Send Data";
  cycle.send_if_connected(to_string(kWordHead) + variable + to_string(kWordItem) + value);
  cycle.status_text = "Write Wait Data";
  std::string answer;
  if (!cycle.wait_for_bytes(kAnswerLength)) answer = cycle.end_after_timeout();
  take_return_code(cycle, std::move(answer));
  return cycle.err <= 0;
}

}  // namespace plexum
