#include "cli/link/local_link.h"

#include <cstdio>

namespace plexum::cli {

void WatchedTcpClient::SendData(const std::string& bytes) {
  inner_.SendData(bytes);
  on_sent(bytes);
}

std::string WatchedTcpClient::GetData() {
  std::string bytes = inner_.GetData();
  on_taken(bytes);
  return bytes;
}

namespace {

TcpClient& capturing(TcpClient& inner, const std::string& path, std::optional<CaptureFile>& file,
                     std::optional<CapturingTcpClient>& client) {
  if (path.empty()) return inner;
  file.emplace(path);
  return client.emplace(inner, *file);
}

}  // namespace

LocalLink::LocalLink(const std::string& capture_path)
    : watched(capturing(platform_.tcp_client(), capture_path, capture_file_, capturing_)) {}

LocalLink::~LocalLink() {
  if (capture_file_ && !capture_file_->complete()) {
    std::fputs("plexum: the capture is incomplete: writing it failed\n", stderr);
  }
}

}  // namespace plexum::cli
