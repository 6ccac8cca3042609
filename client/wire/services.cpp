#include "client/wire/services.h"

#include <string_view>

namespace plexum::wire {
namespace {

constexpr std::string_view kProgram = "P_PROGRAM";
constexpr std::size_t kStopHead = 5;     // zeros
constexpr std::size_t kServiceHead = 6;  // zeros, then
constexpr std::uint8_t kServiceMark = 0xFD;

// An argument that names one block: their number, 0, the name.
std::string one_block(const BlockName& name) { return std::string("\x01\x00", 2) + text_of(name); }

}  // namespace

Service warm_start() { return {std::string(kProgram), ""}; }
Service cold_start() { return {std::string(kProgram), "C "}; }
Service compress() { return {"_GARB", ""}; }
Service copy_ram_to_rom() { return {"_MODU", "EP"}; }
Service insert_block(const BlockId& block) {
  return {"_INSE", one_block({block, FileSystem::kPassive})};
}
Service delete_block(const BlockId& block) {
  return {"_DELE", one_block({block, FileSystem::kBoth})};
}

void build(const SetUp& job, Writer& parameter) {
  parameter.u8(0).u16(job.calling_jobs).u16(job.called_jobs).u16(job.pdu);
}

Parsed<SetUp> parse_set_up(Reader parameter) {
  parameter.u8();  // reserved
  SetUp job;
  job.calling_jobs = parameter.u16();
  job.called_jobs = parameter.u16();
  job.pdu = parameter.u16();
  if (!parameter.ok()) return Fault{"ends within the set-up"};
  return job;
}

void build(const Service& job, Writer& parameter) {
  parameter.zeros(kServiceHead).u8(kServiceMark);
  parameter.u16(job.argument.size()).bytes(job.argument).u8(job.name.size()).bytes(job.name);
}

Parsed<Service> parse_service(Reader parameter) {
  parameter.take(kServiceHead + 1);
  Service job;
  job.argument = parameter.take(parameter.u16());
  job.name = parameter.take(parameter.u8());
  if (!parameter.ok()) return Fault{"ends within the service"};
  return job;
}

void build(const Stop& /*job*/, Writer& parameter) {
  parameter.zeros(kStopHead).u8(kProgram.size()).bytes(kProgram);
}

Parsed<Stop> parse_stop(Reader parameter) {
  parameter.take(kStopHead);
  const std::string_view name = parameter.take(parameter.u8());
  if (!parameter.ok() || name != kProgram) return Fault{"a stop of something else"};
  return Stop{};
}

}  // namespace plexum::wire
