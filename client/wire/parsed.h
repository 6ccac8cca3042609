#pragma once

#include <utility>
#include <variant>

namespace plexum::wire {

// What is wrong with bytes that were to be parsed, for people: "ends too soon".
struct Fault {
  const char* what;
};

// What parsing came to: a value, or what is wrong with the bytes.
template <typename Result>
class Parsed {
 public:
  Parsed(Result value) : result_(std::move(value)) {}  // NOLINT(google-explicit-constructor)
  Parsed(Fault fault) : result_(fault) {}              // NOLINT(google-explicit-constructor)

  explicit operator bool() const { return result_.index() == 0; }
  Result& operator*() { return *std::get_if<0>(&result_); }
  const Result& operator*() const { return *std::get_if<0>(&result_); }
  Result* operator->() { return std::get_if<0>(&result_); }
  const Result* operator->() const { return std::get_if<0>(&result_); }

  // Of a failed parse alone.
  [[nodiscard]] Fault fault() const { return *std::get_if<1>(&result_); }

 private:
  std::variant<Result, Fault> result_;
};

}  // namespace plexum::wire
