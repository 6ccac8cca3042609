#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace plexum::bench {

// A telegram and the size of its answer, as the control exchanged them.
struct Exchange {
  std::string telegram;
  std::size_t answer_size = 0;
};
using Dialogue = std::vector<Exchange>;

// The floor: what a program costs that only plays telegrams, by one blocking send each and, as a
// rule, one blocking receive.
class Floor {
 public:
  Floor() = default;
  Floor(const Floor&) = delete;
  Floor& operator=(const Floor&) = delete;
  ~Floor() { close(); }

  void connect(std::uint16_t port);
  void close();
  // With up to so many telegrams in flight. Throws std::runtime_error when an answer doesn't come
  // whole.
  void play(const Dialogue& dialogue, std::size_t in_flight = 1);

 private:
  void send(const std::string& telegram);
  // At least one byte; how many.
  std::size_t receive();

  int socket_ = -1;
};

}  // namespace plexum::bench
