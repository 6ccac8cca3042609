#include <gtest/gtest.h>

#include "client/wire/message.h"
#include "support/hex.h"

namespace plexum::wire {
namespace {

using test::bytes;
using test::hex;

TEST(Wire, Placeholder) { EXPECT_EQ(hex(bytes("03")), "03"); }

}  // namespace
}  // namespace plexum::wire
