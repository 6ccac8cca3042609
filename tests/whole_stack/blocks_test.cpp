// Blocks through the control against the simulated PLC's store: what goes up comes down again.

#include <cstdio>

#include "support/block_images.h"
#include "support/whole_stack.h"

namespace plexum {
namespace {

using test::block_image;

constexpr std::uint8_t kFunction = 0x0C;
constexpr std::uint8_t kData = 0x0A;

class Blocks : public test::WholeStack {
 protected:
  Blocks() : WholeStack(options()) {}

  std::vector<double> numbers(const std::string& type) {
    const Value list = link.pg_ListBlock(type);
    const auto& array = std::get<VariantArray>(list);
    link.inuse(false);  // which an empty list leaves
    std::vector<double> numbers;
    for (const Value& number : array.elements) {
      if (array.lower == 1) numbers.push_back(std::get<double>(number));
    }
    return numbers;
  }
  std::string upload(const std::string& type, const std::string& number) {
    const Value image = link.pg_ReadBlock(type, number);
    EXPECT_EQ(link.err(), 0);
    return image.is_empty() ? std::string() : std::get<std::string>(image);
  }
  std::string download(const std::string& image) {
    return outcome_of([&] { return link.pg_WriteBlock(image); });
  }

 private:
  static sim::Options options() {
    sim::Options options;
    // Leaves the control ample time to take the acknowledgement of a download by itself.
    options.download_pause = std::chrono::milliseconds(60);
    return options;
  }
};

TEST_F(Blocks, EveryOneOfTheStoreComesBackAsItWas) {
  for (const char* type : {"OB", "FB", "FC", "DB", "SDB"}) {
    const std::vector<double> all = numbers(type);
    ASSERT_FALSE(all.empty()) << type;
    for (const double number : all) {
      char name[16];
      std::snprintf(name, sizeof name, "%05.0f", number);
      SCOPED_TRACE(std::string(type) + name);
      const std::string image = upload(type, name);
      EXPECT_EQ(image.substr(0, 2), "pp");
      EXPECT_EQ(link.pg_DelBlock(type, name), Value(true));
      EXPECT_EQ(numbers(type).size(), all.size() - 1);
      EXPECT_EQ(download(image), "empty, err 0, s7init");
      EXPECT_EQ(upload(type, name), image);
    }
    EXPECT_EQ(numbers(type), all);
  }
}

TEST_F(Blocks, ImagesOfEverySizeComeBackAsTheyWere) {
  for (const std::size_t size : {36u, 221u, 222u, 223u, 444u, 500u, 1234u, 60000u, 70000u}) {
    for (const auto& [name, type] : {std::pair{"FC", kFunction}, {"DB", kData}}) {
      SCOPED_TRACE(name + std::to_string(size));
      const std::string image = block_image(type, 321, size);
      EXPECT_EQ(download(image), "empty, err 0, s7init");
      EXPECT_EQ(upload(name, "00321"), image);
    }
  }
}

TEST_F(Blocks, ADataBlockIsMemoryFromItsDownloadToItsDeletion) {
  const std::string image = block_image(kData, 77, 136);
  EXPECT_EQ(download(image), "empty, err 0, s7init");
  EXPECT_EQ(link.ag_ReadB("77", "100", "0", "C", "D"), Value(image.substr(36)));
  EXPECT_EQ(link.ag_WriteB("77", "99", "!", "D"), Value(true));
  EXPECT_EQ(upload("DB", "00077"), image.substr(0, 135) + "!") << "with the actual values";
  const auto write_behind_it = [&] { return link.ag_WriteB("77", "100", "!", "D"); };
  EXPECT_EQ(outcome_of(write_behind_it), "false, err 5, s7init");
  link.err(0);
  EXPECT_EQ(link.pg_DelBlock("DB", "00077"), Value(true));
  EXPECT_EQ(outcome_of(write_behind_it), "false, err 10, s7init");
}

TEST_F(Blocks, ALongListHasItsFirstPartOnly) {
  plc.access([](sim::Plc& inside) {
    for (std::uint16_t number = 100; number < 160; ++number) {
      inside.memory.create_data_block(number, 2);
    }
  });
  const std::vector<double> listed = numbers("DB");
  ASSERT_EQ(listed.size(), 52u);  // as many as a PDU of 240 bytes takes
  EXPECT_EQ(listed.back(), 141);
  EXPECT_EQ(numbers("FC"), (std::vector<double>{1, 2})) << "the next list is its own";
}

TEST_F(Blocks, ARefusedDownloadTellsThePlcsErrorAndChangesNothing) {
  const std::string standing = upload("FC", "00001");
  std::string longer_code = block_image(kFunction, 1, 100);
  longer_code[35] = 65;  // more than the image has
  std::string no_header = block_image(kFunction, 1, 100);
  no_header[0] = 'x';
  const struct {
    std::string image;
    const char* outcome;
  } cases[] = {
      {longer_code, "empty, err 21025, box 210, box 25"},              // when it is announced
      {block_image(0x0D, 1, 100), "empty, err 1353, box 135, box 3"},  // the system's own
      {no_header, "empty, err 21038"},                                 // when it is put into use
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.outcome);
    ASSERT_TRUE(connect_anew());
    link.Tzeit(2 * test::kShort);  // the PLC's first job comes after its pause
    EXPECT_EQ(download(c.image), c.outcome);
    ASSERT_TRUE(connect_anew());
    EXPECT_EQ(upload("FC", "00001"), standing);
  }
}

}  // namespace
}  // namespace plexum
