#include "sim/upload.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

TEST(Upload, GivesABlockPartByPartAndRefusesWhatItMust) {
  const Exchange exchanges[] = {
      // clang-format off
      {"start",           "1D 00 00 00 00 00 00 00 09 '_0C00001A'", "1D 00 01 00 00 00 00 01 07 '0000076' |"},
      {"part",            "1E 00 00 00 00 00 00 01",                "1E 00 | 00 4C 00 FB 70 70 01 01 01 0C 00 01 00 00 00 4C ..."},
      {"beyond its end",  "1E 00 00 00 00 00 00 01",                "refused 84 01"},
      {"end",             "1F 00 00 00 00 00 00 01",                "1F |"},
      {"no such block",   "1D 00 00 00 00 00 00 00 09 '_0C00099A'", "refused D2 09"},
      {"the CPU's own",   "1D 00 00 00 00 00 00 00 09 '_0D00001A'", "refused 87 03"},
      {"unknown type",    "1D 00 00 00 00 00 00 00 09 '_0900001A'", "refused D2 01"},
      {"short number",    "1D 00 00 00 00 00 00 00 09 '_0C0001A'",  "refused D2 01"},
      {"part of nothing", "1E 00 00 00 00 00 00 63",                "refused 84 01"},
      {"end of nothing",  "1F 00 00 00 00 00 00 63",                "refused 84 01"},
      {"one",             "1D 00 00 00 00 00 00 00 09 '_0A00001A'", "1D 00 01 00 00 00 00 02 07 '0001096' |"},
      {"its first part",  "1E 00 00 00 00 00 00 02",                "1E 01 | 00 DE 00 FB ..."},
      {"two",             "1D 00 00 00 00 00 00 00 09 '_0C00001A'", "1D 00 01 00 00 00 00 03 07 '0000076' |"},
      {"three",           "1D 00 00 00 00 00 00 00 09 '_0C00001A'", "1D 00 01 00 00 00 00 04 07 '0000076' |"},
      {"one too many",    "1D 00 00 00 00 00 00 00 09 '_0C00001A'", "refused 83 04"},
      // clang-format on
  };
  Conversation().expect(exchanges);
}

}  // namespace
}  // namespace plexum::sim
