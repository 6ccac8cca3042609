#include "client/variables.h"

#include <algorithm>
#include <utility>

namespace plexum::client {
namespace {

// What the CPU of an S7-1200 or S7-1500 answers to any read and write that it isn't set to permit:
// asking for the items one by one would change nothing.
constexpr ErrorCode kFunctionNotPermitted{0x81, 0x04};

wire::ItemAddress address_of(const Piece& piece) { return piece.address; }

// The item that a share of another one is.
Item part_of(const Item& item, const Share& share) {
  const std::size_t element = size_of(item.type);
  const bool numbered = item.type == ElementType::kTimer || item.type == ElementType::kCounter;
  Item part = item;
  part.start += static_cast<std::uint32_t>(numbered ? share.offset / element : share.offset);
  part.count = static_cast<std::uint32_t>(share.size / element);
  return part;
}

// Parts of the caller's items that are to be asked for by themselves.
struct Again {
  std::vector<Share> shares;
  bool one_by_one = false;  // a telegram with several items was refused as a whole

  // Takes the shares of pieces that the PLC refused. False where there is nothing to divide: the
  // refusal is the items' own.
  bool take(const Plan& plan, std::span<const Piece> pieces, bool whole_telegram) {
    const bool divisible = pieces.size() > 1 || pieces.front().shares > 1;
    if (!divisible) return false;
    for (const Piece& piece : pieces) {
      const auto of_piece = plan.shares_of(piece);
      shares.insert(shares.end(), of_piece.begin(), of_piece.end());
    }
    one_by_one = one_by_one || whole_telegram;
    return true;
  }
};

// A telegram that was refused as a whole.
template <typename Outcome>
void take_refusal(const Plan& plan, std::span<const Piece> pieces, ErrorCode error,
                  std::vector<Outcome>& outcomes, Again& again) {
  if (error != kFunctionNotPermitted && again.take(plan, pieces, true)) return;
  for (const Piece& piece : pieces) {
    for (const Share& share : plan.shares_of(piece)) outcomes[share.item].error = error;
  }
}

// What the planner is to do when parts are asked for once more.
Limits narrowed(Limits limits, const Again& again) {
  limits.join = false;
  if (again.one_by_one) limits.items = 1;
  return limits;
}

// A plan for parts of items, as one for the items that they are parts of.
Plan of_whole_items(Plan plan, const std::vector<Share>& parts) {
  for (Share& share : plan.shares) {
    const Share& part = parts[share.item];
    share.item = part.item;
    share.offset += part.offset;
  }
  return plan;
}

class Reading {
 public:
  Reading(Connection& connection, std::span<const Item> items)
      : connection_(connection), items_(items), outcomes_(items.size()) {
    for (std::size_t i = 0; i < items.size(); ++i) outcomes_[i].data.resize(items[i].size());
  }

  std::vector<ReadOutcome> run(Limits limits, LastPlan& last_plan) {
    pass(last_plan.of(items_, limits));
    while (!again_.shares.empty()) {
      limits = narrowed(limits, again_);
      const std::vector<Share> shares = std::exchange(again_, {}).shares;
      std::vector<Item> parts;
      parts.reserve(shares.size());
      for (const Share& share : shares) parts.push_back(part_of(items_[share.item], share));
      pass(of_whole_items(plan_read(parts, limits), shares));
    }
    for (ReadOutcome& outcome : outcomes_) {
      if (!outcome.ok()) outcome.data.clear();
    }
    return std::move(outcomes_);
  }

 private:
  void pass(const Plan& plan) {
    connection_.run(
        plan.telegrams.size(), [&](std::size_t i) { return job(plan, i); },
        [&](std::size_t i, const wire::Body& body) { take(plan, i, body); });
  }

  static wire::Job job(const Plan& plan, std::size_t telegram) {
    const auto pieces = plan.pieces_of(plan.telegrams[telegram]);
    wire::ReadJob job;
    job.items.resize(pieces.size());
    std::transform(pieces.begin(), pieces.end(), job.items.begin(), address_of);
    return job;
  }

  void take(const Plan& plan, std::size_t telegram, const wire::Body& body) {
    const auto pieces = plan.pieces_of(plan.telegrams[telegram]);
    if (const auto* refusal = std::get_if<wire::Refusal>(&body)) {
      take_refusal(plan, pieces, refusal->error, outcomes_, again_);
      return;
    }
    const auto& answer = std::get<wire::ReadAnswer>(std::get<wire::Answer>(body));
    if (answer.items.size() != pieces.size()) {
      connection_.fail_senseless("an answer with another number of items than its job");
    }
    for (std::size_t i = 0; i < pieces.size(); ++i) take(plan, pieces[i], answer.items[i]);
  }

  void take(const Plan& plan, const Piece& piece, const wire::DataItem& data) {
    if (data.code != ReturnCode::kSuccess) {
      if (again_.take(plan, {&piece, 1}, false)) return;
      ReadOutcome& outcome = outcomes_[plan.shares_of(piece).front().item];
      if (outcome.ok()) outcome.code = data.code;
      return;
    }
    if (data.bytes.size() != piece.size) {
      connection_.fail_senseless("an item of another length than its job asks for", data.bytes);
    }
    for (const Share& share : plan.shares_of(piece)) {
      std::string& target = outcomes_[share.item].data;
      if (share.bit >= 0) {
        const auto byte = static_cast<unsigned char>(data.bytes[share.at]);
        target[0] = static_cast<char>(byte >> share.bit & 1);
      } else {
        target.replace(share.offset, share.size, data.bytes, share.at, share.size);
      }
    }
  }

