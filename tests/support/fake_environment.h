#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/host_environment.h"
#include "platform/portable/decimal_text.h"

namespace plexum::test {

// A host environment with a hand-driven clock and plain decimal numbers: a wait lasts as long as it
// was asked to, unless `on_wait` ends it early. Everything that the control asks for is recorded.
class FakeEnvironment : public HostEnvironment {
 public:
  // Called in every wait with its length; returns the milliseconds that pass in it.
  std::function<std::uint32_t(std::uint32_t)> on_wait = [](std::uint32_t ms) { return ms; };
  std::function<void()> on_process_messages = [] {};

  std::uint32_t now = 0xFFFFFFF0u;  // the clock wraps early in every test
  int waits = 0;
  int pumps = 0;
  std::vector<std::string> boxes;
  std::vector<std::string> changed_properties;

  std::uint32_t tick_count() override { return now; }

  void wait_for_input(std::uint32_t milliseconds) override {
    ++waits;
    now += on_wait(milliseconds);
  }

  void process_messages() override {
    ++pumps;
    on_process_messages();
  }

  void show_message_box(const std::string& text) override { boxes.push_back(text); }
  void property_changed(const std::string& name) override { changed_properties.push_back(name); }

  double number_from_text(const std::string& text) override {
    return portable::number_from_text(text, '.');
  }
  std::string text_from_number(double number) override {
    return portable::text_from_number(number, '.');
  }
};

}  // namespace plexum::test
