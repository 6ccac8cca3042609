#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <variant>

#include "client/wire/codes.h"

// How a job of the client fails. These are values; words for people are made where they are shown.
namespace plexum::client {

// There is no connection: connecting failed, or nothing was connected.
struct NoConnection {
  // How far connecting came.
  enum class Step : std::uint8_t {
    kTcp,        // the network
    kTransport,  // COTP: the PLC looks at the TSAPs
    kSetUp,      // S7: the PLC grants a PDU and jobs
  };
  enum class Reason : std::uint8_t {
    kNotConnected,  // no attempt was made
    kRefused,       // nobody listens there; behind TCP the PLC itself said no
    kNoSuchHost,    // its name is unknown
    kUnreachable,   // no way to it
    kTimeOut,       // no answer
    kClosed,        // the PLC ended the attempt
  };

  Step step{};
  Reason reason{};

  bool operator==(const NoConnection&) const = default;
};

// The PLC, or something on the way, ended a connection that was there.
struct ClosedByPlc {
  bool operator==(const ClosedByPlc&) const = default;
};

// Nothing came for so long.
struct NoAnswer {
  std::uint32_t milliseconds = 0;  // since the last progress

  bool operator==(const NoAnswer&) const = default;
};

// The PLC refused the job as a whole.
struct Refused {
  wire::ErrorCode error;

  bool operator==(const Refused&) const = default;
};

// The PLC refused what the job was about.
struct ItemRefused {
  wire::ReturnCode code{};

  bool operator==(const ItemRefused&) const = default;
};

// What came can't be an answer to what was asked.
struct SenselessAnswer {
  std::string what;   // in words for engineers: "the TPKT's length is 3"
  std::string bytes;  // what came

  bool operator==(const SenselessAnswer&) const = default;
};

// The caller's `cancelled` said so.
struct Cancelled {
  bool operator==(const Cancelled&) const = default;
};

using Failure = std::variant<NoConnection, ClosedByPlc, NoAnswer, Refused, ItemRefused,
                             SenselessAnswer, Cancelled>;

// What every member of the client throws. After a refusal the connection is as good as before;
// after any other failure it is closed.
class Error : public std::exception {
 public:
  explicit Error(Failure failure);

  [[nodiscard]] const Failure& failure() const noexcept { return failure_; }
  // For logs: "Refused D209".
  [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

  // Whether the PLC answered, but refused.
  [[nodiscard]] bool is_refusal() const noexcept;

 private:
  Failure failure_;
  std::string text_;
};

}  // namespace plexum::client
