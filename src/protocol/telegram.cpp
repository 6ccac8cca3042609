#include "protocol/telegram.h"

#include "convert/byte_strings.h"

namespace plexum {

std::int32_t error_number(const std::string& answer) {
  const std::int32_t error_class = code_at(answer, kErrorClass);
  const std::int32_t error_code = code_at(answer, kErrorCode);
  const std::int32_t shift = error_code < 10 ? 10 : error_code < 100 ? 100 : 1000;
  return error_class * shift + error_code;
}

}  // namespace plexum
