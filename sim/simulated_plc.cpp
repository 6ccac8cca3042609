#include "sim/simulated_plc.h"

#include <exception>
#include <future>
#include <optional>
#include <utility>

#include "sim/server.h"

namespace plexum::sim {

SimulatedPlc::SimulatedPlc(const Options& options) : plc_(options) {
  std::promise<std::uint16_t> listening;
  std::future<std::uint16_t> port = listening.get_future();
  const SignalsBlocked blocked;
  thread_ = std::thread([this, promise = std::move(listening)]() mutable {
    std::optional<Server> server;
    try {
      loop_ = std::make_unique<EventLoop>();
      server.emplace(*loop_, plc_);
    } catch (...) {
      promise.set_exception(std::current_exception());
      return;
    }
    promise.set_value(server->port());
    loop_->run();
  });
  try {
    port_ = port.get();
  } catch (...) {
    thread_.join();
    throw;
  }
}

SimulatedPlc::~SimulatedPlc() {
  loop_->stop();
  thread_.join();
}

std::string SimulatedPlc::address() const {
  const std::string& host = plc_.options.listen;
  const bool v6 = host.find(':') != std::string::npos;
  return (v6 ? "[" + host + "]" : host) + ":" + std::to_string(port_);
}

void SimulatedPlc::add_fault(const Fault& fault) {
  const std::lock_guard held(plc_.lock);
  plc_.faults.add(fault);
}

void SimulatedPlc::clear_faults() {
  const std::lock_guard held(plc_.lock);
  plc_.faults.clear();
}

}  // namespace plexum::sim
