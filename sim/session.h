#pragma once

#include <optional>

#include "sim/download.h"
#include "sim/framing.h"
#include "sim/plc.h"
#include "sim/upload.h"
#include "sim/userdata.h"

namespace plexum::sim {

// One client's connection to the simulated PLC: bytes in, bytes out, no sockets. After an output
// that ends the connection it is over, and gives nothing more.
class Session {
 public:
  explicit Session(Plc& plc) : plc_(plc), userdata_(plc), uploads_(plc), download_(plc) {}

  // The connection was accepted. Only a fault answers that.
  Outputs accepted();

  // Bytes arrived, in whatever pieces.
  Outputs receive(ByteView bytes);

 private:
  enum class State { kNew, kConnected, kSetUp, kMute, kOver };

  void handle(const TransportUnit& unit);
  void connect(const TransportUnit& unit);
  void handle_message(const Message& message);
  std::optional<Message> answer(const Message& message);
  Message answer_job(const Message& job);
  Message answer_setup(const Message& job);
  void send_own_job(std::chrono::milliseconds delay);
  void send(Fault::Step step, Bytes telegram, std::chrono::milliseconds delay = {});

  Plc& plc_;
  State state_ = State::kNew;
  Framing framing_;
  Userdata userdata_;
  Uploads uploads_;
  Download download_;
  std::size_t pdu_ = 0;  // as granted, in bytes
  Outputs outputs_;
};

}  // namespace plexum::sim
