#include "sim/memory.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace plexum::sim {
namespace {

constexpr unsigned kSampleValues = 10;  // of timers and counters
constexpr unsigned kOneSecondBase = 0x2000;

// Two decimal digits as BCD.
constexpr unsigned bcd(unsigned value) { return value / 10 << 4 | value % 10; }

void put_word(Bytes& area, std::size_t index, unsigned value) {
  area[2 * index] = static_cast<std::uint8_t>(value >> 8);
  area[2 * index + 1] = static_cast<std::uint8_t>(value);
}

Writer& put_real(Writer& writer, float value) {
  return writer.u32(std::bit_cast<std::uint32_t>(value));
}

}  // namespace

Memory::Memory()
    : areas_{{Area::kInputs, Bytes(2048)},     {Area::kOutputs, Bytes(2048)},
             {Area::kPeripheral, Bytes(2048)}, {Area::kFlags, Bytes(2048)},
             {Area::kLocalData, Bytes(1024)},  {Area::kTimers, Bytes(512)},
             {Area::kCounters, Bytes(512)}} {
  for (unsigned bit = 0; bit < 8; ++bit) {
    areas_[Area::kInputs][bit] = static_cast<std::uint8_t>(1u << bit);
  }
  for (unsigned i = 0; i < kSampleValues; ++i) {
    put_word(areas_[Area::kTimers], i, kOneSecondBase | bcd(10 * i));
    put_word(areas_[Area::kCounters], i, bcd(11 * i));
  }
}

void Memory::clear() {
  data_blocks_.clear();
  for (auto& [area, bytes] : areas_) {
    if (area != Area::kInputs) std::fill(bytes.begin(), bytes.end(), std::uint8_t{0});
  }
}

const Bytes* Memory::find(Area area, std::uint16_t block) const {
  if (area == Area::kDataBlock || area == Area::kInstanceBlock) {
    const auto found = data_blocks_.find(block);
    return found == data_blocks_.end() ? nullptr : &found->second;
  }
  const auto found = areas_.find(area);
  return found == areas_.end() ? nullptr : &found->second;
}

Bytes* Memory::find(Area area, std::uint16_t block) {
  return const_cast<Bytes*>(std::as_const(*this).find(area, block));
}

void Memory::create_data_block(std::uint16_t number, std::size_t size) {
  data_blocks_[number].assign(std::min(size, kLargestDataBlock), 0);
}

void fill_sample(Bytes& data_block) {
  constexpr std::string_view kGreeting = "Hello from the PLC";
  constexpr std::size_t kGreetingRoom = 24;
  Writer sample;
  for (unsigned i = 0; i < 16; ++i) sample.u8(i);
  sample.u16(4660).u16(static_cast<std::uint16_t>(-2));
  sample.u32(305419896).u32(static_cast<std::uint32_t>(-100000));
  put_real(sample, 3.14F);
  put_real(sample, -2.0F);
  sample.u8(0xA5).u8(0);
  sample.u8(kGreetingRoom).u8(kGreeting.size()).field(kGreeting, kGreetingRoom);
  for (unsigned i = 0; i < 16; ++i) sample.u16(100 * i);
  for (unsigned i = 0; i < 8; ++i) put_real(sample, static_cast<float>(i) + 0.5F);
  const Bytes bytes = sample.take();
  std::copy_n(bytes.begin(), std::min(bytes.size(), data_block.size()), data_block.begin());
}

}  // namespace plexum::sim
