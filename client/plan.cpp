#include "client/plan.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>
#include <optional>
#include <tuple>
#include <utility>

namespace plexum::client {
namespace {

using wire::kAnswerHeader;
using wire::kDataItemHead;
using wire::kItemAddressSize;
using wire::kItemsHead;
using wire::kJobHeader;
using wire::with_fill_byte;

enum class Direction : std::uint8_t { kRead, kWrite };

// What an item needs of a job and of its answer, in bytes.
struct Room {
  std::size_t job = 0;
  std::size_t answer = 0;
};

constexpr Room head_of(Direction) { return {kJobHeader + kItemsHead, kAnswerHeader + kItemsHead}; }

constexpr Room room_of(Direction direction, std::size_t size) {
  if (direction == Direction::kRead) return {kItemAddressSize, kDataItemHead + size};
  return {kItemAddressSize + kDataItemHead + size, 1};
}

// The most data that one item of a telegram can have, in bytes.
std::size_t most_data(Direction direction, std::size_t pdu) {
  const Room head = head_of(direction);
  const Room empty = room_of(direction, 0);
  return direction == Direction::kRead ? pdu - head.answer - empty.answer
                                       : pdu - head.job - empty.job;
}

// How far a telegram is filled.
class Filling {
 public:
  Filling(Direction direction, const Limits& limits)
      : direction_(direction), limits_(limits), used_(head_of(direction)) {}

  // Adds an item if there is room.
  bool add(std::size_t size) {
    const Room needed = room_of(direction_, size);
    const Room before{used_.job + (direction_ == Direction::kWrite ? fill_ : 0),
                      used_.answer + (direction_ == Direction::kRead ? fill_ : 0)};
    const Room after{before.job + needed.job, before.answer + needed.answer};
    if (items_ >= std::clamp<std::size_t>(limits_.items, 1, wire::kMostItems)) return false;
    if (after.job > limits_.pdu || after.answer > limits_.pdu) return false;
    used_ = after;
    fill_ = with_fill_byte(size) - size;
    ++items_;
    return true;
  }

  [[nodiscard]] std::size_t bytes() const { return used_.job + used_.answer; }

 private:
  Direction direction_;
  const Limits& limits_;
  Room used_;
  std::size_t fill_ = 0;  // that the last item needs where another one follows
  std::size_t items_ = 0;
};

// Where an item lies, for its neighbours: in bytes, of timers and counters too.
struct Place {
  Area area;
  std::uint16_t block;
  std::size_t start;
  std::size_t end;
  std::size_t index;  // in the caller's list
};

Place place_of(const Item& item, std::size_t index) {
  const std::size_t element = item.area == Area::kTimers || item.area == Area::kCounters ? 2 : 1;
  const std::size_t start = item.start * element;
  return {item.area, item.block, start, start + item.size(), index};
}

bool can_be_joined(const Item& item) {
  if (item.area == Area::kPeripherals) return false;
  return item.type == ElementType::kByte || item.type == ElementType::kBit ||
         item.type == ElementType::kTimer || item.type == ElementType::kCounter;
}

// Items that become one piece; or one item that becomes several.
struct Run {
  std::vector<Place> places;
  std::size_t start = 0;
  std::size_t end = 0;
};

Run run_of(const Place& place) { return {{place}, place.start, place.end}; }

class Planner {
 public:
  Planner(Direction direction, const Limits& limits)
      : direction_(direction), limits_(limits), most_(most_data(direction, limits.pdu)) {}

  // `item_at` gives the caller's items by their index.
  template <typename ItemAt>
  void add(const Run& run, ItemAt item_at) {
    const Item& first = item_at(run.places.front().index);
    if (run.places.size() > 1) {
      add_joined(run, item_at);
    } else {
      add_single(first, run.places.front().index);
    }
  }

  // Packs the pieces: reads wherever there is room, writes in their order.
  Plan packed() && {
    std::vector<std::size_t> telegram_of(plan_.pieces.size());
    std::vector<Filling> fillings;
    for (std::size_t i = 0; i < plan_.pieces.size(); ++i) {
      const std::size_t size = plan_.pieces[i].size;
      std::size_t telegram = fillings.size() - std::min(fillings.size(), looked_back());
      while (telegram < fillings.size() && !fillings[telegram].add(size)) ++telegram;
      if (telegram == fillings.size()) {
        fillings.emplace_back(direction_, limits_);
        fillings.back().add(size);
      }
      telegram_of[i] = telegram;
    }
    std::vector<std::size_t> order(plan_.pieces.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return telegram_of[a] < telegram_of[b]; });
    std::vector<Piece> pieces;
    pieces.reserve(order.size());
    plan_.telegrams.resize(fillings.size());
    for (const std::size_t i : order) {
      PlannedTelegram& telegram = plan_.telegrams[telegram_of[i]];
      if (telegram.pieces++ == 0) telegram.first_piece = pieces.size();
      pieces.push_back(plan_.pieces[i]);
    }
    plan_.pieces = std::move(pieces);
    for (const Filling& filling : fillings) plan_.bytes += filling.bytes();
    return std::move(plan_);
  }

 private:
  // Telegrams that a piece may still go into.
  [[nodiscard]] std::size_t looked_back() const {
    constexpr std::size_t kMost = 16;
    return direction_ == Direction::kRead ? kMost : 1;
  }

