#include "cli/help/member_help.h"

#include <gtest/gtest.h>

#include "cli/host/members.h"

namespace plexum::cli {
namespace {

// The names that the member table gives a method's arguments are those that `plexum host` calls it
// with, and every member of the one is a member of the other.
TEST(MemberHelp, DescribesTheMembersThatTheHostCalls) {
  std::size_t known = 1;  // MsgWait stands apart
  for (const MemberHelp& member : member_help()) {
    std::string expected = member.name;
    if (const Method* method = find_method(member.name)) {
      expected += "(";
      for (const Argument& argument : method->arguments) {
        if (expected.back() != '(') expected += ", ";
        expected += argument.name;
      }
      ++known;
    } else if (find_property(member.name) != nullptr) {
      ++known;
    } else {
      EXPECT_STREQ(member.name, "MsgWait");
    }
    EXPECT_EQ(std::string(member.signature).substr(0, expected.size()), expected);
  }
  EXPECT_EQ(known, methods().size() + properties().size() + 1);
  EXPECT_EQ(member_help().size(), known);
}

}  // namespace
}  // namespace plexum::cli
