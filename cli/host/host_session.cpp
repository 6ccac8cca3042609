#include "cli/host/host_session.h"

#include <exception>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "base/integers.h"
#include "base/runtime_error.h"
#include "cli/host/members.h"
#include "cli/text/bytes_as_text.h"

namespace plexum::cli {
namespace {

using Json = nlohmann::ordered_json;

// Thrown for a line that is no request; what() says why.
struct BadRequest : std::runtime_error {
  using runtime_error::runtime_error;
};

const char* type_name(const Value& value) {
  constexpr const char* kNames[] = {"Empty",  "Boolean", "Integer",  "Long",
                                    "Double", "String",  "Double()", "Variant()"};
  return kNames[value.index()];
}

Json encoded(const Value& value);

struct Encoder {
  Json operator()(std::monostate) const { return nullptr; }
  Json operator()(const std::string& bytes) const { return text_from_bytes(bytes); }
  Json operator()(const DoubleArray& array) const {
    return {{"lower", array.lower}, {"elements", array.elements}};
  }
  Json operator()(const VariantArray& array) const {
    Json elements = Json::array();
    Json types = Json::array();
    for (const Value& element : array.elements) {
      elements.push_back(encoded(element));
      types.emplace_back(type_name(element));
    }
    return {{"lower", array.lower}, {"elements", elements}, {"types", types}};
  }
  template <typename Scalar>
  Json operator()(Scalar scalar) const {
    return scalar;
  }
};

Json encoded(const Value& value) {
  // std::visit of this standard library doesn't take classes derived from std::variant.
  return std::visit(Encoder{}, static_cast<const Value::variant&>(value));
}

std::string decoded(const Json& argument, ArgumentKind kind) {
  if (!argument.is_string()) throw BadRequest("an argument is not a string");
  const auto& text = argument.get_ref<const std::string&>();
  std::optional<std::string> bytes = bytes_from_text(text);
  if (!bytes) throw BadRequest("an argument has a character above U+00FF");
  return kind == ArgumentKind::kBytes ? *bytes : text;
}

// The value of a "set" as the property's type. A number outside that type's range is a run-time
// error, as in any host.
Value decoded_as(const Value& type, const Json& value) {
  if (std::holds_alternative<std::string>(type) && value.is_string()) {
    return value.get<std::string>();
  }
  if (std::holds_alternative<bool>(type) && value.is_boolean()) return value.get<bool>();
  if (value.is_number()) {
    if (std::holds_alternative<std::int32_t>(type)) return to_int32(value.get<double>());
    if (std::holds_alternative<std::int16_t>(type)) return to_int16(value.get<double>());
  }
  throw BadRequest("the value is not of the type " + std::string(type_name(type)));
}

const std::string& name_in(const Json& request, const char* key) {
  const Json& name = request.at(key);
  if (!name.is_string()) throw BadRequest(std::string("\"") + key + "\" is not a string");
  return name.get_ref<const std::string&>();
}

// The outcome of a request.
struct Reply {
  Json outcome;  // "result" and "type", or "error"
  Json arguments = Json::array();
};

template <typename Call>
Json outcome_of(Call call) {
  try {
    const Value result = call();
    return {{"result", encoded(result)}, {"type", type_name(result)}};
  } catch (const RuntimeError& error) {
    return {{"error", {{"number", error.number()}, {"text", error.text()}}}};
  }
}

Reply wait(PlexumLink& link, const Json& arguments) {
  if (arguments.size() != 1 || !arguments[0].is_number()) {
    throw BadRequest("MsgWait takes one number");
  }
  const auto call = [&]() -> Value {
    link.MsgWait(to_int32(arguments[0].get<double>()));
    return {};
  };
  return {outcome_of(call), arguments};
}

Reply call(PlexumLink& link, const Json& request) {
  const std::string& name = name_in(request, "call");
  const Json arguments = request.value("args", Json::array());
  if (!arguments.is_array()) throw BadRequest("\"args\" is not an array");
  if (name == "MsgWait") return wait(link, arguments);
  const Method* const method = find_method(name);
  if (method == nullptr) throw BadRequest("no method is named " + name);
  if (arguments.size() != method->arguments.size()) {
    throw BadRequest(name + " takes " + std::to_string(method->arguments.size()) + " arguments");
  }
  std::vector<std::string> variables;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    variables.push_back(decoded(arguments[i], method->arguments[i].kind));
  }
  Reply reply{outcome_of([&] { return method->call(link, variables); })};
  for (std::size_t i = 0; i < variables.size(); ++i) {
    const bool bytes = method->arguments[i].kind == ArgumentKind::kBytes;
    reply.arguments.push_back(bytes ? text_from_bytes(variables[i]) : variables[i]);
  }
  return reply;
}

const Property& property_in(const Json& request, const char* key) {
  const Property* const property = find_property(name_in(request, key));
  if (property == nullptr) throw BadRequest("no property is named " + name_in(request, key));
  return *property;
}

Reply get(const PlexumLink& link, const Json& request) {
  const Value value = property_in(request, "get").get(link);
  // Property texts are UTF-8, not bytes.
  const auto* const text = std::get_if<std::string>(&value);
  return {{{"result", text != nullptr ? Json(*text) : encoded(value)}, {"type", type_name(value)}}};
}

Reply set(PlexumLink& link, const Json& request) {
  const Property& property = property_in(request, "set");
  if (!request.contains("value")) throw BadRequest("\"value\" is missing");
  return {outcome_of([&]() -> Value {
    property.set(link, decoded_as(property.type, request["value"]));
    return {};
  })};
}

Reply carried_out(PlexumLink& link, std::string_view line) {
  const Json request = Json::parse(line);
  if (!request.is_object()) throw BadRequest("a request is a JSON object");
  if (request.contains("call")) return call(link, request);
  if (request.contains("get")) return get(link, request);
  if (request.contains("set")) return set(link, request);
  throw BadRequest(R"(a request has one of "call", "get" and "set")");
}

}  // namespace

HostSession::HostSession(PlexumLink& link, CommandEnvironment& environment) : link_(link) {
  environment.on_message_box = [this](const std::string& text) { message_boxes_.push_back(text); };
}

std::string HostSession::reply_to(std::string_view line) {
  message_boxes_.clear();
  try {
    Reply reply = carried_out(link_, line);
    Json json = std::move(reply.outcome);
    json["args"] = std::move(reply.arguments);
    json["state"] = {{"err", link_.err()},
                     {"inuse", link_.inuse()},
                     {"s7init", link_.s7init()},
                     {"auftrag_Fehler", link_.auftrag_Fehler()},
                     {"status_text", link_.status_text()}};
    json["message_boxes"] = message_boxes_;
    return json.dump();
  } catch (const std::exception& error) {
    const Json json = {{"error", {{"number", 0}, {"text", error.what()}}}};
    // The error's text may quote bytes that are no UTF-8.
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
  }
}

}  // namespace plexum::cli
