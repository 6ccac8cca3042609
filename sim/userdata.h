#pragma once

#include <optional>

#include "sim/message.h"

namespace plexum::sim {

struct Plc;

// The userdata jobs of one connection: programmer commands (erase), block functions (counts,
// lists, information), CPU functions (state lists, message service) and time functions. An answer
// larger than the PDU goes out in parts, each fetched by a request of its own.
class Userdata {
 public:
  explicit Userdata(Plc& plc) : plc_(plc) {}

  // The answer to a request, and nothing to any other message. The answer to a request that is
  // refused or contradicts itself has the error in its parameter.
  std::optional<Message> answer(const Message& message, std::size_t pdu);

  // An answer that refuses a request with this error.
  static Message refuse(const Message& message, Error error);

 private:
  struct Request;
  // An answer in several parts, of which some are still to be fetched.
  struct PartedAnswer {
    std::uint8_t group;
    std::uint8_t subfunction;
    std::uint8_t sequence;
    std::uint8_t reference;  // data unit reference
    Bytes left;
  };

  static Request parse(const Message& message);
  Message answer_request(const Message& message, const Request& request, std::size_t pdu);
  Bytes serve(const Request& request);

  Plc& plc_;
  std::optional<PartedAnswer> unfinished_;
};

}  // namespace plexum::sim
