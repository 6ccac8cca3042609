#include "control/plexum_link.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "base/runtime_error.h"
#include "support/fake_environment.h"
#include "support/scripted_tcp_client.h"

namespace plexum {
namespace {

// A bag that drops values equal to their default, as containers do, and records the order.
class RecordingBag : public PropertyBag {
 public:
  std::map<std::string, Value> values;
  std::vector<std::string> order;

  Value ReadProperty(const std::string& name, const Value& fallback) override {
    order.push_back(name);
    const auto found = values.find(name);
    return found == values.end() ? fallback : found->second;
  }

  void WriteProperty(const std::string& name, const Value& value, const Value& fallback) override {
    order.push_back(name);
    if (value != fallback) values[name] = value;
  }
};

class PlexumLinkTest : public testing::Test {
 protected:
  test::FakeEnvironment environment;
  test::ScriptedTcpClient tcp_client;
  PlexumLink link{environment, tcp_client};
};

const std::vector<std::string> kBagOrder = {"CP_IP", "TsapF", "TsapE", "Tzeit"};

TEST_F(PlexumLinkTest, StartsWithItsDefaultsAndStoresNoneOfThem) {
  EXPECT_EQ(link.CP_IP(), "0.0.0.0");
  EXPECT_EQ(link.TsapE(), "0");
  EXPECT_EQ(link.TsapF(), "0");
  EXPECT_EQ(link.Tzeit(), 100);
  EXPECT_EQ(link.StatusLabel(), "");
  EXPECT_EQ(link.StateLabel(), "0");
  EXPECT_FALSE(link.s7init() || link.inuse());

  RecordingBag bag;
  link.UserControl_WriteProperties(bag);
  EXPECT_EQ(bag.order, kBagOrder);
  EXPECT_TRUE(bag.values.empty());
}

TEST_F(PlexumLinkTest, PropertiesSurviveABagAndTellTheContainer) {
  link.CP_IP("pl\xC3\xA4tz.example");
  link.TsapE("1.0");
  link.TsapF("3.2");
  link.Tzeit(-7);
  EXPECT_EQ(environment.changed_properties,
            (std::vector<std::string>{"CP_IP", "TsapE", "TsapF", "Tzeit"}));
  RecordingBag bag;
  link.UserControl_WriteProperties(bag);
  EXPECT_EQ(bag.values.size(), 4u);

  PlexumLink loaded(environment, tcp_client);
  bag.order.clear();
  loaded.UserControl_ReadProperties(bag);
  EXPECT_EQ(bag.order, kBagOrder);
  EXPECT_EQ(loaded.CP_IP(), "pl\xC3\xA4tz.example");
  EXPECT_EQ(loaded.TsapE(), "1.0");
  EXPECT_EQ(loaded.TsapF(), "3.2");
  EXPECT_EQ(loaded.Tzeit(), -7);
  EXPECT_EQ(environment.changed_properties.size(), 4u) << "loading is no change";
}

TEST_F(PlexumLinkTest, ReadsOtherTypesFromABagAsThePropertysOwn) {
  struct Case {
    const char* description;
    Value stored;
    std::int32_t error;  // 0: loads
    std::int32_t Tzeit;
  };
  const Case cases[] = {
      {"text", std::string(" 250 "), 0, 250},
      {"half to even", 2.5, 0, 2},
      {"empty", Value{}, 0, 0},
      {"no number", std::string("soon"), kTypeMismatch, 0},
      {"too large", 2147483647.5, kOverflow, 0},
      {"array", DoubleArray{}, kTypeMismatch, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.description);
    RecordingBag bag;
    bag.values["CP_IP"] = 12.5;
    bag.values["Tzeit"] = c.stored;
    std::int32_t error = 0;
    try {
      link.UserControl_ReadProperties(bag);
    } catch (const RuntimeError& e) {
      error = e.number();
    }
    EXPECT_EQ(error, c.error);
    if (error == 0) {
      EXPECT_EQ(link.Tzeit(), c.Tzeit);
    }
    EXPECT_EQ(link.CP_IP(), "12.5");
  }
}

TEST_F(PlexumLinkTest, MsgWaitProcessesMessagesOnlyWhenItEndedEarly) {
  struct Case {
    std::int32_t ms;
    std::uint32_t passes;
    int pumps;
  };
  for (const Case& c : {Case{1, 1, 0}, Case{50, 49, 1}, Case{50, 51, 0}, Case{0, 0, 0},
                        Case{-2147483647 - 1, 0, 0}}) {
    SCOPED_TRACE(c.ms);
    environment.pumps = 0;
    environment.on_wait = [&](std::uint32_t asked) {
      EXPECT_EQ(asked, c.ms < 0 ? 0u : static_cast<std::uint32_t>(c.ms)) << "no endless wait";
      return c.passes;
    };
    link.MsgWait(c.ms);
    EXPECT_EQ(environment.pumps, c.pumps);
  }
}

}  // namespace
}  // namespace plexum
