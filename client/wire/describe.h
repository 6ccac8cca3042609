#pragma once

#include <string>
#include <string_view>

#include "client/wire/codes.h"

namespace plexum::wire {

// The words for a PLC's errors, which are kept where words for people are. Each gives null where it
// has none.
struct Words {
  const char* (*of_error)(ErrorCode error) = [](ErrorCode) -> const char* { return nullptr; };
  const char* (*of_return_code)(ReturnCode code) = [](ReturnCode) -> const
      char* { return nullptr; };
};

// What telegrams say, a line a thing: TPKT, COTP and S7 fields by name, functions with their items,
// errors in words. `bytes` may be anything: several telegrams, part of one, or none; what is there
// is told as far as it goes, where a parser would only find a fault.
std::string describe(std::string_view bytes, const Words& words = {});

// The bytes themselves, 16 a line: position, hexadecimal digits, characters.
std::string dump(std::string_view bytes);

}  // namespace plexum::wire
