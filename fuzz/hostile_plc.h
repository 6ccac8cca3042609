#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "fuzz/world.h"

namespace plexum::fuzz {

// Lets a PLC answer as the fuzzer wants: truly, spoiled, with other bytes, in pieces, late, or with
// the connection's end. All must outlive it.
class HostilePlc {
 public:
  HostilePlc(Input& input, Host& host, Wire& wire) : input_(input), wire_(wire) {
    wire_.on_connect = [this] { answer_connect(); };
    wire_.on_send = [this](const std::string& bytes) { answer(bytes); };
    host.on_wait = [this](std::uint32_t ms) { return pass(ms); };
  }

  std::size_t connects_in = 0;  // slices until a connection under way comes about

 private:
  void answer_connect() {
    const std::size_t how = input_.below(4);
    if (how < 2) return wire_.accept();
    wire_.state = how == 2 ? kTcpConnecting : kTcpError;
    if (how == 2) connects_in = 1 + input_.below(8);
  }

  void answer(const std::string& bytes) {
    sim::Outputs outputs = wire_.answers_to(bytes);
    if (outputs.empty() && input_.flag()) outputs.emplace_back();  // unasked
    for (sim::Output& output : outputs) spoil(std::move(output));
  }

  void spoil(sim::Output output) {
    sim::Bytes& bytes = output.bytes;
    const std::size_t how = input_.below(12);
    if (how == 1) return;
    if (how == 2) bytes.resize(std::min<std::size_t>(bytes.size(), input_.byte()));
    if (how == 3) bytes.resize(bytes.size() + input_.byte(), 0);
    if (how == 4 || how == 5) {
      for (std::size_t changes = 1 + input_.below(4); changes > 0; --changes) {
        const std::size_t at = input_.byte();
        const std::uint8_t value = input_.byte();
        if (at < bytes.size()) bytes[at] = value;
      }
    }
    if (how == 6) {
      const std::string other = input_.text();
      bytes.assign(other.begin(), other.end());
    }
    if (how == 7) return wire_.deliver_in(1 + input_.below(8), std::move(output));
    if (how == 8) return deliver_in_pieces(bytes, 1 + input_.byte());
    if (how == 9) output.end = sim::Output::End::kClose;
    if (how == 10) output.end = sim::Output::End::kReset;
    if (how == 11) wire_.deliver(output);  // and once more
    wire_.deliver(std::move(output));
  }

  void deliver_in_pieces(const sim::Bytes& bytes, std::size_t size) {
    for (auto at = bytes.begin(); at != bytes.end();) {
      const auto left = static_cast<std::size_t>(bytes.end() - at);
      const auto next = at + static_cast<std::ptrdiff_t>(std::min(size, left));
      wire_.deliver_in(1, {{}, sim::Bytes(at, next), sim::Output::End::kNone});
      at = next;
    }
  }

  // A slice passes, up to what comes in it.
  std::uint32_t pass(std::uint32_t ms) {
    if (connects_in > 0 && --connects_in == 0 && wire_.state == kTcpConnecting) {
      wire_.accept();
      return 0;
    }
    return wire_.pass_slice() ? 0 : ms;
  }

  Input& input_;
  Wire& wire_;
};

}  // namespace plexum::fuzz
