// Any bytes to the words of --trace. What they say can be shown on every terminal.

#include "cli/watching/trace.h"
#include "fuzz/input.h"

namespace plexum::fuzz {

void run(Input input) {
  const std::string bytes = input.rest();
  const std::string text = cli::annotated(bytes);
  require(text.empty() == bytes.empty(), "what there is is shown");
  for (const char c : text) require(c == '\n' || (c >= ' ' && c <= '~'), "only plain characters");
}

}  // namespace plexum::fuzz
