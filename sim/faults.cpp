#include "sim/faults.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>

namespace plexum::sim {
namespace {

constexpr unsigned kLongestTelegram = 1u << 16;
constexpr unsigned kLongestWait = 3'600'000;  // ms

struct KindName {
  std::string_view name;
  Fault::Kind kind;
  unsigned smallest;  // of the value; the kinds from 0 to 0 take none
  unsigned largest;
  int base = 10;
};

constexpr KindName kKinds[] = {
    {"late", Fault::Kind::kLate, 1, kLongestWait},
    {"length", Fault::Kind::kLength, 1, kLongestTelegram},
    {"pieces", Fault::Kind::kPieces, 1, kLongestTelegram},
    {"double", Fault::Kind::kDouble, 0, 0},
    {"silence", Fault::Kind::kSilence, 0, 0},
    {"close", Fault::Kind::kClose, 0, 0},
    {"reset", Fault::Kind::kReset, 0, 0},
    {"then-close", Fault::Kind::kThenClose, 0, 0},
    {"then-reset", Fault::Kind::kThenReset, 0, 0},
    {"error", Fault::Kind::kError, 1, 0xFFFF, 16},
};

struct StepName {
  std::string_view name;
  Fault::Step step;
};

constexpr StepName kSteps[] = {{"accept", Fault::Step::kAccept},
                               {"confirm", Fault::Step::kConfirm},
                               {"setup", Fault::Step::kSetup},
                               {"job", Fault::Step::kJob}};

[[noreturn]] void reject(std::string_view text, const std::string& why) {
  throw std::invalid_argument("fault \"" + std::string(text) + "\": " + why);
}

std::optional<unsigned> number(std::string_view text, unsigned smallest, unsigned largest,
                               int base = 10) {
  if (base == 16 && text.starts_with("0x")) text.remove_prefix(2);
  unsigned value = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value, base);
  if (result.ec != std::errc() || result.ptr != end || value < smallest || value > largest) {
    return {};
  }
  return value;
}

// Takes what stands before the first `mark` off `text`, and the mark; all of it if there is none.
std::string_view take_until(std::string_view& text, char mark) {
  const std::size_t position = std::min(text.find(mark), text.size());
  const std::string_view taken = text.substr(0, position);
  text.remove_prefix(std::min(position + 1, text.size()));
  return taken;
}

void parse_range(Fault& fault, std::string_view range, std::string_view text) {
  const bool open = range.find('-') != std::string_view::npos;
  const auto first = number(take_until(range, '-'), 1, Fault::kForever - 1);
  if (!first) reject(text, "after @ comes the first telegram to strike, counted from 1");
  fault.first = *first;
  if (!range.empty()) {
    const auto last = number(range, *first, Fault::kForever - 1);
    if (!last) reject(text, "after - comes the last telegram to strike");
    fault.last = *last;
  } else {
    fault.last = open ? Fault::kForever : *first;
  }
}

bool allowed_at(Fault::Kind kind, Fault::Step step) {
  switch (step) {
    case Fault::Step::kAccept:
      return kind == Fault::Kind::kSilence || kind == Fault::Kind::kClose ||
             kind == Fault::Kind::kReset;
    case Fault::Step::kConfirm:
      return kind != Fault::Kind::kError;
    case Fault::Step::kSetup:
    case Fault::Step::kJob:
      return true;
  }
  return false;
}

Outputs cut_into_pieces(const Output& telegram, const Fault& fault) {
  Outputs pieces;
  ByteView left(telegram.bytes);
  while (!left.empty()) {
    const ByteView piece = left.first(std::min<std::size_t>(fault.value, left.size()));
    left = left.subspan(piece.size());
    pieces.push_back({pieces.empty() ? telegram.delay : fault.pause,
                      Bytes(piece.begin(), piece.end()), Output::End::kNone, telegram.latency});
  }
  if (pieces.empty()) pieces.push_back({telegram.delay, {}, Output::End::kNone, telegram.latency});
  pieces.back().end = telegram.end;
  return pieces;
}

}  // namespace

