/// Conversions between code pages and UTF-16, and the system's texts.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "platform/windows_api.h"

namespace {

using WideText = std::basic_string<WCHAR>;

WideText ToWide(UINT page, const std::string& narrow) {
  WCHAR wide[256];
  const int count =
      MultiByteToWideChar(page, 0, narrow.data(), static_cast<int>(narrow.size()), wide, 256);
  return WideText(wide, static_cast<std::size_t>(count));
}

std::string ToNarrow(UINT page, const WideText& wide) {
  char narrow[256];
  const int count = WideCharToMultiByte(page, 0, wide.data(), static_cast<int>(wide.size()), narrow,
                                        256, nullptr, nullptr);
  return std::string(narrow, static_cast<std::size_t>(count));
}

TEST(CodePages, MapBothWays) {
  const struct {
    UINT page;
    std::string narrow;
    WideText wide;
  } cases[] = {
      {1252, "caf\xe9 \x80\x9f", TEXT("caf\x00e9 \x20ac\x0178")},
      {1252, "\x81\x8d\x8f\x90\x9d", TEXT("\x0081\x008d\x008f\x0090\x009d")},
      {1251, "\xc0\xff", TEXT("\x0410\x044f")},
      {1255, "\xe0\xc8", TEXT("\x05d0\x05b8")},
      {1258, "a\xcc", TEXT("a\x0300")},
      {850, "\x82", TEXT("\x00e9")},
      {932, "\x83\x5c\\~\xb1", TEXT("\x30bd\\~\xff71")},
      {936, "\xc4\xe3", TEXT("\x4f60")},
      {949, "\xb0\xa1\x81\x41", TEXT("\xac00\xac02")},
      {950, "\xa4\xa4", TEXT("\x4e2d")},
      {1361, "\x88\x61\\", TEXT("\xac00\\")},
      {54936, "\xc4\xe3\x90\x30\x81\x30", TEXT("\x4f60\xd800\xdc00")},
      {CP_UTF8, "\xe2\x82\xac\xf0\x9f\x98\x80", TEXT("\x20ac\xd83d\xde00")},
      {20127, "ascii", TEXT("ascii")},
  };
  for (const auto& one : cases) {
    EXPECT_TRUE(ToWide(one.page, one.narrow) == one.wide) << one.page;
    EXPECT_EQ(ToNarrow(one.page, one.wide), one.narrow) << one.page;
  }
}

TEST(CodePages, ReplaceWhatHasNoCounterpart) {
  EXPECT_EQ(ToNarrow(1252, TEXT("a\x4f60\xd83d\xde00z")), "a???z");
  EXPECT_EQ(ToNarrow(932, TEXT("\x30bd\x0e01")), "\x83\x5c?");
  EXPECT_EQ(ToNarrow(CP_UTF8, TEXT("a\xd83dz")), "a\xef\xbf\xbdz");
  EXPECT_TRUE(ToWide(CP_UTF8, "a\xffz") == TEXT("a\xfffdz"));
}

TEST(CodePages, CountAndTerminate) {
  WCHAR wide[8] = {};
  EXPECT_EQ(MultiByteToWideChar(932, 0, "\x83\x5c", -1, nullptr, 0), 2);
  EXPECT_EQ(MultiByteToWideChar(932, 0, "\x83\x5c", -1, wide, 8), 2);
  EXPECT_TRUE(WideText(wide) == TEXT("\x30bd"));
  std::fill_n(wide, 7, WCHAR{'x'});
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", 2, wide, 2), 2);
  EXPECT_TRUE(WideText(wide) == TEXT("abxxxxx")) << "no NUL is added where the source had none";
  EXPECT_EQ(WideCharToMultiByte(932, 0, TEXT("\x30bd"), -1, nullptr, 0, nullptr, nullptr), 3);
}

TEST(CodePages, FailWithThePreciseError) {
  char narrow[4];
  const struct {
    UINT page;
    LPCWSTR text;
    int length, size;
    DWORD error;
  } cases[] = {
      {932, TEXT("\x30bd\x30bd"), -1, 4, ERROR_INSUFFICIENT_BUFFER},
      {1252, TEXT("abcd"), -1, 4, ERROR_INSUFFICIENT_BUFFER},
      {1252, nullptr, -1, 4, ERROR_INVALID_PARAMETER},
      {1252, TEXT("a"), 0, 4, ERROR_INVALID_PARAMETER},
      {1252, TEXT("a"), -1, -1, ERROR_INVALID_PARAMETER},
      {4711, TEXT("a"), -1, 4, ERROR_INVALID_PARAMETER},
  };
  for (const auto& one : cases) {
    SetLastError(ERROR_SUCCESS);
    EXPECT_EQ(
        WideCharToMultiByte(one.page, 0, one.text, one.length, narrow, one.size, nullptr, nullptr),
        0);
    EXPECT_EQ(GetLastError(), one.error);
  }
}

TEST(SystemTexts, NeedAKnownCodeAndRoom) {
  constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  char text[1024];
  const DWORD length = FormatMessageA(kFlags, nullptr, ERROR_PIPE_BUSY, 0, text, 1024, nullptr);
  EXPECT_GT(length, DWORD{2});
  EXPECT_EQ(std::string(text).size(), length);
  EXPECT_EQ(std::string(text).substr(length - 2), "\r\n");
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, ERROR_PIPE_BUSY, 0, text, length, nullptr), DWORD{0});
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, 0x2FFFFFFF, 0, text, 1024, nullptr), DWORD{0});
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MR_MID_NOT_FOUND});
}

}  // namespace
