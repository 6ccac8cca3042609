#include "base/runtime_error.h"

#include <utility>

namespace plexum {
namespace {

const char* text_of(std::int32_t number) {
  switch (number) {
    case kInvalidArgument:
      return "Invalid procedure call or argument";
    case kOverflow:
      return "Overflow";
    case kSubscriptOutOfRange:
      return "Subscript out of range";
    case kTypeMismatch:
      return "Type mismatch";
    case kTcpWrongState:
      return "Wrong protocol or connection state for the requested transaction or request";
    case kTcpInvalidArgument:
      return "The argument passed to a function was not in the correct format or in the specified "
             "range";
    case kTcpInvalidOperation:
      return "Invalid operation at current state";
    default:
      return "Application-defined or object-defined error";
  }
}

}  // namespace

RuntimeError::RuntimeError(std::int32_t number) : RuntimeError(number, text_of(number)) {}

RuntimeError::RuntimeError(std::int32_t number, std::string text)
    : number_(number), text_(std::move(text)) {}

}  // namespace plexum
