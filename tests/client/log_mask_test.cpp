#include "client/ctl/log_mask.h"

#include <gtest/gtest.h>

#include "client/ctl/failure.h"

namespace {

TEST(LogMask, ReadsNumbersAndNamesAndNothingElse) {
  const std::pair<const char*, DWORD> cases[] = {
      {"0x84000000", 0x84000000},
      {"15", 15},
      {"errors,warnings,info,detail", 0xF0000000},
      {"Default,FILE", 0xE4000000},
      {"detail-a,detail-d,detail-k,detail-p", 0x8409},
      {"all", 0xFC00FFFF},
      {"none", 0},
  };
  for (const auto& [text, mask] : cases) EXPECT_EQ(Ctl::ParseLogMask(text), mask) << text;
  for (const char* text : {"", "error", "errors,", ",info", "detail-q", "0x1FFFFFFFF", "12,info"}) {
    EXPECT_THROW(Ctl::ParseLogMask(text), Ctl::Failure) << text;
  }
}

TEST(LogMask, ShowsTheNumberTheNamesAndWhatHasNone) {
  EXPECT_EQ(Ctl::DescribeLogMask(0x00010401), "0x00010401 detail-a,detail-k,0x00010000");
  EXPECT_EQ(Ctl::DescribeLogMask(0), "0x00000000 none");
}

}  // namespace
