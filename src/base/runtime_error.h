#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace plexum {

// The run-time errors that the arithmetic of the control raises to its host; the numbers are those
// that VB hosts know (Err.Number).
inline constexpr std::int32_t kInvalidArgument = 5;
inline constexpr std::int32_t kOverflow = 6;
inline constexpr std::int32_t kSubscriptOutOfRange = 9;
inline constexpr std::int32_t kTypeMismatch = 13;

// The TCP client's own errors, by the numbers of the environment's TCP client component.
inline constexpr std::int32_t kTcpWrongState = 40006;        // sending without a connection
inline constexpr std::int32_t kTcpInvalidArgument = 40014;   // a port outside 0 to 65535
inline constexpr std::int32_t kTcpInvalidOperation = 40020;  // connecting when not closed

// What every error of the control names as its source.
inline constexpr const char* kErrorSource = "Plexum";

// An error that leaves a method of the control and reaches the host as a failed call.
class RuntimeError : public std::exception {
 public:
  // One of the numbers above, with its text.
  explicit RuntimeError(std::int32_t number);
  // Any other number, for example one that a TCP client component reports.
  RuntimeError(std::int32_t number, std::string text);

  [[nodiscard]] std::int32_t number() const noexcept { return number_; }
  [[nodiscard]] const std::string& text() const noexcept { return text_; }
  [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::int32_t number_;
  std::string text_;
};

}  // namespace plexum
