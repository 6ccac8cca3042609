// Writing memory: one write-variable job (function 05) of one item. The four differ in their PDU
// references and in what they write back into their caller's variables, and each is as the PLCs
// have seen it for years.

#include <cmath>
#include <utility>

#include "base/integers.h"
#include "control/plexum_link.h"
#include "convert/byte_strings.h"
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

// The return-code field of a word's data item holds 12, which PLCs pass over.
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

}  // namespace

void PlexumLink::take_return_code(std::string answer) {
  // After a time-out this is a second take. A short or empty answer raises error 5 here, with the
  // err of the time-out in place.
  take_if_connected(answer);
  const std::int32_t return_code = code_at(answer, kReturnCode);
  err_ = return_code == kAccepted ? 0 : return_code;
  status_text_ = "Send/Receive Ready";
  inuse_ = false;
}

bool PlexumLink::ag_WriteX(const std::string& db, std::string& startad, const std::string& wert,
                           const std::string& Spsarts, const std::string& bitadd) {
  if (!guard()) return false;
  inuse_ = true;
  startad = text(number(startad) * 8 + std::floor(number(bitadd)));
  std::string variable = integer_to_bytes(db);
  variable += area_byte(Spsarts);
  variable += wordtobeytadd(startad);
  const char value = byte_from_code(to_long(number(wert)));
  status_text_ = "Wreit Send Data";
  send_if_connected(to_string(kBitHead) + variable + to_string(kBitItem) + value);
  status_text_ = "Write Wait Data";
  std::string answer;
  if (!wait_for_bytes(kAnswerLength)) {
    status_text_ = "Read Exit";
    take_if_connected(answer);  // a refusal shows as a time-out here
    err_ = 3;
    environment_.process_messages();
    drop_connection_state();
  }
  take_return_code(std::move(answer));
  return err_ <= 0;
}

Value PlexumLink::ag_WriteB(const std::string& db, const std::string& startad_w,
                            const std::string& wert, const std::string& Spsarts) {
  if (!guard()) return false;
  inuse_ = true;
  std::string bit_address = text(number(startad_w) * 8);
  std::string variable = integer_to_bytes(db);
  variable += area_byte(Spsarts);
  variable += wordtobeytadd(bit_address);
  status_text_ = "Wreit Send Data";
  // One byte is declared, whatever the length of `wert`.
  send_if_connected(to_string(kByteHead) + variable + to_string(kByteItem) + wert);
  status_text_ = "Write Wait Data";
  std::string answer;
  if (!wait_for_bytes(kAnswerLength)) answer = end_after_timeout();
  take_return_code(std::move(answer));
  return err_ == 0;
}

Value PlexumLink::ag_WriteMB(const std::string& db, std::string& startad,
                             const std::string& wertBytesstring, const std::string& Spsarts) {
  if (!guard()) return false;
  inuse_ = true;
  startad = text(number(startad) * 8);
  std::string variable = integer_to_bytes(db);
  variable += area_byte(Spsarts);
  variable += wordtobeytadd(startad);
  const auto count = static_cast<double>(wertBytesstring.size());
  std::string telegram = to_string(kBytesTpkt) + wordtobeyt(text(count + kBytesOverhead));
  telegram += to_string(kBytesHeader) + wordtobeyt(text(count + kBytesItemHeader));
  telegram += to_string(kBytesParameter) + wordtobeyt(text(count)) + variable;
  telegram += to_string(kBytesItem) + wordtobeyt(text(count * 8)) + wertBytesstring;
  // This one keeps the status text of what came before.
  send_if_connected(telegram);
  status_text_ = "Write Wait Data";
  std::string answer;
  if (!wait_for_bytes(kAnswerLength)) answer = end_after_timeout();
  take_return_code(std::move(answer));
  return err_ == 0;
}

bool PlexumLink::ag_WriteF(const std::string& DBNr, std::string& startad, std::string& wert,
                           const std::string& Spsarts) {
  const std::string bytes = flottobeyt(wert);
  return ag_WriteMB(DBNr, startad, bytes, Spsarts) == Value(true);
}

bool PlexumLink::ag_WriteD(const std::string& DBNr, std::string& startad, std::string& wert,
                           const std::string& Spsarts) {
  const double high = take_words(wert, environment_, 65536);
  const std::string bytes = wordtobeyt(text(high)) + wordtobeyt(wert);
  return ag_WriteMB(DBNr, startad, bytes, Spsarts) == Value(true);
}

bool PlexumLink::ag_WriteW(const std::string& DBNr, const std::string& startad,
                           const std::string& wert, const std::string& Spsarts) {
  if (!guard()) return false;
  inuse_ = true;
  std::string bit_address = text(number(startad) * 8);
  std::string variable = integer_to_bytes(DBNr);
  variable += area_byte(Spsarts);
  variable += wordtobeytadd(bit_address);
  const std::string value = integer_to_bytes(wert);
  status_text_ = "Wreit Send Data";
  send_if_connected(to_string(kWordHead) + variable + to_string(kWordItem) + value);
  status_text_ = "Write Wait Data";
  std::string answer;
  if (!wait_for_bytes(kAnswerLength)) answer = end_after_timeout();
  take_return_code(std::move(answer));
  return err_ <= 0;
}

}  // namespace plexum
