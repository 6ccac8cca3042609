#include "client/s7_client.h"

#include <stdexcept>
#include <utility>

#include "client/connection.h"
#include "client/lists.h"
#include "client/plan.h"
#include "client/transfers.h"
#include "client/variables.h"

namespace plexum::client {
namespace {

// A userdata request whose answer has nothing to tell but that it was done: FF, or 0A for no data.
void order(Connection& connection, const wire::Userdata& request) {
  const wire::Userdata answer = connection.ask(request);
  const bool done = answer.code == ReturnCode::kSuccess ||
                    (answer.code == ReturnCode::kNoSuchObject && answer.content.empty());
  if (!done) throw Error(ItemRefused{answer.code});
}

}  // namespace

InterruptedWrite::InterruptedWrite(Failure failure, std::vector<WriteOutcome> outcomes)
    : Error(std::move(failure)), outcomes_(std::move(outcomes)) {}

class S7Client::Implementation {
 public:
  Implementation(HostEnvironment& environment, TcpClient& tcp, Options chosen)
      : options(std::move(chosen)), connection(environment, tcp, options) {}

  [[nodiscard]] Limits limits() const {
    return {connection.granted().pdu, options.items, options.join_neighbours};
  }

  void run(const wire::Service& service) { connection.ask<wire::Done>(service); }

  Options options;
  Connection connection;
  LastPlan last_plan;
};

S7Client::S7Client(HostEnvironment& environment, TcpClient& tcp, Options options)
    : implementation_(std::make_unique<Implementation>(environment, tcp, std::move(options))) {}

S7Client::~S7Client() { disconnect(); }

void S7Client::connect(const Endpoint& endpoint) { implementation_->connection.open(endpoint); }
void S7Client::disconnect() { implementation_->connection.close(); }
bool S7Client::connected() { return implementation_->connection.is_open(); }
const Granted& S7Client::granted() const { return implementation_->connection.granted(); }
const Strays& S7Client::strays() const { return implementation_->connection.strays(); }
Options& S7Client::options() { return implementation_->options; }

std::vector<ReadOutcome> S7Client::read(std::span<const Item> items) {
  for (const Item& item : items) {
    if (!item.is_valid()) throw std::invalid_argument("an item that S7 can't name");
  }
  implementation_->connection.require_open();
  return read_items(implementation_->connection, items, implementation_->limits(),
                    implementation_->last_plan);
}

ReadOutcome S7Client::read(const Item& item) { return std::move(read({&item, 1}).front()); }

std::vector<WriteOutcome> S7Client::write(std::span<const WriteItem> items) {
  for (const WriteItem& item : items) {
    if (!item.item.is_valid()) throw std::invalid_argument("an item that S7 can't name");
    if (item.data.size() != item.item.size()) {
      throw std::invalid_argument("data of another size than their item");
    }
  }
  implementation_->connection.require_open();
  std::vector<WriteOutcome> outcomes;
  try {
    write_items(implementation_->connection, items, implementation_->limits(), outcomes);
  } catch (const Error& error) {
    throw InterruptedWrite(error.failure(), std::move(outcomes));
  }
  return outcomes;
}

WriteOutcome S7Client::write(const WriteItem& item) { return std::move(write({&item, 1}).front()); }

StateList S7Client::state_list(std::uint16_t id, std::uint16_t index) {
  return read_state_list(implementation_->connection, id, index);
}

Protection S7Client::protection() { return read_protection(implementation_->connection); }

std::vector<BlockCount> S7Client::block_counts() {
  return count_blocks(implementation_->connection);
}

std::vector<BlockEntry> S7Client::block_list(BlockType type) {
  return list_blocks(implementation_->connection, type);
}

std::string S7Client::block_information(const BlockId& block) {
  return client::block_information(implementation_->connection, block);
}

std::string S7Client::upload(const BlockId& block) {
  return client::upload(implementation_->connection, block);
}

void S7Client::download(const BlockId& block, std::string_view image, std::size_t code_size) {
  client::download(implementation_->connection, block, image, code_size);
}

void S7Client::insert(const BlockId& block) { implementation_->run(wire::insert_block(block)); }
void S7Client::remove(const BlockId& block) { implementation_->run(wire::delete_block(block)); }

PlcTime S7Client::clock() {
  const wire::Userdata answer =
      implementation_->connection.ask(wire::user_request(wire::kReadClock));
  if (answer.code != ReturnCode::kSuccess) throw Error(ItemRefused{answer.code});
  const wire::Parsed<PlcTime> time = wire::parse_clock_content(answer.content);
  if (!time) implementation_->connection.fail_senseless(time.fault().what, answer.content);
  return *time;
}

void S7Client::set_clock(PlcTime time) {
  order(implementation_->connection,
        wire::user_request(wire::kSetClock, wire::clock_content(time)));
}

void S7Client::start_session(std::string_view password) {
  order(implementation_->connection, wire::start_session(password));
}

void S7Client::end_session() {
  order(implementation_->connection, wire::user_request(wire::kEndSession));
}

void S7Client::stop() { implementation_->connection.ask<wire::Done>(wire::Stop{}); }
void S7Client::warm_start() { implementation_->run(wire::warm_start()); }
void S7Client::cold_start() { implementation_->run(wire::cold_start()); }
void S7Client::compress() { implementation_->run(wire::compress()); }
void S7Client::copy_ram_to_rom() { implementation_->run(wire::copy_ram_to_rom()); }
void S7Client::erase() { order(implementation_->connection, wire::erase()); }

}  // namespace plexum::client
