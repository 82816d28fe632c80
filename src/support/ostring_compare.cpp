#include <cstring>
#include <functional>

#include "support/ostring.h"

namespace {

/// Narrow characters count as signed on every system, wide ones as unsigned.
int Rank(char character) { return static_cast<signed char>(character); }
int Rank(WCHAR character) { return static_cast<std::uint16_t>(character); }

constexpr auto kToUpperCase = [](int rank) {
  return rank >= 'a' && rank <= 'z' ? rank - 'a' + 'A' : rank;
};

/// The C library finds out many times faster that two narrow texts are the same.
bool AreSame(const char* left, const char* right) { return std::strcmp(left, right) == 0; }
bool AreSame(const WCHAR*, const WCHAR*) { return false; }

/// Both texts end in a NUL, which takes part.
template <class Char, class Map>
int Order(const Char* left, const Char* right, Map map) {
  if (AreSame(left, right)) return 0;
  for (;; ++left, ++right) {
    const int leftRank = map(Rank(*left));
    const int rightRank = map(Rank(*right));
    if (leftRank != rightRank) return leftRank < rightRank ? -1 : 1;
    if (*left == 0) return 0;
  }
}

}  // namespace

template <class Map>
int OString::CompareMapped(const OString& other, Map map) const {
  return InForm(WorksWideWith(other),
                [&]<class Char>() { return Order(Text<Char>(), other.Text<Char>(), map); });
}

template <class Map>
int OString::CompareMapped(const char* text, Map map) const {
  if (!StaysNarrow()) return CompareMapped(OString(text), map);
  return Order(nstring(), text == nullptr ? "" : text, map);
}

int OString::CompareInWorkingForm(const OString& other) const {
  return CompareMapped(other, std::identity());
}

int OString::CompareNoCase(const OString& other) const {
  return CompareMapped(other, kToUpperCase);
}

int OString::CompareNoCase(const char* text) const { return CompareMapped(text, kToUpperCase); }

bool OString::operator==(const char* text) const {
  return CompareMapped(text, std::identity()) == 0;
}

bool OString::operator!=(const char* text) const { return !(*this == text); }
