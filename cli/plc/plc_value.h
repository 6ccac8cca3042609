#pragma once

#include <chrono>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <variant>
#include <vector>

#include "cli/plc/plc_address.h"

namespace plexum::cli {

// A value of the PLC: BOOL; BYTE to DINT and COUNTER; REAL; S5TIME; CHAR and STRING, and a timer or
// counter without decimal digits, as 16#ABCD. Texts are byte strings, a byte a character.
using PlcValue = std::variant<bool, std::int64_t, float, std::chrono::milliseconds, std::string>;

// The values in an address's bytes. An array of CHAR is one text. Throws Failure for a STRING whose
// lengths can't be.
std::vector<PlcValue> values_of(const PlcAddress& address, const std::string& bytes);

// As people read one: 4660, 1, 3.14 (the shortest text that is exact), NaN, S5T#1M30S, Hello. In
// texts control characters are shown as \x1B.
std::string text_of(const PlcValue& value);
// Numbers and true as they are; a time in milliseconds; "NaN", "Infinity" and "-Infinity".
nlohmann::ordered_json json_of(const PlcValue& value);

// All values, separated by blanks; the strings of an array in quotes. And as an array in JSON, or,
// where the address is no array, as a single value.
std::string text_of(const PlcAddress& address, const std::vector<PlcValue>& values);
nlohmann::ordered_json json_of(const PlcAddress& address, const std::vector<PlcValue>& values);

// The value that a user gives for an element of the address (the text of an array of CHAR: for all
// of it, filled up with blanks). `text` is UTF-8. Throws a usage error that tells the range.
//
//   BOOL  1 0 true false         integers  4660  -5  16#1234  W#16#1234  0x1234  2#1010  L#-5
//   REAL  3.14  -1e20  NaN  Inf  CHAR, STRING  their text
PlcValue parse_value(const PlcAddress& address, const std::string& text);

// The PLC's bytes of a value; of a STRING the present length and the characters.
std::string bytes_of(PlcType type, const PlcValue& value);

}  // namespace plexum::cli
