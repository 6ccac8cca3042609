// The list of the PLC's blocks of one type (userdata, block functions, list blocks of type). Only
// the first part of a long list is asked for.

#include "blocks/block_list.h"

#include "base/integers.h"
#include "base/runtime_error.h"
#include "convert/byte_strings.h"
#include "protocol/block_type.h"
#include "protocol/telegram.h"

namespace plexum {
namespace {

// The type's two characters follow; for an unknown type they are missing, and the lengths stay.
constexpr auto kListRequest =
    "03 00 00 1F | 02 F0 80 | 32 07 00 00 00 00 00 08 00 06 | 00 01 12 04 11 43 02 00"
    "| FF 09 00 02"_hex;
static_assert(tpkt_length(kListRequest) == kListRequest.size() + 2);

constexpr double kAnswerLength = 25;
constexpr std::size_t kEntries = 33;     // where the entries begin, and all of an empty list
constexpr std::size_t kEntryLength = 4;  // number (2 bytes), flags, language

// The number that an entry begins with; error 9 where the answer ends before it does.
double block_number(const std::string& entries, std::size_t index) {
  if (index + 1 >= entries.size()) throw RuntimeError(kSubscriptOutOfRange);
  return 256.0 * code_at(entries, index) + code_at(entries, index + 1);
}

}  // namespace

Value pg_ListBlock(RequestCycle& cycle, const std::string& Blocktype) {
  if (!cycle.guard_and_begin()) return {};
  const std::string request = to_string(kListRequest) + block_type_code(Blocktype);
  const std::string answer = cycle.exchange_with_repeats([&] { return request; }, kAnswerLength);

  if (answer.size() == kEntries) {
    cycle.err = 0;  // and inuse stays true
    return VariantArray{0, {Value()}};
  }
  const std::string entries = bytes_from(answer, kEntries);
  cycle.inuse = false;
  // The array has room for a quarter of the bytes, rounded half to even, and an entry is read from
  // its first two. So 3, 6, 7 and 11 bytes give 1, 2, 2 and 3 numbers, where 1, 2, 5, 9 and 10
  // raise error 9.
  const auto count = half_even(static_cast<double>(entries.size()) / kEntryLength);
  VariantArray numbers;
  for (std::size_t index = 0; index < entries.size(); index += kEntryLength) {
    const double number = block_number(entries, index);
    if (static_cast<double>(numbers.elements.size()) == count) {
      throw RuntimeError(kSubscriptOutOfRange);
    }
    numbers.elements.emplace_back(number);
  }
  if (numbers.elements.empty()) throw RuntimeError(kSubscriptOutOfRange);
  cycle.err = 0;
  return numbers;
}

}  // namespace plexum
