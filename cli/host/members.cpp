#include "cli/host/members.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace plexum::cli {
namespace {

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

// A property or state variable from its get and its let.
template <typename Type, typename Let>
Property property(const char* name, Type (PlexumLink::*get)() const, void (PlexumLink::*let)(Let)) {
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
      method("ag_Read", &PlexumLink::ag_Read,
             {{"DBNr"}, {"anzby"}, {"startad"}, {"Datenart"}, {"Spsarts"}}),
      method("ag_ReadB", &PlexumLink::ag_ReadB,
             {{"DBNr"}, {"anzby"}, {"startad_w"}, {"Datenart"}, {"Spsarts"}}),
      method("pg_plcstop", &PlexumLink::pg_plcstop, {}),
      method("pg_plcstart", &PlexumLink::pg_plcstart, {}),
      method("pg_plcErase", &PlexumLink::pg_plcErase, {}),
      method("pg_Ramtorom", &PlexumLink::pg_Ramtorom, {}),
      method("pg_plccompress", &PlexumLink::pg_plccompress, {}),
      method("pg_plcRunMode", &PlexumLink::pg_plcRunMode, {}),
      method("pg_ReadBlock", &PlexumLink::pg_ReadBlock, {{"Blocktype"}, bytes("Blocknr")}),
      method("pg_WriteBlock", &PlexumLink::pg_WriteBlock, {bytes("MCS7Code")}),
      method("pg_ListBlock", &PlexumLink::pg_ListBlock, {{"Blocktype"}}),
      method("ag_WriteX", &PlexumLink::ag_WriteX,
             {{"db"}, {"startad"}, {"wert"}, {"Spsarts"}, {"bitadd"}}),
      method("ag_WriteB", &PlexumLink::ag_WriteB,
             {{"db"}, {"startad_w"}, bytes("wert"), {"Spsarts"}}),
      method("ag_WriteMB", &PlexumLink::ag_WriteMB,
             {{"db"}, {"startad"}, bytes("wertBytesstring"), {"Spsarts"}}),
      method("ag_WriteF", &PlexumLink::ag_WriteF, {{"DBNr"}, {"startad"}, {"wert"}, {"Spsarts"}}),
      method("ag_WriteD", &PlexumLink::ag_WriteD, {{"DBNr"}, {"startad"}, {"wert"}, {"Spsarts"}}),
      method("ag_WriteW", &PlexumLink::ag_WriteW, {{"DBNr"}, {"startad"}, {"wert"}, {"Spsarts"}}),
      method("ag_ini", &PlexumLink::ag_ini,
             {{"TCPIPRemote"}, {"PortRemote"}, {"TsapE"}, {"TsapF"}}),
      method("pg_ReadClock", &PlexumLink::pg_ReadClock, {}),
      method("pg_SetClock", &PlexumLink::pg_SetClock,
             {{"strYear"},
              {"strMonth"},
              {"strDay"},
              {"strHour"},
              {"strMinute"},
              {"strSecond"},
              {"strMsec"}}),
      method("wordtobeyt", &PlexumLink::wordtobeyt, {{"wert"}}),
      method("dwordtobeyt", &PlexumLink::dwordtobeyt, {{"wert"}}),
      method("flottobeyt", &PlexumLink::flottobeyt, {{"wert"}}),
      method("wordtobeytadd", &PlexumLink::wordtobeytadd, {{"wert"}}),
      method("beyttoword", &PlexumLink::beyttoword, {bytes("wert1"), bytes("wert2")}),
      method("xor_str", &PlexumLink::xor_str, {bytes("strlan")}),
      method("ag_exit", &PlexumLink::ag_exit, {}),
      method("pg_DelBlock", &PlexumLink::pg_DelBlock, {{"Blocktype"}, bytes("Blocknr")}),
      method("pg_SZL", &PlexumLink::pg_SZL, {}),
  };
  return kMethods;
}

const std::vector<Property>& properties() {
  static const std::vector<Property> kProperties = {
      property<std::int32_t, std::int32_t>("err", &PlexumLink::err, &PlexumLink::err),
      property<bool, bool>("inuse", &PlexumLink::inuse, &PlexumLink::inuse),
      property<bool, bool>("s7init", &PlexumLink::s7init, &PlexumLink::s7init),
      property<std::int16_t, std::int16_t>("auftrag_Fehler", &PlexumLink::auftrag_Fehler,
                                           &PlexumLink::auftrag_Fehler),
      property<std::string, const std::string&>("CP_IP", &PlexumLink::CP_IP, &PlexumLink::CP_IP),
      property<std::string, const std::string&>("TsapF", &PlexumLink::TsapF, &PlexumLink::TsapF),
      property<std::string, const std::string&>("TsapE", &PlexumLink::TsapE, &PlexumLink::TsapE),
      property<std::int32_t, std::int32_t>("Tzeit", &PlexumLink::Tzeit, &PlexumLink::Tzeit),
  };
  return kProperties;
}

const Method* find_method(std::string_view name) { return find(methods(), name); }
const Property* find_property(std::string_view name) { return find(properties(), name); }

}  // namespace plexum::cli
