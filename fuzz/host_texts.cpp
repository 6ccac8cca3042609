// Texts of hosts: every member with any arguments, addresses among them, and what the conversions
// promise of their results. The arguments stand in lines; the first says which member.

#include <cmath>
#include <vector>

#include "cli/host/members.h"
#include "fuzz/world.h"

namespace plexum::fuzz {
namespace {

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines(1);
  for (const char c : text) {
    if (c == '\n') lines.emplace_back();
    if (c != '\n') lines.back() += c;
  }
  return lines;
}

double unsigned_number(const std::string& bytes) {
  double number = 0;
  for (const char c : bytes) number = 256 * number + static_cast<unsigned char>(c);
  return number;
}

// A number's text reads as that number again, to 15 digits.
void check_number(Host& host, const std::string& text) {
  double number = 0;
  if (error_of([&] { number = host.number_from_text(text); }) != 0) return;
  const std::string shown = host.text_from_number(number);
  double again = 0;
  // Only the largest numbers become more than a double holds when 15 digits round them up.
  if (error_of([&] { again = host.number_from_text(shown); }) != 0) {
    return require(std::abs(number) > 1.797E308, "a number's text is a number");
  }
  require(host.text_from_number(again) == shown, "a number's text is that number's");
  require(std::abs(again - number) <= std::abs(number) * 1E-14, "a text keeps the number");
}

// The bytes that a conversion makes, which must be `size`; none where it raises an error. A
// conversion may change the text.
template <typename Member>
std::string converted(World& world, Member member, std::size_t size, std::string& text) {
  std::string bytes;
  const std::int32_t error = error_of([&] { bytes = (world.link.*member)(text); });
  require(error != 0 || bytes.size() == size, "a conversion has its number of bytes");
  return bytes;
}

void check_conversions(World& world, const std::string& text) {
  double number = 0;
  if (error_of([&] { number = world.host.number_from_text(text); }) != 0) return;
  const auto holds_it = [&](const std::string& bytes) {
    return bytes.empty() || std::abs(unsigned_number(bytes) - number) <= 0.5;
  };
  std::string left = text;
  require(holds_it(converted(world, &PlexumLink::wordtobeyt, 2, left)), "a word is its value");
  const std::string bytes = converted(world, &PlexumLink::dwordtobeyt, 4, left);
  if (!bytes.empty()) {
    require(world.host.number_from_text(left) < 65536, "the remainder is below 65536");
    require(number < 0 || number >= 4294967295 || holds_it(bytes), "a double word is its value");
  }
  converted(world, &PlexumLink::wordtobeytadd, 3, left = text);
  converted(world, &PlexumLink::flottobeyt, 4, left = text);
}

}  // namespace

void run(Input input) {
  World world;
  const auto& methods = cli::methods();
  const auto& method = methods[input.below(methods.size())];
  const bool connected = input.flag();
  std::vector<std::string> arguments = lines_of(input.rest());
  for (const std::string& text : arguments) {
    check_number(world.host, text);
    check_conversions(world, text);
  }
  arguments.resize(method.arguments.size());
  if (connected) require(world.connect(), "the PLC is there");
  error_of([&] { method.call(world.link, arguments); });
  // No argument spoils the control for the next job.
  world.link.s7init(false);
  require(world.connect(), "the PLC is found again");
}

}  // namespace plexum::fuzz
