#include "cli/host/members.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace plexum::cli {
namespace {

// The arguments of the generated rows.
constexpr Argument text(const char* name) { return {name, ArgumentKind::kText}; }
constexpr Argument bytes(const char* name) { return {name, ArgumentKind::kBytes}; }

// A method from a member function: each string parameter takes the argument of its position.
template <typename Result, typename... Parameters>
Method method(const char* name, Result (PlexumLink::*member)(Parameters...),
              std::vector<Argument> arguments) {
  const auto call = [member](PlexumLink& link, std::vector<std::string>& values) {
    return [&]<std::size_t... I>(std::index_sequence<I...>)->Value {
      return (link.*member)(values.at(I)...);
    }
    (std::index_sequence_for<Parameters...>());
  };
  return {name, std::move(arguments), call};
}

// How a let of the core takes its value: a text by reference, all else by value.
template <typename Type>
using LetArgument = std::conditional_t<std::is_class_v<Type>, const Type&, Type>;

// A property or state variable from its get and its let.
template <typename Type>
Property property(const char* name, Type (PlexumLink::*get)() const,
                  void (PlexumLink::*let)(LetArgument<Type>)) {
  return {name, Type{}, [get](const PlexumLink& link) -> Value { return (link.*get)(); },
          [let](PlexumLink& link, const Value& value) { (link.*let)(std::get<Type>(value)); }};
}

template <typename Member>
const Member* find(const std::vector<Member>& members, std::string_view name) {
  const auto found = std::find_if(members.begin(), members.end(),
                                  [&](const Member& member) { return member.name == name; });
  return found == members.end() ? nullptr : &*found;
}

}  // namespace

const std::vector<Method>& methods() {
  static const std::vector<Method> kMethods = {
#include "member_methods.inc"
  };
  return kMethods;
}

const std::vector<Property>& properties() {
  static const std::vector<Property> kProperties = {
#include "member_properties.inc"
  };
  return kProperties;
}

const Method* find_method(std::string_view name) { return find(methods(), name); }
const Property* find_property(std::string_view name) { return find(properties(), name); }

}  // namespace plexum::cli
