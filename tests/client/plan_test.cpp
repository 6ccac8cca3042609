#include "client/plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

namespace plexum::client {
namespace {

// Sizes by the rules of the protocol, reckoned anew: header, function and count, then each item.
struct Sizes {
  std::size_t job;
  std::size_t answer;
};

Sizes sizes_of(const Plan& plan, const PlannedTelegram& telegram, bool write) {
  std::size_t data = 0;
  for (const Piece& piece : plan.pieces_of(telegram)) {
    data += data % 2;  // filled up before another one
    data += 4 + piece.size;
  }
  const std::size_t addresses = 12 * telegram.pieces;
  if (write) return {10 + 2 + addresses + data, 12 + 2 + telegram.pieces};
  return {10 + 2 + addresses, 12 + 2 + data};
}

class RandomItems {
 public:
  explicit RandomItems(unsigned seed) : random_(seed) {}

  std::size_t below(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
  }

  Limits limits() {
    constexpr std::size_t kPdus[] = {64, 65, 112, 240, 241, 480, 960};
    return {kPdus[below(std::size(kPdus))], 1 + below(40), below(2) == 0};
  }

  // Close enough together that there are neighbours, overlaps and gaps.
  Item item() {
    constexpr Area kAreas[] = {Area::kDataBlock, Area::kFlags, Area::kPeripherals, Area::kTimers,
                               Area::kCounters};
    Item item;
    item.area = kAreas[below(std::size(kAreas))];
    item.block = static_cast<std::uint16_t>(item.area == Area::kDataBlock ? 1 + below(2) : 0);
    item.start = static_cast<std::uint32_t>(below(300));
    item.count = static_cast<std::uint32_t>(below(8) == 0 ? 1 + below(2500) : 1 + below(9));
    if (item.area == Area::kTimers) {
      item.type = ElementType::kTimer;
    } else if (item.area == Area::kCounters) {
      item.type = ElementType::kCounter;
    } else {
      constexpr ElementType kTypes[] = {ElementType::kByte, ElementType::kByte, ElementType::kWord,
                                        ElementType::kDWord, ElementType::kBit};
      item.type = kTypes[below(std::size(kTypes))];
    }
    if (item.type == ElementType::kBit) {
      item.count = 1;
      item.bit = static_cast<std::uint8_t>(below(8));
    }
    return item;
  }

