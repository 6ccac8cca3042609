// Block images: what a host downloads, and what comes back when it is uploaded. The image is given
// as it is, or with a true header in front of it.

#include "fuzz/world.h"

namespace plexum::fuzz {
namespace {

std::string with_header(const std::string& code) {
  const sim::Bytes image = sim::make_block_image({sim::BlockType::kFunction, 5}, 5, "FUZZ",
                                                 sim::Bytes(code.begin(), code.end()));
  return {image.begin(), image.end()};
}

}  // namespace

void run(Input input) {
  World world;
  const bool whole = input.flag();
  const bool twice = input.flag();
  const std::string image = whole ? with_header(input.rest()) : input.rest();
  require(world.connect(), "the PLC is there");
  std::int32_t error = 0;
  for (int times = twice ? 2 : 1; times > 0; --times) {
    error = error_of([&] { world.link.pg_WriteBlock(image); });
  }
  if (whole) require(error == 0 && world.link.err() == 0, "a true image is taken");
  if (error == 0 && world.link.err() == 0) {
    const sim::BlockHeader header = sim::parse_block_header(sim::Bytes(image.begin(), image.end()));
    const std::string designation = header.id.designation();
    const char* const types[] = {"OB", "", "DB", "SDB", "FC", "SFC", "FB", "SFB"};
    const std::size_t type = static_cast<std::size_t>(header.id.type) - 8;
    const Value back = world.link.pg_ReadBlock(types[type], designation.substr(2));
    require(world.link.err() == 0 && back == Value(image), "an upload brings the block back");
    error_of([&] { world.link.pg_ListBlock(types[type]); });
    world.link.inuse(false);
    world.link.err(0);
    error_of([&] { world.link.pg_DelBlock(types[type], designation.substr(2)); });
  }
  world.link.s7init(false);
  require(world.connect(), "the PLC is found again");
}

}  // namespace plexum::fuzz
