#pragma once

#include <cstdint>
#include <optional>

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
  kOutOfMemory = 0x8301,
  kTooFewResources = 0x8302,
  kNoMoreUploads = 0x8304,
  kWrongSequence = 0x8401,
  kWrongFrame = 0x8500,  // also for what is larger than the granted PDU
  kAccessRefused = 0x8703,
  kBlockName = 0xD201,  // the syntax of a block's designation
  kParameter = 0xD202,  // the syntax of a service's arguments
  kNoSuchBlock = 0xD209,
  kNoBlockOfType = 0xD20E,
  kBlockNumber = 0xD210,     // an image's own number isn't the one that was announced
  kBlockLengths = 0xD219,    // an image's lengths contradict each other or what was announced
  kBlockStructure = 0xD226,  // an image without a block header, or of another type
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

// The length in bytes that a message announces in its header; nothing while `front`, which is what
// has come of it, doesn't hold the header, and where it is no S7 message.
std::optional<std::size_t> announced_length(ByteView front);

// Throws Malformed when `bytes` are no S7 message of one of the types above. Bytes behind the
// message are ignored.
Message parse_message(ByteView bytes);

Bytes build_message(const Message& message);

// The answers to a job.
Message ack_data(const Message& job, Bytes parameter, Bytes data = {});
Message refusal(const Message& job, Error error);

}  // namespace plexum::sim
