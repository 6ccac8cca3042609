// The control's properties in the container's bag.

#include <optional>

#include "base/integers.h"
#include "base/runtime_error.h"
#include "control/plexum_link.h"

namespace plexum {
namespace {

const LinkProperties kDefaults;

// The number that a container stored, if it stored one.
std::optional<double> stored_number(const Value& stored) {
  if (const auto* number = std::get_if<std::int32_t>(&stored)) return *number;
  if (const auto* number = std::get_if<std::int16_t>(&stored)) return *number;
  if (const auto* number = std::get_if<double>(&stored)) return *number;
  return std::nullopt;
}

// A container may hand back another type than went in; these read it as the property's own.
std::string stored_text(const Value& stored, HostEnvironment& environment) {
  if (const auto* text = std::get_if<std::string>(&stored)) return *text;
  if (const auto number = stored_number(stored)) return environment.text_from_number(*number);
  if (stored.is_empty()) return {};
  throw RuntimeError(kTypeMismatch);
}

std::int32_t stored_long(const Value& stored, HostEnvironment& environment) {
  if (const auto* text = std::get_if<std::string>(&stored)) {
    return to_int32(environment.number_from_text(*text));
  }
  if (const auto number = stored_number(stored)) return to_int32(*number);
  if (stored.is_empty()) return 0;
  throw RuntimeError(kTypeMismatch);
}

}  // namespace

void PlexumLink::UserControl_InitProperties() { cycle_.properties = kDefaults; }

// Each value is stored as it is read, so a bag that fails half-way leaves the earlier ones loaded.
void PlexumLink::UserControl_ReadProperties(PropertyBag& bag) {
  LinkProperties& loaded = cycle_.properties;
  HostEnvironment& environment = cycle_.environment;
  loaded.CP_IP = stored_text(bag.ReadProperty("CP_IP", kDefaults.CP_IP), environment);
  loaded.TsapF = stored_text(bag.ReadProperty("TsapF", kDefaults.TsapF), environment);
  loaded.TsapE = stored_text(bag.ReadProperty("TsapE", kDefaults.TsapE), environment);
  loaded.Tzeit = stored_long(bag.ReadProperty("Tzeit", kDefaults.Tzeit), environment);
}

void PlexumLink::UserControl_WriteProperties(PropertyBag& bag) const {
  const LinkProperties& present = cycle_.properties;
  bag.WriteProperty("CP_IP", present.CP_IP, kDefaults.CP_IP);
  bag.WriteProperty("TsapF", present.TsapF, kDefaults.TsapF);
  bag.WriteProperty("TsapE", present.TsapE, kDefaults.TsapE);
  bag.WriteProperty("Tzeit", present.Tzeit, kDefaults.Tzeit);
}

}  // namespace plexum
