#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "base/runtime_error.h"
#include "cli/link/local_link.h"
#include "sim/simulated_plc.h"
#include "support/capture_path.h"

namespace plexum::test {

inline sim::Options on_a_free_port() {
  sim::Options options;
  options.port = 0;
  return options;
}

// Limits in slices: for what comes however busy the machine is, for what comes in part, and for
// what never comes.
constexpr std::int32_t kPatient = 5000;
constexpr std::int32_t kShort = 100;
constexpr std::int32_t kShortest = 20;

// A connection for a job that is answered, whatever the last job left in the control.
inline bool connect_anew(PlexumLink& link, sim::SimulatedPlc& plc) {
  plc.clear_faults();
  link.err(0);
  link.inuse(false);
  link.Tzeit(kPatient);
  return link.ag_ini("127.0.0.1", std::to_string(plc.port()), "1.0", "3.2");
}

// Controls over real sockets against a simulated PLC.
class WholeStack : public testing::Test {
 protected:
  sim::SimulatedPlc plc{on_a_free_port()};

  bool connect(PlexumLink& link) {
    return link.ag_ini("127.0.0.1", std::to_string(plc.port()), "1.0", "3.2");
  }
  bool connect_anew(PlexumLink& link) { return test::connect_anew(link, plc); }
};

// What a job came to, as its host sees it, and the state that it left: "4 bytes, err 0, s7init".
// Arrays tell their length and Booleans their value.
template <typename Job>
std::string outcome_of(PlexumLink& link, Job job) {
  std::string result;
  try {
    const Value value = job();
    if (const auto* truth = std::get_if<bool>(&value)) {
      result = *truth ? "true" : "false";
    } else if (const auto* bytes = std::get_if<std::string>(&value)) {
      result = std::to_string(bytes->size()) + " bytes";
    } else if (const auto* array = std::get_if<VariantArray>(&value)) {
      result = std::to_string(array->elements.size()) + " elements";
    } else if (const auto* numbers = std::get_if<DoubleArray>(&value)) {
      result = std::to_string(numbers->elements.size()) + " elements";
    } else {
      result = value.is_empty() ? "empty" : "another type";
    }
  } catch (const RuntimeError& error) {
    result = "error " + std::to_string(error.number());
  }
  return result + ", err " + std::to_string(link.err()) + (link.inuse() ? ", inuse" : "") +
         (link.s7init() ? ", s7init" : "");
}

}  // namespace plexum::test
