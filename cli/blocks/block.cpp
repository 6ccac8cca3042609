#include "cli/blocks/block.h"

#include <chrono>

#include "cli/text/failure.h"
#include "cli/text/iso_time.h"

namespace plexum::cli {
namespace {

// Where in the header of an image stands what is read of it; numbers are big-endian.
constexpr std::size_t kMagic = 0;  // "pp"
constexpr std::size_t kType = 5;
constexpr std::size_t kNumber = 6;     // 2 bytes
constexpr std::size_t kImageSize = 8;  // 4
constexpr std::size_t kCodeDate = 16;  // ms of the day (4), days since 1984 (2)
constexpr std::size_t kInterfaceDate = 22;
constexpr std::size_t kCodeSize = 34;  // 2

// A download announces the length in six digits.
constexpr std::size_t kLargestImage = 999'999;

std::uint32_t number_at(const std::string& bytes, std::size_t index, std::size_t size) {
  std::uint32_t number = 0;
  for (std::size_t i = index; i < index + size; ++i) {
    number = number << 8 | static_cast<unsigned char>(bytes[i]);
  }
  return number;
}

std::string date_at(const std::string& bytes, std::size_t index) {
  using namespace std::chrono_literals;
  constexpr std::chrono::sys_days kFirstDay{1984y / 1 / 1};
  return iso_text(kFirstDay + std::chrono::days(number_at(bytes, index + 4, 2)) +
                  std::chrono::milliseconds(number_at(bytes, index, 4)));
}

}  // namespace

std::string BlockName::text() const { return type->name + std::to_string(number); }

BlockImage parse_block_image(const std::string& what, std::string bytes) {
  if (bytes.size() < BlockImage::kHeaderSize || number_at(bytes, kMagic, 2) != 0x7070) {
    throw Failure(what + ": it is no block image (it has no block header)");
  }
  const BlockType* const type = find_block_type(number_at(bytes, kType, 1));
  if (type == nullptr) {
    throw Failure(what + ": the block's header names no type of blocks");
  }
  BlockImage image;
  image.name = {type, static_cast<std::uint16_t>(number_at(bytes, kNumber, 2))};
  image.code_size = number_at(bytes, kCodeSize, 2);
  const std::uint32_t size = number_at(bytes, kImageSize, 4);
  if (size != bytes.size() || size > kLargestImage ||
      image.code_size + BlockImage::kHeaderSize > size) {
    throw Failure(what + ": the block's header tells of " + std::to_string(size) +
                  " bytes, with a code section of " + std::to_string(image.code_size) +
                  ", but there are " + std::to_string(bytes.size()));
  }
  image.code_date = date_at(bytes, kCodeDate);
  image.interface_date = date_at(bytes, kInterfaceDate);
  image.bytes = std::move(bytes);
  return image;
}

}  // namespace plexum::cli
