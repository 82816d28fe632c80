#include "host/command_arguments.h"

#include <gmock/gmock.h>

#include "common/product_log.h"
#include "support/oevent_log.h"

namespace {

using Words = std::vector<std::basic_string<WCHAR>>;

CommandArguments Parse(const Words& words) {
  std::vector<const WCHAR*> argv = {TEXT("C:\\Drivers\\tagwright.exe")};
  for (const auto& word : words) argv.push_back(word.c_str());
  return CommandArguments(static_cast<int>(argv.size()), argv.data());
}

struct Case {
  Words words;
  const char* pipeName;
  bool controlChannel;
  const char* error;  ///< Null when there is none.
};

TEST(CommandArgumentsTest, ReadsItsSwitchesExactly) {
  constexpr char kMissingName[] = "CommandArguments::Parse: Missing pipe name";
  constexpr char kMissingValue[] = "CommandArguments::Parse: Missing value after /n for pipe name";
  const Case cases[] = {
      {{}, "", false, kMissingName},
      {{TEXT("/n"), TEXT("pipe")}, "pipe", false, nullptr},
      {{TEXT("x"), TEXT("/c"), TEXT("/n"), TEXT("a b"), TEXT("y")}, "a b", true, nullptr},
      {{TEXT("/n"), TEXT("one"), TEXT("/n"), TEXT("two"), TEXT("/c")}, "two", true, nullptr},
      {{TEXT("/n"), TEXT("/c")}, "/c", false, nullptr},
      {{TEXT("/n"), TEXT("")}, "", false, nullptr},
      {{TEXT("/n"), TEXT("one"), TEXT("/n")}, "one", false, kMissingValue},
      {{TEXT("/N"), TEXT("name"), TEXT("/C")}, "", false, kMissingName},
      {{TEXT("-n"), TEXT("name"), TEXT("/nname")}, "", false, kMissingName},
  };
  for (const Case& line : cases) {
    const std::string source = "Tagwright arguments " + std::to_string(GetCurrentProcessId());
    ProductLog log(source);
    Z7SvEventLog.reset(new OEventLog(source.c_str(), OEventLog::kApplicationLog));
    CommandArguments arguments = Parse(line.words);
    Z7SvEventLog.reset();
    EXPECT_STREQ(arguments.GetPipeName().nstring(), line.pipeName);
    EXPECT_EQ(arguments.IsUsingControlChannel(), line.controlChannel);
    EXPECT_EQ(arguments.HasError(), line.error != nullptr);
    EXPECT_EQ(log.Lines().size(), line.error == nullptr ? 0U : 1U);
    EXPECT_TRUE(line.error == nullptr || log.Has(line.error));
  }
  EXPECT_TRUE(Parse(Words{}).HasError()) << "without a log, too";
}

TEST(CommandArgumentsTest, ComparesUnitsAsUnsigned) {
  EXPECT_EQ(xstrcmp(TEXT("/n"), TEXT("/n")), 0);
  EXPECT_EQ(xstrcmp(TEXT("/"), TEXT("/n")), -1);
  EXPECT_EQ(xstrcmp(TEXT("\uFFE0"), TEXT("z")), 1);
  EXPECT_EQ(xstrcmp("\xE9", "z"), 1);
  EXPECT_EQ(xstrcmp<WCHAR>(nullptr, TEXT("")), -1);
  EXPECT_EQ(xstrcmp<WCHAR>(TEXT(""), nullptr), -1);
}

}  // namespace
