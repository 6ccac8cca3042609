#include "cli/link/local_platform.h"
#include "platform/portable/decimal_text.h"
#include "platform/windows/host_environment.h"
#include "platform/windows/tcp_client.h"

namespace plexum::cli {
namespace {

class PlainNumbers final : public windows::WindowsHostEnvironment {
 public:
  double number_from_text(const std::string& text) override {
    return portable::number_from_text(text, '.');
  }
  std::string text_from_number(double number) override {
    return portable::text_from_number(number, '.');
  }
};

}  // namespace

struct LocalPlatform::System {
  PlainNumbers environment;
  windows::BuiltInTcpClient tcp_client;
};

LocalPlatform::LocalPlatform() : system_(std::make_unique<System>()) {}

LocalPlatform::~LocalPlatform() = default;

HostEnvironment& LocalPlatform::environment() { return system_->environment; }

TcpClient& LocalPlatform::tcp_client() { return system_->tcp_client; }

}  // namespace plexum::cli
