#include "cli/text/error_words.h"

#include <algorithm>

namespace plexum::cli {
namespace {

constexpr const char* kAskTrace = "see what it answered with --trace";
constexpr const char* kAskPutGet =
    "on an S7-1200 or S7-1500 permit PUT/GET in the CPU's protection settings";
constexpr const char* kAskProtection = "lower the CPU's protection level, or take the key switch";
constexpr const char* kAskBlocks = "see the blocks with `plexum blocks list`";
constexpr const char* kAskRange =
    "check the block's length; S7-1200 and S7-1500 serve blocks without optimised access only";

// By error class and code, as the answers of S7 PLCs carry them.
constexpr KnownError kHeaderErrors[] = {
    {0x01, 0x10, "invalid block type", kAskTrace},
    {0x01, 0x12, "invalid parameter", kAskTrace},
    {0x01, 0x1A, "the programming device is out of resources", ""},
    {0x01, 0x1B, "the PLC is out of resources", "close other connections to it"},
    {0x01, 0x1C, "protocol error", kAskTrace},
    {0x01, 0x41, "the request is not permitted", kAskProtection},
    {0x01, 0xC0, "versions don't match", ""},
    {0x01, 0xF0, "the PLC doesn't have this function", ""},
    {0x80, 0x01, "not possible in the PLC's present state", "see it with `plexum mode`"},
    {0x81, 0x04, "the PLC doesn't permit this function, such as PUT/GET access", kAskPutGet},
    {0x82, 0x04, "the object's definition doesn't permit it", kAskRange},
    {0x83, 0x04, "the PLC has no resources left", "close other connections to it"},
    {0x84, 0x04, "error in the service's processing", ""},
    {0x85, 0x00, "the telegram is longer than the PLC's PDU", "give its PDU size with --pdu"},
    {0x85, 0x04, "the PLC found the telegram wrong", kAskTrace},
    {0x87, 0x04, "access error", kAskProtection},
    {0xD2, 0x01, "syntax error in the block's name", ""},
    {0xD2, 0x02, "error in the function's parameters", ""},
    {0xD2, 0x03, "no such block type", ""},
    {0xD2, 0x04, "no linked block", ""},
    {0xD2, 0x05, "the block exists already", ""},
    {0xD2, 0x06, "the block exists already", ""},
    {0xD2, 0x07, "the block is in the EPROM", ""},
    {0xD2, 0x08, "no such block number", kAskBlocks},
    {0xD2, 0x09, "no such block", kAskBlocks},
    {0xD2, 0x0E, "no such block", kAskBlocks},
    {0xD2, 0x10, "the block number is too high for this PLC", ""},
    {0xD2, 0x13, "the load memory is full", "erase or compress it"},
    {0xD2, 0x19, "the work memory is full", "compress it with `plexum compress`"},
    {0xD2, 0x26, "the block's image is not one", "upload it again"},
    {0xD2, 0x40, "another programming device is at work", "try again later"},
    {0xD2, 0x41, "the protection level doesn't permit it", kAskProtection},
    {0xD4, 0x01, "no such state list", ""},
    {0xD4, 0x02, "no such index in the state list", ""},
    {0xD4, 0x06, "no information available", ""},
    {0xD8, 0x01, "invalid address", kAskRange},
};

// By the return code of an item, as S7 PLCs answer writes.
constexpr KnownError kReturnCodes[] = {
    {0, 0x01, "hardware error", "see the PLC's diagnostics"},
    {0, 0x03, "access denied (the protection level, or PUT/GET is not permitted)", kAskPutGet},
    {0, 0x05, "address out of range", kAskRange},
    {0, 0x06, "the PLC doesn't take this data type there", "timers and counters are read only"},
    {0, 0x07, "data type and length don't match", ""},
    {0, 0x0A, "no such block or area", kAskBlocks},
};

std::string hexadecimal(std::uint8_t byte) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  return {kDigits[byte >> 4], kDigits[byte & 15]};
}

ErrorWords words_of(const KnownError& error) {
  std::string origin = " (";
  origin += error.error_class == 0 ? "return code 0x" : "PLC error 0x";
  if (error.error_class != 0) origin += hexadecimal(error.error_class);
  return {error.meaning + origin + hexadecimal(error.code) + ")", error.advice};
}

const KnownError* find(std::span<const KnownError> table, std::int32_t err) {
  const auto found = std::find_if(table.begin(), table.end(),
                                  [&](const KnownError& error) { return error.err() == err; });
  return found == table.end() ? nullptr : &*found;
}

ErrorWords no_answer(JobKind step) {
  switch (step) {
    case JobKind::kConnect:
      return {"the PLC took the TCP connection, but not the connection set-up",
              "check --rack and --slot (or --tsap-f), and whether other programs hold the PLC's "
              "connections"};
    case JobKind::kRead:
      return {"no complete answer in time: the PLC is silent, or has no such block or address",
              std::string(kAskTrace) + ", or give it more time with --tzeit"};
    default:
      return {"no complete answer in time",
              "give it more time with --tzeit, or " + std::string(kAskTrace)};
  }
}

}  // namespace

std::int32_t KnownError::err() const {
  return std::stoi(std::to_string(error_class) + std::to_string(code));
}

std::span<const KnownError> header_errors() { return kHeaderErrors; }

std::span<const KnownError> return_codes() { return kReturnCodes; }

ErrorWords error_words(JobKind step, std::int32_t err) {
  if (step == JobKind::kWrite) {
    if (const KnownError* known = find(kReturnCodes, err)) return words_of(*known);
  }
  if (err == 1 && step == JobKind::kConnect) {
    return {"no TCP connection in time", "check the address, the network and --port"};
  }
  // The control reads the error of a userdata answer from bytes that hold 1 in a refusal without
  // data.
  if (err == 1) return {"the PLC refuses this function, or doesn't have it", kAskTrace};
  if (err == 3) return no_answer(step);
  if (err == 4) return {"the connection is gone", "try again"};
  if (const KnownError* known = find(kHeaderErrors, err)) return words_of(*known);
  return {"the PLC refused it (the decimal digits of its error class and error code, joined)",
          kAskTrace};
}

}  // namespace plexum::cli
