// Blocks through the control against the simulated PLC's store: what goes up comes down again, and
// both dialogues are those of a PLC.

#include <cstdio>

#include "support/block_images.h"
#include "support/whole_stack.h"

namespace plexum::cli {
namespace {

using test::block_image;
using test::outcome_of;

constexpr std::uint8_t kFunction = 0x0C;
constexpr std::uint8_t kData = 0x0A;

// Leaves the control ample time to take the acknowledgement of a download by itself.
sim::Options unhurried() {
  sim::Options options = test::on_a_free_port();
  options.download_pause = std::chrono::milliseconds(60);
  return options;
}

std::string five_digits(double number) {
  char text[16];
  std::snprintf(text, sizeof text, "%05.0f", number);
  return text;
}

class WholeStackBlocks : public testing::Test {
 protected:
  sim::SimulatedPlc plc{unhurried()};
  LocalLink local{test::capture_path(
      std::string("blocks_") + testing::UnitTest::GetInstance()->current_test_info()->name())};
  PlexumLink& link = local.link;
  std::vector<std::string> boxes;

  WholeStackBlocks() {
    local.environment.on_message_box = [this](const std::string& text) { boxes.push_back(text); };
    EXPECT_TRUE(test::connect_anew(link, plc));
  }

  std::vector<double> numbers(const std::string& type) {
    const Value list = link.pg_ListBlock(type);
    const auto& array = std::get<VariantArray>(list);
    std::vector<double> numbers;
    if (array.lower == 0) {  // none
      EXPECT_EQ(list, Value(VariantArray{0, {Value()}}));
      EXPECT_TRUE(link.inuse());
      link.inuse(false);
      return numbers;
    }
    for (const Value& number : array.elements) numbers.push_back(std::get<double>(number));
    return numbers;
  }
  std::string upload(const std::string& type, const std::string& number) {
    const Value image = link.pg_ReadBlock(type, number);
    EXPECT_EQ(link.err(), 0);
    return image.is_empty() ? std::string() : std::get<std::string>(image);
  }
  std::string download(const std::string& image) {
    return outcome_of(link, [&] { return link.pg_WriteBlock(image); });
  }
};

TEST_F(WholeStackBlocks, EveryBlockOfTheStoreComesBackAsItWas) {
  for (const char* type : {"OB", "FB", "FC", "DB", "SDB"}) {
    const std::vector<double> all = numbers(type);
    ASSERT_FALSE(all.empty()) << type;
    for (const double number : all) {
      const std::string name = five_digits(number);
      SCOPED_TRACE(type + name);
      const std::string image = upload(type, name);
      ASSERT_GE(image.size(), 36u);
      EXPECT_EQ(image.substr(0, 2), "pp");
      EXPECT_EQ(link.pg_DelBlock(type, name), Value(true));
      EXPECT_EQ(numbers(type).size(), all.size() - 1);
      EXPECT_EQ(download(image), "empty, err 0, s7init");
      EXPECT_EQ(upload(type, name), image);
    }
    EXPECT_EQ(numbers(type), all);
  }
  EXPECT_TRUE(boxes.empty());
}

TEST_F(WholeStackBlocks, ImagesOfEverySizeComeBackAsTheyWere) {
  for (const std::size_t size : {36u, 221u, 222u, 223u, 444u, 500u, 1234u, 60000u, 70000u}) {
    for (const auto& [name, type] : {std::pair{"FC", kFunction}, {"DB", kData}}) {
      SCOPED_TRACE(name + std::to_string(size));
      const std::string image = block_image(type, 321, size);
      std::vector<char> marks;
      local.watched.on_sent = [&](const std::string& telegram) {
        if (telegram[8] == 3 && telegram[19] == 0x1B) marks.push_back(telegram[20]);
      };
      EXPECT_EQ(download(image), "empty, err 0, s7init");
      EXPECT_EQ(upload(name, "00321"), image);
      std::vector<char> expected(size / 222, 1);
      if (size % 222 != 0) expected.push_back(0);
      EXPECT_EQ(marks, expected);
    }
  }
}

TEST_F(WholeStackBlocks, ADataBlockIsMemoryFromItsDownloadToItsDeletion) {
  const std::string image = block_image(kData, 77, 136);
  EXPECT_EQ(download(image), "empty, err 0, s7init");
  EXPECT_EQ(link.ag_ReadB("77", "100", "0", "C", "D"), Value(image.substr(36)));
  EXPECT_EQ(link.ag_WriteB("77", "99", "!", "D"), Value(true));
  EXPECT_EQ(upload("DB", "00077"), image.substr(0, 135) + "!") << "with the actual values";
  EXPECT_EQ(link.ag_WriteB("77", "100", "!", "D"), Value(false));
  EXPECT_EQ(link.err(), 5) << "of its size";

  ASSERT_TRUE(test::connect_anew(link, plc));
  EXPECT_EQ(link.pg_DelBlock("DB", "00077"), Value(true));
  EXPECT_EQ(link.ag_WriteB("77", "0", "!", "D"), Value(false));
  EXPECT_EQ(link.err(), 10);
  link.err(0);
  ASSERT_TRUE(test::connect_anew(link, plc));
  link.Tzeit(test::kShort);
  EXPECT_EQ(outcome_of(link, [&] { return link.pg_ReadBlock("DB", "00077"); }), "empty, err 2109");
}

TEST_F(WholeStackBlocks, ALongListHasItsFirstPartOnly) {
  plc.access([](sim::Plc& inside) {
    for (std::uint16_t number = 100; number < 160; ++number) {
      inside.memory.create_data_block(number, 2);
    }
  });
  const std::vector<double> listed = numbers("DB");
  ASSERT_EQ(listed.size(), 52u);  // as many as a PDU of 240 bytes takes
  EXPECT_EQ(listed.front(), 1);
  EXPECT_EQ(listed.back(), 141);
  EXPECT_EQ(numbers("SFC").size(), 52u);
  EXPECT_EQ(numbers("FC"), (std::vector<double>{1, 2})) << "the next list is its own";
}

// The telegrams of a download of 500 bytes, as a programming device and a PLC exchange them:
// direction, message type (1 job, 3 acknowledgement), function, length.
TEST_F(WholeStackBlocks, ADownloadHasTheOrderOfARealOne) {
  std::vector<std::string> dialogue;
  const auto note = [&](char direction) {
    return [&, direction](const std::string& telegram) {
      const bool job = telegram.at(8) == 1;
      char text[32];
      std::snprintf(text, sizeof text, "%c %d %02X %zu", direction, telegram.at(8),
                    static_cast<unsigned>(telegram.at(job ? 17 : 19)), telegram.size());
      dialogue.emplace_back(text);
    };
  };
  local.watched.on_sent = note('>');
  local.watched.on_taken = note('<');
  const std::string image = block_image(kData, 1, 500);
  EXPECT_EQ(download(image), "empty, err 0, s7init");
  const std::vector<std::string> real = {
      "> 1 1A 49", "< 3 1A 20",   // request download
      "< 1 1B 35", "> 3 1B 247",  // download block: 222 bytes,
      "< 1 1B 35", "> 3 1B 247",  // 222 more
      "< 1 1B 35", "> 3 1B 81",   // and 56
      "< 1 1C 35", "> 3 1C 20",   // download ended
      "> 1 28 43", "< 3 28 20",   // _INSE
  };
  EXPECT_EQ(dialogue, real);
}

TEST_F(WholeStackBlocks, RefusedTransfersTellThePlcsError) {
  std::string no_header = block_image(kFunction, 1, 100);
  no_header[0] = 'x';
  std::string other_length = block_image(kFunction, 1, 100);
  other_length[11] = 99;
  std::string longer_code = block_image(kFunction, 1, 100);
  longer_code[35] = 65;
  std::string other_type = block_image(kFunction, 1, 100);
  other_type[5] = 0x09;
  struct Case {
    const char* what;
    std::string image;
    const char* outcome;
    std::vector<std::string> boxes;
  };
  const std::string standing = upload("FC", "00001");
  const Case cases[] = {
      {"more code than the image has", longer_code, "empty, err 21025", {"210", "25"}},
      {"a function of the system", block_image(0x0D, 1, 100), "empty, err 1353", {"135", "3"}},
      {"no header", no_header, "empty, err 21038", {}},
      {"lengths that contradict", other_length, "empty, err 21025", {}},
      {"an unknown type", other_type, "error 5, err 0, inuse, s7init", {}},
      {"half a header", standing.substr(0, 35), "error 5, err 0, inuse, s7init", {}},
      {"nothing", "", "error 5, err 0, inuse, s7init", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_TRUE(test::connect_anew(link, plc));
    boxes.clear();
    link.Tzeit(2 * test::kShort);  // the PLC's first job comes after its pause
    EXPECT_EQ(download(c.image), c.outcome);
    EXPECT_EQ(boxes, c.boxes);
    ASSERT_TRUE(test::connect_anew(link, plc));
    EXPECT_EQ(upload("FC", "00001"), standing) << "the old block is whole";
  }
}

TEST(WholeStackBlocksProtected, AreNeitherReadNorWritten) {
  sim::Options options = unhurried();
  options.write_protected = true;
  sim::SimulatedPlc plc(options);
  LocalLink local;
  std::string box;
  local.environment.on_message_box = [&](const std::string& text) { box += text + " "; };
  ASSERT_TRUE(test::connect_anew(local.link, plc));
  local.link.Tzeit(test::kShort);
  EXPECT_EQ(outcome_of(local.link, [&] { return local.link.pg_ReadBlock("OB", "00001"); }),
            "empty, err 21065");
  ASSERT_TRUE(test::connect_anew(local.link, plc));
  local.link.Tzeit(test::kShort);
  EXPECT_EQ(outcome_of(local.link,
                       [&] { return local.link.pg_WriteBlock(block_image(kFunction, 1, 100)); }),
            "empty, err 21065");
  EXPECT_EQ(box, "210 65 ");
}

}  // namespace
}  // namespace plexum::cli
