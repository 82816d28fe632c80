#include <algorithm>

#include "support/ostring.h"

namespace {

/// A position of a view as an index: -1 for none.
int ToIndex(std::size_t position) {
  return position == std::string_view::npos ? -1 : static_cast<int>(position);
}

template <class Char>
int CountOccurrences(std::basic_string_view<Char> text, std::basic_string_view<Char> sought) {
  int count = 0;
  for (std::size_t at = text.find(sought); at != text.npos;
       at = text.find(sought, at + sought.size())) {
    ++count;
  }
  return count;
}

}  // namespace

OString OString::Mid(int start, int count) const {
  const int length = GetLength();
  start = std::max(start, 0);
  if (start >= length) return OString();
  count = std::clamp(count, 0, length - start);
  if (count == length) return *this;
  return InForm(WorksWide(), [&]<class Char>() {
    return FromCharacters(View<Char>().data() + start, count, CodePage());
  });
}

OString OString::Mid(int start) const { return Mid(start, GetLength()); }

OString OString::Left(int count) const { return Mid(0, count); }

OString OString::Right(int count) const {
  const int length = GetLength();
  return Mid(length - std::min(count, length), count);
}

int OString::Insert(int position, const OString& text) {
  return InForm(WorksWideWith(text), [&]<class Char>() { return Splice<Char>(position, 0, text); });
}

int OString::Insert(int position, const char* text, int count) {
  return Insert(position, FromCharacters(text, count));
}

int OString::Insert(int position, const WCHAR* text, int count) {
  return Insert(position, FromCharacters(text, count));
}

void OString::Delete(int position, int count) {
  InForm(WorksWide(), [&]<class Char>() { return Splice<Char>(position, count, OString()); });
}

int OString::Replace(const OString& oldText, const OString& newText) {
  if (oldText.IsEmpty() || oldText.Compare(newText) == 0) return 0;
  return InForm(WorksWideWith(oldText) || WorksWideWith(newText),
                [&]<class Char>() { return ReplaceAll<Char>(oldText, newText); });
}

template <class Char>
int OString::ReplaceAll(const OString& oldText, const OString& newText) {
  const auto text = View<Char>();
  const auto sought = oldText.View<Char>();
  const auto replacement = newText.View<Char>();
  const int count = CountOccurrences(text, sought);
  if (count == 0) return 0;

  OString result(new OStringBuffer(CodePage()));
  const auto occurrences = static_cast<std::size_t>(count);
  Char* out = result._buffer->Edit<Char>(
      0, text.size() - occurrences * sought.size() + occurrences * replacement.size());
  std::size_t resume = 0;
  for (std::size_t at = text.find(sought); at != text.npos; at = text.find(sought, resume)) {
    out = std::copy(text.begin() + resume, text.begin() + at, out);
    out = std::copy(replacement.begin(), replacement.end(), out);
    resume = at + sought.size();
  }
  *std::copy(text.begin() + resume, text.end(), out) = 0;
  *this = std::move(result);
  return count;
}

OString& OString::TrimRight(const OString& set) {
  InForm(WorksWideWith(set), [&]<class Char>() {
    const auto text = View<Char>();
    const int kept = ToIndex(text.find_last_not_of(set.View<Char>())) + 1;
    const int trimmed = static_cast<int>(text.size()) - kept;
    return trimmed == 0 ? kept : Splice<Char>(kept, trimmed, OString());
  });
  return *this;
}

OString& OString::TrimLeft(const OString& set) {
  InForm(WorksWideWith(set), [&]<class Char>() {
    const auto text = View<Char>();
    const auto trimmed = std::min(text.find_first_not_of(set.View<Char>()), text.size());
    return trimmed == 0 ? 0 : Splice<Char>(0, static_cast<int>(trimmed), OString());
  });
  return *this;
}

void OString::PadLeft(int width, char fill) {
  const OString character(fill);
  for (int length = GetLength(); length < width; ++length) Insert(0, character);
}

void OString::FormatNumber(int value, int width) {
  const auto bits = static_cast<DWORD>(value);
  *this = OString(value < 0 ? DWORD{0} - bits : bits);
  PadLeft(width, '0');
  if (value < 0) Insert(0, "-");
}

int OString::FindFirst(const OString& character) const {
  return InForm(WorksWideWith(character), [&]<class Char>() {
    return ToIndex(View<Char>().find_first_of(character.View<Char>()));
  });
}

int OString::Find(char character) const { return FindFirst(OString(character)); }

int OString::Find(WCHAR character) const { return FindFirst(OString(character)); }

int OString::ReverseFind(char character) const { return ReverseFindOneOf(OString(character)); }

int OString::ReverseFind(WCHAR character) const { return ReverseFindOneOf(OString(character)); }

int OString::ReverseFindOneOf(const OString& set) const {
  return InForm(WorksWideWith(set),
                [&]<class Char>() { return ToIndex(View<Char>().find_last_of(set.View<Char>())); });
}
