#pragma once

#include <chrono>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <variant>
#include <vector>

#include "cli/plc/plc_address.h"

namespace plexum::cli {

// A value of the PLC. bool: BOOL; std::int64_t: BYTE to DINT, COUNTER; float: REAL; milliseconds:
// S5TIME; std::string: CHAR and STRING (one byte for each character), and "16#ABCD" for a timer or
// counter whose digits are no decimal ones.
using PlcValue = std::variant<bool, std::int64_t, float, std::chrono::milliseconds, std::string>;

// The values in an address's bytes. An array of CHAR is one text. Throws Failure for a STRING whose
// present length is above its maximum.
std::vector<PlcValue> values_of(const PlcAddress& address, const std::string& bytes);

// A value for people: 4660, 1, 3.14 (the shortest text that gives the same number), NaN, S5T#1M30S,
// Hello. Control characters of texts are shown as \x1B.
std::string text_of(const PlcValue& value);
// A value for JSON: a number, a Boolean or a text; a time in milliseconds. Numbers that JSON lacks
// are the texts "NaN", "Infinity" and "-Infinity".
nlohmann::ordered_json json_of(const PlcValue& value);

// All values of an address. As text they are separated by blanks, and the strings of an array are
// in quotes. In JSON they are an array, or a single value where the address is no array.
std::string text_of_all(const PlcAddress& address, const std::vector<PlcValue>& values);
nlohmann::ordered_json json_of_all(const PlcAddress& address, const std::vector<PlcValue>& values);

// The value of a text (in UTF-8) that a user gives for an element of the address. For an array of
// CHAR one text is the whole array, filled up with blanks. Throws a usage error that tells the
// range.
//
//   BOOL  1 0 true false         integers  4660  -5  16#1234  W#16#1234  0x1234  2#1010  L#-5
//   REAL  3.14  -1e20  NaN  Inf  CHAR, STRING  their text
PlcValue parse_value(const PlcAddress& address, const std::string& text);

// The bytes of a value as the PLC has them; of a STRING only the present length and the characters.
std::string bytes_of(PlcType type, const PlcValue& value);

}  // namespace plexum::cli
