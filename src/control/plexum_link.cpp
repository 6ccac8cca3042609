#include "control/plexum_link.h"

#include <optional>

#include "base/integers.h"
#include "base/runtime_error.h"

namespace plexum {
namespace {

constexpr const char* kDefaultAddress = "0.0.0.0";
constexpr const char* kDefaultTsap = "0";
constexpr std::int32_t kDefaultTzeit = 100;

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
    return to_long(environment.number_from_text(*text));
  }
  if (const auto number = stored_number(stored)) return to_long(*number);
  if (stored.is_empty()) return 0;
  throw RuntimeError(kTypeMismatch);
}

}  // namespace

PlexumLink::PlexumLink(HostEnvironment& environment, TcpClient& tcp_client)
    : environment_(environment), tcp_client_(tcp_client) {
  UserControl_InitProperties();
}

void PlexumLink::MsgWait(std::int32_t ms) {
  // A negative time would be an endless wait to most window systems; it is none here, so that no
  // argument hangs the host, and like any wait of no length it processes no messages.
  const std::uint32_t start = environment_.tick_count();
  environment_.wait_for_input(ms > 0 ? static_cast<std::uint32_t>(ms) : 0);
  const std::uint32_t elapsed = environment_.tick_count() - start;
  if (static_cast<std::int32_t>(elapsed) < ms) environment_.process_messages();
}

void PlexumLink::CP_IP(const std::string& value) {
  CP_IP_ = value;
  environment_.property_changed("CP_IP");
}

void PlexumLink::TsapF(const std::string& value) {
  TsapF_ = value;
  environment_.property_changed("TsapF");
}

void PlexumLink::TsapE(const std::string& value) {
  TsapE_ = value;
  environment_.property_changed("TsapE");
}

void PlexumLink::Tzeit(std::int32_t value) {
  Tzeit_ = value;
  environment_.property_changed("Tzeit");
}

void PlexumLink::UserControl_InitProperties() {
  CP_IP_ = kDefaultAddress;
  TsapF_ = kDefaultTsap;
  TsapE_ = kDefaultTsap;
  Tzeit_ = kDefaultTzeit;
}

// Each value is stored as it is read, so a bag that fails half-way leaves the earlier ones loaded.
void PlexumLink::UserControl_ReadProperties(PropertyBag& bag) {
  CP_IP_ = stored_text(bag.ReadProperty("CP_IP", std::string(kDefaultAddress)), environment_);
  TsapF_ = stored_text(bag.ReadProperty("TsapF", std::string(kDefaultTsap)), environment_);
  TsapE_ = stored_text(bag.ReadProperty("TsapE", std::string(kDefaultTsap)), environment_);
  Tzeit_ = stored_long(bag.ReadProperty("Tzeit", kDefaultTzeit), environment_);
}

void PlexumLink::UserControl_WriteProperties(PropertyBag& bag) const {
  bag.WriteProperty("CP_IP", CP_IP_, std::string(kDefaultAddress));
  bag.WriteProperty("TsapF", TsapF_, std::string(kDefaultTsap));
  bag.WriteProperty("TsapE", TsapE_, std::string(kDefaultTsap));
  bag.WriteProperty("Tzeit", Tzeit_, kDefaultTzeit);
}

void PlexumLink::Timer1_Timer() { status_label_ = status_text_; }

}  // namespace plexum
