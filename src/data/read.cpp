// One read-variable job (function 04) of one item, always counted in bytes, and
// what the two reading members make of the answer. The answer's return code, transport size and
// length are not looked at: its bytes from offset 25 on are the data.

#include "data/read.h"

#include <cmath>

#include "base/integers.h"
#include "base/runtime_error.h"
#include "convert/byte_strings.h"
#include "data/area.h"
#include "protocol/telegram.h"

namespace plexum {
namespace {

// TPKT 4, COTP 3, ack header 12, parameter 2, item header 4.
constexpr std::size_t kReadData = 25;

// An array with the elements 1 to `count`; error 9 when there are none.
template <typename Array>
Array array_of(std::int32_t count) {
  if (count < 1) throw RuntimeError(kSubscriptOutOfRange);
  Array array;
  array.elements.resize(static_cast<std::size_t>(count));
  return array;
}

// The element that is stored next; error 9 past the end of the array.
template <typename Array>
auto& next_element(Array& array, std::size_t& used) {
  if (used == array.elements.size()) throw RuntimeError(kSubscriptOutOfRange);
  return array.elements[used++];
}

std::int32_t half_even_part(std::int32_t count, int part) {
  return static_cast<std::int32_t>(half_even(static_cast<double>(count) / part));
}

std::int32_t unsigned_word(const std::string& data, std::size_t index) {
  const std::int32_t high = code_at(data, index);
  return 256 * high + code_at(data, index + 1);
}

double signed_word(const std::string& data, std::size_t index) {
  const std::int32_t word = unsigned_word(data, index);
  return word > 32767 ? word - 65536 : word;
}

double double_word(const std::string& data, std::size_t index) {
  const auto high = static_cast<std::uint32_t>(unsigned_word(data, index));
  const auto low = static_cast<std::uint32_t>(unsigned_word(data, index + 2));
  return static_cast<std::int32_t>(high << 16 | low);
}

// An IEEE 754 single, by plain arithmetic: no infinities, no subnormal numbers. Whether it is 0
// depends on the first byte alone, so the smallest positive numbers read as 0 and negative zero
// doesn't.
double real(const std::string& data, std::size_t index) {
  const auto high = static_cast<std::uint32_t>(unsigned_word(data, index));
  const auto low = static_cast<std::uint32_t>(unsigned_word(data, index + 2));
  if (high >> 8 == 0) return 0;
  const std::uint32_t bits = high << 16 | low;
  const int exponent = static_cast<int>(bits >> 23 & 0xFF) - 127;
  const double mantissa = 1 + std::ldexp(bits & 0x7FFFFF, -23);
  return std::ldexp((bits >> 31) != 0 ? -mantissa : mantissa, exponent);
}

// One element for every `step` bytes up to `count`; what the data don't hold is error 5, what the
// array doesn't hold error 9.
template <typename Array, typename Element>
Array elements_of(const std::string& data, std::int32_t count, int step, Element element) {
  Array array = array_of<Array>(half_even_part(count, step));
  std::size_t used = 0;
  for (std::int32_t index = 0; index < count; index += step) {
    auto value = element(data, static_cast<std::size_t>(index));
    next_element(array, used) = value;
  }
  return array;
}

DoubleArray bytes_as_numbers(const std::string& data, std::int32_t count) {
  return elements_of<DoubleArray>(data, count, 1, code_at);
}

// Here the array's size tells how many are converted, not the bytes.
DoubleArray double_words(const std::string& data, std::int32_t count) {
  const std::int32_t groups = half_even_part(count, 4);
  return elements_of<DoubleArray>(data, 4 * groups, 4, double_word);
}

DoubleArray bits_as_numbers(const std::string& data, std::int32_t count) {
  auto array = array_of<DoubleArray>(to_int16(8.0 * count));
  std::size_t used = 0;
  for (std::int32_t index = 0; index < count; ++index) {
    const std::int32_t byte = code_at(data, static_cast<std::size_t>(index));
    for (int bit = 0; bit < 8; ++bit) next_element(array, used) = byte >> bit & 1;
  }
  return array;
}

Value converted_for_ag_Read(const std::string& data, std::int32_t count,
                            const std::string& Datenart) {
  if (Datenart == "B") return bytes_as_numbers(data, count);
  if (Datenart == "W") return elements_of<DoubleArray>(data, count, 2, unsigned_word);
  if (Datenart == "I") return elements_of<DoubleArray>(data, count, 2, signed_word);
  if (Datenart == "D") return double_words(data, count);
  if (Datenart == "F") return elements_of<DoubleArray>(data, count, 4, real);
  if (Datenart == "X") return bits_as_numbers(data, count);
  return {};
}

std::int16_t byte_element(const std::string& data, std::size_t index) {
  return static_cast<std::int16_t>(code_at(data, index));
}

// In 16-bit arithmetic: a first byte of 128 or more is an overflow.
std::int16_t word_element(const std::string& data, std::size_t index) {
  const std::int16_t high = to_int16(256.0 * code_at(data, index));
  return to_int16(static_cast<double>(high) + code_at(data, index + 1));
}

std::string bits_element(const std::string& data, std::size_t index) {
  const std::int32_t byte = code_at(data, index);
  std::string bits;
  for (int bit = 0; bit < 8; ++bit) bits += (byte >> bit & 1) != 0 ? '1' : '0';
  return bits;
}

Value converted_for_ag_ReadB(const std::string& data, const std::string& Datenart) {
  // Unlike in ag_Read, no 16-bit number bounds how much can be read.
  const auto count = static_cast<std::int32_t>(data.size());
  if (Datenart == "C") return data;
  if (Datenart == "B") return elements_of<VariantArray>(data, count, 1, byte_element);
  if (Datenart == "W" || Datenart == "I") {
    return elements_of<VariantArray>(data, count, 2, word_element);
  }
  if (Datenart == "X") return elements_of<VariantArray>(data, count, 1, bits_element);
  return {};
}

}  // namespace

Value ag_Read(RequestCycle& cycle, const std::string& DBNr, const std::string& anzby,
              const std::string& startad, const std::string& Datenart, const std::string& Spsarts) {
  if (!cycle.connect_on_demand()) return {};
  // An err that an earlier job left doesn't stop this one.
  if (!cycle.connected()) {
    cycle.err = 4;
    cycle.drop_connection_state();
    cycle.auftrag_Fehler = 0;
    return {};
  }
  cycle.auftrag_Fehler = 0;
  cycle.err = 0;
  cycle.inuse = true;

  std::string request = cycle.readhead;
  request += integer_part_bytes(anzby, cycle.environment);
  request += integer_part_bytes(DBNr, cycle.environment);
  request += area_byte_with_timers_and_counters(Spsarts);
  // A 16-bit bit address: a host can't read a byte above 4095 by this member.
  std::string bit_address = cycle.text(to_int16(std::floor(cycle.number(startad)) * 8));
  request += wordtobeytadd(bit_address, cycle.environment);
  // Sent, and below taken, without a test of the state: when the connection was lost since the
  // guard, the host gets the TCP client's own error.
  cycle.tcp_client.SendData(request);

  cycle.status_text = "Read Wait Data";
  const double count = std::floor(cycle.number(anzby));
  if (!cycle.wait_for_bytes(count + kReadData)) {
    cycle.status_text = "Read Exit";
    std::string fragment;
    cycle.err = cycle.err_of_fragment(fragment);
    // Unlike other time-outs, this one doesn't process the host's messages.
    cycle.drop_connection_state();
    return {};
  }
  const std::string answer = cycle.tcp_client.GetData();
  cycle.status_text = "Send/Receive Ready";
  cycle.inuse = false;
  const std::string data = bytes_from(answer, kReadData, static_cast<std::size_t>(count));
  Value result = converted_for_ag_Read(data, to_int16(cycle.number(anzby)), Datenart);
  cycle.err = 0;
  return result;
}

Value ag_ReadB(RequestCycle& cycle, const std::string& DBNr, const std::string& anzby,
               const std::string& startad_w, const std::string& Datenart,
               const std::string& Spsarts) {
  // A refusal leaves inuse and s7init as they are.
  if (!cycle.connect_on_demand() || !cycle.ready()) return {};
  cycle.inuse = true;
  cycle.auftrag_Fehler = 0;
  cycle.err = 0;

  std::string request = cycle.readhead;
  request += integer_part_bytes(anzby, cycle.environment);
  request += integer_part_bytes(DBNr, cycle.environment);
  request += area_byte(Spsarts);
  // Not cut: byte 10.5 is bit 4 of byte 10.
  std::string bit_address = cycle.text(cycle.number(startad_w) * 8);
  request += wordtobeytadd(bit_address, cycle.environment);
  cycle.send_if_connected(request);

  cycle.status_text = "Read Wait Data";
  if (!cycle.wait_for_bytes(cycle.number(anzby) + kReadData)) {
    cycle.end_after_timeout();
    return {};
  }
  const std::string answer = cycle.take_or_nothing();
  cycle.status_text = "Send/Receive Ready";
  cycle.inuse = false;
  const auto count = static_cast<std::size_t>(std::floor(cycle.number(anzby)));
  Value result = converted_for_ag_ReadB(bytes_from(answer, kReadData, count), Datenart);
  cycle.err = 0;
  return result;
}

}  // namespace plexum
