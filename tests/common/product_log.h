/// The log file of one event source, as a support engineer finds it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "common/shared_file.h"
#include "common/widen.h"

/// Turns everything on for the source before its log is constructed, starts with an empty file, and
/// takes both away at the end.
class ProductLog {
 public:
  static constexpr DWORD kEverythingToFile = 0xF400FFFFU;

  explicit ProductLog(std::string source = "Brennick Tagwright.Native",
                      DWORD mask = kEverythingToFile)
      : _source(std::move(source)) {
    Clear();
    SetMask(mask);
  }
  ~ProductLog() {
    Clear();
    HKEY key = MaskKey();
    RegDeleteValueW(key, Widen(_source).c_str());
    RegCloseKey(key);
  }
  ProductLog(const ProductLog&) = delete;
  ProductLog& operator=(const ProductLog&) = delete;

  void Clear() const { DeleteFileW(Path().c_str()); }

  void SetMask(DWORD mask) const {
    HKEY key = MaskKey();
    RegSetValueExW(key, Widen(_source).c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&mask),
                   sizeof(mask));
    RegCloseKey(key);
  }

  /// The file as it lies on the disk, line ends included.
  std::string Content() const { return ReadSharedFile(Path()); }

  std::vector<std::string> Lines() const {
    std::vector<std::string> lines;
    const std::string content = Content();
    for (std::size_t at = 0; at < content.size();) {
      const auto end = std::min(content.find("\r\n", at), content.size());
      lines.push_back(content.substr(at, end - at));
      at = end + 2;
    }
    return lines;
  }

  /// "<level>: <text>" of every line, without date, source, thread and tick stamp.
  std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (const std::string& line : Lines()) texts.push_back(WithoutContext(line));
    return texts;
  }

  /// The texts of each thread as a paragraph, in the order in which texts compare. Ids of threads
  /// are "0x*", and what a thread says again and again stands there once.
  std::string ThreadTexts() const {
    static const std::regex thread("Thread:0x[0-9A-F]{8}"), id("id: 0x[0-9A-F]{8}");
    std::map<std::string, std::string> threads;
    for (const std::string& line : Lines()) {
      std::smatch match;
      std::regex_search(line, match, thread);
      const std::string text = std::regex_replace(WithoutContext(line), id, "id: 0x*") + "\n";
      if (std::string& texts = threads[match.str()]; !texts.ends_with(text)) texts += text;
    }
    std::multiset<std::string> paragraphs;
    for (const auto& [name, texts] : threads) paragraphs.insert(texts);
    std::string all;
    for (const std::string& texts : paragraphs) all += (all.empty() ? "" : "\n") + texts;
    return all;
  }

  /// How many lines end with `text`.
  int Count(const std::string& text) const {
    return CountLines([&](const std::string& line) { return line.ends_with(text); });
  }
  bool Has(const std::string& text) const { return Count(text) > 0; }
  /// In how many lines `text` stands anywhere.
  int Mentions(const std::string& text) const {
    return CountLines([&](const std::string& line) { return line.find(text) != line.npos; });
  }

 private:
  template <class Condition>
  int CountLines(const Condition& condition) const {
    auto lines = Lines();
    return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](std::string& line) {
      if (line.ends_with('\r')) line.pop_back();
      return condition(line);
    }));
  }

  std::basic_string<WCHAR> Path() const {
    std::string file = _source;
    std::replace(file.begin(), file.end(), ' ', '_');
    return TEXT("C:\\Log Files\\") + Widen(file) + TEXT(".txt");
  }

  static HKEY MaskKey() {
    HKEY key = nullptr;
    const auto result = RegCreateKeyExW(
        HKEY_LOCAL_MACHINE, TEXT("Software\\Brennick\\Drivers\\DebugLogMasks"), 0, nullptr,
        REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE, nullptr, &key, nullptr);
    EXPECT_EQ(result, 0);
    return key;
  }

  static std::string WithoutContext(const std::string& line) {
    static const std::regex context(
        "^[^,]*, [^,]*, (\\w+), Thread:0x[0-9A-F]{8}, (\\d{7}\\.\\d{3}: )?");
    return std::regex_replace(line, context, "$1: ", std::regex_constants::format_first_only);
  }

  std::string _source;
};
