#pragma once

#include <span>
#include <vector>

#include "client/connection.h"
#include "client/item.h"
#include "client/plan.h"

// Reading and writing items over a connection.
namespace plexum::client {

// The items must be valid. Where the PLC refuses neighbours that were joined, or a telegram as a
// whole, their items are asked for again by themselves, so that one bad item spoils no other.
std::vector<ReadOutcome> read_items(Connection& connection, std::span<const Item> items,
                                    Limits limits);

// `outcomes` has one element for each item, and says how far it came also when this throws.
void write_items(Connection& connection, std::span<const WriteItem> items, Limits limits,
                 std::vector<WriteOutcome>& outcomes);

}  // namespace plexum::client
