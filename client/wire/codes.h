#pragma once

#include <cstddef>
#include <cstdint>

// The codes of S7 communication. A byte of a telegram may hold any value, so an enumeration here
// names the known ones and does not promise that there are no others.
namespace plexum::wire {

enum class MessageType : std::uint8_t {
  kJob = 1,
  kAcknowledgement = 2,  // an answer without data, as a rule a refusal
  kAnswer = 3,
  kUserdata = 7,
};

enum class Function : std::uint8_t {
  kRead = 0x04,
  kWrite = 0x05,
  kRequestDownload = 0x1A,
  kDownloadBlock = 0x1B,
  kDownloadEnded = 0x1C,
  kStartUpload = 0x1D,
  kUpload = 0x1E,
  kEndUpload = 0x1F,
  kService = 0x28,  // program invocation
  kStop = 0x29,
  kSetUp = 0xF0,
};

// The PLC's memory areas, as an item's address names them.
enum class Area : std::uint8_t {
  kCounters = 0x1C,
  kTimers = 0x1D,
  kPeripherals = 0x80,
  kInputs = 0x81,
  kOutputs = 0x82,
  kFlags = 0x83,
  kDataBlock = 0x84,
  kInstanceBlock = 0x85,
  kLocalData = 0x86,
};

// The transport size of an item's address: what its count counts.
enum class ElementType : std::uint8_t {
  kBit = 0x01,
  kByte = 0x02,
  kChar = 0x03,
  kWord = 0x04,
  kInt = 0x05,
  kDWord = 0x06,
  kDInt = 0x07,
  kReal = 0x08,
  kCounter = 0x1C,
  kTimer = 0x1D,
};

// The transport size of data: 03, 04 and 05 tell their length in bits, the others in bytes.
enum class DataType : std::uint8_t {
  kNone = 0x00,
  kBit = 0x03,
  kBytes = 0x04,
  kIntegers = 0x05,
  kDoubleIntegers = 0x06,
  kReals = 0x07,
  kOctets = 0x09,
};

constexpr bool counts_bits(DataType type) {
  return type == DataType::kBit || type == DataType::kBytes || type == DataType::kIntegers;
}

// What became of one item.
enum class ReturnCode : std::uint8_t {
  kReserved = 0x00,
  kHardwareFault = 0x01,
  kAccessDenied = 0x03,
  kAddressOutOfRange = 0x05,
  kTypeNotSupported = 0x06,
  kTypeInconsistent = 0x07,
  kNoSuchObject = 0x0A,
  kSuccess = 0xFF,
};

// What became of a job as a whole: error class and error code, both 0 where it was done.
struct ErrorCode {
  std::uint8_t error_class = 0;
  std::uint8_t code = 0;

  [[nodiscard]] constexpr std::uint16_t number() const {
    return static_cast<std::uint16_t>(error_class << 8 | code);
  }
  explicit constexpr operator bool() const { return number() != 0; }
  bool operator==(const ErrorCode&) const = default;
};

// Lengths in bytes.
inline constexpr std::size_t kJobHeader = 10;     // of a job's and a userdata message's header
inline constexpr std::size_t kAnswerHeader = 12;  // of an acknowledgement's and an answer's

}  // namespace plexum::wire
