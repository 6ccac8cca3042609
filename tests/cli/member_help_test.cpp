// The tables that are made of docs/members.toml, held against what is written here by hand.
#include "cli/help/member_help.h"

#include <gtest/gtest.h>

#include "cli/host/members.h"

namespace plexum::cli {
namespace {

TEST(Members, TakePlcDataAsBytesAndAllElseAsText) {
  std::string bytes;
  for (const Method& method : methods()) {
    for (const Argument& argument : method.arguments) {
      if (argument.kind != ArgumentKind::kBytes) continue;
      bytes += std::string(method.name) + "." + argument.name + " ";
    }
  }
  EXPECT_EQ(bytes,
            "pg_ReadBlock.Blocknr pg_WriteBlock.MCS7Code ag_WriteB.wert ag_WriteMB.wertBytesstring "
            "beyttoword.wert1 beyttoword.wert2 xor_str.strlan pg_DelBlock.Blocknr ");
}

TEST(Members, AreAllThereAndAllExplained) {
  EXPECT_EQ(methods().size(), 29u);
  EXPECT_EQ(properties().size(), 8u);
  ASSERT_EQ(member_help().size(), 29u + 8u + 1u) << "MsgWait is explained, but not in the tables";
  EXPECT_STREQ(member_help()[5].signature,
               "ag_Read(DBNr, anzby, startad, Datenart, Spsarts) As Variant");
}

}  // namespace
}  // namespace plexum::cli