Fault parse_fault(std::string_view text) {
  Fault fault;
  std::string_view rest = text;
  for (const StepName& step : kSteps) {
    const bool named =
        rest.starts_with(step.name) && rest.substr(step.name.size()).starts_with(":");
    if (!named) continue;
    fault.step = step.step;
    rest.remove_prefix(step.name.size() + 1);
    break;
  }

  const bool ranged = rest.find('@') != std::string_view::npos;
  std::string_view what = take_until(rest, '@');
  if (ranged) parse_range(fault, rest, text);

  const bool valued = what.find('=') != std::string_view::npos;
  const std::string_view name = take_until(what, '=');
  const auto kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                 [&](const KindName& known) { return known.name == name; });
  if (kind == std::end(kKinds)) reject(text, "no fault has this name");
  fault.kind = kind->kind;
  if (!allowed_at(fault.kind, fault.step)) reject(text, "this can't happen at this step");
  if (valued != (kind->largest > 0)) {
    reject(text, valued ? "this fault takes no value" : "this fault needs a value");
  }
  if (!valued) return fault;

  if (fault.kind == Fault::Kind::kPieces && what.find(':') != std::string_view::npos) {
    std::string_view pause = what;
    what = take_until(pause, ':');
    const auto milliseconds = number(pause, 0, kLongestWait);
    if (!milliseconds) reject(text, "after : come the milliseconds between pieces");
    fault.pause = std::chrono::milliseconds(*milliseconds);
  }
  const auto value = number(what, kind->smallest, kind->largest, kind->base);
  if (!value) {
    reject(text, kind->base == 16
                     ? "error class and code are up to four hexadecimal digits"
                     : "the value is a whole number from " + std::to_string(kind->smallest) +
                           " to " + std::to_string(kind->largest));
  }
  fault.value = *value;
  return fault;
}

Error Faults::refuses_next(Fault::Step step) const {
  for (const auto& [fault, seen] : armed_) {
    const bool strikes = fault.step == step && fault.kind == Fault::Kind::kError &&
                         seen + 1 >= fault.first && seen + 1 <= fault.last;
    if (strikes) return Error{static_cast<std::uint16_t>(fault.value)};
  }
  return Error::kNone;
}

Outputs Faults::strike(Fault::Step step, Output telegram) {
  const Fault* pieces = nullptr;
  bool doubled = false;
  bool silent = false;
  for (auto& [fault, seen] : armed_) {
    if (fault.step != step) continue;
    ++seen;
    if (seen < fault.first || seen > fault.last) continue;
    switch (fault.kind) {
      case Fault::Kind::kLate:
        telegram.delay += std::chrono::milliseconds(fault.value);
        break;
      case Fault::Kind::kLength:
        telegram.bytes.resize(fault.value);
        break;
      case Fault::Kind::kPieces:
        pieces = &fault;
        break;
      case Fault::Kind::kDouble:
        doubled = true;
        break;
      case Fault::Kind::kClose:
      case Fault::Kind::kReset:
        silent = true;
        [[fallthrough]];
      case Fault::Kind::kThenClose:
      case Fault::Kind::kThenReset:
        telegram.end = fault.kind == Fault::Kind::kClose || fault.kind == Fault::Kind::kThenClose
                           ? Output::End::kClose
                           : Output::End::kReset;
        break;
      case Fault::Kind::kSilence:
        silent = true;
        break;
      case Fault::Kind::kError:  // refuses_next() has refused the job already
        break;
    }
  }
  if (silent) telegram.bytes.clear();
  if (doubled) {
    const Bytes once = telegram.bytes;
    telegram.bytes.insert(telegram.bytes.end(), once.begin(), once.end());
  }
  if (pieces != nullptr) return cut_into_pieces(telegram, *pieces);
  const bool nothing = telegram.bytes.empty() && telegram.end == Output::End::kNone;
  return nothing ? Outputs{} : Outputs{std::move(telegram)};
}

}  // namespace plexum::sim
