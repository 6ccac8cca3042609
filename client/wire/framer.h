#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "client/wire/telegram.h"

namespace plexum::wire {

// Cuts the bytes of a TCP connection into telegrams, in whatever pieces they arrive, and joins the
// fragments of messages.
//
//   framer.feed(tcp.GetData());
//   while (const auto next = framer.next()) { ... }
//
// What it keeps is bounded: no telegram and no message may be longer than `longest` bytes. After a
// fault the connection is of no more use; the framer gives the same fault again.
class Framer {
 public:
  // A whole message, another unit, or what is wrong with the bytes. The views live until the next
  // call of any member.
  using Next = std::variant<std::string_view, Unit, Fault>;

  // Of a message, in bytes.
  explicit Framer(std::size_t longest) : longest_(longest) {}

  void feed(std::string_view bytes);
  // Nothing while more bytes are needed.
  std::optional<Next> next();

  // The bytes from the one on that could not be understood, or those of what isn't complete yet.
  [[nodiscard]] std::string_view rest() const { return std::string_view(bytes_).substr(taken_); }

  // Forgets everything, as for a new connection.
  void clear();

 private:
  Next fail(const char* what);
  std::optional<Next> take_data(const DataUnit& unit);

  std::size_t longest_;
  std::string bytes_;
  std::size_t taken_ = 0;  // of bytes_
  std::string message_;    // fragments so far
  std::size_t fragments_ = 0;
  bool message_given_ = false;  // message_ is the caller's until the next call
  std::optional<Fault> fault_;
};

}  // namespace plexum::wire
