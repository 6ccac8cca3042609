#include "client/transfers.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace plexum::client {
namespace {

using wire::BlockName;
using wire::FileSystem;

// A block's header tells the lengths of its three sections in 16 bits each; in front of them and
// behind them stand 36 bytes.
constexpr std::size_t kLongestImage = 36 + 3 * std::size_t{0xFFFF} + 36;

// What the announcement of a download has room for.
constexpr std::size_t kLargestAnnounced = 999'999;

}  // namespace

std::string upload(Connection& connection, const BlockId& block) {
  const auto started =
      connection.ask<wire::UploadStarted>(wire::StartUpload{BlockName{block, FileSystem::kActive}});
  if (started.image_length > kLongestImage) {
    connection.fail_senseless("an upload longer than a block can be");
  }
  std::string image;
  try {
    for (bool more = true; more;) {
      const auto part = connection.ask<wire::ImagePart>(wire::Upload{started.id});
      if (part.bytes.empty() && part.more) {
        connection.fail_senseless("a part without data that isn't the last");
      }
      if (image.size() + part.bytes.size() > started.image_length) {
        connection.fail_senseless("an upload longer than announced", part.bytes);
      }
      image += part.bytes;
      more = part.more;
    }
  } catch (const Error& error) {
    // The PLC keeps a refused upload open otherwise.
    if (error.is_refusal()) connection.ask<wire::Done>(wire::EndUpload{started.id});
    throw;
  }
  if (image.size() != started.image_length) {
    connection.fail_senseless("an upload shorter than announced");
  }
  connection.ask<wire::Done>(wire::EndUpload{started.id});
  return image;
}

void download(Connection& connection, const BlockId& block, std::string_view image,
              std::size_t code_size) {
  if (image.empty() || image.size() > kLargestAnnounced || code_size > image.size()) {
    throw std::invalid_argument("no block's image");
  }
  const BlockName name{block, FileSystem::kPassive};
  connection.ask<wire::Done>(wire::RequestDownload{name, static_cast<std::uint32_t>(image.size()),
                                                   static_cast<std::uint32_t>(code_size)});
  // From here on the PLC asks and the client answers.
  const std::size_t most = connection.granted().pdu - wire::kImagePartOverhead;
  std::size_t sent = 0;
  for (;;) {
    const auto [reference, job] = connection.wait_for_job();
    if (const auto* fetch = std::get_if<wire::DownloadBlock>(&job)) {
      if (fetch->name.block != block || sent == image.size()) {
        connection.fail_senseless("the PLC asks for a part that there isn't");
      }
      wire::ImagePart part{wire::Function::kDownloadBlock, false, {}};
      part.bytes = image.substr(sent, most);
      sent += part.bytes.size();
      part.more = sent < image.size();
      connection.answer(reference, wire::Answer(std::move(part)));
    } else if (const auto* ended = std::get_if<wire::DownloadEnded>(&job)) {
      connection.answer(reference, wire::Answer(wire::Done{wire::Function::kDownloadEnded}));
      if (ended->error) throw Error(Refused{ended->error});
      if (ended->name.block != block || sent < image.size()) {
        connection.fail_senseless("the PLC ends a download before it has all of it");
      }
      return;
    } else {
      connection.fail_senseless("the PLC's job has nothing to do with the download");
    }
  }
}

}  // namespace plexum::client
