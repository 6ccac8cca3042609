// Lines of `plexum host`, to a control with a simulated PLC and without: each gets one reply, a
// JSON object on one line, and the run goes on.

#include <nlohmann/json.hpp>

#include "cli/host/host_session.h"
#include "fuzz/world.h"

namespace plexum::fuzz {

void run(Input input) {
  World world;
  cli::CommandEnvironment environment(world.host);
  PlexumLink link(environment, world.wire);
  // Gives up every wait before long, as a host can.
  world.host.on_wait = [&](std::uint32_t ms) {
    if (world.host.waits > 200) link.Tzeit(0);
    return world.wire.pass_slice() ? 0 : ms;
  };
  cli::HostSession session(link, environment);
  std::string left = input.rest();
  while (!left.empty()) {
    const std::size_t end = left.find('\n');
    world.host.waits = 0;
    const std::string reply = session.reply_to(left.substr(0, end));
    require(reply.find('\n') == std::string::npos, "a reply is one line");
    const auto json = nlohmann::json::parse(reply);
    require(json.contains("error") || (json.contains("result") && json.contains("state")),
            "a reply has a result or an error");
    left.erase(0, end == std::string::npos ? end : end + 1);
  }
}

}  // namespace plexum::fuzz
