#include <algorithm>
#include <cstring>
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

/// How many characters at the start are the same, at least: whole pieces, which compare much faster
/// than characters.
template <class Char>
std::size_t SameStart(std::basic_string_view<Char> left, std::basic_string_view<Char> right) {
  constexpr std::size_t kPiece = 16;
  const std::size_t pieces = std::min(left.size(), right.size()) / kPiece;
  for (std::size_t piece = 0; piece < pieces; ++piece) {
    const std::size_t start = piece * kPiece;
    if (std::memcmp(left.data() + start, right.data() + start, kPiece * sizeof(Char)) != 0) {
      return start;
    }
  }
  return pieces * kPiece;
}

/// Both texts end in a NUL, which takes part.
template <class Char>
int Order(std::basic_string_view<Char> leftText, std::basic_string_view<Char> rightText,
          int (*map)(int)) {
  const std::size_t same = SameStart(leftText, rightText);
  const Char* left = leftText.data() + same;
  const Char* right = rightText.data() + same;
  for (;; ++left, ++right) {
    const int leftRank = map(Rank(*left));
    const int rightRank = map(Rank(*right));
    if (leftRank != rightRank) return leftRank < rightRank ? -1 : 1;
    if (*left == 0) return 0;
  }
}

}  // namespace

int OString::CompareMapped(const OString& other, int (*map)(int)) const {
  return InForm(WorksWideWith(other),
                [&]<class Char>() { return Order(View<Char>(), other.View<Char>(), map); });
}

int OString::Compare(const OString& other) const { return CompareMapped(other, AsItIs); }

int OString::CompareNoCase(const OString& other) const { return CompareMapped(other, ToUpperCase); }

bool OString::operator==(const char* text) const { return Compare(OString(text)) == 0; }

bool OString::operator!=(const char* text) const { return Compare(OString(text)) != 0; }
