#pragma once

#include <cstdint>
#include <map>

#include "sim/block_store.h"
#include "sim/message.h"

namespace plexum::sim {

struct Plc;

// The uploads of one connection: start upload names a block and gives its upload an id, upload
// fetches its image part by part, end upload ends it. All throw Refusal.
class Uploads {
 public:
  explicit Uploads(Plc& plc) : plc_(plc) {}

  Message start(const Message& job);
  Message next_part(const Message& job, std::size_t pdu);
  Message end(const Message& job);

 private:
  static constexpr std::size_t kMostAtOnce = 3;

  struct Upload {
    Bytes image;
    BlockStore::Hold hold;  // the room for it
    std::size_t sent = 0;   // bytes
  };
  using Id = std::uint32_t;

  Id parse_id(const Message& job) const;

  Plc& plc_;
  std::map<Id, Upload> uploads_;
};

}  // namespace plexum::sim
