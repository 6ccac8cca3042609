#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "control/plexum_link.h"

namespace plexum::cli {

// What a string argument holds: a text (numbers, codes, addresses; UTF-8) or PLC data, one char a
// byte.
enum class ArgumentKind { kText, kBytes };

struct Argument {
  const char* name;
  ArgumentKind kind = ArgumentKind::kText;
};

// A method of the dispatch interface that takes strings only. `call` gets as many as `arguments`
// names; they are by reference, as its caller's variables are.
struct Method {
  const char* name;
  std::vector<Argument> arguments;
  std::function<Value(PlexumLink&, std::vector<std::string>&)> call;
};

// A property or state variable. `set` takes the alternative that `type` holds, and no other.
struct Property {
  const char* name;
  Value type;
  std::function<Value(const PlexumLink&)> get;
  std::function<void(PlexumLink&, const Value&)> set;
};

// The members of the control's dispatch interface, in its order. MsgWait, whose argument is a
// number, stands apart.
const std::vector<Method>& methods();
const std::vector<Property>& properties();

// The member of that name, or null. Names are compared exactly.
const Method* find_method(std::string_view name);
const Property* find_property(std::string_view name);

}  // namespace plexum::cli
