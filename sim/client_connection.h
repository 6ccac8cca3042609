#pragma once

#include <chrono>
#include <deque>
#include <optional>

#include "sim/download.h"
#include "sim/framing.h"
#include "sim/plc.h"
#include "sim/upload.h"
#include "sim/userdata.h"

namespace plexum::sim {

// The PLC's end of one client's connection: bytes in, bytes out, no sockets. Behind an output that
// ends the connection nothing more comes.
class ClientConnection {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  explicit ClientConnection(Plc& plc) : plc_(plc), userdata_(plc), uploads_(plc), download_(plc) {}

  // The connection was accepted. The PLC sends nothing then, but a fault may end it.
  Outputs accepted();

  // Bytes arrived, in whatever pieces.
  Outputs receive(ByteView bytes, TimePoint now = std::chrono::steady_clock::now());

  // The client hasn't requested its connection yet.
  bool is_new() const { return state_ == State::kNew; }

 private:
  enum class State {
    kNew,
    kConnected,  // by COTP
    kSetUp,      // communication is set up: jobs are served
    kMute,       // a fault silences it
    kOver,
  };

  struct Reply {
    std::optional<Message> answer;
    std::optional<Message> own_job;  // the PLC's first one of a download
  };

  void handle(const TransportUnit& unit);
  void connect(const TransportUnit& unit);
  void handle_message(const Message& message);
  Reply reply_to(const Message& message);
  Reply reply_to_job(const Message& job);
  bool takes_another_job() const;
  Message answer_setup(const Message& job);
  void send(Fault::Step step, const Message& message, std::chrono::milliseconds delay = {});
  void send(Fault::Step step, Output output);

  Plc& plc_;
  State state_ = State::kNew;
  Framing framing_;
  Userdata userdata_;
  Uploads uploads_;
  Download download_;
  std::size_t pdu_ = 0;   // as granted, in bytes
  std::size_t jobs_ = 0;  // as granted
  TimePoint now_;
  TimePoint last_leaves_;            // the last output
  std::deque<TimePoint> in_flight_;  // when the answers of accepted jobs leave
  Outputs outputs_;
};

}  // namespace plexum::sim
