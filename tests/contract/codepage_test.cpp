/// Conversions between code pages and UTF-16.
#include <gtest/gtest.h>

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
  } cases[] = {{1252, "caf\xe9 \x80\x9f", TEXT("caf\x00e9 \x20ac\x0178")},
               {1252, "\x81\x8d\x8f\x90\x9d", TEXT("\x0081\x008d\x008f\x0090\x009d")},
               {1255, "\xe0\xc8", TEXT("\x05d0\x05b8")},
               {1258, "a\xcc", TEXT("a\x0300")},
               {932, "\x83\x5c\\~\xb1", TEXT("\x30bd\\~\xff71")},
               {949, "\xb0\xa1\x81\x41", TEXT("\xac00\xac02")},
               {437, "\x80\xe1", TEXT("\x00c7\x00df")},
               {850, "\xd5", TEXT("\x0131")},
               {874, "\x80\xa1\x81", TEXT("\x20ac\x0e01\x0081")},
               {936, "\xb0\xa1", TEXT("\x554a")},
               {950, "\xa4\x40", TEXT("\x4e00")},
               {1250, "\xa5\x81", TEXT("\x0104\x0081")},
               {1251, "\xc0\x98", TEXT("\x0410\x0098")},
               {1253, "\xc1\x81", TEXT("\x0391\x0081")},
               {1254, "\xd0\x81", TEXT("\x011e\x0081")},
               {1255, "\x81", TEXT("\x0081")},
               {1256, "\xc7", TEXT("\x0627")},
               {1257, "\xc0\x81", TEXT("\x0104\x0081")},
               {1258, "\x8a", TEXT("\x008a")},
               {1361, "\x88\x61", TEXT("\xac00")},
               {20127, "~", TEXT("~")},
               {CP_UTF8, "\xe2\x82\xac\xf0\x9f\x98\x80", TEXT("\x20ac\xd83d\xde00")}};
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

}  // namespace
