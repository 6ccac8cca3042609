#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "cli/capture.h"
#include "control/tcp_client.h"
#include "support/capture_path.h"

namespace plexum::test {

// The TCP client that a test hands to a control: writes what passes `inner` into a capture named
// after the running test, in the folder that the environment variable PLEXUM_TEST_CAPTURES names;
// without the variable it only hands through. script/test lets tshark decode all captures.
class RecordedTcpClient {
 public:
  // One test may record several clients by giving each a `suffix`.
  explicit RecordedTcpClient(TcpClient& inner, const std::string& suffix = "") : client_(&inner) {
    const auto* running = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(running->test_suite_name()) + "." + running->name() + suffix;
    for (char& c : name) c = c == '/' ? '-' : c;  // of a parameterised test
    const std::string path = capture_path(name);
    if (path.empty()) return;
    file_ = std::make_unique<cli::CaptureFile>(path);
    capturing_ = std::make_unique<cli::CapturingTcpClient>(inner, *file_);
    client_ = capturing_.get();
  }

  [[nodiscard]] TcpClient& get() const { return *client_; }

 private:
  TcpClient* client_;
  std::unique_ptr<cli::CaptureFile> file_;
  std::unique_ptr<cli::CapturingTcpClient> capturing_;
};

}  // namespace plexum::test
