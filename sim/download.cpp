#include "sim/download.h"

#include <charconv>
#include <string>
#include <utility>

#include "sim/block_transfer.h"
#include "sim/plc.h"

namespace plexum::sim {
namespace {

// The announced lengths: "1", then six digits each for the image and its code section.
constexpr std::uint8_t kLengthsSize = 13;
constexpr std::size_t kDigits = 6;

std::size_t parse_length(Reader& reader) {
  const std::string digits = reader.text(kDigits);
  std::size_t length = 0;
  const char* const end = digits.data() + digits.size();
  const auto result = std::from_chars(digits.data(), end, length);
  if (result.ec != std::errc() || result.ptr != end) throw Refusal{Error::kParameter};
  return length;
}

}  // namespace

Message Download::request(const Message& job) {
  state_ = State::kIdle;
  job_due_ = false;

  Reader reader(job.parameter);
  reader.take(kTransferHead);
  const TransferredBlock block = parse_transferred_block(reader);
  BlockStore::Announcement announced{block.id};
  reader.expect(kLengthsSize, "length of the lengths");
  reader.expect('1', "lengths");
  announced.image_length = parse_length(reader);
  announced.code_length = parse_length(reader);
  if (reader.left() != 0) throw Malformed("bytes behind the lengths");

  if (plc_.options.write_protected) throw Refusal{Error::kProtected};
  plc_.blocks.check_announcement(announced);
  announced_ = announced;
  file_system_ = block.file_system;
  image_.clear();
  state_ = State::kReceiving;
  job_due_ = true;
  return ack_data(job, Writer().u8(static_cast<std::size_t>(Function::kRequestDownload)).take());
}

std::optional<Message> Download::next_job() {
  if (!std::exchange(job_due_, false)) return {};
  const Function function =
      state_ == State::kReceiving ? Function::kDownloadBlock : Function::kDownloadEnded;
  const std::string designation = announced_.id.designation();
  return Message{MessageType::kJob,
                 ++reference_,
                 Error::kNone,
                 Writer()
                     .u8(static_cast<std::size_t>(function))
                     .zeros(kTransferHead - 1)
                     .u8(designation.size() + 2)
                     .text("_")
                     .text(designation)
                     .u8(file_system_)
                     .take(),
                 {}};
}

void Download::take_answer(const Message& answer, std::size_t pdu) {
  if (state_ == State::kIdle || job_due_ || answer.reference != reference_) return;
  const State state = std::exchange(state_, State::kIdle);
  if (answer.error != Error::kNone || answer.size() > pdu || answer.parameter.empty()) return;
  if (state == State::kReceiving && answer.function() == Function::kDownloadBlock) {
    try {
      take_part(answer);
    } catch (const Malformed&) {
      state_ = State::kIdle;
    }
  } else if (state == State::kEnding && answer.function() == Function::kDownloadEnded) {
    plc_.blocks.stage(announced_, std::move(image_));
    image_.clear();
  }
}

// Whether more parts follow is told by the announced length: some clients mark the last part, too,
// as one that others follow.
void Download::take_part(const Message& answer) {
  Reader reader(answer.data);
  const std::size_t length = reader.u16();
  if (reader.u16() != kPartMark) throw Malformed("mark of the part");
  const ByteView part = reader.take(length);
  if (part.empty() || reader.left() != 0) throw Malformed("length of the part");
  if (image_.size() + part.size() > announced_.image_length) {
    throw Malformed("more than was announced");
  }
  image_.insert(image_.end(), part.begin(), part.end());
  const bool whole = image_.size() == announced_.image_length;
  state_ = whole ? State::kEnding : State::kReceiving;
  job_due_ = true;
}

}  // namespace plexum::sim
