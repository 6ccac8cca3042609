#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/link/plc_connection.h"
#include "cli/plc/plc_address.h"
#include "cli/plc/plc_value.h"
#include "cli/text/error_words.h"

namespace plexum::cli {

// Reading and writing. A lost connection is thrown as a Failure, whose line begins with what was
// being done.

// What was read of an address: its bytes, for values_of(), or why the PLC refuses them.
struct ReadResult {
  std::string bytes;
  std::optional<ErrorWords> refusal;
};

// Reads all addresses, in as few telegrams as possible; the results are in the same order. A STRING
// whose room wasn't given takes a second round, for as many characters as it has.
std::vector<ReadResult> read_variables(PlcConnection& plc,
                                       const std::vector<PlcAddress>& addresses);

// "reading DB7.DBW0: no such block ...".
Failure read_failure(const PlcAddress& address, const ErrorWords& words);

// Values for all elements of an address.
struct Assignment {
  PlcAddress address;
  std::vector<PlcValue> values;
};

// Checks that each text fits into its STRING in the PLC, whose maximum length stays as it is.
// Throws a usage error where one doesn't.
void check_strings(PlcConnection& plc, const Assignment& assignment);

// Writes the values. Throws Failure where the PLC refuses; its line tells what was written anyway.
void write_values(PlcConnection& plc, const Assignment& assignment);

// Reads the values back and compares them with those that were written.
void verify_values(PlcConnection& plc, const Assignment& assignment);

}  // namespace plexum::cli
