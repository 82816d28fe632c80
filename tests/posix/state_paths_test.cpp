#include "platform/posix/kernel/state_paths.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "platform/posix/kernel/text.h"
#include "platform/windows_api.h"

namespace {

TEST(StatePathsTest, DrivesLieOverTheFileSystem) {
  const std::string systemDrive = platform::StateRootPath() + "/drive_c";
  const struct {
    const char16_t* windows;
    std::string native;
  } cases[] = {
      {u"C:\\Log Files\\a.txt", systemDrive + "/Log Files/a.txt"},
      {u"c:/a/./b\\..\\c", systemDrive + "/a/c"},
      {u"C:\\", systemDrive},
      {u"C:\\..\\..\\etc\\passwd", systemDrive + "/etc/passwd"},
      {u"\\\\?\\C:\\a", systemDrive + "/a"},
      {u"Z:\\usr\\lib", "/usr/lib"},
      {u"\\usr\\lib", "/usr/lib"},
      {u"a\\\u00e4\U0001F3F7.txt", "a/\xC3\xA4\xF0\x9F\x8F\xB7.txt"},
  };
  for (const auto& example : cases) {
    SCOPED_TRACE(platform::ToUtf8(example.windows));
    std::string native;
    EXPECT_EQ(platform::NativePathOf(example.windows, native), 0U);
    EXPECT_EQ(native, example.native);
  }
  for (const char16_t* none : {u"", u"\\\\server\\share", u"D:\\a", u"C:a"}) {
    std::string native;
    EXPECT_NE(platform::NativePathOf(none, native), 0U) << platform::ToUtf8(none);
  }
}

TEST(StatePathsTest, WhatWindowsCannotExpressComesBackAsItWas) {
  const std::string names[] = {"/a\\b/c",
                               "/\xFF\xFE",
                               "/caf\xE9/\\",
                               "/\xEF\x81\x9C",
                               "/\xEF\x82\xA9\xA9",
                               "/\xED\xA0\x80",
                               "/plain \xC3\xA4 \xF0\x9F\x8F\xB7"};
  std::set<std::u16string> windowsPaths;
  for (const std::string& name : names) {
    const std::u16string windowsPath = platform::ToWindowsPath(name);
    windowsPaths.insert(windowsPath);
    std::string native;
    EXPECT_EQ(platform::NativePathOf(windowsPath.c_str(), native), 0U);
    EXPECT_EQ(native, name);
  }
  EXPECT_EQ(windowsPaths.size(), std::size(names));
  EXPECT_EQ(platform::ToWindowsPath("/a\\b/c"), u"Z:\\a\uF05Cb\\c");
}

TEST(TextTest, MalformedTextIsReplacedAndTheRestKept) {
  // A lone byte, an overlong form, a surrogate, a sequence cut short.
  EXPECT_EQ(platform::ToUtf16("\x80|\xC0\xAF|\xED\xA0\x80|\xE2\x82"),
            u"\uFFFD|\uFFFD|\uFFFD|\uFFFD");
}

}  // namespace
