#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "client/error.h"
#include "client/item.h"

namespace plexum::cli {

// What an error means, and what the user can try. Both are parts of a sentence, without a full
// stop.
struct ErrorWords {
  std::string meaning;
  std::string advice;  // may be empty
};

// The words for a failure of the client, for the error of a job that a PLC refused as a whole, and
// for the return code of an item that it refused.
ErrorWords words_of(const client::Failure& failure);
ErrorWords words_of(client::ErrorCode error);
ErrorWords words_of(client::ReturnCode code);

// "reading DB7.DBW0: no such block or area (return code 0x0A); see the blocks with ...".
std::string line_of(const std::string& what, const ErrorWords& words);

// What the control was doing when it set `err`: the same number means different things after
// different jobs.
enum class ControlJob : std::uint8_t {
  kConnect,  // ag_ini
  kRead,     // ag_Read, ag_ReadB
  kWrite,    // the ag_Write members, whose err is a return code of the PLC
  kQuery,    // state lists and erase
  kOther,
};

// The words for a value that the control's `err` has, other than 0. For an unknown number they say
// how it is made: from the decimal digits of an error class and an error code.
ErrorWords err_words(ControlJob job, std::int32_t err);

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
