#include "cli/watching/watched_tcp_client.h"

namespace plexum::cli {

void WatchedTcpClient::SendData(const std::string& bytes) {
  inner().SendData(bytes);
  on_sent(bytes);
}

std::string WatchedTcpClient::GetData() {
  std::string bytes = inner().GetData();
  on_taken(bytes);
  return bytes;
}

}  // namespace plexum::cli