  void add_piece(const Item& item, std::size_t start, std::size_t size, ElementType type) {
    const std::size_t element = size_of(type);
    const bool numbered = type == ElementType::kTimer || type == ElementType::kCounter;
    const bool in_block = item.area == Area::kDataBlock || item.area == Area::kInstanceBlock;
    Piece piece;
    piece.address.type = type;
    piece.address.count = static_cast<std::uint16_t>(size / element);
    piece.address.block = in_block ? item.block : std::uint16_t{0};
    piece.address.area = item.area;
    piece.address.address = static_cast<std::uint32_t>(numbered ? start / element : 8 * start);
    if (type == ElementType::kBit) piece.address.address += item.bit;
    piece.size = size;
    piece.first_share = plan_.shares.size();
    plan_.pieces.push_back(piece);
  }

  void add_share(const Share& share) {
    plan_.shares.push_back(share);
    ++plan_.pieces.back().shares;
  }

  // In as many pieces as it needs, of whole elements.
  void add_single(const Item& item, std::size_t index) {
    const std::size_t most = most_ - most_ % size_of(item.type);
    const std::size_t start = place_of(item, index).start;
    for (std::size_t done = 0; done < item.size(); done += most) {
      const std::size_t size = std::min(most, item.size() - done);
      add_piece(item, start + done, size, item.type);
      add_share({index, done, size, 0, -1});
    }
  }

  template <typename ItemAt>
  void add_joined(const Run& run, ItemAt item_at) {
    const Item& first = item_at(run.places.front().index);
    const ElementType type = first.type == ElementType::kBit ? ElementType::kByte : first.type;
    add_piece(first, run.start, run.end - run.start, type);
    for (const Place& place : run.places) {
      const Item& item = item_at(place.index);
      const int bit = item.type == ElementType::kBit ? item.bit : -1;
      add_share({place.index, 0, item.size(), place.start - run.start, bit});
    }
  }

  Direction direction_;
  const Limits& limits_;
  std::size_t most_;
  Plan plan_;
};

// Runs of the items sorted by their places, with gaps of at most so many bytes.
std::vector<Run> runs_of(std::span<const Item> items, const std::vector<Place>& sorted,
                         std::size_t gap, std::size_t most) {
  std::vector<Run> runs;
  for (const Place& place : sorted) {
    Run* const last = runs.empty() ? nullptr : &runs.back();
    if (last != nullptr) {
      const Place& before = last->places.front();
      const std::size_t end = std::max(last->end, place.end);
      const bool neighbour = can_be_joined(items[place.index]) &&
                             can_be_joined(items[before.index]) && before.area == place.area &&
                             before.block == place.block && place.start <= last->end + gap &&
                             end - last->start <= most;
      if (neighbour) {
        last->places.push_back(place);
        last->end = end;
        continue;
      }
    }
    runs.push_back(run_of(place));
  }
  // In the caller's order, by the first of each.
  const auto first_of = [](const Run& run) {
    std::size_t first = std::numeric_limits<std::size_t>::max();
    for (const Place& place : run.places) first = std::min(first, place.index);
    return first;
  };
  std::vector<std::pair<std::size_t, std::size_t>> order;
  for (std::size_t i = 0; i < runs.size(); ++i) order.emplace_back(first_of(runs[i]), i);
  std::sort(order.begin(), order.end());
  std::vector<Run> ordered;
  ordered.reserve(runs.size());
  for (const auto& [first, i] : order) ordered.push_back(std::move(runs[i]));
  return ordered;
}

}  // namespace

Plan plan_read(std::span<const Item> items, const Limits& limits) {
  const auto item_at = [&](std::size_t index) -> const Item& { return items[index]; };
  std::vector<Place> places;
  places.reserve(items.size());
  for (std::size_t i = 0; i < items.size(); ++i) places.push_back(place_of(items[i], i));

  Planner apart(Direction::kRead, limits);
  for (const Place& place : places) apart.add(run_of(place), item_at);
  Plan best = std::move(apart).packed();
  if (!limits.join || items.size() < 2) return best;

  std::sort(places.begin(), places.end(), [](const Place& a, const Place& b) {
    return std::tie(a.area, a.block, a.start, a.end, a.index) <
           std::tie(b.area, b.block, b.start, b.end, b.index);
  });
  // An item in a telegram of its own costs 16 bytes beside its data, 4 of them in the answer; where
  // the number of items is the limit, wider gaps may pay.
  constexpr std::array<std::size_t, 4> kGaps{0, 4, 16, 40};
  const std::size_t most = most_data(Direction::kRead, limits.pdu);
  for (const std::size_t gap : kGaps) {
    Planner joined(Direction::kRead, limits);
    for (const Run& run : runs_of(items, places, gap, most)) joined.add(run, item_at);
    Plan plan = std::move(joined).packed();
    const auto cost_of = [](const Plan& one) { return std::pair(one.telegrams.size(), one.bytes); };
    if (cost_of(plan) < cost_of(best)) best = std::move(plan);
  }
  return best;
}

Plan plan_write(std::span<const WriteItem> items, const Limits& limits) {
  const auto item_at = [&](std::size_t index) -> const Item& { return items[index].item; };
  const std::size_t most = most_data(Direction::kWrite, limits.pdu);
  Planner planner(Direction::kWrite, limits);
  std::optional<Run> run;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const Place place = place_of(items[i].item, i);
    if (run) {
      const Place& first = run->places.front();
      const bool of_bits = items[i].item.type == ElementType::kBit ||
                           items[first.index].item.type == ElementType::kBit;
      const bool neighbour = limits.join && !of_bits && can_be_joined(items[i].item) &&
                             can_be_joined(items[first.index].item) && first.area == place.area &&
                             first.block == place.block && place.start == run->end &&
                             place.end - run->start <= most;
      if (neighbour) {
        run->places.push_back(place);
        run->end = place.end;
        continue;
      }
      planner.add(*run, item_at);
    }
    run = run_of(place);
  }
  if (run) planner.add(*run, item_at);
  return std::move(planner).packed();
}

}  // namespace plexum::client
