// Whole dialogues of the client with a PLC that answers as the fuzzer wants. Whatever was said,
// each job ends in its result or in an Error, nothing is longer than it can be, and the client
// finds a sound PLC again.

#include <array>
#include <functional>

#include "client/s7_client.h"
#include "fuzz/hostile_plc.h"
#include "fuzz/world.h"

namespace plexum::fuzz {
namespace {

using namespace client;  // NOLINT(google-build-using-namespace): all of it is attacked

constexpr int kMostJobs = 12;

class Dialogue {
 public:
  explicit Dialogue(Input input) : input_(input) {
    client_.options().time_out = client_.options().connect_time_out =
        std::chrono::milliseconds(300);
    client_.options().pdu = std::array<std::size_t, 4>{240, 64, 480, 960}[input_.below(4)];
    client_.options().jobs = 1 + input_.below(8);
    client_.options().cancelled = [this] { return patience_ > 0 && --patience_ == 0; };
  }

  void run() {
    for (int jobs = 0; jobs < kMostJobs && !input_.empty(); ++jobs) {
      host_.waits = 0;
      try {
        if (!client_.connected()) client_.connect({.host = "192.0.2.1"});
        call();
      } catch (const InterruptedWrite& error) {
        for (const WriteOutcome& outcome : error.outcomes()) check(outcome, kMostData);
        require(!client_.connected(), "a failed connection is closed");
      } catch (const Error& error) {
        require(error.is_refusal() || !client_.connected(), "a failed connection is closed");
      }
    }
    recover();
  }

 private:
  static constexpr std::size_t kMostData = 65536;

  static void check(const WriteOutcome& outcome, std::size_t size) {
    for (const auto* stretches : {&outcome.written, &outcome.in_doubt}) {
      for (const Stretch& stretch : *stretches) {
        require(stretch.offset + stretch.size <= size, "what was written is the item's");
      }
    }
  }

  Item item() {
    Item item{.block = static_cast<std::uint16_t>(1 + input_.below(12))};
    item.start = static_cast<std::uint32_t>(input_.byte());
    item.count = static_cast<std::uint32_t>(1 + 4 * input_.below(250));
    if (input_.below(4) == 1) {
      item.type = ElementType::kBit;
      item.count = 1;
      item.bit = static_cast<std::uint8_t>(input_.below(8));
    }
    return item;
  }

  void read() {
    std::vector<Item> items(1 + input_.below(6));
    for (Item& one : items) one = item();
    const std::vector<ReadOutcome> outcomes = client_.read(items);
    require(outcomes.size() == items.size(), "an outcome for each item");
    for (std::size_t i = 0; i < items.size(); ++i) {
      require(outcomes[i].data.size() == (outcomes[i].ok() ? items[i].size() : 0),
              "an item's data are as long as it is");
    }
  }

  void write() {
    std::vector<WriteItem> items(1 + input_.below(6));
    for (WriteItem& one : items) {
      one.item = item();
      one.data.assign(one.item.size(), '\1');
    }
    const std::vector<WriteOutcome> outcomes = client_.write(items);
    for (std::size_t i = 0; i < items.size(); ++i) check(outcomes[i], items[i].item.size());
  }

  void call() {
    const BlockId block{BlockType::kDb, 1};
    const BlockId code{BlockType::kFc, 1};
    patience_ = input_.below(32);
    // clang-format off
    switch (input_.below(18)) {
      default: read(); break;
      case 1: write(); break;
      case 2: client_.state_list(static_cast<std::uint16_t>(input_.flag() ? 0x001C : 0x0011)); break;
      case 3: client_.protection(); break;
      case 4: client_.block_counts(); break;
      case 5: require(client_.block_list(input_.flag() ? BlockType::kDb : BlockType::kSfc).size() <= 65536, "no more blocks than numbers"); break;
      case 6: client_.block_information(block); break;
      case 7: require(client_.upload(input_.flag() ? block : code).size() <= 262144, "no longer than a block can be"); break;
      case 8: client_.download(code, std::string(50 + input_.below(256) * 4, 'c'), 10); break;
      case 9: client_.insert(code); break;
      case 10: client_.remove(code); break;
      case 11: client_.clock(); break;
      case 12: client_.set_clock({}); break;
      case 13: client_.start_session("secret"); break;
      case 14: client_.end_session(); break;
      case 15: client_.stop(); break;
      case 16: client_.warm_start(); break;
      case 17: client_.disconnect(); break;
    }
    // clang-format on
  }

  void recover() {
    host_.waits = 0;
    sim::Plc sound(standing_clock());
    wire_.lead_to(sound);
    patience_ = 0;
    client_.connect({.host = "192.0.2.1"});
    require(client_.read({.block = 1, .count = 4}).data == std::string("\0\1\2\3", 4),
            "the next job tells the truth");
  }

  Input input_;
  std::size_t patience_ = 0;  // times to be asked until the caller gives up; 0: never
  sim::Plc simulated_{standing_clock()};
  Host host_;
  Wire wire_{simulated_};
  HostilePlc plc_{input_, host_, wire_};
  S7Client client_{host_, wire_};
};

}  // namespace

void run(Input input) { Dialogue(input).run(); }

}  // namespace plexum::fuzz
