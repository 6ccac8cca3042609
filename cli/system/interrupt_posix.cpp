#include <semaphore.h>

#include <csignal>

#include "cli/system/interrupt.h"

namespace plexum::cli {
namespace {

using Handler = void (*)(int);

volatile std::sig_atomic_t seen = 0;
sem_t wake;
Handler previous_interrupt = SIG_DFL;
Handler previous_termination = SIG_DFL;

void remember(int) {
  seen = 1;
  sem_post(&wake);
}

}  // namespace

InterruptScope::InterruptScope() {
  seen = 0;
  sem_init(&wake, 0, 0);
  previous_interrupt = std::signal(SIGINT, remember);
  previous_termination = std::signal(SIGTERM, remember);
}

InterruptScope::~InterruptScope() {
  std::signal(SIGINT, previous_interrupt);
  std::signal(SIGTERM, previous_termination);
  sem_destroy(&wake);
}

bool InterruptScope::interrupted() const { return seen != 0; }

void InterruptScope::wait() const {
  while (!interrupted()) sem_wait(&wake);
}

}  // namespace plexum::cli
