#include "client/wire/message.h"

#include <type_traits>
#include <utility>

#include "client/wire/bytes.h"

namespace plexum::wire {
namespace {

constexpr std::uint8_t kProtocolId = 0x32;
constexpr std::size_t kParameterLength = 6;
constexpr std::size_t kDataLength = 8;

// Appends a message: its header, then what `build_parameter` and `build_data` append.
template <typename BuildParameter, typename BuildData>
void append(MessageType type, std::uint16_t reference, ErrorCode error, std::string& bytes,
            BuildParameter build_parameter, BuildData build_data) {
  Writer out(bytes);
  const std::size_t start = out.size();
  out.u8(kProtocolId).u8(static_cast<std::size_t>(type)).u16(0).u16(reference).u16(0).u16(0);
  if (type == MessageType::kAcknowledgement || type == MessageType::kAnswer) {
    out.u16(error.number());
  }
  const std::size_t parameter = out.size();
  build_parameter(out);
  const std::size_t data = out.size();
  build_data(out);
  out.put_u16(start + kParameterLength, data - parameter);
  out.put_u16(start + kDataLength, out.size() - data);
}

// Parameter and data follow each other, so what has both is built into two byte strings.
template <typename Content>
constexpr bool kHasData = requires(const Content& content, Writer& out) {
  build(content, out, out);
};

template <typename Content>
void append_content(MessageType type, std::uint16_t reference, const Content& content,
                    std::string& bytes, int function) {
  std::string data;
  append(
      type, reference, {}, bytes,
      [&](Writer& out) {
        if (function >= 0) out.u8(static_cast<std::size_t>(function));
        if constexpr (std::is_same_v<Content, Done>) {
          return;
        } else if constexpr (kHasData<Content>) {
          Writer data_out(data);
          build(content, out, data_out);
        } else {
          build(content, out);
        }
      },
      [&](Writer& out) { out.bytes(data); });
}

struct FunctionOf {
  Function operator()(const SetUp&) const { return Function::kSetUp; }
  Function operator()(const ReadJob&) const { return Function::kRead; }
  Function operator()(const ReadAnswer&) const { return Function::kRead; }
  Function operator()(const WriteJob&) const { return Function::kWrite; }
  Function operator()(const WriteAnswer&) const { return Function::kWrite; }
  Function operator()(const RequestDownload&) const { return Function::kRequestDownload; }
  Function operator()(const DownloadBlock&) const { return Function::kDownloadBlock; }
  Function operator()(const DownloadEnded&) const { return Function::kDownloadEnded; }
  Function operator()(const StartUpload&) const { return Function::kStartUpload; }
  Function operator()(const UploadStarted&) const { return Function::kStartUpload; }
  Function operator()(const Upload&) const { return Function::kUpload; }
  Function operator()(const EndUpload&) const { return Function::kEndUpload; }
  Function operator()(const Service&) const { return Function::kService; }
  Function operator()(const Stop&) const { return Function::kStop; }
  Function operator()(const ImagePart& part) const { return part.function; }
  Function operator()(const Done& done) const { return done.function; }
};

// A parsed part as the whole that it belongs to.
template <typename Whole, typename Part>
Parsed<Whole> as(Parsed<Part> part) {
  if (!part) return part.fault();
  return Whole(std::move(*part));
}

Parsed<Job> parse_job(Reader parameter, Reader data) {
  const Function function{parameter.u8()};
  if (!parameter.ok()) return Fault{"a job without a function"};
  switch (function) {
    case Function::kSetUp:
      return as<Job>(parse_set_up(parameter));
    case Function::kRead:
      return as<Job>(parse_read_job(parameter));
    case Function::kWrite:
      return as<Job>(parse_write_job(parameter, data));
    case Function::kRequestDownload:
      return as<Job>(parse_request_download(parameter));
    case Function::kDownloadBlock:
      return as<Job>(parse_download_block(parameter));
    case Function::kDownloadEnded:
      return as<Job>(parse_download_ended(parameter));
    case Function::kStartUpload:
      return as<Job>(parse_start_upload(parameter));
    case Function::kUpload:
      return as<Job>(parse_upload(parameter));
    case Function::kEndUpload:
      return as<Job>(parse_end_upload(parameter));
    case Function::kService:
      return as<Job>(parse_service(parameter));
    case Function::kStop:
      return as<Job>(parse_stop(parameter));
  }
  return Fault{"a job of an unknown function"};
}

Parsed<Answer> parse_answer(Reader parameter, Reader data) {
  const Function function{parameter.u8()};
  if (!parameter.ok()) return Fault{"an answer without a function"};
  switch (function) {
    case Function::kSetUp:
      return as<Answer>(parse_set_up(parameter));
    case Function::kRead:
      return as<Answer>(parse_read_answer(parameter, data));
    case Function::kWrite:
      return as<Answer>(parse_write_answer(parameter, data));
    case Function::kStartUpload:
      return as<Answer>(parse_upload_started(parameter));
    case Function::kUpload:
    case Function::kDownloadBlock:
      return as<Answer>(parse_image_part(function, parameter, data));
    default:
      return Answer(Done{function});
  }
}

}  // namespace

Function function_of(const Job& job) { return std::visit(FunctionOf(), job); }
Function function_of(const Answer& answer) { return std::visit(FunctionOf(), answer); }

void build(std::uint16_t reference, const Job& job, std::string& bytes) {
  std::visit(
      [&](const auto& content) {
        append_content(MessageType::kJob, reference, content, bytes,
                       static_cast<int>(FunctionOf()(content)));
      },
      job);
}

void build(std::uint16_t reference, const Answer& answer, std::string& bytes) {
  std::visit(
      [&](const auto& content) {
        append_content(MessageType::kAnswer, reference, content, bytes,
                       static_cast<int>(FunctionOf()(content)));
      },
      answer);
}

void build(std::uint16_t reference, const Refusal& refusal, std::string& bytes) {
  const auto nothing = [](Writer&) {};
  append(MessageType::kAcknowledgement, reference, refusal.error, bytes, nothing, nothing);
}

void build(std::uint16_t reference, const Userdata& userdata, std::string& bytes) {
  append_content(MessageType::kUserdata, reference, userdata, bytes, -1);
}

std::string build(const Message& message) {
  std::string bytes;
  std::visit([&](const auto& body) { build(message.reference, body, bytes); }, message.body);
  return bytes;
}

Parsed<Header> parse_header(std::string_view message) {
  Reader in(message);
  if (in.u8() != kProtocolId) return Fault{"no S7 message"};
  const MessageType type{in.u8()};
  in.u16();  // redundancy identification
  const std::uint16_t reference = in.u16();
  if (!in.ok()) return Fault{"ends within the header"};
  switch (type) {
    case MessageType::kJob:
    case MessageType::kAcknowledgement:
    case MessageType::kAnswer:
    case MessageType::kUserdata:
      return Header{type, reference};
  }
  return Fault{"an S7 message of an unknown type"};
}

Parsed<Message> parse(std::string_view message) {
  const Parsed<Header> header = parse_header(message);
  if (!header) return header.fault();
  Reader in(message);
  in.take(kParameterLength);
  const std::size_t parameter_length = in.u16();
  const std::size_t data_length = in.u16();
  ErrorCode error;
  const bool answer =
      header->type == MessageType::kAcknowledgement || header->type == MessageType::kAnswer;
  if (answer) {
    error.error_class = in.u8();
    error.code = in.u8();
  }
  const Reader parameter(in.take(parameter_length));
  const Reader data(in.take(data_length));
  if (!in.ok()) return Fault{"shorter than its header says"};

  const auto of_part = [&](auto part) -> Parsed<Message> {
    if (!part) return part.fault();
    return Message{header->reference, Body(std::move(*part))};
  };
  if (header->type == MessageType::kUserdata) return of_part(parse_userdata(parameter, data));
  if (header->type == MessageType::kJob) return of_part(parse_job(parameter, data));
  if (error) return Message{header->reference, Refusal{error}};
  return of_part(parse_answer(parameter, data));
}

}  // namespace plexum::wire
