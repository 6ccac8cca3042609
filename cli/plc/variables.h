#pragma once

#include <string>
#include <vector>

#include "cli/link/plc_connection.h"
#include "cli/plc/memory_range.h"
#include "cli/plc/plc_address.h"
#include "cli/plc/plc_value.h"

namespace plexum::cli {

// Reading and writing. All of it throws Failure, whose line begins with what was being done.

// Reads a range in as many jobs as the PLC's PDU needs.
std::string read_range(PlcConnection& plc, const MemoryRange& range);

// Reads the bytes of an address, for values_of(). A STRING whose room wasn't given takes two jobs:
// one for its present length, one for its characters.
std::string read_bytes(PlcConnection& plc, const PlcAddress& address);

// Values for all elements of an address.
struct Assignment {
  PlcAddress address;
  std::vector<PlcValue> values;
};

// Checks that each text fits into its STRING in the PLC, whose maximum length stays as it is.
// Throws a usage error where one doesn't.
void check_strings(PlcConnection& plc, const Assignment& assignment);

// Writes the values, in as many jobs as needed; a failure leaves what the jobs before it wrote.
void write_values(PlcConnection& plc, const Assignment& assignment);

// Reads the values back and compares them with those that were written.
void verify_values(PlcConnection& plc, const Assignment& assignment);

}  // namespace plexum::cli
