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

// The floor: what a program costs that only plays telegrams, by one blocking send and, as a rule,
// one blocking receive each.
class Floor {
 public:
  Floor() = default;
  Floor(const Floor&) = delete;
  Floor& operator=(const Floor&) = delete;
  ~Floor() { close(); }

  void connect(std::uint16_t port);
  void close();
  // Throws std::runtime_error when the answer doesn't come whole.
  void play(const Exchange& exchange);
  void play(const Dialogue& dialogue) {
    for (const Exchange& exchange : dialogue) play(exchange);
  }

 private:
  int socket_ = -1;
};

}  // namespace plexum::bench
