#pragma once

#include <functional>
#include <string>
#include <tuple>
#include <utility>

#include "activex/automation_value.h"
#include "activex/com_headers.h"

namespace plexum::activex {

// How the arguments of a member are to be read. Texts (numbers, addresses, code letters) and byte
// strings (PLC data) look alike in a BSTR; which one an argument is stands where it is passed on.
struct TextVariable {
  BSTR* variable;
};
struct BytesVariable {
  BSTR* variable;
};
struct BytesOfVariant {
  VARIANT* variable;
};
inline TextVariable text(BSTR* variable) { return {variable}; }
inline BytesVariable bytes(BSTR* variable) { return {variable}; }
inline BytesOfVariant bytes(VARIANT* variable) { return {variable}; }

// A text that a caller gives by value.
std::string text_of(BSTR value);

// One argument while its member runs: a copy, because the host may change its variable, or free
// it, while the member waits. What the member changed goes back into the variable.
class LocalArgument {
 public:
  explicit LocalArgument(TextVariable argument);
  explicit LocalArgument(BytesVariable argument);
  explicit LocalArgument(BytesOfVariant argument);

  [[nodiscard]] std::string& value() noexcept { return value_; }
  void write_back();

 private:
  BSTR* variable_ = nullptr;  // null where nothing goes back
  bool is_text_ = true;
  std::string value_;
  std::string original_;
};

// Calls a member of the core with copies of the arguments; they go back also when it fails.
template <typename Result, typename Link, typename Member, typename... Arguments>
void call_member(Result result, Link& link, Member member, Arguments... arguments) {
  std::tuple<decltype(LocalArgument(arguments))...> locals{LocalArgument(arguments)...};
  std::apply(
      [&](auto&... local) {
        try {
          store(result, std::invoke(member, link, local.value()...));
        } catch (...) {
          (local.write_back(), ...);
          throw;
        }
        (local.write_back(), ...);
      },
      locals);
}

}  // namespace plexum::activex
