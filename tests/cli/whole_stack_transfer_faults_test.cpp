// Uploads and downloads whose PLC vanishes or answers wrongly, in each phase: what the control then
// tells, that the PLC keeps its old block, and that the next transfer succeeds.

#include "support/block_images.h"
#include "support/whole_stack.h"

namespace plexum::cli {
namespace {

using test::block_image;
using test::outcome_of;

constexpr std::uint8_t kFunction = 0x0C;
constexpr sim::BlockId kBlock{sim::BlockType::kFunction, 1};
constexpr std::size_t kSize = 500;  // three parts

// What the PLC's nth telegram of a transfer meets with; all that would follow is silence.
struct Case {
  int telegram;
  const char *fault, *outcome;
  const char* boxes = "";
};

class TransferFaults : public testing::Test {
 protected:
  sim::SimulatedPlc plc{[] {
    sim::Options options = test::on_a_free_port();
    options.download_pause = std::chrono::milliseconds(60);
    return options;
  }()};
  LocalLink local;
  PlexumLink& link = local.link;
  std::string boxes;

  TransferFaults() {
    local.environment.on_message_box = [this](const std::string& text) {
      boxes += (boxes.empty() ? "" : " ") + text;
    };
  }

  // Limits the patience from the wait for the faulty telegram on.
  void prepare(const Case& c, std::int32_t limit) {
    ASSERT_TRUE(test::connect_anew(link, plc));
    const std::string at = std::to_string(c.telegram);
    plc.add_fault(std::string(c.fault) + "@" + at);
    plc.add_fault("silence@" + std::to_string(c.telegram + 1) + "-");
    if (c.telegram == 1) link.Tzeit(limit);
    boxes.clear();
    taken_ = 0;
    local.watched.on_taken = [this, c, limit](const std::string&) {
      if (++taken_ == c.telegram - 1) link.Tzeit(limit);
    };
  }
  void recover() {
    local.watched.on_taken = [](const std::string&) {};
    ASSERT_TRUE(test::connect_anew(link, plc));
  }
  std::string stored() {
    const sim::Bytes image = plc.access([](sim::Plc& p) { return p.blocks.image(kBlock); });
    return {image.begin(), image.end()};
  }

 private:
  int taken_ = 0;
};

TEST_F(TransferFaults, OfAnUpload) {
  const Case cases[] = {
      // start upload
      {1, "silence", "error 5, err 0, inuse, s7init"},
      {1, "length=18", "error 5, err 0, inuse, s7init"},
      {1, "length=24", "empty, err 0"},
      {1, "close", "empty, err 3"},
      {1, "reset", "empty, err 3"},
      {1, "error=D209", "empty, err 2109"},
      // upload, second part
      {3, "silence", "error 5, err 0, inuse, s7init"},
      {3, "length=24", "222 bytes, err 0"},
      {3, "close", "222 bytes, err 3"},
      {3, "reset", "222 bytes, err 3"},
      {3, "error=D241", "222 bytes, err 21065"},
      // end upload
      {5, "silence", "error 5, err 0, inuse, s7init"},
      {5, "length=19", "500 bytes, err 0"},
      {5, "close", "500 bytes, err 3"},
      {5, "reset", "500 bytes, err 3"},
      {5, "error=8500", "500 bytes, err 1330"},
  };
  const std::string image = block_image(kFunction, kBlock.number, kSize);
  ASSERT_TRUE(test::connect_anew(link, plc));
  link.pg_WriteBlock(image);
  ASSERT_EQ(stored(), image);
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.telegram) + " " + c.fault);
    prepare(c, test::kShort);
    EXPECT_EQ(outcome_of(link, [&] { return link.pg_ReadBlock("FC", "00001"); }), c.outcome);
    recover();
    EXPECT_EQ(link.pg_ReadBlock("FC", "00001"), Value(image));
    EXPECT_EQ(link.err, 0);
  }
}

TEST_F(TransferFaults, OfADownload) {
  const Case cases[] = {
      // the answer to request download
      {1, "silence", "error 5, err 0, inuse, s7init"},
      {1, "length=18", "error 5, err 0, inuse, s7init", "0"},
      {1, "length=19", "empty, err 0", "0 0"},
      {1, "close", "empty, err 3"},
      {1, "reset", "empty, err 3"},
      {1, "error=D241", "empty, err 21065", "210 65"},
      // the PLC's first job; of a part of it function and status are taken for an error
      {2, "silence", "error 5, err 0, inuse, s7init"},
      {2, "length=34", "empty, err 270"},
      {2, "close", "empty, err 3"},
      {2, "reset", "empty, err 3"},
      // its job for the last part
      {4, "silence", "error 5, err 0, s7init"},
      {4, "length=18", "error 5, err 0, s7init"},
      {4, "length=34", "empty, err 270"},
      {4, "close", "empty, err 3"},
      {4, "reset", "empty, err 3"},
      // download ended
      {5, "silence", "error 5, err 0, s7init"},
      {5, "length=34", "empty, err 280"},
      {5, "close", "empty, err 3"},
      {5, "reset", "empty, err 3"},
      // the answer to _INSE
      {6, "silence", "error 5, err 0, s7init"},
      {6, "length=19", "empty, err 0"},
      {6, "close", "empty, err 3"},
      {6, "reset", "empty, err 3"},
      {6, "error=D226", "empty, err 21038"},
  };
  unsigned seed = 100;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.telegram) + " " + c.fault);
    const std::string old = stored();
    const std::string image = block_image(kFunction, kBlock.number, kSize, ++seed);
    // From the parts on the control has sixty times that patience.
    prepare(c, c.telegram > 2 && c.telegram < 6 ? 3 : 2 * test::kShort);
    EXPECT_EQ(outcome_of(link, [&] { return link.pg_WriteBlock(image); }), c.outcome);
    EXPECT_EQ(boxes, c.boxes);
    const bool inserted = c.telegram == 6 && std::string(c.fault) != "error=D226";
    EXPECT_EQ(stored() == old, !inserted);

    recover();
    EXPECT_EQ(outcome_of(link, [&] { return link.pg_WriteBlock(image); }), "empty, err 0, s7init");
    EXPECT_EQ(stored(), image);
  }
}

}  // namespace
}  // namespace plexum::cli
