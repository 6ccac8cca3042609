#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "client/wire/block_services.h"
#include "client/wire/codes.h"
#include "client/wire/parsed.h"
#include "client/wire/services.h"
#include "client/wire/userdata.h"
#include "client/wire/variables.h"

// S7 messages (protocol id 0x32) as values. Both directions are pure: parse(build(x)) is x.
namespace plexum::wire {

// The client's jobs, and the two that the PLC sends in a download.
using Job = std::variant<SetUp, ReadJob, WriteJob, RequestDownload, DownloadBlock, DownloadEnded,
                         StartUpload, Upload, EndUpload, Service, Stop>;

// An answer that carries nothing but the function of its job.
struct Done {
  Function function{};
  bool operator==(const Done&) const = default;
};

using Answer = std::variant<Done, SetUp, ReadAnswer, WriteAnswer, UploadStarted, ImagePart>;

// A job that was not done. Userdata carry their errors themselves.
struct Refusal {
  ErrorCode error;
  bool operator==(const Refusal&) const = default;
};

using Body = std::variant<Job, Answer, Refusal, Userdata>;

struct Message {
  std::uint16_t reference = 0;  // PDU reference: an answer repeats its job's
  Body body;

  bool operator==(const Message&) const = default;
};

// What the header says: enough to know whom a message is for.
struct Header {
  MessageType type{};
  std::uint16_t reference = 0;
};

Function function_of(const Job& job);
Function function_of(const Answer& answer);

// Appends a message.
void build(std::uint16_t reference, const Job& job, std::string& bytes);
void build(std::uint16_t reference, const Answer& answer, std::string& bytes);
void build(std::uint16_t reference, const Refusal& refusal, std::string& bytes);
void build(std::uint16_t reference, const Userdata& userdata, std::string& bytes);
std::string build(const Message& message);

Parsed<Header> parse_header(std::string_view message);
// Bytes behind the message are ignored. An answer whose header has an error is a refusal, whatever
// else it carries.
Parsed<Message> parse(std::string_view message);

}  // namespace plexum::wire
