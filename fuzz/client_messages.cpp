// The client's parsers over any bytes: a stream of telegrams, and what is in each. Whatever can be
// parsed can be built, and means the same again.

#include "client/wire/clock.h"
#include "client/wire/framer.h"
#include "client/wire/message.h"
#include "fuzz/input.h"

namespace plexum::fuzz {
namespace {

constexpr std::size_t kLongest = 4096;

void parse(std::string_view message) {
  const wire::Parsed<wire::Message> parsed = wire::parse(message);
  if (!parsed) return;
  const std::string built = wire::build(*parsed);
  const wire::Parsed<wire::Message> again = wire::parse(built);
  require(static_cast<bool>(again), "what was built can be parsed");
  require(*again == *parsed, "parse(build(x)) is x");
  require(wire::build(*again) == built, "build(parse(x)) is x");
}

}  // namespace

void run(Input input) {
  const std::size_t piece = 1 + input.byte();
  const std::string bytes = input.rest();
  parse(bytes);
  wire::parse_clock_content(bytes);
  if (const auto unit = wire::parse_telegram(bytes)) {
    const std::string built = wire::build(*unit);
    const auto again = wire::parse_telegram(built);
    require(again && wire::build(*again) == built, "a transport unit means the same again");
  }

  wire::Framer framer(kLongest);
  std::size_t given = 0;
  for (std::size_t i = 0; i < bytes.size(); i += piece) {
    framer.feed(std::string_view(bytes).substr(i, piece));
    while (const auto next = framer.next()) {
      if (std::holds_alternative<wire::Fault>(*next)) return;
      if (const auto* message = std::get_if<std::string_view>(&*next)) {
        require(message->size() <= kLongest, "no message is longer than the limit");
        given += message->size();
        parse(*message);
      }
    }
    require(framer.rest().size() <= kLongest + wire::kTpktHeader + wire::kDataUnitHeader + piece,
            "no more is kept than the limit");
  }
  require(given <= bytes.size(), "no more is given than came");
}

}  // namespace plexum::fuzz
