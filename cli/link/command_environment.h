#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "base/host_environment.h"

namespace plexum::cli {

// A host environment that gives message boxes to `on_message_box`. Until a command sets that, they
// are written to standard error.
class CommandEnvironment final : public HostEnvironment {
 public:
  // `inner` must outlive it.
  explicit CommandEnvironment(HostEnvironment& inner) : inner_(inner) {}

  std::function<void(const std::string&)> on_message_box = write_to_standard_error;

  std::uint32_t tick_count() override { return inner_.tick_count(); }
  void wait_for_input(std::uint32_t milliseconds) override { inner_.wait_for_input(milliseconds); }
  void process_messages() override { inner_.process_messages(); }
  void show_message_box(const std::string& text) override { on_message_box(text); }
  void property_changed(const std::string& name) override { inner_.property_changed(name); }
  double number_from_text(const std::string& text) override {
    return inner_.number_from_text(text);
  }
  std::string text_from_number(double number) override { return inner_.text_from_number(number); }

 private:
  static void write_to_standard_error(const std::string& text);

  HostEnvironment& inner_;
};

}  // namespace plexum::cli
