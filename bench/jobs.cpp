#include "bench/jobs.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "bench/plc.h"

namespace plexum::bench {
namespace {

void demand(bool holds, const std::string& job) {
  if (!holds) throw std::runtime_error(job + " failed");
}

Job read_b(const std::string& count) {
  const std::string name = "ag_ReadB " + count + " bytes \"C\"";
  return {name, [=](PlexumLink& link) {
            const Value value = link.ag_ReadB("1", count, "0", "C", "D");
            const auto* const bytes = std::get_if<std::string>(&value);
            demand(bytes != nullptr && std::to_string(bytes->size()) == count, name);
          }};
}

Job read(const std::string& count, const std::string& type) {
  const std::string name = "ag_Read " + count + " bytes \"" + type + "\"";
  return {name, [=](PlexumLink& link) {
            const Value value = link.ag_Read("1", count, "0", type, "D");
            demand(std::holds_alternative<DoubleArray>(value), name);
          }};
}

Job write_mb(std::size_t count) {
  const std::string name = "ag_WriteMB " + std::to_string(count) + " bytes";
  return {name, [name, bytes = std::string(count, '\x55')](PlexumLink& link) {
            std::string address = "0";
            demand(link.ag_WriteMB("1", address, bytes, "D") == Value(true), name);
          }};
}

}  // namespace

std::vector<Job> round_trip_jobs() {
  return {read_b("2"),      read_b("200"),    read_b("900"),
          read("200", "W"), read("200", "F"), write_mb(200)};
}

Job block_reads(int blocks, int size, int pdu) {
  constexpr int kReadOverhead = 18;  // of a PDU: ack header 12, parameter 2, item header 4
  const std::string name = std::to_string(blocks) + " blocks of " + std::to_string(size) +
                           " bytes, PDU " + std::to_string(pdu);
  return {name, [=](PlexumLink& link) {
            for (int block = 1; block <= blocks; ++block) {
              std::string whole;
              for (int at = 0; at < size;) {
                const int count = std::min(pdu - kReadOverhead, size - at);
                const Value part = link.ag_ReadB(std::to_string(block), std::to_string(count),
                                                 std::to_string(at), "C", "D");
                const auto* const bytes = std::get_if<std::string>(&part);
                demand(bytes != nullptr, name);
                whole += *bytes;
                at += count;
              }
              demand(whole.size() == static_cast<std::size_t>(size), name);
            }
          }};
}

void connect(PlexumLink& link, std::uint16_t port) {
  link.Tzeit(10000);  // the machine may be busy
  demand(link.ag_ini("127.0.0.1", std::to_string(port), "1.0", "3.2"), "ag_ini");
}

void AnsweringClient::SendData(const std::string& bytes) {
  // As a rule the same is asked again: its answer is kept, and this client's own time stays small.
  if (dialogue.empty() || dialogue.back().telegram != bytes) {
    next_answer_ = answer_to(bytes, pdu_);
    dialogue.push_back({bytes, next_answer_.size()});
  }
  answer_ = next_answer_;
}

std::string AnsweringClient::GetData() { return std::exchange(answer_, {}); }

Dialogue dialogue_of(const Job& job, std::uint16_t pdu, HostEnvironment& environment) {
  AnsweringClient client(pdu);
  PlexumLink link(environment, client);
  connect(link, 102);
  client.dialogue.clear();
  job.run(link);
  return client.dialogue;
}

Dialogue dialogue_of_connecting(std::uint16_t pdu, HostEnvironment& environment) {
  AnsweringClient client(pdu);
  PlexumLink link(environment, client);
  connect(link, 102);
  return client.dialogue;
}

}  // namespace plexum::bench
