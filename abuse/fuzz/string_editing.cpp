/// Strings in mixed forms, edited as an input says. Its first byte chooses the code page of the
/// process, which is read once: the first input of a process decides.
#include <array>
#include <string>

#include "fuzz/fuzz_target.h"
#include "support/ostring.h"
#include "support/scoped_handle.h"

namespace {

using Fuzz::Input;
using Fuzz::Require;

constexpr int kMaxOperations = 64;
constexpr int kMaxLength = 1 << 16;

void ChooseCodePage(std::uint8_t choice) {
  static bool isChosen = false;
  if (isChosen) return;
  isChosen = true;
  constexpr const WCHAR* kPages[] = {TEXT("1252"), TEXT("932"), TEXT("1251"), TEXT("936")};
  const std::u16string page = kPages[choice % std::size(kPages)];
  // A path in a string would have the process ask for its page before it is there.
  ScopedKey key;
  RegCreateKeyExW(HKEY_LOCAL_MACHINE, TEXT("SYSTEM\\CurrentControlSet\\Control\\Nls\\CodePage"), 0,
                  nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, key.Receive(),
                  nullptr);
  RegSetValueExW(key.Get(), TEXT("ACP"), 0, REG_SZ, reinterpret_cast<const BYTE*>(page.c_str()),
                 static_cast<DWORD>((page.size() + 1) * sizeof(WCHAR)));
}

OString NextText(Input& input) {
  const std::uint8_t form = input.Byte();
  const unsigned length = form / 4;
  switch (form % 4) {
    case 0:
      return OString(input.Text(length).c_str());
    case 1:
      return OString(input.WideText(length).c_str());
    case 2: {  // Both forms.
      OString text(input.Text(length).c_str());
      static_cast<void>(text.wstring());
      return text;
    }
    default:
      return OString(std::string(length, static_cast<char>(input.Byte())).c_str());
  }
}

/// A position or a count around `length`, beyond its ends too.
int NextPosition(Input& input, int length) {
  return static_cast<int>(input.Number(static_cast<unsigned>(length) + 8)) - 4;
}

bool AreEqual(const OString& left, const OString& right) { return left.Compare(right) == 0; }

void CheckParts(const OString& text, int at) {
  const int length = text.GetLength();
  Require(text.Left(at).GetLength() <= length && text.Right(at).GetLength() <= length,
          "a part is no longer than the whole");
  if (at < 0 || at > length) return;
  Require(AreEqual(text.Left(at) + text.Mid(at), text), "two parts make the whole");
}

void CheckSearch(const OString& text, std::uint8_t character) {
  const int first = text.Find(static_cast<char>(character));
  const int last = text.ReverseFind(static_cast<char>(character));
  Require(first <= last && last < text.GetLength() && (first < 0) == (last < 0),
          "the first comes before the last, both within");
}

void InsertAndTakeOut(OString& text, const OString& inserted, int at) {
  const OString before = text;
  const int length = before.GetLength();
  const int added = text.Insert(at, inserted) - length;
  Require(text.GetLength() == length + added, "Insert returns the new length");
  if (added > 0 && at >= 0 && at <= length) {
    OString again = text;
    again.Delete(at, added);
    Require(AreEqual(again, before), "what was inserted can be taken out");
  }
}

void Compare(const OString& text, const OString& other) {
  Require(text.Compare(other) == -other.Compare(text), "comparing is antisymmetric");
  Require(text.CompareNoCase(other) == -other.CompareNoCase(text), "without case too");
}

/// What is done with `text`, another one, and what follows in the input.
using Edit = void (*)(OString& text, const OString& other, Input& input);
constexpr Edit kEdits[] = {
    [](OString& text, const OString& other, Input&) { text << other; },
    [](OString& text, const OString& other, Input& input) {
      InsertAndTakeOut(text, other, NextPosition(input, text.GetLength()));
    },
    [](OString& text, const OString&, Input& input) {
      const int length = text.GetLength(), at = NextPosition(input, length);
      text.Delete(at, NextPosition(input, length));
    },
    [](OString& text, const OString& other, Input& input) { text.Replace(other, NextText(input)); },
    [](OString& text, const OString& other, Input&) { text.TrimLeft(other).TrimRight(other); },
    [](OString& text, const OString&, Input& input) {
      const int length = NextPosition(input, text.GetLength());
      text.PadLeft(length, static_cast<char>(input.Byte()));
    },
    [](OString& text, const OString&, Input& input) {
      CheckParts(text, NextPosition(input, text.GetLength()));
    },
    [](OString& text, const OString&, Input& input) { CheckSearch(text, input.Byte()); },
    [](OString& text, const OString& other, Input&) { Compare(text, other); },
    [](OString& text, const OString&, Input& input) {
      static_cast<void>(input.Byte() % 2 == 0 ? text.nstring()[0] == 0 : text.wstring()[0] == 0);
    },
    [](OString& text, const OString&, Input&) { text = OString(text.wstring()); },
    [](OString& text, const OString&, Input& input) {
      const auto number = static_cast<int>(input.Number(UINT32_MAX));
      text.FormatNumber(number, NextPosition(input, 16));
    },
};

}  // namespace

void Fuzz::StringEditing(Bytes bytes) {
  Input input(bytes);
  ChooseCodePage(input.Byte());
  OString text = NextText(input);
  for (int i = 0; i < kMaxOperations && !input.IsAtEnd() && text.GetLength() < kMaxLength; ++i) {
    const OString before = text;
    const std::u16string kept = before.wstring();
    const Edit edit = kEdits[input.Byte() % std::size(kEdits)];
    const OString other = NextText(input);
    edit(text, other, input);
    Require(kept == before.wstring(), "a copy stays as it is");
    Require(text.IsEmpty() == (text.GetLength() == 0), "only an empty string has no length");
  }
}
