#pragma once

#include <cstdint>
#include <string>

#include "client/item.h"

namespace plexum::cli {

enum class PlcType : std::uint8_t {
  kBool,
  kByte,
  kWord,
  kInt,
  kDword,
  kDint,
  kReal,
  kChar,
  kString,
  kS5Time,   // a timer: time base and three BCD digits
  kCounter,  // three BCD digits
};

// The bytes of a STRING before its characters: maximum and present length.
inline constexpr unsigned kStringHeader = 2;

// "INT", "S5TIME".
const char* name_of(PlcType type);

// A variable of the PLC, as S7 people write one, in English or German:
//
//   DB10.DBX0.3  DB10.DBB0  DB10.DBW4  DB10.DBD8:REAL  DI10.DIW4
//   M5.1 MB5 MW20 MD8:DINT   I0.1 IB0   E0.1 EB0   Q0.1 QW2   A0.1 AW2   LB0
//   PIW256 PEW256   PQB0 PAB0   T5   C3 Z3
//   arrays     DB1.DBB0[100]  MW20[8]:INT  DB1.DBX0.4[10]
//   texts      DB1.DBB40[5]:CHAR  DB1.DBB38:STRING[24]  DB1.DBB38:STRING
struct PlcAddress {
  std::string text;  // as given, in capitals
  // All of it: bytes as a rule, timers or counters, words or double words of the periphery.
  client::Item item;
  PlcType type = PlcType::kByte;
  unsigned bit = 0;    // of a BOOL, in the item's first byte
  unsigned count = 1;  // elements
  bool array = false;  // whether a count was given, be it 1
  // The room of a STRING, in characters. 0 when it wasn't given: then `item` is only the two bytes
  // before the characters, and the PLC has to be asked for the length.
  unsigned max_length = 0;

  // Whether it is an output, which moves machines: process image or periphery.
  bool output = false;
  bool readable = true;  // peripheral outputs are not
  bool writable = true;  // timers and counters are not, nor peripheral inputs
};

// Throws a usage error, with a right example, for a text that is no address, and for an address
// that the control can't encode.
PlcAddress parse_address(const std::string& text);

// Throw a usage error that gives the reason unless the address can be read or written.
void require_readable(const PlcAddress& address);
void require_writable(const PlcAddress& address);

}  // namespace plexum::cli
