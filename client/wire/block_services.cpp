#include "client/wire/block_services.h"

#include <charconv>

namespace plexum::wire {
namespace {

constexpr std::size_t kTypeDigits = 2;
constexpr std::size_t kNumberDigits = 5;
constexpr std::size_t kNameSize = kTypeDigits + kNumberDigits + 1;
constexpr std::size_t kDownloadDigits = 6;
constexpr std::size_t kUploadDigits = 7;
constexpr std::uint16_t kPartMark = 0x00FB;
constexpr std::uint16_t kNoError = 0x0000;
constexpr std::uint16_t kOfRequests = 0x0100;

std::string digits(std::size_t number, std::size_t width) {
  std::string text = std::to_string(number);
  if (text.size() < width) text.insert(0, width - text.size(), '0');
  return text;
}

std::optional<std::uint32_t> number_of(std::string_view text) {
  std::uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (text.empty() || read.ec != std::errc() || read.ptr != end) return {};
  return number;
}

// Behind the function: status, two bytes that hold an error where there is one, the transfer's id.
void build_head(std::uint16_t code, std::uint32_t id, Writer& parameter) {
  parameter.u8(0).u16(code).u32(id);
}

struct Head {
  std::uint16_t code;
  std::uint32_t id;
};

Head parse_head(Reader& parameter) {
  parameter.u8();
  const std::uint16_t code = parameter.u16();
  return {code, parameter.u32()};
}

// A block's name behind its length: "_", the name.
void build_name(const BlockName& name, Writer& parameter) {
  parameter.u8(1 + kNameSize).u8('_').bytes(text_of(name));
}

std::optional<BlockName> parse_name(Reader& parameter) {
  const std::string_view text = parameter.take(parameter.u8());
  if (!parameter.ok() || text.empty() || text.front() != '_') return {};
  return block_name_of(text.substr(1));
}

// A job that is nothing but a head and a block's name.
template <typename Job>
Parsed<Job> parse_named(Reader& parameter) {
  parse_head(parameter);
  const std::optional<BlockName> name = parse_name(parameter);
  if (!name) return Fault{"no block's name"};
  return Job{*name};
}

template <typename Job>
Parsed<Job> parse_id(Reader& parameter) {
  const Head head = parse_head(parameter);
  if (!parameter.ok()) return Fault{"ends within the upload's number"};
  return Job{head.id};
}

}  // namespace

std::string text_of(BlockType type) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const auto code = static_cast<unsigned>(type);
  return {kDigits[code >> 4 & 15u], kDigits[code & 15u]};
}

std::optional<BlockType> block_type_of(std::string_view digits) {
  for (const BlockType type : {BlockType::kOb, BlockType::kDb, BlockType::kSdb, BlockType::kFc,
                               BlockType::kSfc, BlockType::kFb, BlockType::kSfb}) {
    if (text_of(type) == digits) return type;
  }
  return {};
}

std::string text_of(const BlockName& name) {
  return text_of(name.block.type) + digits(name.block.number, kNumberDigits) +
         static_cast<char>(name.file_system);
}

std::optional<BlockName> block_name_of(std::string_view text) {
  if (text.size() != kNameSize) return {};
  const std::optional<BlockType> type = block_type_of(text.substr(0, kTypeDigits));
  const std::optional<std::uint32_t> number = number_of(text.substr(kTypeDigits, kNumberDigits));
  const char system = text.back();
  if (!type || !number || *number > 0xFFFF) return {};
  if (system != 'A' && system != 'P' && system != 'B') return {};
  return BlockName{{*type, static_cast<std::uint16_t>(*number)}, FileSystem{system}};
}

void build(const RequestDownload& job, Writer& parameter) {
  build_head(kOfRequests, 0, parameter);
  build_name(job.name, parameter);
  parameter.u8(1 + 2 * kDownloadDigits).u8('1');
  parameter.bytes(digits(job.image_length, kDownloadDigits));
  parameter.bytes(digits(job.code_length, kDownloadDigits));
}

Parsed<RequestDownload> parse_request_download(Reader parameter) {
  auto job = parse_named<RequestDownload>(parameter);
  if (!job) return job;
  const std::string_view lengths = parameter.take(parameter.u8());
  if (!parameter.ok() || lengths.size() != 1 + 2 * kDownloadDigits || lengths.front() != '1') {
    return Fault{"no lengths of a download"};
  }
  const auto image = number_of(lengths.substr(1, kDownloadDigits));
  const auto code = number_of(lengths.substr(1 + kDownloadDigits));
  if (!image || !code) return Fault{"no lengths of a download"};
  job->image_length = *image;
  job->code_length = *code;
  return job;
}

void build(const DownloadBlock& job, Writer& parameter) {
  build_head(kNoError, 0, parameter);
  build_name(job.name, parameter);
}

Parsed<DownloadBlock> parse_download_block(Reader parameter) {
  return parse_named<DownloadBlock>(parameter);
}

void build(const DownloadEnded& job, Writer& parameter) {
  build_head(job.error.number(), 0, parameter);
  build_name(job.name, parameter);
}

Parsed<DownloadEnded> parse_download_ended(Reader parameter) {
  const std::uint16_t code = parse_head(parameter).code;
  const std::optional<BlockName> name = parse_name(parameter);
  if (!name) return Fault{"no block's name"};
  return DownloadEnded{
      *name, {static_cast<std::uint8_t>(code >> 8), static_cast<std::uint8_t>(code & 0xFF)}};
}

void build(const StartUpload& job, Writer& parameter) {
  build_head(kNoError, 0, parameter);
  build_name(job.name, parameter);
}

Parsed<StartUpload> parse_start_upload(Reader parameter) {
  return parse_named<StartUpload>(parameter);
}

void build(const Upload& job, Writer& parameter) { build_head(kNoError, job.id, parameter); }
Parsed<Upload> parse_upload(Reader parameter) { return parse_id<Upload>(parameter); }

void build(const EndUpload& job, Writer& parameter) { build_head(kNoError, job.id, parameter); }
Parsed<EndUpload> parse_end_upload(Reader parameter) { return parse_id<EndUpload>(parameter); }

void build(const UploadStarted& answer, Writer& parameter) {
  build_head(kOfRequests, answer.id, parameter);
  const std::string length = digits(answer.image_length, kUploadDigits);
  parameter.u8(length.size()).bytes(length);
}

Parsed<UploadStarted> parse_upload_started(Reader parameter) {
  const std::uint32_t id = parse_head(parameter).id;
  const auto length = number_of(parameter.take(parameter.u8()));
  if (!parameter.ok() || !length) return Fault{"no length of the block"};
  return UploadStarted{id, *length};
}

void build(const ImagePart& answer, Writer& parameter, Writer& data) {
  parameter.u8(answer.more ? 1 : 0);
  data.u16(answer.bytes.size()).u16(kPartMark).bytes(answer.bytes);
}

Parsed<ImagePart> parse_image_part(Function function, Reader parameter, Reader data) {
  const std::uint8_t status = parameter.u8();
  const std::size_t length = data.u16();
  data.u16();  // 00 FB
  const std::string_view bytes = data.take(length);
  if (!parameter.ok() || !data.ok()) return Fault{"ends within the part of the block"};
  return ImagePart{function, (status & 1) != 0, std::string(bytes)};
}

}  // namespace plexum::wire
