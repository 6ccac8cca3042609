#include "cli/plc/variables.h"

#include <algorithm>

#include "cli/text/failure.h"

namespace plexum::cli {
namespace {

// What a job's telegram and its answer need beside the data, in bytes of the PDU: the header of an
// answer (12), its parameter (2) and its item's header (4); the header of a write job (10), its
// parameter (14) and its item's header (4).
constexpr unsigned kReadOverhead = 18;
constexpr unsigned kWriteOverhead = 28;

// The byte string of a read's result.
std::string bytes_of_result(const Value& value) {
  if (const auto* bytes = std::get_if<std::string>(&value)) return *bytes;
  std::string bytes;
  if (const auto* array = std::get_if<DoubleArray>(&value)) {
    for (const double element : array->elements) {
      bytes += static_cast<char>(static_cast<unsigned char>(element));
    }
  }
  return bytes;
}

// Throws unless the control can address the first byte of every job; they are `most` bytes apart.
// Called before the first job, so that no range is written by half for this reason.
void check_starts(const std::string& what, const MemoryRange& range, std::uint32_t most) {
  for (std::uint32_t done = 0; done < range.size; done += most) {
    if (can_address(range.start + done)) continue;
    throw usage_error(what + ": the control can't address byte " +
                      std::to_string(range.start + done) +
                      " (of every 8192 bytes it reaches the first 4096)");
  }
}

void write_range(PlcConnection& plc, const MemoryRange& range, const std::string& bytes) {
  const std::string what = "writing " + described(range);
  const std::uint32_t most = plc.pdu() - kWriteOverhead;
  check_starts(what, range, most);
  for (std::size_t done = 0; done < bytes.size(); done += most) {
    const std::uint32_t first = range.start + static_cast<std::uint32_t>(done);
    plc.run(what, JobKind::kWrite, [&](PlexumLink& link) {
      std::string start = std::to_string(first);  // is left with the bit address
      return link.ag_WriteMB(std::to_string(range.block), start, bytes.substr(done, most),
                             range.area);
    });
  }
}

// Writes one bit (0 to 7) of the range's first byte.
void write_bit(PlcConnection& plc, const MemoryRange& range, unsigned bit, bool value) {
  const std::string what = "writing " + described(range) + " bit " + std::to_string(bit);
  check_starts(what, range, 1);
  plc.run(what, JobKind::kWrite, [&](PlexumLink& link) {
    std::string start = std::to_string(range.start);  // is left with the bit address
    return link.ag_WriteX(std::to_string(range.block), start, value ? "1" : "0", range.area,
                          std::to_string(bit));
  });
}

// The two lengths of a string of an array.
MemoryRange header_of_string(const PlcAddress& address, std::size_t index) {
  MemoryRange header = address.range;
  header.size = kStringHeader;
  header.start += static_cast<std::uint32_t>(index) * (kStringHeader + address.max_length);
  return header;
}

}  // namespace

std::string read_range(PlcConnection& plc, const MemoryRange& range) {
  const std::string what = "reading " + described(range);
  const std::uint32_t most = plc.pdu() - kReadOverhead;
  check_starts(what, range, most);
  std::string bytes;
  while (bytes.size() < range.size) {
    const auto done = static_cast<std::uint32_t>(bytes.size());
    const std::uint32_t size = std::min(most, range.size - done);
    const std::string block = std::to_string(range.block);
    const std::string start = std::to_string(range.start + done);
    const Value part = plc.run(what, JobKind::kRead, [&](PlexumLink& link) {
      // Of the two members ag_Read alone knows timers and counters.
      return range.area == "T" || range.area == "Z"
                 ? link.ag_Read(block, std::to_string(size), start, "B", range.area)
                 : link.ag_ReadB(block, std::to_string(size), start, "C", range.area);
    });
    const std::string part_bytes = bytes_of_result(part);
    if (part_bytes.size() != size) throw Failure(what + ": the PLC's answer has too few bytes");
    bytes += part_bytes;
  }
  return bytes;
}

std::string read_bytes(PlcConnection& plc, const PlcAddress& address) {
  std::string bytes = read_range(plc, address.range);
  if (address.type != PlcType::kString || address.max_length > 0) return bytes;
  MemoryRange characters = address.range;
  characters.start += characters.size;
  characters.size = static_cast<unsigned char>(bytes[1]);
  // A present length beyond the maximum is no STRING's: values_of() says so.
  if (characters.size > static_cast<unsigned char>(bytes[0])) return bytes;
  return bytes + read_range(plc, characters);
}

void check_strings(PlcConnection& plc, const Assignment& assignment) {
  for (std::size_t i = 0; i < assignment.values.size(); ++i) {
    const std::string header = read_range(plc, header_of_string(assignment.address, i));
    const std::size_t room = static_cast<unsigned char>(header[0]);
    const std::size_t length = std::get<std::string>(assignment.values[i]).size();
    if (length <= room) continue;
    throw usage_error(assignment.address.text + ": a text of " + std::to_string(length) +
                      " doesn't fit the PLC's STRING[" + std::to_string(room) + "]");
  }
}

void write_values(PlcConnection& plc, const Assignment& assignment) {
  const PlcAddress& address = assignment.address;
  MemoryRange place = address.range;
  switch (address.type) {
    case PlcType::kBool:
      place.size = 1;
      for (std::size_t i = 0; i < assignment.values.size(); ++i) {
        const auto bit = address.bit + static_cast<unsigned>(i);
        place.start = address.range.start + bit / 8;
        write_bit(plc, place, bit % 8, std::get<bool>(assignment.values[i]));
      }
      break;
    case PlcType::kString:
      for (std::size_t i = 0; i < assignment.values.size(); ++i) {
        const std::string bytes = bytes_of(address.type, assignment.values[i]);
        place.start = header_of_string(address, i).start + 1;  // behind the maximum length
        place.size = static_cast<std::uint32_t>(bytes.size());
        write_range(plc, place, bytes);
      }
      break;
    default:
      std::string bytes;
      for (const PlcValue& value : assignment.values) bytes += bytes_of(address.type, value);
      write_range(plc, place, bytes);
  }
}

void verify_values(PlcConnection& plc, const Assignment& assignment) {
  const PlcAddress& address = assignment.address;
  const std::string found = text_of_all(address, values_of(address, read_bytes(plc, address)));
  if (found == text_of_all(address, assignment.values)) return;
  throw Failure("verifying " + address.text + ": the PLC holds " + found +
                " now; its program may write it, too");
}

}  // namespace plexum::cli
