#pragma once

#include <string>

namespace plexum {

// The S7 area byte of an area code, as one character; empty for an unknown code, which is then
// simply missing from the telegram. Codes are compared exactly ("d" is unknown).

// "D" data block, "M" flags, "E" inputs, "A" outputs, "P" peripheral I/O, "DI" instance data block,
// "LD" local data.
std::string area_byte(const std::string& code);

// These, "T" timers and "Z" counters: ag_Read alone knows the last two.
std::string area_byte_with_timers_and_counters(const std::string& code);

}  // namespace plexum
