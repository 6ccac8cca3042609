#include "cli/plc/plc_access.h"

namespace plexum::cli {

std::string read_bytes(Session& session, const PlcAddress& address) {
  std::string bytes = session.read(address.range);
  if (address.type != PlcType::kString || address.max_length > 0) return bytes;
  MemoryRange characters = address.range;
  characters.start += characters.size;
  characters.size = static_cast<unsigned char>(bytes[1]);
  // Lengths that can't be are not followed.
  if (characters.size > static_cast<unsigned char>(bytes[0])) return bytes;
  return bytes + session.read(characters);
}

}  // namespace plexum::cli