 private:
  std::mt19937 random_;
};

// The byte of its area, or the timer's or counter's, that a byte of a piece is.
std::size_t place_of(const Piece& piece, std::size_t at) {
  const auto address = static_cast<std::size_t>(piece.address.address);
  const bool numbered =
      piece.address.type == ElementType::kTimer || piece.address.type == ElementType::kCounter;
  return (numbered ? 2 * address : address / 8) + at;
}

void expect_good_plan(const Plan& plan, const std::vector<Item>& items, const Limits& limits,
                      bool write) {
  std::vector<std::vector<int>> covered;
  for (const Item& item : items) covered.emplace_back(item.size());
  std::size_t last_item = 0;
  for (const PlannedTelegram& telegram : plan.telegrams) {
    const Sizes sizes = sizes_of(plan, telegram, write);
    EXPECT_LE(sizes.job, limits.pdu);
    EXPECT_LE(sizes.answer, limits.pdu);
    EXPECT_LE(telegram.pieces, limits.items);
    for (const Piece& piece : plan.pieces_of(telegram)) {
      EXPECT_EQ(piece.address.count * size_of(piece.address.type), piece.size);
      std::size_t end = 0;
      for (const Share& share : plan.shares_of(piece)) {
        const Item& item = items[share.item];
        EXPECT_EQ(piece.address.area, item.area);
        EXPECT_EQ(piece.address.block, item.block);
        const std::size_t start =
            item.start * (item.area == Area::kTimers || item.area == Area::kCounters ? 2u : 1u);
        EXPECT_EQ(place_of(piece, share.at), start + share.offset) << "the right bytes";
        for (std::size_t i = 0; i < share.size; ++i) ++covered[share.item][share.offset + i];
        const bool fits = item.size() <= limits.pdu - 28 - size_of(item.type);
        EXPECT_TRUE(!fits || share.size == item.size()) << "not torn";
        if (write) {
          EXPECT_GE(share.item, last_item) << "in the caller's order";
          EXPECT_EQ(share.at, end) << "nothing written that nobody gave";
          last_item = share.item;
        }
        end = std::max(end, share.at + share.size);
      }
      EXPECT_EQ(end, piece.size);
    }
  }
  for (const std::vector<int>& item : covered) {
    EXPECT_TRUE(std::all_of(item.begin(), item.end(), [](int times) { return times == 1; }))
        << "every byte once";
  }
}

TEST(Plan, KeepsItsPromisesForAnySizesAndItems) {
  for (unsigned seed = 0; seed < 400; ++seed) {
    SCOPED_TRACE(seed);
    RandomItems random(seed);
    const Limits limits = random.limits();
    std::vector<Item> items(1 + random.below(60));
    std::generate(items.begin(), items.end(), [&] { return random.item(); });

    const Plan read = plan_read(items, limits);
    expect_good_plan(read, items, limits, false);
    Limits apart = limits;
    apart.join = false;
    EXPECT_LE(read.telegrams.size(), plan_read(items, apart).telegrams.size());

    std::vector<WriteItem> writes;
    for (const Item& item : items) writes.push_back({item, std::string(item.size(), 'x')});
    expect_good_plan(plan_write(writes, limits), items, limits, true);
    if (HasFailure()) return;
  }
}

std::vector<Item> spread(std::size_t count, std::uint32_t distance, std::uint32_t size) {
  std::vector<Item> items;
  for (std::size_t i = 0; i < count; ++i) {
    items.push_back({.block = 1, .start = static_cast<std::uint32_t>(i) * distance, .count = size});
  }
  return items;
}

TEST(Plan, TakesNoMoreTelegramsThanItNeeds) {
  struct Row {
    const char* what;
    std::vector<Item> items;
    Limits limits;
    std::size_t telegrams;
  };
  const Item whole_block{.block = 1, .count = 60000};
  const Row rows[] = {
      {"scattered variables at 240", spread(100, 600, 4), {240, 20}, 6},
      {"scattered variables at 480", spread(100, 600, 4), {480, 20}, 5},
      {"scattered variables, many a telegram", spread(100, 600, 4), {480, 39}, 3},
      {"a thousand bytes at 480", {{.block = 1, .count = 1000}}, {480, 20}, 3},
      {"a large block at 240", {whole_block}, {240, 20}, 271},
      {"a large block at 960", {whole_block}, {960, 20}, 64},
      {"an array's elements", spread(50, 4, 4), {240, 20}, 1},
      {"structures with gaps", spread(20, 10, 4), {240, 20}, 1},
      {"gaps that don't pay", spread(38, 60, 4), {240, 39}, 2},
      {"a tail and a small one", {{.block = 1, .count = 300}, {.block = 2, .count = 100}}, {}, 2},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(plan_read(row.items, row.limits).telegrams.size(), row.telegrams) << row.what;
  }
}

TEST(Plan, ReadsBitsOfOneByteTogetherAndALoneOneByItself) {
  const Item bit{.area = Area::kFlags, .type = ElementType::kBit, .start = 20, .bit = 3};
  Item other = bit;
  other.bit = 7;
  const Plan together = plan_read(std::vector{bit, other}, {});
  ASSERT_EQ(together.pieces.size(), 1u);
  EXPECT_EQ(together.pieces[0].address.type, ElementType::kByte);
  EXPECT_EQ(together.shares[1].bit, 7);
  const Plan alone = plan_read(std::vector{bit}, {});
  EXPECT_EQ(alone.pieces[0].address.type, ElementType::kBit);
  EXPECT_EQ(alone.pieces[0].address.address, 20u * 8 + 3);
}

}  // namespace
}  // namespace plexum::client
