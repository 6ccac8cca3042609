#pragma once

#include <chrono>
#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

#include "sim/message.h"
#include "sim/output.h"

namespace plexum::sim {

// One scripted misbehaviour. From the moment it is set it counts the telegrams that the PLC is
// about to send at its step, on all connections together. It strikes those from `first` to `last`.
//
// As text: [STEP:]KIND[=VALUE][@FIRST[-[LAST]]]
//
//   STEP            at what                          without it: job
//     accept          a connection is accepted (silence, close and reset only)
//     confirm         the COTP connection confirm
//     setup           the answer to setup communication
//     job             every other telegram of the PLC, its own jobs of a download among them
//   KIND
//     late=MS         sent MS milliseconds later
//     length=N        cut to N bytes, or filled up with zeros to N bytes
//     pieces=N[:MS]   sent in pieces of N bytes, MS milliseconds apart (2 without it)
//     double          sent twice, at once
//     silence         not sent
//     close, reset    not sent, the connection closed or reset instead
//     then-close, then-reset   sent, then the connection closed or reset
//     error=D209      the job not done but refused, with this error class and code (hexadecimal)
//   @2 strikes the second telegram alone, @2- all from the second on, @2-5 four of them;
//   without it all are struck.
//
// Several faults may strike one telegram: error=8500 and length=40 send a refusal of 40 bytes.
struct Fault {
  enum class Step : std::uint8_t { kAccept, kConfirm, kSetup, kJob };
  enum class Kind : std::uint8_t {
    kLate,
    kLength,
    kPieces,
    kDouble,
    kSilence,
    kClose,
    kReset,
    kThenClose,
    kThenReset,
    kError,
  };
  static constexpr unsigned kForever = std::numeric_limits<unsigned>::max();

  Kind kind{};
  unsigned value = 0;                  // milliseconds, bytes, or error class and code
  std::chrono::milliseconds pause{2};  // between pieces
  Step step = Step::kJob;
  unsigned first = 1;
  unsigned last = kForever;
};

// Throws std::invalid_argument, with a text for users, on what isn't a fault.
Fault parse_fault(std::string_view text);

// The faults that are set, and how far each has counted.
class Faults {
 public:
  void add(const Fault& fault) { armed_.push_back({fault, 0}); }
  void clear() { armed_.clear(); }

  // The error that refuses the job whose answer would be the next telegram; Error::kNone if it is
  // to be done.
  Error refuses_next(Fault::Step step) const;

  // Passes one telegram that is about to be sent through the faults.
  Outputs strike(Fault::Step step, Output telegram);

 private:
  struct Armed {
    Fault fault;
    unsigned seen;
  };
  std::vector<Armed> armed_;
};

}  // namespace plexum::sim
