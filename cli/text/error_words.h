#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace plexum::cli {

// What the control was doing when it set `err`: the same number means different things after
// different jobs.
enum class JobKind : std::uint8_t {
  kConnect,   // ag_ini
  kRead,      // ag_Read, ag_ReadB
  kWrite,     // the ag_Write members, whose err is a return code of the PLC
  kService,   // stop, start, erase, compress, copy RAM to ROM, delete
  kQuery,     // state lists, block lists, the clock
  kTransfer,  // uploads and downloads
};

// What an error means, and what the user can try. Both are parts of a sentence, without a full
// stop.
struct ErrorWords {
  std::string meaning;
  std::string advice;  // may be empty
};

// The words for a value of `err` other than 0. For an unknown number they say how it is made: from
// the decimal digits of an error class and an error code.
ErrorWords error_words(JobKind step, std::int32_t err);

// An error of a PLC's answer header, and a return code of a written item, with their words.
struct KnownError {
  std::uint8_t error_class;  // 0 in the table of return codes
  std::uint8_t code;
  const char* meaning;
  const char* advice;

  // The value of `err` after this error: the decimal digits of class and code, joined.
  [[nodiscard]] std::int32_t err() const;
};

std::span<const KnownError> header_errors();
std::span<const KnownError> return_codes();

}  // namespace plexum::cli
