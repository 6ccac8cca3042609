#include "sim/upload.h"

#include <algorithm>
#include <string>
#include <utility>

#include "sim/block_transfer.h"
#include "sim/plc.h"

namespace plexum::sim {
namespace {

constexpr std::size_t kLengthDigits = 7;
constexpr std::size_t kPartHead = 12 + 2 + 4;  // S7 header, parameter, the part's own head

std::string seven_digits(std::size_t length) {
  std::string digits = std::to_string(length);
  digits.insert(0, kLengthDigits - std::min(kLengthDigits, digits.size()), '0');
  return digits;
}

}  // namespace

Message Uploads::start(const Message& job) {
  Reader reader(job.parameter);
  reader.take(kTransferHead);
  const BlockId block = parse_transferred_block(reader).id;
  if (reader.left() != 0) throw Malformed("bytes behind the block");
  if (plc_.options.write_protected) throw Refusal{Error::kProtected};
  if (uploads_.size() >= kMostAtOnce) throw Refusal{Error::kNoMoreUploads};
  Bytes image = plc_.blocks.image(block);
  BlockStore::Hold hold = plc_.blocks.hold(image.size());

  const Id id = ++plc_.last_upload;
  const std::string length = seven_digits(image.size());
  uploads_.insert_or_assign(id, Upload{std::move(image), std::move(hold)});
  return ack_data(job, Writer()
                           .u8(static_cast<std::size_t>(Function::kStartUpload))
                           .u8(0)
                           .u16(0x0100)
                           .u32(id)
                           .u8(length.size())
                           .text(length)
                           .take());
}

Uploads::Id Uploads::parse_id(const Message& job) const {
  Reader reader(job.parameter);
  reader.take(4);  // function, status, reserved
  const Id id = reader.u32();
  if (reader.left() != 0) throw Malformed("bytes behind the upload's id");
  if (!uploads_.contains(id)) throw Refusal{Error::kWrongSequence};
  return id;
}

Message Uploads::next_part(const Message& job, std::size_t pdu) {
  Upload& upload = uploads_.at(parse_id(job));
  const ByteView left = ByteView(upload.image).subspan(upload.sent);
  if (left.empty()) throw Refusal{Error::kWrongSequence};
  const ByteView part = left.first(std::min(left.size(), pdu - kPartHead));
  upload.sent += part.size();
  const bool more = part.size() < left.size();
  return ack_data(job,
                  Writer().u8(static_cast<std::size_t>(Function::kUpload)).u8(more ? 1 : 0).take(),
                  Writer().u16(part.size()).u16(kPartMark).bytes(part).take());
}

Message Uploads::end(const Message& job) {
  uploads_.erase(parse_id(job));
  return ack_data(job, Writer().u8(static_cast<std::size_t>(Function::kEndUpload)).take());
}

}  // namespace plexum::sim