  Connection& connection_;
  std::span<const Item> items_;
  std::vector<ReadOutcome> outcomes_;
  Again again_;
};

class Writing {
 public:
  Writing(Connection& connection, std::span<const WriteItem> items,
          std::vector<WriteOutcome>& outcomes)
      : connection_(connection), items_(items), outcomes_(outcomes) {}

  void run(Limits limits) {
    plan_ = plan_write(items_, limits);
    pass();
    while (!again_.shares.empty()) {
      limits = narrowed(limits, again_);
      const std::vector<Share> shares = std::exchange(again_, {}).shares;
      std::vector<WriteItem> parts;
      parts.reserve(shares.size());
      for (const Share& share : shares) {
        const WriteItem& whole = items_[share.item];
        parts.push_back({part_of(whole.item, share), whole.data.substr(share.offset, share.size)});
      }
      plan_ = of_whole_items(plan_write(parts, limits), shares);
      pass();
    }
    for (WriteOutcome& outcome : outcomes_) tidy_up(outcome.written);
  }

 private:
  enum class Fate : std::uint8_t { kNotSent, kSent, kAnswered };

  void pass() {
    std::vector<Fate> fates(plan_.telegrams.size(), Fate::kNotSent);
    try {
      connection_.run(
          plan_.telegrams.size(),
          [&](std::size_t i) {
            fates[i] = Fate::kSent;
            return job(i);
          },
          [&](std::size_t i, const wire::Body& body) {
            take(i, body);
            fates[i] = Fate::kAnswered;
          });
    } catch (...) {
      for (std::size_t i = 0; i < fates.size(); ++i) {
        if (fates[i] == Fate::kSent) doubt(i);
      }
      for (WriteOutcome& outcome : outcomes_) {
        tidy_up(outcome.written);
        tidy_up(outcome.in_doubt);
      }
      throw;
    }
  }

  wire::Job job(std::size_t telegram) const {
    const auto pieces = plan_.pieces_of(plan_.telegrams[telegram]);
    wire::WriteJob job;
    job.items.reserve(pieces.size());
    job.values.reserve(pieces.size());
    for (const Piece& piece : pieces) {
      job.items.push_back(piece.address);
      wire::DataItem& value = job.values.emplace_back();
      value.type = wire::data_type_of(piece.address.type);
      value.bytes.reserve(piece.size);
      for (const Share& share : plan_.shares_of(piece)) {
        value.bytes.append(items_[share.item].data, share.offset, share.size);
      }
    }
    return job;
  }

  void take(std::size_t telegram, const wire::Body& body) {
    const auto pieces = plan_.pieces_of(plan_.telegrams[telegram]);
    if (const auto* refusal = std::get_if<wire::Refusal>(&body)) {
      take_refusal(plan_, pieces, refusal->error, outcomes_, again_);
      return;
    }
    const auto& answer = std::get<wire::WriteAnswer>(std::get<wire::Answer>(body));
    if (answer.codes.size() != pieces.size()) {
      connection_.fail_senseless("an answer with another number of items than its job");
    }
    for (std::size_t i = 0; i < pieces.size(); ++i) take(pieces[i], answer.codes[i]);
  }

  void take(const Piece& piece, ReturnCode code) {
    if (code != ReturnCode::kSuccess) {
      if (again_.take(plan_, {&piece, 1}, false)) return;
      WriteOutcome& outcome = outcomes_[plan_.shares_of(piece).front().item];
      if (outcome.ok()) outcome.code = code;
      return;
    }
    for (const Share& share : plan_.shares_of(piece)) {
      outcomes_[share.item].written.push_back({share.offset, share.size});
    }
  }

  void doubt(std::size_t telegram) {
    for (const Piece& piece : plan_.pieces_of(plan_.telegrams[telegram])) {
      for (const Share& share : plan_.shares_of(piece)) {
        outcomes_[share.item].in_doubt.push_back({share.offset, share.size});
      }
    }
  }

  // Sorts stretches, and joins those that meet.
  static void tidy_up(std::vector<Stretch>& stretches) {
    std::sort(stretches.begin(), stretches.end(),
              [](const Stretch& a, const Stretch& b) { return a.offset < b.offset; });
    std::vector<Stretch> joined;
    for (const Stretch& stretch : stretches) {
      if (!joined.empty() && joined.back().offset + joined.back().size == stretch.offset) {
        joined.back().size += stretch.size;
      } else {
        joined.push_back(stretch);
      }
    }
    stretches = std::move(joined);
  }

  Connection& connection_;
  std::span<const WriteItem> items_;
  std::vector<WriteOutcome>& outcomes_;
  Plan plan_;
  Again again_;
};

}  // namespace

const Plan& LastPlan::of(std::span<const Item> items, const Limits& limits) {
  const bool same =
      limits == limits_ && std::equal(items.begin(), items.end(), items_.begin(), items_.end());
  if (!same) {
    plan_ = plan_read(items, limits);
    items_.assign(items.begin(), items.end());
    limits_ = limits;
  }
  return plan_;
}

std::vector<ReadOutcome> read_items(Connection& connection, std::span<const Item> items,
                                    Limits limits, LastPlan& last_plan) {
  return Reading(connection, items).run(limits, last_plan);
}

void write_items(Connection& connection, std::span<const WriteItem> items, Limits limits,
                 std::vector<WriteOutcome>& outcomes) {
  outcomes.assign(items.size(), {});
  Writing(connection, items, outcomes).run(limits);
}

}  // namespace plexum::client
