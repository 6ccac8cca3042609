// The control over real sockets against the simulated PLC, with faults at every step. What each
// leaves behind is the control's contract; that a good connection follows is its promise.

#include "support/whole_stack.h"

namespace plexum::cli {
namespace {

using test::WholeStack;

std::string outcome(PlexumLink& link) {
  return test::outcome_of(link, [&] { return link.ag_ReadB("1", "4", "0", "C", "D"); });
}

TEST_F(WholeStack, FaultsOfTheConnection) {
  struct Case {
    const char *fault, *outcome;
  };
  const Case cases[] = {
      {"accept:silence", "err 3"},        {"confirm:silence", "err 3"},
      {"confirm:length=21", "err 3"},     {"confirm:close", "err 3"},
      {"confirm:reset", "err 3"},         {"confirm:pieces=1", "connected"},
      {"confirm:length=30", "connected"}, {"setup:silence", "err 0"},
      {"setup:length=26", "err 0"},       {"setup:close", "err 0"},
      {"setup:reset", "err 0"},           {"setup:pieces=9", "connected"},
      {"setup:length=60", "connected"},   {"confirm:late=20", "connected"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.fault);
    LocalLink local;
    local.link.Tzeit(100);
    plc.clear_faults();
    plc.add_fault(c.fault);
    const bool connected = connect(local.link);
    EXPECT_EQ(local.link.s7init, connected);
    EXPECT_EQ(connected ? "connected" : "err " + std::to_string(local.link.err), c.outcome);
    plc.clear_faults();
    EXPECT_TRUE(connect(local.link)) << "a good connection follows";
    EXPECT_EQ(outcome(local.link), "4 bytes, err 0, s7init");
  }
}

// Which step notices a connection that ends as it begins is a matter of microseconds.
TEST_F(WholeStack, AConnectionThatEndsAsItBegins) {
  for (const char* fault : {"accept:close", "accept:reset"}) {
    SCOPED_TRACE(fault);
    LocalLink local;
    plc.clear_faults();
    plc.add_fault(fault);
    try {
      EXPECT_FALSE(connect(local.link));
      EXPECT_TRUE(local.link.err == 1 || local.link.err == 3) << local.link.err;
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error.number(), kTcpWrongState);
      EXPECT_EQ(local.link.status_text(), "Connect Send Data");
    }
    plc.clear_faults();
    EXPECT_TRUE(connect(local.link));
  }
}

TEST_F(WholeStack, FaultsOfAJob) {
  struct Case {
    const char *fault, *outcome;
  };
  const Case cases[] = {
      {"late=30", "4 bytes, err 0, s7init"},
      {"pieces=1:1", "4 bytes, err 0, s7init"},
      {"double", "4 bytes, err 0, s7init"},
      {"then-close", "4 bytes, err 0, s7init"},
      {"silence", "error 5, err 0, inuse, s7init"},
      {"length=18", "error 5, err 0, inuse, s7init"},
      {"length=28", "empty, err 3"},
      {"close", "empty, err 3"},
      {"reset", "empty, err 3"},
      {"error=8500", "empty, err 1330"},
      {"error=D209", "empty, err 2109"},
  };
  LocalLink local;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.fault);
    local.link.Tzeit(100);
    plc.clear_faults();
    ASSERT_TRUE(connect(local.link));
    plc.add_fault(std::string(c.fault));
    EXPECT_EQ(outcome(local.link), c.outcome);
  }
}

TEST_F(WholeStack, APeerThatClosesBetweenJobsIsSeenByTheNext) {
  LocalLink local;
  ASSERT_TRUE(connect(local.link));
  plc.add_fault("then-close");
  EXPECT_EQ(outcome(local.link), "4 bytes, err 0, s7init");
  local.link.MsgWait(50);
  EXPECT_EQ(outcome(local.link), "empty, err 4, s7init");
}

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
    EXPECT_EQ(local.link.err, 1) << address;
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
