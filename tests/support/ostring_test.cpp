/// The string of the whole system: sharing, both forms, comparison and editing.
#include "support/ostring.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <thread>

namespace {

/// The text in either form; the text must be ASCII.
OString InForm(bool wide, const std::string& text) {
  if (!wide) return OString(text.c_str());
  return OString(std::basic_string<WCHAR>(text.begin(), text.end()).c_str());
}

TEST(OStringSharing, ChangingACopyLeavesTheOriginalInBothForms) {
  for (const auto change : std::initializer_list<void (*)(OString&)>{
           [](OString& text) { text << "x"; },
           [](OString& text) { text = TEXT("more than one step of thirty-two characters"); },
           [](OString& text) { text.Delete(0, 2); },
           [](OString& text) { text.Replace("a", "x"); }}) {
    for (const bool wide : {false, true}) {
      const OString original = InForm(wide, "abc");
      OString copy;
      copy << original;
      EXPECT_EQ(copy.nstring(), original.nstring()) << "they share one text";
      change(copy);
      EXPECT_STREQ(original.nstring(), "abc");
      EXPECT_NE(copy.Compare(original), 0);
    }
  }
}

TEST(OStringSharing, AStringMayBeItsOwnArgument) {
  OString text("0123456789abcdef");
  text << text << text;  // Grows twice.
  EXPECT_EQ(text.GetLength(), 64);
  text = text.wstring() + 59;
  text = text.nstring() + 1;
  EXPECT_STREQ(text.nstring(), "cdef");
  text.Insert(2, text.nstring(), 3);
  EXPECT_STREQ(text.nstring(), "cdcdeef");
  EXPECT_EQ(text.Replace(text, "x"), 1);
  text << text.nstring() << text.nstring();
  EXPECT_STREQ(text.nstring(), "xxxx");
}

TEST(OStringSharing, ThreadsHoldAndReleaseCopiesOfOneText) {
  const OString text("shared by two threads");
  {
    const auto copy = [&text] {
      for (int round = 0; round < 20000; ++round) OString another(text);
    };
    std::jthread first(copy), second(copy);
  }
  OString(text) << "!";
  EXPECT_STREQ(text.nstring(), "shared by two threads");
  OString alone("a text that nobody shares");
  const char* const place = alone.nstring();
  { const OString copy(alone); }
  alone.Insert(0, "-");
  EXPECT_EQ(alone.nstring(), place) << "its copy is gone: it is changed in place";
}

TEST(OStringForms, AreConvertedOnDemandAndKept) {
  const OString wide(TEXT("caf\x00e9 \x20ac"));
  EXPECT_FALSE(wide.is_valid_n());
  EXPECT_STREQ(wide.nstring(), "caf\xe9 \x80");
  EXPECT_TRUE(wide.is_valid_n());

  OString narrow("caf\xe9");
  const OString shared(narrow);
  EXPECT_EQ(std::basic_string<WCHAR>(narrow.wstring()), TEXT("caf\x00e9"));
  EXPECT_TRUE(shared.is_valid_w()) << "copies share what was converted";
  narrow << "!";
  EXPECT_FALSE(narrow.is_valid_n()) << "a modification leaves the working form alone";
  EXPECT_STREQ(narrow.nstring(), "caf\xe9!");
  narrow << "\xe9";
  EXPECT_EQ(std::basic_string<WCHAR>(narrow.wstring()), TEXT("caf\x00e9!\x00e9"));
}

TEST(OStringForms, EmptyStringsAreNeverNull) {
  const char* const none = nullptr;
  OString emptied("text");
  emptied.wstring();
  emptied = "";
  for (const OString& text : {OString(), OString(none), emptied, OString("  ").TrimRight()}) {
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_STREQ(text.nstring(), "");
    EXPECT_EQ(*text.wstring(), 0);
    EXPECT_TRUE(text == none);
  }
  EXPECT_STREQ((OString("text") << none).nstring(), "text");
}

TEST(OStringComparison, RanksNarrowBytesSignedAndWideOnesUnsigned) {
  const struct {
    OString left, right;
    int compare, noCase;
  } cases[] = {{"abc", "ABC", 1, 0},
               {"[", "a", -1, 1},
               {"\xe9", "z", -1, -1},
               {"ab", "ab\xe9", 1, 1},
               {"az", "AZ", 1, 0},
               {"`", "@", 1, 1},
               {"{", "[", 1, 1},
               {TEXT("az"), "AZ", 1, 0},
               {TEXT("\x00e9"), "z", 1, 1},
               {TEXT("\xffee"), TEXT("\x20ac"), 1, 1},
               {OString(), "", 0, 0}};
  for (const auto& one : cases) {
    SCOPED_TRACE(testing::Message() << one.left.nstring() << " and " << one.right.nstring());
    EXPECT_EQ(one.left.Compare(one.right), one.compare);
    EXPECT_EQ(one.right.Compare(one.left), -one.compare);
    EXPECT_EQ(one.left.CompareNoCase(one.right), one.noCase);
    EXPECT_EQ(one.left.CompareNoCase(one.right.nstring()), one.noCase);
    EXPECT_EQ(one.left == one.right.nstring(), one.compare == 0);
  }
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
  EXPECT_STREQ(text.Right(2).nstring(), "de");
  EXPECT_EQ(text.Right(10).nstring(), text.nstring()) << "the whole is shared";
  for (const OString& none : {text.Mid(5, 1), text.Mid(1, -1), text.Left(-1), text.Right(-3)}) {
    EXPECT_TRUE(none.IsEmpty());
  }
}

TEST_P(OStringEditing, InsertsAndDeletesWithinTheString) {
  OString text = Text("abc");
  EXPECT_EQ(text.Insert(1, OString("-")), 4);
  EXPECT_EQ(text.Insert(99, "xyz", 2), 6);
  EXPECT_EQ(text.Insert(-5, TEXT("<"), 9), 7);
  EXPECT_EQ(text.Insert(2, OString()), 7);
  text.Delete(5, 99);
  text.Delete(0, 1);
  text.Delete(1, -4);
  EXPECT_STREQ(text.nstring(), "a-bc");
  OString empty = Text("");
  EXPECT_EQ(empty.Insert(0, "ab", 9), 2);
  EXPECT_STREQ(empty.nstring(), "ab");
}

TEST_P(OStringEditing, ReplacesWithoutOverlap) {
  const struct {
    const char *text, *sought, *replacement, *result;
    int count;
  } cases[] = {{"aa", "a", "aa", "aaaa", 2},
               {"aaa", "aa", "b", "ba", 1},
               {"abcab", "ab", "", "c", 2},
               {"abc", "", "y", "abc", 0},
               {"abc", "b", "b", "abc", 0}};
  for (const auto& one : cases) {
    OString text = Text(one.text);
    EXPECT_EQ(text.Replace(one.sought, one.replacement), one.count) << one.text;
    EXPECT_STREQ(text.nstring(), one.result);
  }
  OString text = Text("a-b");
  EXPECT_EQ(text.Replace("-", TEXT("\x20ac")), 1);
  EXPECT_EQ(text.Compare(TEXT("a\x20ac") + OString("b")), 0);
  EXPECT_EQ(text.Replace(TEXT("\x20ac"), "="), 1);
  EXPECT_STREQ(text.nstring(), "a=b");
}

TEST_P(OStringEditing, TrimsAndSearchesSets) {
  EXPECT_STREQ(Text(" \tab c\r\n").TrimRight().nstring(), " \tab c");
  EXPECT_STREQ(Text(" \tab c\r\n").TrimLeft().nstring(), "ab c\r\n");
  EXPECT_STREQ(Text("xxabyx").TrimLeft("x").TrimRight("xy").nstring(), "ab");

  const OString path = Text("C:\\a\\b:c");
  EXPECT_EQ(path.Find('\\'), 2);
  EXPECT_EQ(path.ReverseFind('\\'), 4);
  EXPECT_EQ(path.ReverseFind(TEXT(':')), 6);
  EXPECT_EQ(path.ReverseFindOneOf("/\\"), 4);
}

INSTANTIATE_TEST_SUITE_P(BothForms, OStringEditing, testing::Bool(),
                         [](const auto& form) { return form.param ? "wide" : "narrow"; });

TEST(OStringNumbers, AreWrittenInFull) {
  OString text("n=");
  text << -42 << "," << 0 << "," << std::numeric_limits<int>::min();
  EXPECT_STREQ(text.nstring(), "n=-42,0,-2147483648");
  EXPECT_STREQ(OString(DWORD{4294967295U}).nstring(), "4294967295");
  EXPECT_STREQ(FormatHex(0x1A2C).nstring(), "00001A2C");

  text.FormatNumber(12345, 4);
  EXPECT_STREQ(text.nstring(), "12345");
  text.FormatNumber(std::numeric_limits<int>::min(), 12);
  EXPECT_STREQ(text.nstring(), "-002147483648");
}

TEST(OStringNumbers, TimesFollowTheFormat) {
  const SYSTEMTIME time{2024, 2, 4, 29, 23, 5, 9, 0};
  EXPECT_STREQ(FormatTime(time, "%Y-%m-%d %H:%M:%S %a").nstring(), "2024-02-29 23:05:09 Thu");
  EXPECT_TRUE(FormatTime(time, std::string(128, 'x').c_str()).IsEmpty());
}

}  // namespace
