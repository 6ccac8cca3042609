// Uploading a block: start upload (1D), upload (1E) until the PLC says that nothing follows, end
// upload (1F). The PLC's refusals are short answers, so they show as time-outs whose err is the
// PLC's error.

#include "blocks/upload.h"

#include "base/integers.h"
#include "base/runtime_error.h"
#include "convert/byte_strings.h"
#include "protocol/block_type.h"
#include "protocol/telegram.h"

namespace plexum {
namespace {

// The designation "_", type code (2), number (5), "A" follows its length; the lengths count these
// characters, whatever is sent.
constexpr auto kStartUpload =
    "03 00 00 23 | 02 F0 80 | 32 01 00 00 00 00 00 12 00 00 | 1D 00 00 00 00 00 00 00 | 09 5F"_hex;
static_assert(tpkt_length(kStartUpload) == kStartUpload.size() + 2 + 5 + 1);
constexpr std::size_t kUploadId = 25;  // the last two of the answer's four bytes

constexpr auto kUpload =
    "03 00 00 19 | 02 F0 80 | 32 01 00 00 00 00 00 08 00 00 | 1E 00 00 00 00 00 00 00"_hex;
constexpr auto kEndUpload =
    "03 00 00 19 | 02 F0 80 | 32 01 00 00 00 02 00 08 00 00 | 1F 00 00 00 00 00 00 00"_hex;
static_assert(tpkt_length(kUpload) == kUpload.size());
static_assert(tpkt_length(kEndUpload) == kEndUpload.size());
constexpr std::size_t kPduReference = 11;
constexpr std::size_t kRequestId = 23;
constexpr std::size_t kStatus = 20;  // of an answer; 1: more follows
constexpr std::size_t kPart = 25;    // where the answer's part of the block begins

constexpr double kAnswerLength = 25;
constexpr double kEndAnswerLength = 20;
constexpr WaitLimit kUploadLimit{1, 500};  // the PLC may be slow to read a part

// What 32,767 parts can carry, each in a PDU of the size that is asked for: 960 bytes, 18 of them
// the headers'. A PLC that sends more than fits into its own telegrams would fill the host's
// memory.
constexpr std::size_t kLongestImage = std::size_t{32767} * 942;

template <std::size_t N>
std::string with_id(const std::array<char, N>& telegram, const std::string& id) {
  return to_string(telegram).replace(kRequestId, 2, id);
}

}  // namespace

Value pg_ReadBlock(RequestCycle& cycle, const std::string& Blocktype, const std::string& Blocknr) {
  if (!cycle.guard_and_begin()) return {};
  cycle.send_if_connected(to_string(kStartUpload) + block_type_code(Blocktype) + Blocknr + "A");
  cycle.status_text = "Read Wait Data";
  if (!cycle.wait_for_bytes(kAnswerLength)) {
    cycle.end_transfer_after_timeout();
    return {};
  }
  std::string answer = cycle.take_or_nothing();
  const std::string id = bytes_from(answer, kUploadId, 2);
  cycle.status_text = "Send/Receive Ready";

  std::string image;
  std::int16_t counter = 0;
  do {
    counter = to_int16(counter + 1.0);  // error 6 for a PLC that never ends
    std::string request = with_id(kUpload, id);
    request.replace(kPduReference, 2, word_bytes(counter));
    cycle.send_if_connected(request);
    cycle.status_text = "Read Wait Data";
    if (!cycle.wait_for_bytes(kAnswerLength, kUploadLimit)) {
      cycle.end_transfer_after_timeout();
      return counter > 1 ? Value(image) : Value();
    }
    cycle.take_or_keep(answer);
    image += bytes_from(answer, kPart);
    if (image.size() > kLongestImage) throw RuntimeError(kOverflow);
  } while (code_at(answer, kStatus) == 1);

  cycle.send_if_connected(with_id(kEndUpload, id));
  cycle.status_text = "Read Wait Data";
  if (!cycle.wait_for_bytes(kEndAnswerLength)) {
    cycle.end_transfer_after_timeout();
    return image;
  }
  cycle.tcp_client.GetData();  // in any state: what it holds is not looked at
  cycle.inuse = false;
  cycle.status_text = "Send/Receive Ready";
  cycle.err = 0;
  return image;
}

}  // namespace plexum
