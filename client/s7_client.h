#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/host_environment.h"
#include "base/tcp_client.h"
#include "client/blocks.h"
#include "client/error.h"
#include "client/granted.h"
#include "client/item.h"
#include "client/options.h"
#include "client/state_list.h"
#include "client/wire/clock.h"

namespace plexum::client {

using wire::PlcTime;

// A write that the connection's end cut short.
class InterruptedWrite : public Error {
 public:
  InterruptedWrite(Failure failure, std::vector<WriteOutcome> outcomes);
  // Of every item, in the caller's order; what is neither written nor in doubt was never sent.
  [[nodiscard]] const std::vector<WriteOutcome>& outcomes() const noexcept { return outcomes_; }

 private:
  std::vector<WriteOutcome> outcomes_;
};

// A client of one S7 PLC.
//
//   S7Client client(environment, tcp);
//   client.connect({.host = "192.0.2.10", .called_tsap = tsap_of(Partner::kOperatorPanel, 0, 2)});
//   for (const ReadOutcome& outcome : client.read(items)) { ... }
//
// It keeps as many jobs in flight as the PLC granted and takes the answers by their PDU references,
// in any order. Nothing that a PLC says is trusted: no length, no count, no reference; what is kept
// is bounded by what was asked for.
//
// Members that talk to the PLC block until they are done, while the environment waits and processes
// messages. They throw Error; a service or a list that the PLC refuses is one, an item that it
// refuses is an outcome. They must not be called from within each other.
class S7Client {
 public:
  // Both seams must outlive the client.
  S7Client(HostEnvironment& environment, TcpClient& tcp, Options options = {});
  ~S7Client();
  S7Client(const S7Client&) = delete;
  S7Client& operator=(const S7Client&) = delete;

  // The connection. Connecting closes one that is there, and keeps nothing of it.
  void connect(const Endpoint& endpoint);
  void disconnect();
  // By what is known: it looks at the connection, but asks the PLC nothing.
  [[nodiscard]] bool connected();
  [[nodiscard]] const Granted& granted() const;
  [[nodiscard]] const Strays& strays() const;
  // Changes count from the next member on, those of `pdu` and `jobs` from the next connection on.
  [[nodiscard]] Options& options();

  // Reads or writes items of any number, kind and length; outcomes are in the caller's order.
  // Throws std::invalid_argument for an item that isn't valid, or whose data have another size.
  std::vector<ReadOutcome> read(std::span<const Item> items);
  ReadOutcome read(const Item& item);
  // Writes in the caller's order. A connection that ends in between is an InterruptedWrite.
  std::vector<WriteOutcome> write(std::span<const WriteItem> items);
  WriteOutcome write(const WriteItem& item);

  // A system state list with all its parts.
  StateList state_list(std::uint16_t id, std::uint16_t index = 0);
  Protection protection();

  // How many blocks of each type there are, and which, by number as the PLC sorts them. A type
  // without blocks has an empty list.
  std::vector<BlockCount> block_counts();
  std::vector<BlockEntry> block_list(BlockType type);
  // The block's information as the PLC sends it: from the header's first byte (70 70) on, then
  // author, family, name and checksum where there are any.
  std::string block_information(const BlockId& block);

  // The image of a block as the PLC keeps it.
  std::string upload(const BlockId& block);
  // Brings an image into the PLC, which keeps it aside; insert() puts it into use. `code_size`: of
  // the code section or of a data block's values, in bytes, as the image's header has it.
  void download(const BlockId& block, std::string_view image, std::size_t code_size);
  void insert(const BlockId& block);
  void remove(const BlockId& block);

  PlcTime clock();
  void set_clock(PlcTime time);

  // A session with the rights that the password gives, until end_session() or the connection's end.
  // At most eight characters.
  void start_session(std::string_view password);
  void end_session();

  // What the CPU can be told to do. Done when they return.
  void stop();
  void warm_start();
  void cold_start();
  void compress();
  void copy_ram_to_rom();
  void erase();  // all blocks and data of the user's program

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace plexum::client
