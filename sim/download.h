#pragma once

#include <cstdint>
#include <optional>

#include "sim/block_store.h"
#include "sim/message.h"

namespace plexum::sim {

struct Plc;

// The download of one connection. The client requests it; from then on the PLC sends the jobs, and
// the client answers them. "Download block" asks for one part after the other, until the announced
// length is there; "download ended" is the last. The block is kept until the client has it put into
// use by the service _INSE. A download that breaks off before leaves the old block whole.
class Download {
 public:
  explicit Download(Plc& plc) : plc_(plc) {}

  struct Begun {
    Message acknowledgement;
    Message job;  // the PLC's first one
  };

  // The client's request download. It drops a download under way. Throws Refusal.
  Begun request(const Message& job);

  // A client's answer to a job of the PLC. Returns the PLC's next job, if there is one. An answer
  // to no job is ignored; an answer that isn't what the job asked for ends the download.
  std::optional<Message> take_answer(const Message& answer, std::size_t pdu);

 private:
  enum class State { kIdle, kReceiving, kEnding };

  bool take_part(const Message& answer);
  void end();
  Message next_job();

  Plc& plc_;
  State state_ = State::kIdle;
  std::uint16_t reference_ = 0;  // of the PLC's last job
  BlockStore::Announcement announced_;
  std::uint8_t file_system_ = 0;
  Bytes image_;
  std::optional<BlockStore::Hold> hold_;  // the room for it
};

}  // namespace plexum::sim
