#pragma once

#include <cstdint>
#include <string>

#include "activex/floating_point.h"
#include "control/host_environment.h"

namespace plexum::activex {

// What the environment of a control needs to know of the object that it serves.
class EnvironmentOwner {
 public:
  virtual void property_changed(const std::string& name) = 0;
  // Whether nobody outside holds the object any more, so that no one cares how its member ends.
  [[nodiscard]] virtual bool is_abandoned() const = 0;

 protected:
  ~EnvironmentOwner() = default;
};

// A Windows host as the control sees it.
class LinkEnvironment final : public HostEnvironment {
 public:
  explicit LinkEnvironment(EnvironmentOwner& owner) : owner_(owner) {}

  [[nodiscard]] FloatingPointBoundary& floating_point() noexcept { return floating_point_; }

  std::uint32_t tick_count() override;
  // Ends the running member once the object is abandoned.
  void wait_for_input(std::uint32_t milliseconds) override;
  void process_messages() override;
  void show_message_box(const std::string& text) override;
  void property_changed(const std::string& name) override;
  double number_from_text(const std::string& text) override;
  std::string text_from_number(double number) override;

 private:
  EnvironmentOwner& owner_;
  FloatingPointBoundary floating_point_;
};

}  // namespace plexum::activex
