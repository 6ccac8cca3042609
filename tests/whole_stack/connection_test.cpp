// The control over real sockets against the simulated PLC: every area, and addresses of nobody.

#include "support/whole_stack.h"

namespace plexum::cli {
namespace {

using test::WholeStack;

TEST_F(WholeStack, ReadsEveryAreaIntoACapture) {
  LocalLink local(test::capture_path("read_every_area"));
  ASSERT_TRUE(connect(local.link));
  for (const char* area : {"D", "M", "E", "A", "T", "Z", "P", "DI", "LD"}) {
    EXPECT_FALSE(local.link.ag_Read("1", "2", "2", "B", area).is_empty()) << area;
  }
  for (const char* area : {"D", "M", "E", "A", "P", "DI", "LD"}) {
    EXPECT_FALSE(local.link.ag_ReadB("1", "200", "0", "C", area).is_empty()) << area;
  }
  local.link.ag_exit();
}

TEST_F(WholeStack, AddressesThatLeadNowhere) {
  LocalLink local;
  local.link.Tzeit(20);
  for (const char* address : {"0.0.0.0", "", "name.invalid", "127.0.0.1"}) {
    EXPECT_FALSE(local.link.ag_ini(address, "1", "1.0", "3.2")) << address;
    EXPECT_EQ(local.link.err(), 1) << address;
    EXPECT_EQ(local.link.status_text(), "");
  }
  for (const auto& [port, error] :
       {std::pair{"65536", kTcpInvalidArgument}, {"x", kTypeMismatch}}) {
    try {
      local.link.ag_ini("127.0.0.1", port, "1.0", "3.2");
      ADD_FAILURE() << port;
    } catch (const RuntimeError& raised) {
      EXPECT_EQ(raised.number(), error);
    }
  }
}

}  // namespace
}  // namespace plexum::cli
