// The services of the PLC: stop, start, copy RAM to ROM, compress, delete a block (program
// invocation, functions 28 and 29) and erase (userdata, programmer commands). Each is one telegram
// and one answer that nobody looks at: a service that the PLC refuses in an answer of full length
// returns true like one that it carries out.

#include "plc/services.h"

#include "protocol/block_type.h"
#include "protocol/telegram.h"

namespace plexum {
namespace {

// "P_PROGRAM", "_MODU" and so on are the services' names, each behind its length.
constexpr auto kStop =
    "03 00 00 21 | 02 F0 80 | 32 01 00 00 03 00 00 10 00 00 | 29 00 00 00 00 00"
    "| 09 50 5F 50 52 4F 47 52 41 4D"_hex;
static_assert(tpkt_length(kStop) == kStop.size());

constexpr auto kStart =
    "03 00 00 25 | 02 F0 80 | 32 01 00 00 03 00 00 14 00 00 | 28 00 00 00 00 00 00 FD 00 00"
    "| 09 50 5F 50 52 4F 47 52 41 4D"_hex;
static_assert(tpkt_length(kStart) == kStart.size());

// Argument "EP". The TPKT header is the one of the start job and declares two bytes more than
// follow. That PLCs go by the S7 lengths is a guess: a receiver that goes by RFC 1006 waits for the
// two bytes, and takes them off the front of the next telegram.
constexpr auto kRamToRom =
    "03 00 00 25 | 02 F0 80 | 32 01 00 00 07 00 00 12 00 00 | 28 00 00 00 00 00 00 FD 00 02 45 50"
    "| 05 5F 4D 4F 44 55"_hex;
static_assert(tpkt_length(kRamToRom) == kRamToRom.size() + 2);

constexpr auto kCompress =
    "03 00 00 21 | 02 F0 80 | 32 01 00 00 33 00 00 10 00 00 | 28 00 00 00 00 00 00 FD 00 00"
    "| 05 5F 47 41 52 42"_hex;
static_assert(tpkt_length(kCompress) == kCompress.size());

constexpr auto kErase =
    "03 00 00 39 | 02 F0 80 | 32 07 00 00 04 00 00 0C 00 1C | 00 01 12 08 12 41 0C 00 00 00 00 00"
    "| FF 09 00 18 00 14 00 00 00 00 00 00 00 01 00 00 00 00 00 01 00 01 00 01 00 01 00 00"_hex;
static_assert(tpkt_length(kErase) == kErase.size());

// The block's type code and number go between these. The lengths are those of a code of two
// characters and a number of five, whatever is sent.
constexpr auto kDeleteHead =
    "03 00 00 2B | 02 F0 80 | 32 01 00 00 6B 00 00 1A 00 00 | 28 00 00 00 00 00 00 FD 00 0A 01 00"_hex;
constexpr auto kDeleteTail = "42 05 5F 44 45 4C 45"_hex;  // "B", "_DELE"
static_assert(tpkt_length(kDeleteHead) == kDeleteHead.size() + 2 + 5 + kDeleteTail.size());

// The text stands for all services that don't have one of their own.
constexpr const char* kWaitingText = "PLC Stop";
constexpr double kServiceAnswer = 20;
constexpr double kEraseAnswer = 33;

// True when the service was answered in time; empty when the guard refused.
Value service(RequestCycle& cycle, const std::string& telegram, const char* waiting_text,
              double answer_length) {
  if (!cycle.control_job(telegram, waiting_text, answer_length)) return {};
  return cycle.err == 0;
}

}  // namespace

Value pg_plcstop(RequestCycle& cycle) {
  return service(cycle, to_string(kStop), kWaitingText, kServiceAnswer);
}

Value pg_plcstart(RequestCycle& cycle) {
  return service(cycle, to_string(kStart), kWaitingText, kServiceAnswer);
}

Value pg_plcErase(RequestCycle& cycle) {
  return service(cycle, to_string(kErase), kWaitingText, kEraseAnswer);
}

Value pg_Ramtorom(RequestCycle& cycle) {
  return service(cycle, to_string(kRamToRom), kWaitingText, kServiceAnswer);
}

Value pg_plccompress(RequestCycle& cycle) {
  return service(cycle, to_string(kCompress), kWaitingText, kServiceAnswer);
}

Value pg_DelBlock(RequestCycle& cycle, const std::string& Blocktype, const std::string& Blocknr) {
  const std::string telegram =
      to_string(kDeleteHead) + block_type_code(Blocktype) + Blocknr + to_string(kDeleteTail);
  return service(cycle, telegram, "Del Block", kServiceAnswer);
}

}  // namespace plexum
