#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>

namespace plexum::bench {

// Where this process and its peer run.
enum class Placement { kAnywhere, kOneProcessor, kOneEach };

// Binds this process to a processor, or lets it run on any. Peers that are made from now on run
// where the placement puts them.
void place(Placement placement);

// A PLC in a process of its own, on a free port of 127.0.0.1. It ends with the object.
class Peer {
 public:
  enum class Kind {
    kSimulator,  // the simulated PLC: 64 connections, DB 1 to DB 15 of 4,000 bytes
    kAnswerer,   // answers known telegrams by a blocking receive and a blocking send
  };
  // What the simulated PLC grants, and how long it takes for a job.
  struct Pace {
    std::uint16_t jobs = 3;
    std::chrono::milliseconds latency{0};
  };

  Peer(Kind kind, std::uint16_t pdu) : Peer(kind, pdu, Pace()) {}
  Peer(Kind kind, std::uint16_t pdu, Pace pace);
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  ~Peer();

  [[nodiscard]] std::uint16_t port() const { return port_; }

 private:
  pid_t process_ = -1;
  std::uint16_t port_ = 0;
};

// Answers on every connection that `listener` gets, and never returns.
[[noreturn]] void answer_on(int listener, std::uint16_t pdu);
// A listener on a free port of 127.0.0.1.
int listen_on_a_free_port(std::uint16_t& port);

}  // namespace plexum::bench
