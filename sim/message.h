#pragma once

#include <cstdint>

#include "sim/bytes.h"

namespace plexum::sim {

enum class MessageType : std::uint8_t { kJob = 1, kAck = 2, kAckData = 3, kUserdata = 7 };

enum class Function : std::uint8_t {
  kReadVariable = 0x04,
  kWriteVariable = 0x05,
  kRequestDownload = 0x1A,
  kDownloadBlock = 0x1B,
  kDownloadEnded = 0x1C,
  kStartUpload = 0x1D,
  kUpload = 0x1E,
  kEndUpload = 0x1F,
  kProgramInvocation = 0x28,
  kStop = 0x29,
  kSetupCommunication = 0xF0,
};

// Why a CPU refuses a job: error class (high byte) and error code (low byte).
enum class Error : std::uint16_t {
  kNone = 0,
  kUnknownService = 0x8104,
  kWrongSequence = 0x8401,
  kWrongFrame = 0x8500,  // also: larger than the granted PDU
  kBlockName = 0xD201,   // a block designation of the wrong form
  kParameter = 0xD202,   // a service's arguments
  kBlockType = 0xD203,
  kNoSuchBlock = 0xD209,
  kBlockLocked = 0xD20C,  // delivered with the CPU, not to be read or replaced
  kNoBlockOfType = 0xD20E,
  kBlockImage = 0xD210,  // a downloaded image that isn't what was announced
  kProtected = 0xD241,
  kNoSuchList = 0xD401,
  kNoSuchIndex = 0xD402,
};

// Thrown by a service that refuses its job.
struct Refusal {
  Error error;
};

// One S7 message (protocol id 0x32).
struct Message {
  MessageType type = MessageType::kJob;
  std::uint16_t reference = 0;  // the PDU reference; an answer repeats its job's
  Error error = Error::kNone;   // in acknowledgements only
  Bytes parameter;
  Bytes data;

  // The parameter's first byte; throws Malformed when there is none.
  Function function() const { return Function{Reader(parameter).u8()}; }

  // Length in bytes, the measure of the granted PDU.
  std::size_t size() const;
};

// Throws Malformed when `bytes` are no S7 message of one of the types above. Bytes behind the
// message are ignored.
Message parse_message(ByteView bytes);

Bytes build_message(const Message& message);

// The answers to a job.
Message ack_data(const Message& job, Bytes parameter, Bytes data = {});
Message refusal(const Message& job, Error error);

}  // namespace plexum::sim
