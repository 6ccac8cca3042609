#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "base/runtime_error.h"
#include "cli/link/local_link.h"
#include "sim/simulated_plc.h"
#include "support/capture_path.h"

namespace plexum::test {

// Limits in slices: for what comes however busy the machine is, and for what never comes.
constexpr std::int32_t kPatient = 5000;
constexpr std::int32_t kShort = 100;

// A control that is connected over real sockets to a simulated PLC. Its telegrams go into a capture
// with the test's name, where the run collects captures.
class WholeStack : public testing::Test {
 protected:
  explicit WholeStack(sim::Options options = {}) : plc(on_a_free_port(std::move(options))) {
    local.environment.on_message_box = [this](const std::string& text) {
      boxes_ += ", box " + text;
    };
    EXPECT_TRUE(connect_anew());
  }

  sim::SimulatedPlc plc;
  cli::LocalLink local{capture_path(testing::UnitTest::GetInstance()->current_test_info()->name())};
  PlexumLink& link = local.link;

  // Connects for a job that is answered, whatever the last job has left in the control.
  bool connect_anew() {
    plc.clear_faults();
    link.err(0);
    link.inuse(false);
    link.Tzeit(kPatient);
    return link.ag_ini("127.0.0.1", std::to_string(plc.port()), "1.0", "3.2");
  }

  // What a job came to, as its host sees it, and the state that it left: "4 bytes, err 0, s7init".
  // Arrays tell their length and Booleans their value.
  std::string outcome_of(const std::function<Value()>& job) {
    boxes_.clear();
    std::string result;
    try {
      const Value value = job();
      if (const auto* truth = std::get_if<bool>(&value)) {
        result = *truth ? "true" : "false";
      } else if (const auto* bytes = std::get_if<std::string>(&value)) {
        result = std::to_string(bytes->size()) + " bytes";
      } else if (const auto* array = std::get_if<VariantArray>(&value)) {
        result = std::to_string(array->elements.size()) + " elements";
      } else {
        result = value.is_empty() ? "empty" : "numbers";
      }
    } catch (const RuntimeError& error) {
      result = "error " + std::to_string(error.number());
    }
    const int repeats = link.auftrag_Fehler();
    return result + ", err " + std::to_string(link.err()) + (link.inuse() ? ", inuse" : "") +
           (link.s7init() ? ", s7init" : "") +
           (repeats == 0 ? "" : ", " + std::to_string(repeats) + " repeats") + boxes_;
  }

 private:
  static sim::Options on_a_free_port(sim::Options options) {
    options.port = 0;
    return options;
  }

  std::string boxes_;
};

}  // namespace plexum::test
