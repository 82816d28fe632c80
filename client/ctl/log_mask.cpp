#include "client/ctl/log_mask.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <vector>

#include "client/check/nearest_word.h"
#include "client/ctl/failure.h"
#include "client/ctl/verbs.h"
#include "support/log_levels.h"

namespace Ctl {
namespace {

struct MaskName {
  std::string text;
  DWORD bits;
};

constexpr DWORD kDetailLetters = 16;

std::vector<MaskName> SingleBits() {
  std::vector<MaskName> names = {{"errors", LogLevel::kErrors},
                                 {"warnings", LogLevel::kWarnings},
                                 {"info", LogLevel::kInfo},
                                 {"detail", LogLevel::kDetailInfo}};
  for (DWORD letter = 0; letter < kDetailLetters; ++letter) {
    names.push_back({"detail-" + std::string(1, static_cast<char>('a' + letter)),
                     LogLevel::kDetailInfoA << letter});
  }
  names.push_back({"file", LogLevel::kCopyToFile});
  names.push_back({"debugger", LogLevel::kCopyToDebugger});
  return names;
}

std::vector<MaskName> AllNames() {
  std::vector<MaskName> names = SingleBits();
  DWORD all = 0;
  for (const MaskName& name : names) all |= name.bits;
  names.push_back({"all", all});
  names.push_back({"default", LogLevel::kDefaultMask});
  names.push_back({"none", 0});
  names.push_back({"off", 0});
  return names;
}

DWORD ParseName(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  const std::vector<MaskName> names = AllNames();
  const auto name = std::ranges::find(names, text, &MaskName::text);
  if (name == names.end()) {
    std::vector<std::string_view> words;
    words.reserve(names.size());
    for (const MaskName& known : names) words.push_back(known.text);
    throw Failure(ExitCode::kUsage,
                  "\"" + text + "\" is no log level" + Tagwright::DidYouMean(text, words));
  }
  return name->bits;
}

std::string Hex(DWORD value) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08X", static_cast<unsigned>(value));
  return text;
}

}  // namespace

DWORD ParseLogMask(const std::string& text) {
  if (!text.empty() && std::isdigit(static_cast<unsigned char>(text.front()))) {
    return ParseNumber(text, "log mask");
  }
  DWORD mask = 0;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t comma = std::min(text.find(',', start), text.size());
    mask |= ParseName(text.substr(start, comma - start));
    start = comma + 1;
  }
  return mask;
}

std::string DescribeLogMask(DWORD mask) {
  std::string names;
  DWORD unnamed = mask;
  for (const MaskName& name : SingleBits()) {
    if ((mask & name.bits) == 0) continue;
    names += (names.empty() ? "" : ",") + name.text;
    unnamed &= ~name.bits;
  }
  if (unnamed != 0) names += (names.empty() ? "" : ",") + Hex(unnamed);
  return Hex(mask) + " " + (names.empty() ? "none" : names);
}

}  // namespace Ctl
