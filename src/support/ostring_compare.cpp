#include <type_traits>

#include "support/ostring.h"

namespace {

int AsItIs(int character) { return character; }

int ToUpperCase(int character) {
  return character >= 'a' && character <= 'z' ? character - 'a' + 'A' : character;
}

/// Narrow characters count as signed on every system, wide ones as unsigned.
int Rank(char character) { return static_cast<signed char>(character); }
int Rank(WCHAR character) { return static_cast<std::uint16_t>(character); }

/// Both texts end in a NUL, which takes part.
template <class Char>
int Order(const Char* left, const Char* right, int (*map)(int)) {
  for (;; ++left, ++right) {
    const int leftRank = map(Rank(*left));
    const int rightRank = map(Rank(*right));
    if (leftRank != rightRank) return leftRank < rightRank ? -1 : 1;
    if (*left == 0) return 0;
  }
}

}  // namespace

int OString::CompareMapped(const OString& other, int (*map)(int)) const {
  return InForm(WorksWideWith(other), [&]<class Char>() {
    return Order(View<Char>().data(), other.View<Char>().data(), map);
  });
}

int OString::Compare(const OString& other) const { return CompareMapped(other, AsItIs); }

int OString::CompareNoCase(const OString& other) const { return CompareMapped(other, ToUpperCase); }

bool OString::operator==(const char* text) const { return Compare(OString(text)) == 0; }

bool OString::operator!=(const char* text) const { return Compare(OString(text)) != 0; }
