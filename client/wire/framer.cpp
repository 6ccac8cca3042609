#include "client/wire/framer.h"

#include <utility>

#include "client/wire/bytes.h"

namespace plexum::wire {
namespace {

constexpr std::uint8_t kVersion = 3;
// A message of so many fragments, empty ones among them, is none that a PLC sends: the smallest
// TPDU has 128 bytes.
constexpr std::size_t kMostFragments = 512;

}  // namespace

void Framer::feed(std::string_view bytes) {
  if (taken_ == bytes_.size()) {
    bytes_.assign(bytes);
  } else {
    bytes_.erase(0, taken_);
    bytes_.append(bytes);
  }
  taken_ = 0;
}

std::optional<Framer::Next> Framer::next() {
  if (fault_) return *fault_;
  if (std::exchange(message_given_, false)) message_.clear();
  for (;;) {
    const std::string_view left = rest();
    if (!left.empty() && left.front() != kVersion) return fail("no TPKT");
    if (left.size() < kTpktHeader) return {};
    Reader head(left);
    head.u16();
    const std::size_t length = head.u16();
    if (length < kTpktHeader + 2) return fail("a TPKT without a transport unit");
    if (length > kTpktHeader + kDataUnitHeader + longest_)
      return fail("a telegram that is too long");
    if (left.size() < length) return {};
    const Parsed<Unit> unit = parse_telegram(left.substr(0, length));
    if (!unit) return fail(unit.fault().what);
    const auto* data = std::get_if<DataUnit>(&*unit);
    taken_ += length;
    if (data == nullptr) return *unit;
    if (const std::optional<Next> message = take_data(*data)) return message;
  }
}

// A message in one fragment, which is the rule, is given where it lies.
std::optional<Framer::Next> Framer::take_data(const DataUnit& unit) {
  if (unit.last && fragments_ == 0) return unit.bytes;
  if (message_.size() + unit.bytes.size() > longest_ || ++fragments_ > kMostFragments) {
    return fail("a message that doesn't end");
  }
  message_ += unit.bytes;
  if (!unit.last) return {};
  fragments_ = 0;
  message_given_ = true;
  return std::string_view(message_);
}

Framer::Next Framer::fail(const char* what) {
  fault_ = Fault{what};
  return *fault_;
}

void Framer::clear() { *this = Framer(longest_); }

}  // namespace plexum::wire
