#include "cli/link/connection_options.h"

#include <gtest/gtest.h>

#include "support/hex.h"

namespace plexum::cli {
namespace {

TEST(ConnectionOptions, TsapsAndDurationsAreTexts) {
  const struct {
    const char *text, *bytes;  // nothing: it is no TSAP
  } tsaps[] = {{"3.2", "03 02"}, {"10.1f", "10 1F"}, {"0.FF", "00 FF"}, {"3", ""},
               {"3.", ""},       {".2", ""},         {"3.2.1", ""},     {"3.100", ""},
               {"x.2", ""},      {"-1.2", ""},       {" 3.2", ""}};
  for (const auto& row : tsaps) {
    EXPECT_EQ(test::hex(tsap_of_text(row.text).value_or("")), row.bytes) << row.text;
  }
  const struct {
    const char* text;
    int milliseconds;  // 0: it is no duration
  } durations[] = {{"500ms", 500}, {"2s", 2000}, {"2", 2000},  {"0.25", 250},  {"3600", 3600000},
                   {"3601", 0},    {"0", 0},     {"0.1ms", 0}, {"-1s", 0},     {"2m", 0},
                   {"2 s", 0},     {"", 0},      {"nan", 0},   {"1e3ms", 1000}};
  for (const auto& row : durations) {
    const auto found = duration_of_text(row.text).value_or(std::chrono::milliseconds(0));
    EXPECT_EQ(found.count(), row.milliseconds) << row.text;
  }
}

}  // namespace
}  // namespace plexum::cli
