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

// A method of the dispatch interface that takes strings only. `call` gets one string for each of
// `arguments`, and may change them, as the control changes its caller's variables.
struct Method {
  const char* name;
  std::vector<Argument> arguments;
  std::function<Value(PlexumLink&, std::vector<std::string>&)> call;
};

// A property or state variable. `type` holds a value of its type; `set` takes that type alone.
struct Property {
  const char* name;
  Value type;
  std::function<Value(const PlexumLink&)> get;
  std::function<void(PlexumLink&, const Value&)> set;
};

// The members of docs/members.toml, in the order of the dispatch interface. MsgWait isn't among
// them: its argument is a number.
const std::vector<Method>& methods();
const std::vector<Property>& properties();

// The member of that name, or null. Names are compared exactly.
const Method* find_method(std::string_view name);
const Property* find_property(std::string_view name);

}  // namespace plexum::cli
