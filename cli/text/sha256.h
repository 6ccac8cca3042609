#pragma once

#include <string>

namespace plexum::cli {

// The SHA-256 (FIPS 180-4) of some bytes, as 64 hexadecimal digits in lower case.
std::string sha256(const std::string& bytes);

}  // namespace plexum::cli
