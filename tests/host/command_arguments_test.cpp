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

TEST(CommandArgumentsTest, ReadsItsSwitchesExactly) {
  constexpr char kMissingName[] = "Errors: CommandArguments::Parse: Missing pipe name\n";
  constexpr char kMissingValue[] =
      "Errors: CommandArguments::Parse: Missing value after /n for pipe name\n";
  // The words, the pipe's name, whether it is a control channel, and the error.
  const std::tuple<Words, std::string, bool, std::string> cases[] = {
      {{}, "", false, kMissingName},
      {{TEXT("/n"), TEXT("pipe")}, "pipe", false, ""},
      {{TEXT("x"), TEXT("/c"), TEXT("/n"), TEXT("a b"), TEXT("y")}, "a b", true, ""},
      {{TEXT("/n"), TEXT("one"), TEXT("/n"), TEXT("two"), TEXT("/c")}, "two", true, ""},
      {{TEXT("/n"), TEXT("/c")}, "/c", false, ""},
      {{TEXT("/n"), TEXT("")}, "", false, ""},
      {{TEXT("/n"), TEXT("one"), TEXT("/n")}, "one", false, kMissingValue},
      {{TEXT("/N"), TEXT("name"), TEXT("/C")}, "", false, kMissingName},
      {{TEXT("-n"), TEXT("name"), TEXT("/nname")}, "", false, kMissingName},
  };
  for (const auto& [words, pipeName, isControlChannel, error] : cases) {
    const ProductLog log;
    Z7SvEventLog.reset(new OEventLog("Brennick Tagwright.Native", OEventLog::kApplicationLog));
    const CommandArguments arguments = Parse(words);
    Z7SvEventLog.reset();
    EXPECT_EQ(arguments.GetPipeName().nstring(), pipeName);
    EXPECT_EQ(arguments.IsUsingControlChannel(), isControlChannel);
    EXPECT_EQ(arguments.HasError(), !error.empty());
    EXPECT_EQ(log.ThreadTexts(), error);
    EXPECT_EQ(log.Texts().size(), error.empty() ? 0U : 1U);
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
