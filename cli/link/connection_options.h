#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

namespace plexum::cli {

// How a command reaches its PLC.
struct ConnectionOptions {
  std::string ip;
  std::uint16_t port = 102;
  std::string tsap_e = "1.0";  // own (calling) TSAP, as the control takes it
  std::string tsap_f;          // the PLC's (called) TSAP
  unsigned rack = 0;
  unsigned slot = 2;
  char connection_kind = '1';  // first part of the PLC's TSAP: 1 PG, 2 OP, 3 basic
  std::int32_t tzeit = 1000;   // time-out of every wait, in slices of at least a millisecond
  unsigned pdu = 240;          // that the PLC grants, in bytes
  bool simulated = false;      // start a simulated PLC in this process and connect to it
  bool trace = false;          // each telegram as an annotated dump on standard error
  std::string capture_path;    // empty: no capture

  // The PLC's TSAP as given, or made from the kind of connection, rack and slot. Throws a usage
  // error for a slot that the control can't encode.
  [[nodiscard]] std::string called_tsap() const;
};

// Adds the options. Some can also be set by environment variables.
void add_connection_options(CLI::App& command, ConnectionOptions& options);

// --pcap alone, for commands that don't connect to the user's PLC.
void add_capture_option(CLI::App& command, std::string& path);

// --yes, for commands that ask before they act.
void add_yes_option(CLI::App& command, bool& yes);

}  // namespace plexum::cli
