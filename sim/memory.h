#pragma once

#include <cstdint>
#include <map>

#include "sim/bytes.h"

namespace plexum::sim {

// The area bytes of a variable's address.
enum class Area : std::uint8_t {
  kCounters = 0x1C,  // 2 bytes a counter, BCD
  kTimers = 0x1D,    // 2 bytes a timer, time base and BCD
  kPeripheral = 0x80,
  kInputs = 0x81,
  kOutputs = 0x82,
  kFlags = 0x83,
  kDataBlock = 0x84,
  kInstanceBlock = 0x85,  // the same data blocks, opened as instance data
  kLocalData = 0x86,
};

// The PLC's memory, areas sized as in a CPU of the middle range:
//
//   area             bytes   holds at first
//   inputs           2048    EB0 to EB7: one bit each, 01 02 04 08 10 20 40 80
//   outputs          2048    zeros
//   peripheral       2048    zeros
//   flags            2048    zeros
//   local data       1024    zeros
//   timers            512    T0 to T9: 0, 10, ... 90 s (time base 1 s: 2000, 2010, ... 2090)
//   counters          512    C0 to C9: 0, 11, ... 99 (0000, 0011, ... 0099)
//   data blocks      as made DB 1 as fill_sample() has it, all others zeros
class Memory {
 public:
  static constexpr std::size_t kLargestDataBlock = 65534;

  Memory();

  // The bytes of an area, null when there is no such area or data block. `block` matters for
  // data blocks only.
  Bytes* find(Area area, std::uint16_t block);
  const Bytes* find(Area area, std::uint16_t block) const;

  // Makes a data block of zeros, or makes one anew.
  void create_data_block(std::uint16_t number, std::size_t size);

  std::map<std::uint16_t, Bytes>& data_blocks() { return data_blocks_; }
  const std::map<std::uint16_t, Bytes>& data_blocks() const { return data_blocks_; }

  // Zeros all areas but the inputs, which come from outside, and removes the data blocks.
  void clear();

 private:
  std::map<Area, Bytes> areas_;
  std::map<std::uint16_t, Bytes> data_blocks_;
};

// Something of every type to read, as far as it fits:
//
//   0    bytes 0 to 15: 00 01 02 ... 0F
//   16   WORD  4660 (12 34)                18  INT  -2 (FF FE)
//   20   DWORD 305419896 (12 34 56 78)     24  DINT -100000 (FF FE 79 60)
//   28   REAL  3.14 (40 48 F5 C3)          32  REAL -2 (C0 00 00 00)
//   36   bits  A5: 36.0, 36.2, 36.5, 36.7 are set
//   38   STRING[24] "Hello from the PLC"   (maximum, length, characters)
//   64   INT[16]  0, 100, 200, ... 1500
//   96   REAL[8]  0.5, 1.5, ... 7.5
void fill_sample(Bytes& data_block);

}  // namespace plexum::sim
