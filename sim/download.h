#pragma once

#include <cstdint>
#include <optional>

#include "sim/block_store.h"
#include "sim/message.h"

namespace plexum::sim {

struct Plc;

// The download of one connection. The roles turn in it: the client requests it, then the PLC sends
// jobs of its own, which the client answers: download block, for part after part until the
// announced length is there, and download ended. The block is then kept until the client has it
// put into use (the service _INSE); whatever breaks off before leaves the old block whole.
class Download {
 public:
  explicit Download(Plc& plc) : plc_(plc) {}

  // The client's request download; a download under way is dropped. Throws Refusal.
  Message request(const Message& job);

  // A client's answer to a job of the PLC. What answers none is ignored; an answer that isn't what
  // the job asked for ends the download.
  void take_answer(const Message& answer, std::size_t pdu);

  // The job that the PLC sends now, if any.
  std::optional<Message> next_job();

 private:
  enum class State { kIdle, kReceiving, kEnding };

  void take_part(const Message& answer);

  Plc& plc_;
  State state_ = State::kIdle;
  bool job_due_ = false;
  std::uint16_t reference_ = 0;  // of the PLC's last job
  BlockStore::Announcement announced_;
  std::uint8_t file_system_ = 0;
  Bytes image_;
};

}  // namespace plexum::sim
