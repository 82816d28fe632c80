/// The string of the whole system: sharing, both forms, comparison and editing.
#include "support/ostring.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace {

/// The text in either form; the text must be ASCII.
OString InForm(bool wide, const std::string& text) {
  if (!wide) return OString(text.c_str());
  return OString(std::basic_string<WCHAR>(text.begin(), text.end()).c_str());
}

TEST(OStringSharing, CopiesAndAppendsToEmptyStringsShareOneText) {
  const OString original("abcde");
  OString appended;
  appended << original;
  EXPECT_EQ(OString(original).nstring(), original.nstring());
  EXPECT_EQ(appended.nstring(), original.nstring());
  EXPECT_EQ(original.Right(10).nstring(), original.nstring());
  EXPECT_EQ(original.Mid(0, 99).nstring(), original.nstring());
}

TEST(OStringSharing, ChangingACopyLeavesTheOriginalInBothForms) {
  using Change = void (*)(OString&);
  const Change changes[] = {
      [](OString& text) { text << "x"; },
      [](OString& text) { text = "x"; },
      [](OString& text) { text = TEXT("a text of more than one step of thirty-two characters"); },
      [](OString& text) { text.Insert(1, TEXT("x"), 1); },
      [](OString& text) { text.Delete(0, 2); },
      [](OString& text) { text.Replace("a", "x"); },
      [](OString& text) { text.TrimLeft("a"); },
      [](OString& text) { text.FormatNumber(7, 3); },
  };
  for (const Change change : changes) {
    for (const bool wide : {false, true}) {
      const OString original = InForm(wide, "abc");
      OString copy(original);
      change(copy);
      EXPECT_STREQ(original.nstring(), "abc");
      EXPECT_NE(copy.Compare(original), 0);
    }
  }
}

TEST(OStringSharing, AStringMayBeItsOwnArgument) {
  OString text("0123456789abcdef");
  text << text;
  EXPECT_STREQ(text.nstring(), "0123456789abcdef0123456789abcdef");
  text = text.nstring() + 28;
  EXPECT_STREQ(text.nstring(), "cdef");
  text.Insert(2, text.nstring(), 3);
  EXPECT_STREQ(text.nstring(), "cdcdeef");
  EXPECT_EQ(text.Replace(text, "x"), 1);
  text = *&text;
  EXPECT_STREQ(text.nstring(), "x");
}

