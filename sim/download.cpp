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

Download::Begun Download::request(const Message& job) {
  end();

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
  hold_ = plc_.blocks.announce(announced);
  announced_ = announced;
  file_system_ = block.file_system;
  state_ = State::kReceiving;
  const auto function = static_cast<std::size_t>(Function::kRequestDownload);
  return {ack_data(job, Writer().u8(function).take()), next_job()};
}

// The job that the state calls for.
Message Download::next_job() {
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

std::optional<Message> Download::take_answer(const Message& answer, std::size_t pdu) {
  if (state_ == State::kIdle || answer.reference != reference_) return {};
  const bool done =
      answer.error == Error::kNone && answer.size() <= pdu && !answer.parameter.empty();
  if (done && state_ == State::kReceiving && answer.function() == Function::kDownloadBlock &&
      take_part(answer)) {
    // The announced length says whether more parts follow, not the answer's own mark for that: some
    // clients set it in the last part, too.
    const bool whole = image_.size() == announced_.image_length;
    state_ = whole ? State::kEnding : State::kReceiving;
    return next_job();
  }
  if (done && state_ == State::kEnding && answer.function() == Function::kDownloadEnded) {
    plc_.blocks.stage(announced_, std::move(image_));
  }
  end();
  return {};
}

void Download::end() {
  state_ = State::kIdle;
  image_ = {};
  hold_.reset();
}

// Whether the answer brings a part that fits.
bool Download::take_part(const Message& answer) {
  constexpr std::size_t kPartHead = 2 + 2;  // length, mark
  if (answer.data.size() <= kPartHead) return false;
  Reader reader(answer.data);
  const std::size_t length = reader.u16();
  const std::size_t room = announced_.image_length - image_.size();
  if (reader.u16() != kPartMark || length != reader.left() || length > room) return false;
  const ByteView part = reader.take(length);
  image_.insert(image_.end(), part.begin(), part.end());
  return true;
}

}  // namespace plexum::sim
