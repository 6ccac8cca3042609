#pragma once

#include <span>
#include <vector>

#include "client/connection.h"
#include "client/item.h"
#include "client/plan.h"

// Reading and writing items over a connection.
namespace plexum::client {

// The plan of the last read: a caller that polls asks for the same items again and again.
class LastPlan {
 public:
  const Plan& of(std::span<const Item> items, const Limits& limits);

 private:
  std::vector<Item> items_;
  Limits limits_;
  Plan plan_;
};

// The items must be valid. Where the PLC refuses neighbours that were joined, or a telegram as a
// whole, their items are asked for again by themselves, so that one bad item spoils no other.
std::vector<ReadOutcome> read_items(Connection& connection, std::span<const Item> items,
                                    Limits limits, LastPlan& last_plan);

// `outcomes` has one element for each item, and says how far it came also when this throws.
void write_items(Connection& connection, std::span<const WriteItem> items, Limits limits,
                 std::vector<WriteOutcome>& outcomes);

}  // namespace plexum::client
