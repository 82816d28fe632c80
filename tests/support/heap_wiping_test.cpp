/// A text may be a password: no memory that is given back still holds one.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "support/ostring.h"

namespace {

/// What stands in front of each block.
struct alignas(__STDCPP_DEFAULT_NEW_ALIGNMENT__) BlockSize {
  std::size_t bytes;
};

thread_local bool t_isWatched = false;
int g_blocksWithText = 0;

constexpr std::string_view kNarrowPiece("ZZZZ"), kWidePiece("Z\0Z\0Z\0Z\0", 8);

bool HoldsText(std::string_view bytes) {
  return bytes.find(kNarrowPiece) != bytes.npos || bytes.find(kWidePiece) != bytes.npos;
}

}  // namespace

void* operator new(std::size_t size) {
  auto* const header = static_cast<BlockSize*>(std::malloc(sizeof(BlockSize) + size));
  if (header == nullptr) throw std::bad_alloc();
  header->bytes = size;
  return std::memset(header + 1, '?', size);  // Nothing of a block that was there before.
}
void operator delete(void* block) noexcept {
  if (block == nullptr) return;
  auto* const header = static_cast<BlockSize*>(block) - 1;
  if (t_isWatched && HoldsText({static_cast<const char*>(block), header->bytes})) {
    ++g_blocksWithText;
  }
  std::free(header);
}
void operator delete(void* block, std::size_t) noexcept { ::operator delete(block); }

namespace {

constexpr char kText[] = "ZZZZZZZZZZ ZZZZZZZZZZ ZZZZZZZZZZ ZZZZZZZZZZ";
constexpr WCHAR kWideText[] = TEXT("ZZZZZZZZZZ ZZZZZZZZZZ ZZZZZZZZZZ ZZZZZZZZZZ");

/// What is done with a text before it goes.
using Use = void (*)(OString& text);
constexpr Use kUses[] = {
    [](OString&) {},
    [](OString& text) { text = ""; },
    [](OString& text) { text = "short"; },
    [](OString& text) { text = TEXT("longer than what stood there, and so in other memory"); },
    [](OString& text) { text << kText << kText; },
    [](OString& text) { text << kWideText; },
    [](OString& text) { text.Insert(3, kText); },
    [](OString& text) { text.Delete(2, 99); },
    [](OString& text) { text.Delete(0, 99); },
    [](OString& text) { text.Replace("Z", "-"); },
    [](OString& text) { text = text.Mid(4, 20); },
    [](OString& text) { OString(text) << "and its copy"; },
    [](OString& text) { text.TrimRight("Z").TrimLeft("Z"); },
};

TEST(OStringWiping, LeavesNoTextInMemoryThatIsGivenBack) {
  for (const bool isWide : {false, true}) {
    for (const bool hasBothForms : {false, true}) {
      for (const Use& use : kUses) {
        g_blocksWithText = 0;
        t_isWatched = true;
        {
          OString text = isWide ? OString(kWideText) : OString(kText);
          if (hasBothForms) static_cast<void>(isWide ? *text.nstring() : *text.wstring());
          use(text);
        }
        t_isWatched = false;
        EXPECT_EQ(g_blocksWithText, 0) << isWide << hasBothForms << &use - kUses;
      }
    }
  }
}

}  // namespace
