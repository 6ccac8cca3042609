#include "cli/interrupt.h"

#include <csignal>

namespace plexum::cli {
namespace {

volatile std::sig_atomic_t seen = 0;

void remember(int) { seen = 1; }

}  // namespace

InterruptScope::InterruptScope() {
  seen = 0;
  previous_interrupt_ = std::signal(SIGINT, remember);
  previous_termination_ = std::signal(SIGTERM, remember);
}

InterruptScope::~InterruptScope() {
  std::signal(SIGINT, previous_interrupt_);
  std::signal(SIGTERM, previous_termination_);
}

bool InterruptScope::interrupted() const { return seen != 0; }

}  // namespace plexum::cli
