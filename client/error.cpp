#include "client/error.h"

#include <cstdio>
#include <utility>

namespace plexum::client {
namespace {

struct Text {
  std::string operator()(const NoConnection& failure) const {
    constexpr const char* kSteps[] = {"TCP", "COTP", "set-up"};
    constexpr const char* kReasons[] = {"not connected", "refused",  "no such host",
                                        "unreachable",   "time-out", "closed"};
    return std::string("NoConnection ") + kSteps[static_cast<int>(failure.step)] + ", " +
           kReasons[static_cast<int>(failure.reason)];
  }
  std::string operator()(const ClosedByPlc& /*failure*/) const { return "ClosedByPlc"; }
  std::string operator()(const NoAnswer& failure) const {
    return "NoAnswer for " + std::to_string(failure.milliseconds) + " ms";
  }
  std::string operator()(const Refused& failure) const {
    return "Refused " + hexadecimal(failure.error.number(), 4);
  }
  std::string operator()(const ItemRefused& failure) const {
    return "ItemRefused " + hexadecimal(static_cast<unsigned>(failure.code), 2);
  }
  std::string operator()(const SenselessAnswer& failure) const {
    return "SenselessAnswer: " + failure.what;
  }
  std::string operator()(const Cancelled& /*failure*/) const { return "Cancelled"; }

  static std::string hexadecimal(unsigned number, int digits) {
    char text[8];
    std::snprintf(text, sizeof text, "%0*X", digits, number & 0xFFFFu);
    return text;
  }
};

}  // namespace

Error::Error(Failure failure) : failure_(std::move(failure)), text_(std::visit(Text(), failure_)) {}

bool Error::is_refusal() const noexcept {
  return std::holds_alternative<Refused>(failure_) || std::holds_alternative<ItemRefused>(failure_);
}

}  // namespace plexum::client
