#pragma once

#include <cstdint>
#include <string>

#include "client/wire/block_services.h"
#include "client/wire/bytes.h"
#include "client/wire/parsed.h"

// Setting up the communication (function F0), and what a PLC can be told to do (28, 29).
namespace plexum::wire {

// What the client asks for, and what the PLC grants.
struct SetUp {
  std::uint16_t calling_jobs = 1;  // that the caller may have in flight
  std::uint16_t called_jobs = 1;   // that the called one may
  std::uint16_t pdu = 240;         // longest message, in bytes

  bool operator==(const SetUp&) const = default;
};

// A service by its name, "_MODU", with its argument.
struct Service {
  std::string name;
  std::string argument;

  bool operator==(const Service&) const = default;
};

// To STOP.
struct Stop {
  bool operator==(const Stop&) const = default;
};

Service warm_start();
Service cold_start();
Service compress();
Service copy_ram_to_rom();
Service insert_block(const BlockId& block);
Service delete_block(const BlockId& block);

// What follows the function code in the parameter.
void build(const SetUp& job, Writer& parameter);
void build(const Service& job, Writer& parameter);
void build(const Stop& job, Writer& parameter);
Parsed<SetUp> parse_set_up(Reader parameter);
Parsed<Service> parse_service(Reader parameter);
Parsed<Stop> parse_stop(Reader parameter);

}  // namespace plexum::wire
