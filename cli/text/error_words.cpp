#include "cli/text/error_words.h"

#include <algorithm>
#include <variant>

#include "cli/text/bytes_as_text.h"

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
    {0x85, 0x00, "the telegram is longer than the PLC's PDU", "ask for a smaller one with --pdu"},
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

ErrorWords known_words(const KnownError& error) {
  std::string origin = " (";
  origin += error.error_class == 0 ? "return code 0x" : "PLC error 0x";
  if (error.error_class != 0) origin += hexadecimal(error.error_class);
  return {error.meaning + origin + hexadecimal(error.code) + ")", error.advice};
}

template <typename Fits>
const KnownError* find(std::span<const KnownError> table, Fits fits) {
  const auto found = std::find_if(table.begin(), table.end(), fits);
  return found == table.end() ? nullptr : &*found;
}

// Why the network gave no connection.
ErrorWords words_without_tcp(client::NoConnection::Reason reason) {
  using Reason = client::NoConnection::Reason;
  switch (reason) {
    case Reason::kNotConnected:
      return {"there is no connection", ""};
    case Reason::kRefused:
      return {"no TCP connection: the host refuses it",
              "check that the address and --port are the PLC's (S7 PLCs have port 102)"};
    case Reason::kNoSuchHost:
      return {"no TCP connection: no host has this name", "check the name, or give the address"};
    case Reason::kTimeOut:
      return {"no TCP connection: no answer in time",
              "check the address and whether the PLC is switched on, or give it more time with "
              "--timeout"};
    case Reason::kClosed:
      return {"no TCP connection: it was closed at once",
              "check the address and --port, and whether other programs hold the PLC's "
              "connections"};
    case Reason::kUnreachable:
      break;
  }
  return {"no TCP connection: the host is out of reach",
          "check the address, the network and whether the PLC is switched on"};
}

ErrorWords words_of_connecting(const client::NoConnection& failure) {
  using Reason = client::NoConnection::Reason;
  using Step = client::NoConnection::Step;
  if (failure.step == Step::kTcp) return words_without_tcp(failure.reason);
  constexpr const char* kCheck =
      "check --rack and --slot (or --tsap-f), and whether other programs hold the PLC's "
      "connections";
  std::string what = failure.step == Step::kTransport ? "the connection request (rack, slot)"
                                                      : "the communication set-up";
  switch (failure.reason) {
    case Reason::kTimeOut:
      return {"the PLC took the TCP connection, but doesn't answer " + what, kCheck};
    case Reason::kClosed:
      return {"the PLC took the TCP connection, but closed it after " + what, kCheck};
    default:
      return {"the PLC took the TCP connection, but refused " + what, kCheck};
  }
}

struct FailureWords {
  ErrorWords operator()(const client::NoConnection& failure) const {
    return words_of_connecting(failure);
  }
  ErrorWords operator()(const client::ClosedByPlc& /*failure*/) const {
    return {"the connection was closed by the PLC or by the network", "try again"};
  }
  ErrorWords operator()(const client::NoAnswer& failure) const {
    return {"no answer for " + std::to_string(failure.milliseconds) + " ms",
            "give it more time with --timeout, or see what it sends with --trace"};
  }
  ErrorWords operator()(const client::Refused& failure) const { return words_of(failure.error); }
  ErrorWords operator()(const client::ItemRefused& failure) const { return words_of(failure.code); }
  ErrorWords operator()(const client::SenselessAnswer& failure) const {
    constexpr std::size_t kShown = 32;
    std::string words = "the answer makes no sense: " + failure.what;
    if (!failure.bytes.empty()) {
      words += " (" + hex_dump(failure.bytes.substr(0, kShown)) +
               (failure.bytes.size() > kShown ? " ...)" : ")");
    }
    return {words, kAskTrace};
  }
  ErrorWords operator()(const client::Cancelled& /*failure*/) const { return {"interrupted", ""}; }
};

}  // namespace

std::int32_t KnownError::err() const {
  return std::stoi(std::to_string(error_class) + std::to_string(code));
}

std::span<const KnownError> header_errors() { return kHeaderErrors; }

std::span<const KnownError> return_codes() { return kReturnCodes; }

ErrorWords words_of(const client::Failure& failure) { return std::visit(FailureWords(), failure); }

ErrorWords words_of(client::ErrorCode error) {
  const KnownError* const known = find(kHeaderErrors, [&](const KnownError& row) {
    return row.error_class == error.error_class && row.code == error.code;
  });
  if (known != nullptr) return known_words(*known);
  return {"the PLC refused it (PLC error 0x" + hexadecimal(error.error_class) +
              hexadecimal(error.code) + ")",
          kAskTrace};
}

ErrorWords words_of(client::ReturnCode code) {
  const auto byte = static_cast<std::uint8_t>(code);
  const KnownError* const known =
      find(kReturnCodes, [&](const KnownError& row) { return row.code == byte; });
  if (known != nullptr) return known_words(*known);
  return {"the PLC refused it (return code 0x" + hexadecimal(byte) + ")", kAskTrace};
}

std::string line_of(const std::string& what, const ErrorWords& words) {
  return what + ": " + words.meaning + (words.advice.empty() ? "" : "; " + words.advice);
}

ErrorWords err_words(ControlJob job, std::int32_t err) {
  const auto has_err = [&](const KnownError& row) { return row.err() == err; };
  if (job == ControlJob::kWrite) {
    if (const KnownError* known = find(kReturnCodes, has_err)) return known_words(*known);
  }
  if (err == 1 && job == ControlJob::kConnect) {
    return {"no TCP connection in time", "check the address, the network and the port"};
  }
  // The control reads the error of a userdata answer from bytes that hold 1 in a refusal without
  // data.
  if (err == 1) return {"the PLC refuses this function, or doesn't have it", ""};
  if (err == 3 && job == ControlJob::kConnect) {
    return {"the PLC took the TCP connection, but not the connection set-up",
            "check the TSAPs, and whether other programs hold the PLC's connections"};
  }
  if (err == 3 && job == ControlJob::kRead) {
    return {"no complete answer in time: the PLC is silent, or has no such block or address",
            "ask with `plexum read`, which tells these apart, or give it more time (Tzeit)"};
  }
  if (err == 3) return {"no complete answer in time", "give it more time (Tzeit)"};
  if (err == 4) return {"the connection is gone", "try again"};
  if (const KnownError* known = find(kHeaderErrors, has_err)) return known_words(*known);
  return {"the PLC refused it (the decimal digits of its error class and error code, joined)", ""};
}

}  // namespace plexum::cli
