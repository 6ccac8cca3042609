// Downloading a block, in which the roles turn: after the request (1A) the PLC sends jobs, download
// block (1B) and download ended (1C), and the control answers them with the parts of the image.
// The service "_INSE" then has the PLC take the block into use.

#include "blocks/download.h"

#include <algorithm>

#include "blocks/texts.h"
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

// The answer to the PLC's job `reference` with the part of the image from `offset` on.
std::string part_answer(const std::string& image, std::size_t offset,
                        const std::string& reference) {
  const std::string part = bytes_from(image, offset, kPartSize);
  const auto length = static_cast<double>(part.size());
  std::string answer = to_string(kPartAnswer);
  answer.replace(kTpktLength, 2, word_bytes(length + kPartAnswer.size()));
  answer.replace(kPduReference, 2, reference);
  answer.replace(kDataLength, 2, word_bytes(length + kPartHeader));
  // Set for every full part, so also for the last one of an image whose length is a multiple of
  // the part's. That PLCs go by the length that was announced is a guess.
  answer[kMoreFollows] = part.size() >= kPartSize ? '\x01' : '\x00';
  answer.replace(kPartLength, 2, word_bytes(length));
  return answer + part;
}

// Takes the PLC's next job, whatever the state of the connection: a job that arrived before the
// connection broke is answered by the same rules, and the next wait tells. Its reference, with 00
// for what a job too short for it lacks, so that the answer keeps its length.
std::string taken_reference(RequestCycle& cycle) {
  std::string reference = bytes_from(cycle.tcp_client.GetData(), kPduReference, 2);
  reference.resize(2, '\0');
  return reference;
}

// The err of a refused download, whose class and code are shown to the user first.
std::int32_t shown_refusal(RequestCycle& cycle, const std::string& answer) {
  cycle.environment.show_message_box(std::to_string(code_at(answer, kErrorClass)));
  cycle.environment.show_message_box(std::to_string(code_at(answer, kErrorCode)));
  return error_number(answer);
}

}  // namespace

Value pg_WriteBlock(RequestCycle& cycle, const std::string& MCS7Code) {
  if (!cycle.guard_and_begin()) return {};
  const std::string image = MCS7Code;  // the host may change its variable while this waits
  const std::string block = block_type_code(code_at(image, kImageType)) +
                            fillzero(std::to_string(word_at(image, kImageNumber)), 5);
  std::string request = to_string(kRequestDownload) + block +
                        "P\x0D"
                        "1";
  request += fillzero(std::to_string(image.size()), 6);
  request += fillzero(std::to_string(word_at(image, kImageCodeLength)), 6);
  cycle.send_if_connected(request);
  cycle.status_text = "Read Wait Data";
  if (!cycle.wait_for_bytes(kAnswerLength)) {
    cycle.status_text = "Read Exit";
    cycle.err = cycle.connected() ? shown_refusal(cycle, cycle.tcp_client.GetData()) : 3;
    cycle.environment.process_messages();
    cycle.drop_connection_state();
    return {};
  }
  cycle.take_or_nothing();

  cycle.status_text = "Read Wait Data";
  if (!cycle.wait_for_bytes(kPlcJobLength)) {
    cycle.end_transfer_after_timeout();
    return {};
  }
  std::string reference = taken_reference(cycle);
  cycle.inuse = false;  // hosts see the parts and the insertion without it
  cycle.status_text = "Send/Receive Ready";
  cycle.err = 0;

  for (std::size_t offset = 0; offset < image.size(); offset += kPartSize) {
    cycle.send_if_connected(part_answer(image, offset, reference));
    cycle.status_text = "Read Wait Data";
    cycle.environment.process_messages();
    if (!cycle.wait_for_bytes(kPlcJobLength, kStoreLimit)) {
      cycle.end_transfer_after_timeout();
      return {};
    }
    reference = taken_reference(cycle);
  }

  cycle.send_if_connected(to_string(kEndedAnswer).replace(kPduReference, 2, reference));
  cycle.send_if_connected(to_string(kInsertHead) + block + to_string(kInsertTail));
  cycle.status_text = "Read Wait Data";
  cycle.environment.process_messages();
  if (!cycle.wait_for_bytes(kAnswerLength)) {
    cycle.end_transfer_after_timeout();
    return {};
  }
  const std::string answer = cycle.tcp_client.GetData();  // in any state, as the jobs before
  cycle.inuse = false;  // already; but the host may have set it, or begun another job
  cycle.err = error_number(answer);
  return {};
}

}  // namespace plexum
