#include "cli/plc/plc_value.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

#include "cli/text/bytes_as_text.h"
#include "cli/text/failure.h"

namespace plexum::cli {
namespace {

using nlohmann::ordered_json;

struct Integer {
  unsigned size;  // in bytes
  std::int64_t least, most;
};

std::optional<Integer> integer(PlcType type) {
  switch (type) {
    case PlcType::kByte:
      return Integer{1, 0, 0xFF};
    case PlcType::kWord:
      return Integer{2, 0, 0xFFFF};
    case PlcType::kInt:
      return Integer{2, -0x8000, 0x7FFF};
    case PlcType::kDword:
      return Integer{4, 0, 0xFFFFFFFF};
    case PlcType::kDint:
      return Integer{4, -0x80000000LL, 0x7FFFFFFF};
    default:
      return std::nullopt;
  }
}

std::uint32_t big_endian(std::string_view bytes) {
  std::uint32_t number = 0;
  for (const char byte : bytes) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

std::string big_endian(std::uint32_t number, unsigned size) {
  std::string bytes;
  for (unsigned i = size; i > 0; --i) bytes += static_cast<char>(number >> 8 * (i - 1));
  return bytes;
}

// The three BCD digits of a timer or counter.
std::optional<unsigned> decimal_digits(std::uint32_t word) {
  unsigned number = 0;
  for (const unsigned shift : {8u, 4u, 0u}) {
    const unsigned digit = word >> shift & 0xF;
    if (digit > 9) return std::nullopt;
    number = 10 * number + digit;
  }
  return number;
}

PlcValue timer_or_counter(PlcType type, const std::string& bytes) {
  const std::uint32_t word = big_endian(bytes);
  const std::optional<unsigned> number = decimal_digits(word);
  if (!number) {
    std::string digits = hex_dump(bytes);
    digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
    return "16#" + digits;
  }
  if (type == PlcType::kCounter) return std::int64_t{*number};
  constexpr std::int64_t kBases[] = {10, 100, 1000, 10'000};  // ms
  return std::chrono::milliseconds(kBases[word >> 12 & 3] * *number);
}

std::string string_of(const PlcAddress& address, const std::string& bytes) {
  const std::size_t maximum = big_endian(bytes.substr(0, 1));
  const std::size_t length = big_endian(bytes.substr(1, 1));
  if (length > maximum || length > bytes.size() - 2) {
    throw Failure(address.text + " holds no such STRING: its length is " + std::to_string(length) +
                  " of " + std::to_string(maximum) + "; see its bytes with --hex");
  }
  return bytes.substr(2, length);
}

PlcValue element_of(const PlcAddress& address, const std::string& bytes) {
  switch (address.type) {
    case PlcType::kReal:
      return std::bit_cast<float>(big_endian(bytes));
    case PlcType::kString:
      return string_of(address, bytes);
    case PlcType::kS5Time:
    case PlcType::kCounter:
      return timer_or_counter(address.type, bytes);
    case PlcType::kInt:
      return std::int64_t{static_cast<std::int16_t>(big_endian(bytes))};
    case PlcType::kDint:
      return std::int64_t{static_cast<std::int32_t>(big_endian(bytes))};
    default:
      return std::int64_t{big_endian(bytes)};
  }
}

std::string text_of_real(float real) {
  if (std::isnan(real)) return "NaN";
  if (std::isinf(real)) return real < 0 ? "-Inf" : "Inf";
  char text[32];
  return {text, std::to_chars(text, std::end(text), real).ptr};
}

// In the notation of S7 programs: S5T#1H30M, S5T#500MS.
std::string text_of_time(std::chrono::milliseconds time) {
  struct Unit {
    const char* name;
    std::int64_t ms;
  };
  std::string text = "S5T#";
  std::int64_t rest = time.count();
  for (const Unit& unit : {Unit{"H", 3'600'000}, {"M", 60'000}, {"S", 1000}, {"MS", 1}}) {
    if (rest >= unit.ms) text += std::to_string(rest / unit.ms) + unit.name;
    rest %= unit.ms;
  }
  return time.count() == 0 ? text + "0MS" : text;
}

std::string without_control_characters(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    const auto code = static_cast<unsigned char>(byte);
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    text += control ? "\\x" + hex_dump({byte}) : text_from_bytes({byte});
  }
  return text;
}

[[noreturn]] void refuse(const PlcAddress& address, const std::string& text,
                         const std::string& right) {
  throw usage_error(address.text + ": \"" + text + "\" is no " + name_of(address.type) + "; " +
                    right);
}

bool take_prefix(std::string_view& text, std::string_view prefix) {
  const auto same = [](char a, char b) { return (a >= 'a' && a <= 'z' ? a - 'a' + 'A' : a) == b; };
  if (text.size() < prefix.size() || !std::equal(prefix.begin(), prefix.end(), text.begin(),
                                                 [&](char b, char a) { return same(a, b); })) {
    return false;
  }
  text.remove_prefix(prefix.size());
  return true;
}

std::optional<std::int64_t> number_in(std::string_view text) {
  for (const char* type : {"DW#", "W#", "B#", "L#"}) {
    if (take_prefix(text, type)) break;
  }
  const bool minus = take_prefix(text, "-");
  if (!minus) take_prefix(text, "+");
  int base = 10;
  if (take_prefix(text, "16#") || take_prefix(text, "0X")) {
    base = 16;
  } else if (take_prefix(text, "2#")) {
    base = 2;
  }
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return minus ? -std::int64_t{number} : std::int64_t{number};
}

std::optional<float> real_in(std::string_view text) {
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  float real = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), real);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return real;
}

PlcValue bool_in(const PlcAddress& address, const std::string& text) {
  std::string_view rest = text;
  if (text == "1" || (take_prefix(rest, "TRUE") && rest.empty())) return true;
  if (text == "0" || (take_prefix(rest, "FALSE") && rest.empty())) return false;
  refuse(address, text, "give 1 or 0, true or false");
}

PlcValue integer_in(const PlcAddress& address, const std::string& text, const Integer& type) {
  const std::optional<std::int64_t> number = number_in(text);
  if (number && *number >= type.least && *number <= type.most) return *number;
  refuse(address, text,
         "give a number from " + std::to_string(type.least) + " to " + std::to_string(type.most) +
             ", decimal or such as 16#1A");
}

PlcValue characters_in(const PlcAddress& address, const std::string& text) {
  std::optional<std::string> bytes = bytes_from_text(text);
  if (!bytes) refuse(address, text, "a PLC's characters are those of one byte, U+0000 to U+00FF");
  const bool string = address.type == PlcType::kString;
  const unsigned room = string ? address.max_length : address.count;
  if (bytes->size() > room && room > 0) {
    refuse(address, text, "there is room for " + std::to_string(room));
  }
  if (!string) bytes->resize(room, ' ');
  return *bytes;
}

}  // namespace

std::vector<PlcValue> values_of(const PlcAddress& address, const std::string& bytes) {
  if (address.type == PlcType::kChar) return {bytes};
  std::vector<PlcValue> values;
  const std::size_t size = bytes.size() / address.count;
  for (std::size_t i = 0; i < address.count; ++i) {
    if (address.type == PlcType::kBool) {
      const std::size_t bit = address.bit + i;
      values.emplace_back((static_cast<unsigned char>(bytes[bit / 8]) >> bit % 8 & 1) != 0);
    } else {
      values.push_back(element_of(address, bytes.substr(i * size, size)));
    }
  }
  return values;
}

std::string text_of(const PlcValue& value) {
  struct Text {
    std::string operator()(bool on) const { return on ? "1" : "0"; }
    std::string operator()(std::int64_t number) const { return std::to_string(number); }
    std::string operator()(float real) const { return text_of_real(real); }
    std::string operator()(std::chrono::milliseconds time) const { return text_of_time(time); }
    std::string operator()(const std::string& text) const {
      return without_control_characters(text);
    }
  };
  return std::visit(Text{}, value);
}

ordered_json json_of(const PlcValue& value) {
  struct Json {
    ordered_json operator()(bool on) const { return on; }
    ordered_json operator()(std::int64_t number) const { return number; }
    ordered_json operator()(float real) const {
      if (std::isnan(real)) return "NaN";
      if (std::isinf(real)) return real < 0 ? "-Infinity" : "Infinity";
      // A float made a double would be written with up to 17 digits. Reading its own short text as
      // a double keeps the text short.
      const std::string text = text_of_real(real);
      double number = 0;
      std::from_chars(text.data(), text.data() + text.size(), number);
      return number;
    }
    ordered_json operator()(std::chrono::milliseconds time) const { return time.count(); }
    ordered_json operator()(const std::string& text) const { return text_from_bytes(text); }
  };
  return std::visit(Json{}, value);
}

std::string text_of_all(const PlcAddress& address, const std::vector<PlcValue>& values) {
  const bool quoted = address.array && address.type == PlcType::kString;
  std::string text;
  for (const PlcValue& value : values) {
    if (!text.empty()) text += ' ';
    text += quoted ? '"' + text_of(value) + '"' : text_of(value);
  }
  return text;
}

ordered_json json_of_all(const PlcAddress& address, const std::vector<PlcValue>& values) {
  if (!address.array || address.type == PlcType::kChar) return json_of(values.front());
  ordered_json array = ordered_json::array();
  for (const PlcValue& value : values) array.push_back(json_of(value));
  return array;
}

PlcValue parse_value(const PlcAddress& address, const std::string& text) {
  if (const std::optional<Integer> type = integer(address.type)) {
    return integer_in(address, text, *type);
  }
  switch (address.type) {
    case PlcType::kBool:
      return bool_in(address, text);
    case PlcType::kReal:
      if (const std::optional<float> real = real_in(text)) return *real;
      refuse(address, text, "give a number such as 3.14 or -1.5e-3, below 3.5e38");
    case PlcType::kChar:
    case PlcType::kString:
      return characters_in(address, text);
    default:
      refuse(address, text, "it can only be read");
  }
}

std::string bytes_of(PlcType type, const PlcValue& value) {
  if (type == PlcType::kReal) {
    return big_endian(std::bit_cast<std::uint32_t>(std::get<float>(value)), 4);
  }
  if (const std::optional<Integer> whole = integer(type)) {
    return big_endian(static_cast<std::uint32_t>(std::get<std::int64_t>(value)), whole->size);
  }
  std::string bytes = std::get<std::string>(value);
  if (type == PlcType::kString) bytes.insert(0, 1, static_cast<char>(bytes.size()));
  return bytes;
}

}  // namespace plexum::cli