TEST(OStringSharing, ThreadsReleaseCopiesIndependently) {
  const OString shared("shared by all");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([copy = shared]() mutable {
      for (int round = 0; round < 2000; ++round) {
        OString other(copy);
        other << round;
        copy = OString(copy);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_STREQ(shared.nstring(), "shared by all");
}

TEST(OStringForms, AreConvertedOnDemandAndKept) {
  const OString wide(TEXT("caf\x00e9 \x20ac"));
  EXPECT_FALSE(wide.is_valid_n());
  EXPECT_STREQ(wide.nstring(), "caf\xe9 \x80");
  EXPECT_TRUE(wide.is_valid_n());
  EXPECT_TRUE(wide.is_valid_w());

  OString narrow("caf\xe9");
  const OString shared(narrow);
  EXPECT_EQ(std::basic_string<WCHAR>(narrow.wstring()), TEXT("caf\x00e9"));
  EXPECT_TRUE(shared.is_valid_w()) << "copies share what was converted";
  narrow << "!";
  EXPECT_TRUE(narrow.is_valid_w());
  EXPECT_FALSE(narrow.is_valid_n()) << "a modification leaves the working form alone";
  EXPECT_STREQ(narrow.nstring(), "caf\xe9!");
}

TEST(OStringForms, EmptyStringsAreNeverNull) {
  const char* const noNarrow = nullptr;
  const WCHAR* const noWide = nullptr;
  OString emptied("text");
  emptied.wstring();
  emptied = "";
  for (const OString& text : {OString(), OString(noNarrow), OString(noWide), OString(""), emptied,
                              OString("x").Mid(7, 1), OString("  ").TrimRight()}) {
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.GetLength(), 0);
    EXPECT_STREQ(text.nstring(), "");
    EXPECT_EQ(*text.wstring(), 0);
    EXPECT_TRUE(text == "");
  }
}

TEST(OStringForms, GrowKeepingTheText) {
  for (const bool wide : {false, true}) {
    OString text = InForm(wide, "");
    std::string expected;
    for (int i = 0; i < 300; ++i) {
      text << InForm(wide, "ab") << InForm(i % 64 == 63, "c");
      expected += "abc";
      ASSERT_STREQ(OString(text).nstring(), expected.c_str());
    }
    text = "short";
    EXPECT_STREQ(text.nstring(), "short");
  }
}

TEST(OStringComparison, RanksNarrowBytesSignedAndWideOnesUnsigned) {
  const struct {
    OString left, right;
    int compare, noCase;
  } cases[] = {
      {"abc", "abc", 0, 0},
      {"abc", "ABC", 1, 0},
      {"ab", "abc", -1, -1},
      {"b", "abc", 1, 1},
      {"[", "a", -1, 1},
      {"\xe9", "z", -1, -1},
      {"ab", "ab\xe9", 1, 1},
      {"\xe9", "\xc9", 1, 1},
      {TEXT("\x00e9"), "z", 1, 1},
      {TEXT("\xffee"), TEXT("\x20ac"), 1, 1},
      {"\x80", TEXT("\x20ac"), 0, 0},
      {OString(), "", 0, 0},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(testing::Message() << one.left.nstring() << " and " << one.right.nstring());
    EXPECT_EQ(one.left.Compare(one.right), one.compare);
    EXPECT_EQ(one.right.Compare(one.left), -one.compare);
    EXPECT_EQ(one.left.CompareNoCase(one.right), one.noCase);
  }
  EXPECT_TRUE(OString(TEXT("abc")) == "abc");
  EXPECT_TRUE(OString("abc") != "abd");
}

/// Every editing operation on both forms.
class OStringEditing : public testing::TestWithParam<bool> {
 protected:
  OString Text(const std::string& text) const { return InForm(GetParam(), text); }
};

TEST_P(OStringEditing, CutsSubstringsAtTheEnds) {
  const OString text = Text("abcde");
  EXPECT_STREQ(text.Mid(3, 10).nstring(), "de");
  EXPECT_STREQ(text.Mid(-2, 2).nstring(), "ab");
  EXPECT_STREQ(text.Mid(2).nstring(), "cde");
  EXPECT_STREQ(text.Left(2).nstring(), "ab");
  EXPECT_STREQ(text.Right(2).nstring(), "de");
  for (const OString& none : {text.Mid(5, 1), text.Mid(1, -1), text.Left(-1), text.Right(0),
                              text.Right(-3), OString().Left(3)}) {
    EXPECT_TRUE(none.IsEmpty());
  }
}

TEST_P(OStringEditing, InsertsAndDeletesWithinTheString) {
  OString text = Text("abc");
  EXPECT_EQ(text.Insert(1, OString("-")), 4);
  EXPECT_EQ(text.Insert(99, "xyz", 2), 6);
  EXPECT_EQ(text.Insert(-5, TEXT("<"), 9), 7);
  EXPECT_EQ(text.Insert(2, OString()), 7);
  EXPECT_STREQ(text.nstring(), "<a-bcxy");
  text.Delete(5, 99);
  text.Delete(0, 1);
  text.Delete(1, 0);
  text.Delete(1, -4);
  EXPECT_STREQ(text.nstring(), "a-bc");
  text.Delete(-1, 4);
  EXPECT_TRUE(text.IsEmpty());
}

TEST_P(OStringEditing, ReplacesWithoutOverlap) {
  const struct {
    const char *text, *sought, *replacement, *result;
    int count;
  } cases[] = {
      {"a b c", " ", "_", "a_b_c", 2}, {"aa", "a", "aa", "aaaa", 2}, {"aaa", "aa", "b", "ba", 1},
      {"abcab", "ab", "", "c", 2},     {"aa", "aa", "", "", 1},      {"abc", "x", "y", "abc", 0},
      {"abc", "", "y", "abc", 0},      {"abc", "b", "b", "abc", 0},  {"", "a", "b", "", 0},
  };
  for (const auto& one : cases) {
    OString text = Text(one.text);
    EXPECT_EQ(text.Replace(one.sought, one.replacement), one.count) << one.text;
    EXPECT_STREQ(text.nstring(), one.result);
  }
  OString text = Text("a/b");
  EXPECT_EQ(text.Replace("/", TEXT("\x20ac")), 1);
  EXPECT_FALSE(text.is_valid_n()) << "one wide operand makes the operation wide";
  EXPECT_STREQ(text.nstring(),
               "a\x80"
               "b");
}

TEST_P(OStringEditing, TrimsAndSearchesSets) {
  EXPECT_STREQ(Text(" \tab c\r\n").TrimRight().nstring(), " \tab c");
  EXPECT_STREQ(Text(" \tab c\r\n").TrimLeft().nstring(), "ab c\r\n");
  EXPECT_STREQ(Text("xxabyx").TrimLeft("x").TrimRight("xy").nstring(), "ab");
  EXPECT_TRUE(Text(" \r\n").TrimLeft().IsEmpty());

  const OString path = Text("C:\\a\\b:c");
  EXPECT_EQ(path.Find('\\'), 2);
  EXPECT_EQ(path.ReverseFind('\\'), 4);
  EXPECT_EQ(path.Find(TEXT('z')), -1);
  EXPECT_EQ(path.ReverseFind(TEXT(':')), 6);
  EXPECT_EQ(path.ReverseFindOneOf("/\\"), 4);
  EXPECT_EQ(path.ReverseFindOneOf(""), -1);
  EXPECT_EQ(OString().Find('a'), -1);
}

INSTANTIATE_TEST_SUITE_P(BothForms, OStringEditing, testing::Bool(),
                         [](const auto& form) { return form.param ? "wide" : "narrow"; });

TEST(OStringNumbers, AreWrittenInFull) {
  OString text("n=");
  text << -42 << "," << 0 << "," << std::numeric_limits<int>::min();
  EXPECT_STREQ(text.nstring(), "n=-42,0,-2147483648");
  EXPECT_STREQ(OString(DWORD{0}).nstring(), "0");
  EXPECT_STREQ(OString(DWORD{4294967295U}).nstring(), "4294967295");
  EXPECT_STREQ(FormatHex(0x1A2C).nstring(), "00001A2C");
  EXPECT_STREQ(FormatHex(0).nstring(), "00000000");

  const struct {
    int value, width;
    const char* expected;
  } padded[] = {{7, 4, "0007"},
                {12345, 4, "12345"},
                {-7, 4, "-0007"},
                {0, 0, "0"},
                {std::numeric_limits<int>::min(), 4, "-2147483648"}};
  for (const auto& one : padded) {
    text.FormatNumber(one.value, one.width);
    EXPECT_STREQ(text.nstring(), one.expected);
  }
}

TEST(OStringNumbers, TimesFollowTheFormat) {
  SYSTEMTIME time{};
  time.wYear = 2024;
  time.wMonth = 2;
  time.wDayOfWeek = 4;
  time.wDay = 29;
  time.wHour = 23;
  time.wMinute = 5;
  time.wSecond = 9;
  EXPECT_STREQ(FormatTime(time, "%Y-%m-%d %H:%M:%S %a").nstring(), "2024-02-29 23:05:09 Thu");
  const std::string tooLong(128, 'x');
  EXPECT_TRUE(FormatTime(time, tooLong.c_str()).IsEmpty());
}

TEST(OStringNumbers, ConcatenationLeavesItsOperands) {
  const OString left("left");
  EXPECT_STREQ((left + " and " + OString(TEXT("right"))).nstring(), "left and right");
  EXPECT_STREQ(left.nstring(), "left");
}

}  // namespace
