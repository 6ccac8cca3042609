#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "client/options.h"

namespace plexum::cli {

// How a command reaches its PLC.
struct ConnectionOptions {
  std::string ip;
  std::uint16_t port = 102;
  std::string calling_tsap = std::string("\x01\x00", 2);  // own, bytes
  std::string called_tsap;                                // the PLC's; empty: made from the next
  client::Partner partner = client::Partner::kProgrammingDevice;
  unsigned rack = 0;
  unsigned slot = 2;
  std::chrono::milliseconds time_out{3000};  // of connecting, and since the last answer
  unsigned pdu = 960;                        // to ask for, in bytes
  bool simulated = false;    // start a simulated PLC in this process and connect to it
  bool trace = false;        // each telegram as an annotated dump on standard error
  std::string capture_path;  // empty: no capture
};

// Adds the options. Some can also be set by environment variables.
void add_connection_options(CLI::App& command, ConnectionOptions& options);

// --pcap alone, for commands that don't connect to the user's PLC.
void add_capture_option(CLI::App& command, std::string& path);

// --yes, for commands that ask before they act.
void add_yes_option(CLI::App& command, bool& yes);

// The bytes of a TSAP: two hexadecimal numbers joined by a point, "3.2" or "10.1F". Nothing for any
// other text.
std::optional<std::string> tsap_of_text(const std::string& text);
// "500ms", "2s" or "2.5" (seconds), from 1 ms to 1 hour. Nothing for any other text.
std::optional<std::chrono::milliseconds> duration_of_text(const std::string& text);

}  // namespace plexum::cli
