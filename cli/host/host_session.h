#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/link/command_environment.h"
#include "control/plexum_link.h"

namespace plexum::cli {

// One control, driven by requests in JSON: {"call":NAME,"args":[...]}, {"get":NAME} or
// {"set":NAME,"value":V}. Byte strings are JSON strings of U+0000 to U+00FF.
class HostSession {
 public:
  // Both must outlive the session. `environment` is the one that `link` was made with.
  HostSession(PlexumLink& link, CommandEnvironment& environment);

  // The reply to one request, a JSON object on one line. It has the result or the run-time error,
  // the arguments as the call left them, the state afterwards and the message boxes that were
  // shown. A line that is no request gets an error with number 0.
  std::string reply_to(std::string_view line);

 private:
  PlexumLink& link_;
  std::vector<std::string> message_boxes_;
};

}  // namespace plexum::cli
