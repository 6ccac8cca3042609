#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "sim/options.h"
#include "sim/plc.h"
#include "sim/system.h"

namespace plexum::sim {

// A simulated PLC at work, on a thread of its own: listens from construction to destruction.
//
//   Options options;
//   options.port = 0;  // a free one
//   SimulatedPlc plc(options);
//   connect_to(plc.port());
//   plc.add_fault("silence@2");
//   plc.access([](Plc& inside) { return (*inside.memory.find(Area::kFlags, 0))[10]; });
//
// All members may be called from any thread. The thread takes no signals.
class SimulatedPlc {
 public:
  // Throws std::system_error when it can't listen, std::invalid_argument on unusable options.
  explicit SimulatedPlc(const Options& options = {});
  ~SimulatedPlc();
  SimulatedPlc(const SimulatedPlc&) = delete;
  SimulatedPlc& operator=(const SimulatedPlc&) = delete;

  std::uint16_t port() const { return port_; }
  std::string address() const;  // for example 127.0.0.1:102 or [::1]:102

  void add_fault(const Fault& fault);
  void add_fault(std::string_view text) { add_fault(parse_fault(text)); }
  void clear_faults();

  // Calls `use` with the inner PLC while no connection works on it, and returns the result.
  template <typename Use>
  auto access(Use use) {
    const std::lock_guard held(plc_.lock);
    return use(plc_);
  }

 private:
  Plc plc_;
  std::uint16_t port_ = 0;
  std::unique_ptr<EventLoop> loop_;
  std::thread thread_;
};

}  // namespace plexum::sim
