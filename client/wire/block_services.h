#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "client/wire/bytes.h"
#include "client/wire/codes.h"
#include "client/wire/parsed.h"

// Blocks: their names, and their way into the PLC and out of it (functions 1A to 1F).
namespace plexum::wire {

// As a block's header has it; names write it as two hexadecimal digits.
enum class BlockType : std::uint8_t {
  kOb = 0x08,
  kDb = 0x0A,
  kSdb = 0x0B,
  kFc = 0x0C,
  kSfc = 0x0D,
  kFb = 0x0E,
  kSfb = 0x0F,
};

struct BlockId {
  BlockType type = BlockType::kDb;
  std::uint16_t number = 0;

  bool operator==(const BlockId&) const = default;
};

// Which of a PLC's two stores a block's name means.
enum class FileSystem : char {
  kActive = 'A',   // in use
  kPassive = 'P',  // downloaded, not yet in use
  kBoth = 'B',
};

struct BlockName {
  BlockId block;
  FileSystem file_system = FileSystem::kActive;

  bool operator==(const BlockName&) const = default;
};

// The type's two digits, and nothing for two characters that name no type.
std::string text_of(BlockType type);
std::optional<BlockType> block_type_of(std::string_view digits);

// "0A00001A": type, five digits of the number, file system.
std::string text_of(const BlockName& name);
std::optional<BlockName> block_name_of(std::string_view text);

// A block that the PLC is to fetch. Lengths in bytes, each up to 999999.
struct RequestDownload {
  BlockName name{{}, FileSystem::kPassive};
  std::uint32_t image_length = 0;
  std::uint32_t code_length = 0;

  bool operator==(const RequestDownload&) const = default;
};

// The PLC's own jobs of a download: it fetches a part, and says that it has them all, or why it
// stops.
struct DownloadBlock {
  BlockName name{{}, FileSystem::kPassive};
  bool operator==(const DownloadBlock&) const = default;
};

struct DownloadEnded {
  BlockName name{{}, FileSystem::kPassive};
  ErrorCode error;
  bool operator==(const DownloadEnded&) const = default;
};

struct StartUpload {
  BlockName name;
  bool operator==(const StartUpload&) const = default;
};

struct UploadStarted {
  std::uint32_t id = 0;
  std::uint32_t image_length = 0;  // in bytes, up to 9999999
  bool operator==(const UploadStarted&) const = default;
};

struct Upload {
  std::uint32_t id = 0;
  bool operator==(const Upload&) const = default;
};

struct EndUpload {
  std::uint32_t id = 0;
  bool operator==(const EndUpload&) const = default;
};

// A part of a block's image, in the answer to an upload job and in the answer to the PLC's
// download job.
struct ImagePart {
  Function function = Function::kUpload;  // kUpload or kDownloadBlock
  bool more = false;                      // others follow
  std::string bytes;

  bool operator==(const ImagePart&) const = default;
};

// What an image part needs in a message beside its bytes: header, function and status, its own
// head.
inline constexpr std::size_t kImagePartOverhead = kAnswerHeader + 2 + 4;

// What follows the function code in the parameter; an image part has data, too.
void build(const RequestDownload& job, Writer& parameter);
void build(const DownloadBlock& job, Writer& parameter);
void build(const DownloadEnded& job, Writer& parameter);
void build(const StartUpload& job, Writer& parameter);
void build(const Upload& job, Writer& parameter);
void build(const EndUpload& job, Writer& parameter);
void build(const UploadStarted& answer, Writer& parameter);
void build(const ImagePart& answer, Writer& parameter, Writer& data);
Parsed<RequestDownload> parse_request_download(Reader parameter);
Parsed<DownloadBlock> parse_download_block(Reader parameter);
Parsed<DownloadEnded> parse_download_ended(Reader parameter);
Parsed<StartUpload> parse_start_upload(Reader parameter);
Parsed<Upload> parse_upload(Reader parameter);
Parsed<EndUpload> parse_end_upload(Reader parameter);
Parsed<UploadStarted> parse_upload_started(Reader parameter);
Parsed<ImagePart> parse_image_part(Function function, Reader parameter, Reader data);

}  // namespace plexum::wire
