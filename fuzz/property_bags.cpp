// Property bags of containers, which may hand back any value of any type, or fail. What a control
// has loaded it must save in a form that it can load again.

#include <cstring>
#include <map>

#include "fuzz/world.h"

namespace plexum::fuzz {
namespace {

class Bag final : public PropertyBag {
 public:
  std::map<std::string, Value> values;
  std::string failing;

  Value ReadProperty(const std::string& name, const Value& fallback) override {
    if (name == failing) throw RuntimeError(kInvalidArgument);
    const auto found = values.find(name);
    return found == values.end() ? fallback : found->second;
  }
  void WriteProperty(const std::string& name, const Value& value, const Value& fallback) override {
    if (name == failing) throw RuntimeError(kInvalidArgument);
    if (value != fallback) values[name] = value;
  }
};

template <typename Number>
Number number_of(Input& input) {
  const std::string bytes = input.bytes(sizeof(Number));
  Number number{};
  std::memcpy(&number, bytes.data(), bytes.size());
  return number;
}

Value value_of(Input& input) {
  const std::size_t type = input.below(8);
  if (type == 1) return input.flag();
  if (type == 2) return number_of<std::int16_t>(input);
  if (type == 3) return number_of<std::int32_t>(input);
  if (type == 4) return number_of<double>(input);
  if (type == 5 || type == 6) return input.text();
  if (type == 7) return DoubleArray{1, {1.5}};
  return {};
}

std::string properties_of(const PlexumLink& link) {
  return link.CP_IP() + '\0' + link.TsapE() + '\0' + link.TsapF() + '\0' +
         std::to_string(link.Tzeit());
}

}  // namespace

void run(Input input) {
  World world;
  Bag bag;
  constexpr const char* kNames[] = {"CP_IP", "TsapF", "TsapE", "Tzeit"};
  const std::size_t which = input.byte();
  for (std::size_t i = 0; i < std::size(kNames); ++i) {
    if ((which >> i & 1) != 0) bag.values[kNames[i]] = value_of(input);
  }
  if ((which & 0xC0) == 0xC0) bag.failing = kNames[which >> 4 & 3];
  const bool loaded = error_of([&] { world.link.UserControl_ReadProperties(bag); }) == 0;
  require(loaded || world.link.status_text().empty(), "a failure leaves no trace but values");

  Bag saved;
  world.link.UserControl_WriteProperties(saved);
  World other;
  other.link.UserControl_ReadProperties(saved);
  require(properties_of(other.link) == properties_of(world.link), "what is saved loads again");

  // A job with such properties ends.
  other.link.Tzeit(std::min(other.link.Tzeit(), 20));
  error_of([&] { other.link.ag_Read("1", "4", "0", "B", "D"); });
}

}  // namespace plexum::fuzz
