#include "client/options.h"

namespace plexum::client {

std::string tsap_of(Partner partner, unsigned rack, unsigned slot) {
  constexpr unsigned kSlots = 32;
  return {static_cast<char>(partner), static_cast<char>(rack % 8 * kSlots + slot % kSlots)};
}

}  // namespace plexum::client
