// Bytes of clients to the simulated PLC, in any pieces and over two connections, and the texts of
// its faults and data blocks. Whatever comes, what it sends is whole telegrams, and a connection
// that is over stays so.

#include <stdexcept>

#include "fuzz/input.h"
#include "sim/client_connection.h"

namespace plexum::fuzz {
namespace {

bool is_telegram(const sim::Bytes& bytes) {
  return bytes.size() >= 7 && bytes[0] == 3 && bytes[1] == 0 &&
         bytes.size() == static_cast<std::size_t>(bytes[2] << 8 | bytes[3]);
}

// A client's connection; says whether it still stands.
struct Client {
  explicit Client(sim::Plc& plc) : connection(plc) {}

  void say(const std::string& bytes, bool spoiled) {
    const auto outputs = connection.receive(sim::Bytes(bytes.begin(), bytes.end()));
    require(!over || outputs.empty(), "nothing comes after the end");
    for (const sim::Output& output : outputs) {
      require(spoiled || output.bytes.empty() || is_telegram(output.bytes), "telegrams are whole");
      over = over || output.end != sim::Output::End::kNone;
    }
  }

  sim::ClientConnection connection;
  bool over = false;
};

}  // namespace

void run(Input input) {
  sim::Options options;
  options.now = [] { return sim::Clock::TimePoint{}; };
  const std::size_t kind = input.byte();
  options.write_protected = (kind & 1) != 0;
  options.runs_program = (kind & 2) != 0;
  options.pdu = (kind & 4) != 0 ? sim::Options::kLargestPdu : 240;
  const bool spoiled = (kind & 8) != 0;
  try {
    if (spoiled) options.faults.push_back(sim::parse_fault(input.text()));
    if ((kind & 16) != 0) options.data_blocks.push_back(sim::parse_data_block(input.text()));
  } catch (const std::invalid_argument&) {
    return;
  }
  sim::Plc plc(options);
  Client clients[] = {Client(plc), Client(plc)};
  for (Client& client : clients) {
    for (const auto& output : client.connection.accepted()) {
      client.over = client.over || output.end != sim::Output::End::kNone;
    }
  }
  // Before each piece stands a byte: its lowest bit says whose piece it is, the rest how long.
  while (!input.empty()) {
    const std::size_t head = input.byte();
    clients[head & 1].say(input.bytes(1 + (head >> 1)), spoiled);
  }
}

}  // namespace plexum::fuzz
