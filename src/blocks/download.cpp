// Downloading a block, in which the roles turn: after the request (1A) the PLC sends jobs, download
// block (1B) and download ended (1C), and the control answers them with the parts of the image.
// The service "_INSE" then has the PLC take the block into use.

#include <algorithm>

#include "blocks/texts.h"
#include "control/plexum_link.h"
#include "convert/byte_strings.h"
#include "protocol/block_type.h"
#include "protocol/telegram.h"

namespace plexum {
namespace {

// Where a block image's header holds what the dialogue names.
constexpr std::size_t kImageType = 5;
constexpr std::size_t kImageNumber = 6;
constexpr std::size_t kImageCodeLength = 34;

// Type code (2), number (5), "P", 0D, "1", image length (6), code length (6) follow.
constexpr auto kRequestDownload =
    "03 00 00 31 | 02 F0 80 | 32 01 00 00 0D 00 00 20 00 00 | 1A 00 01 00 00 00 00 00 | 09 5F"_hex;
static_assert(tpkt_length(kRequestDownload) == kRequestDownload.size() + 2 + 5 + 3 + 6 + 6);

// The answer to a download-block job, up to the part; lengths and the PLC's reference are put in.
constexpr auto kPartAnswer =
    "03 00 00 00 | 02 F0 80 | 32 03 00 00 00 00 00 02 00 00 | 00 00 1B 00 | 00 00 00 FB"_hex;
constexpr std::size_t kTpktLength = 2;
constexpr std::size_t kPduReference = 11;
constexpr std::size_t kDataLength = 15;
constexpr std::size_t kMoreFollows = 20;
constexpr std::size_t kPartLength = 21;
constexpr double kPartHeader = 4;  // data field without the part
constexpr std::size_t kPartSize = 222;

constexpr auto kEndedAnswer =
    "03 00 00 14 | 02 F0 80 | 32 03 00 00 00 00 00 01 00 00 | 00 00 1C"_hex;
static_assert(tpkt_length(kEndedAnswer) == kEndedAnswer.size());

// Type code (2), number (5), "P" and the service's name, "_INSE", follow.
constexpr auto kInsertHead =
    "03 00 00 2B | 02 F0 80 | 32 01 00 00 0C 00 00 1A 00 00 | 28 00 00 00 00 00 00 FD 00 0A 01 00"_hex;
constexpr auto kInsertTail = "50 05 5F 49 4E 53 45"_hex;
static_assert(tpkt_length(kInsertHead) == kInsertHead.size() + 2 + 5 + kInsertTail.size());

constexpr double kAnswerLength = 20;
constexpr double kPlcJobLength = 35;
constexpr WaitLimit kStoreLimit{60, 0};  // the PLC may be slow to store a part

std::int32_t word_at(const std::string& image, std::size_t index) {
  const std::int32_t high = code_at(image, index);
  return 256 * high + code_at(image, index + 1);
}

}  // namespace

// The answer to the PLC's job `reference` with the part of the image from `offset` on.
std::string PlexumLink::part_answer(const std::string& image, std::size_t offset,
                                    const std::string& reference) {
  const std::string part = bytes_from(image, offset, kPartSize);
  const auto length = static_cast<double>(part.size());
  std::string answer = to_string(kPartAnswer);
  answer.replace(kTpktLength, 2, wordtobeyt(text(length + kPartAnswer.size())));
  answer.replace(kPduReference, 2, reference);
  answer.replace(kDataLength, 2, wordtobeyt(text(length + kPartHeader)));
  // Set for every full part, so also for the last one of an image whose length is a multiple of
  // the part's: PLCs go by the length announced.
  answer[kMoreFollows] = part.size() >= kPartSize ? '\x01' : '\x00';
  answer.replace(kPartLength, 2, wordtobeyt(text(length)));
  return answer + part;
}

Value PlexumLink::pg_WriteBlock(const std::string& MCS7Code) {
  if (!guard_and_begin()) return {};
  const std::string image = MCS7Code;  // the host may change its variable while this waits
  const std::string block =
      block_type_code(code_at(image, kImageType)) + fillzero(text(word_at(image, kImageNumber)), 5);
  std::string request = to_string(kRequestDownload) + block +
                        "P\x0D"
                        "1";
  request += fillzero(text(static_cast<double>(image.size())), 6);
  request += fillzero(text(word_at(image, kImageCodeLength)), 6);
  send_if_connected(request);
  status_text_ = "Read Wait Data";
  if (!wait_for_bytes(kAnswerLength)) {
    status_text_ = "Read Exit";
    err_ = connected() ? shown_refusal(tcp_client_.GetData()) : 3;
    environment_.process_messages();
    drop_connection_state();
    return {};
  }
  take_if_connected();

  status_text_ = "Read Wait Data";
  if (!wait_for_bytes(kPlcJobLength)) {
    end_transfer_after_timeout();
    return {};
  }
  std::string reference = bytes_from(tcp_client_.GetData(), kPduReference, 2);
  inuse_ = false;  // for good: the parts go out without it
  status_text_ = "Send/Receive Ready";
  err_ = 0;

  for (std::size_t offset = 0; offset < image.size(); offset += kPartSize) {
    send_if_connected(part_answer(image, offset, reference));
    status_text_ = "Read Wait Data";
    environment_.process_messages();
    if (!wait_for_bytes(kPlcJobLength, kStoreLimit)) {
      end_transfer_after_timeout();
      return {};
    }
    reference = bytes_from(tcp_client_.GetData(), kPduReference, 2);
  }

  send_if_connected(to_string(kEndedAnswer).replace(kPduReference, 2, reference));
  send_if_connected(to_string(kInsertHead) + block + to_string(kInsertTail));
  status_text_ = "Read Wait Data";
  environment_.process_messages();
  if (!wait_for_bytes(kAnswerLength)) {
    end_transfer_after_timeout();
    return {};
  }
  const std::string answer = tcp_client_.GetData();
  inuse_ = false;
  err_ = error_number(answer);
  return {};
}

std::int32_t PlexumLink::shown_refusal(const std::string& answer) {
  environment_.show_message_box(text(code_at(answer, kErrorClass)));
  environment_.show_message_box(text(code_at(answer, kErrorCode)));
  return error_number(answer);
}

}  // namespace plexum
