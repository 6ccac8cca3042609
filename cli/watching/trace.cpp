#include "cli/watching/trace.h"

#include <chrono>
#include <cstdio>

#include "cli/text/error_words.h"
#include "cli/watching/watched_tcp_client.h"
#include "client/wire/bytes.h"
#include "client/wire/describe.h"

namespace plexum::cli {
namespace {

const char* words_of_error(wire::ErrorCode error) {
  for (const KnownError& known : header_errors()) {
    if (known.error_class == error.error_class && known.code == error.code) return known.meaning;
  }
  return nullptr;
}

const char* words_of_return_code(wire::ReturnCode code) {
  for (const KnownError& known : return_codes()) {
    if (known.code == static_cast<std::uint8_t>(code)) return known.meaning;
  }
  return nullptr;
}

// How many of the bytes are whole telegrams, or all where they don't begin like one.
std::size_t whole_telegrams(const std::string& bytes) {
  constexpr std::size_t kHeader = 4;
  std::size_t whole = 0;
  while (bytes.size() - whole >= kHeader) {
    wire::Reader in(std::string_view(bytes).substr(whole));
    const bool known = in.u8() == 3;
    in.u8();
    const std::size_t length = in.u16();
    if (!known || length < kHeader) return bytes.size();
    if (length > bytes.size() - whole) break;
    whole += length;
  }
  return whole;
}

}  // namespace

std::string annotated(const std::string& bytes) {
  return wire::describe(bytes, {words_of_error, words_of_return_code}) + wire::dump(bytes);
}

void trace_telegrams(WatchedTcpClient& client) {
  const auto show = [start = std::chrono::steady_clock::now()](const char* direction,
                                                               const std::string& bytes) {
    if (bytes.empty()) return;
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    std::fprintf(stderr, "%s %zu %s at %.3f s\n%s", direction, bytes.size(),
                 bytes.size() == 1 ? "byte" : "bytes", time.count(), annotated(bytes).c_str());
  };
  client.on_sent = [show](const std::string& bytes) { show("> sent", bytes); };
  // Bytes arrive in any pieces; the beginning of a telegram waits for its end.
  client.on_taken = [show, waiting = std::string()](const std::string& bytes) mutable {
    waiting += bytes;
    const std::size_t whole = whole_telegrams(waiting);
    show("< received", waiting.substr(0, whole));
    waiting.erase(0, whole);
  };
}

}  // namespace plexum::cli
