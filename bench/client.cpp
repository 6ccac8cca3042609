#include "bench/client.h"

#include <stdexcept>
#include <utility>

namespace plexum::bench {
namespace {

// Takes the telegram at the front.
std::string take_telegram(std::string& stream) {
  const std::size_t length = static_cast<std::size_t>(static_cast<unsigned char>(stream.at(2)))
                                 << 8 |
                             static_cast<unsigned char>(stream.at(3));
  std::string telegram = stream.substr(0, length);
  stream.erase(0, length);
  return telegram;
}

// A TCP client that keeps what goes through another one.
class RecordingClient final : public TcpClient {
 public:
  explicit RecordingClient(TcpClient& inner) : inner_(inner) {}

  // What was exchanged since the last call. The answers must have come in the order of the jobs.
  Dialogue take_dialogue() {
    Dialogue dialogue;
    while (!sent_.empty()) {
      std::string telegram = take_telegram(sent_);
      dialogue.push_back({std::move(telegram), take_telegram(received_).size()});
    }
    return dialogue;
  }

  std::int16_t State() override { return inner_.State(); }
  std::int32_t BytesReceived() override { return inner_.BytesReceived(); }
  void RemoteHost(const std::string& host) override { inner_.RemoteHost(host); }
  void RemotePort(std::int32_t port) override { inner_.RemotePort(port); }
  void Connect() override { inner_.Connect(); }
  void SendData(const std::string& bytes) override {
    sent_ += bytes;
    inner_.SendData(bytes);
  }
  std::string GetData() override {
    std::string bytes = inner_.GetData();
    received_ += bytes;
    return bytes;
  }
  void Close() override { inner_.Close(); }

 private:
  TcpClient& inner_;
  std::string sent_;
  std::string received_;
};

}  // namespace

void read(client::S7Client& s7, std::span<const client::Item> items) {
  for (const client::ReadOutcome& outcome : s7.read(items)) {
    if (!outcome.ok()) throw std::runtime_error("a read of the client failed");
  }
}

ClientDialogues dialogues_of_reading(std::span<const client::Item> items, std::uint16_t port,
                                     const client::Options& options) {
  posix::EventLoop loop;
  posix::PosixHostEnvironment environment(loop);
  posix::PosixTcpClient tcp(loop);
  RecordingClient recording(tcp);
  client::S7Client s7(environment, recording, options);
  s7.connect({.host = "127.0.0.1", .port = port});
  ClientDialogues dialogues;
  dialogues.connecting = recording.take_dialogue();
  read(s7, items);
  dialogues.job = recording.take_dialogue();
  return dialogues;
}

}  // namespace plexum::bench
