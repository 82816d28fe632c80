#include "platform/posix/api/code_pages.h"

#include <string.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <string>

#include "platform/posix/api/errors.h"
#include "platform/posix/api/registry.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/system/code_page_converter.h"

namespace {

constexpr UINT kDefaultAnsiPage = 1252;
constexpr LPCWSTR kCodePageKey = u"SYSTEM\\CurrentControlSet\\Control\\Nls\\CodePage";

/// 0 when the text is no number.
UINT ParseNumber(const WCHAR* text) {
  UINT number = 0;
  for (; *text != 0; ++text) {
    if (*text < u'0' || *text > u'9') return 0;
    number = number * 10 + (*text - u'0');
  }
  return number;
}

/// The registry's choice; 0 when there is none.
UINT ReadAnsiPage() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kCodePageKey, 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) {
    return 0;
  }
  std::array<WCHAR, 8> text{};
  DWORD type = REG_NONE;
  DWORD sizeBytes = (text.size() - 1) * sizeof(WCHAR);
  const LSTATUS status = RegQueryValueExW(key, u"ACP", nullptr, &type,
                                          reinterpret_cast<LPBYTE>(text.data()), &sizeBytes);
  RegCloseKey(key);
  return status == ERROR_SUCCESS && type == REG_SZ ? ParseNumber(text.data()) : 0;
}

platform::CodePage* FindPage(UINT codePage) {
  return platform::CodePage::Find(codePage == CP_ACP ? GetACP() : codePage);
}

/// The destination of a conversion; without one it only counts.
template <class Char>
class Output {
 public:
  Output(Char* destination, int sizeChars) : _destination(destination), _sizeChars(sizeChars) {}

  /// False when the characters do not fit.
  bool Put(const platform::CodePage::Piece<Char>& piece) {
    const int count = static_cast<int>(piece.unitCount);
    if (_sizeChars != 0 && count > _sizeChars - _written) return false;
    if (_sizeChars != 0) std::copy_n(piece.units.begin(), count, _destination + _written);
    _written += count;
    return true;
  }
  int Written() const { return _written; }

 private:
  Char* _destination;
  int _sizeChars;
  int _written = 0;
};

int FailWith(DWORD error) {
  SetLastError(error);
  return 0;
}

template <class In, class Out, class Step>
int Convert(DWORD flags, const In* source, int sourceLength, Out* destination, int destinationSize,
            const Step& step) {
  if (flags != 0) return FailWith(ERROR_INVALID_FLAGS);
  if (source == nullptr || sourceLength < -1 || sourceLength == 0 || destinationSize < 0 ||
      (destination == nullptr && destinationSize != 0)) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  std::size_t left = sourceLength == -1 ? std::char_traits<In>::length(source) + 1
                                        : static_cast<std::size_t>(sourceLength);
  Output<Out> output(destination, destinationSize);
  while (left > 0) {
    auto piece = step(source, left);
    const bool fits = output.Put(piece);
    source += piece.consumed;
    left -= piece.consumed;
    explicit_bzero(piece.units.data(), sizeof(piece.units));
    if (!fits) return FailWith(ERROR_INSUFFICIENT_BUFFER);
  }
  return output.Written();
}

}  // namespace

UINT GetACP() {
  static std::atomic<UINT> ansiPage{0};
  UINT page = ansiPage.load(std::memory_order_relaxed);
  if (page != 0) return page;
  const platform::KernelScope scope;
  page = ReadAnsiPage();
  if (platform::CodePage::Find(page) == nullptr) page = kDefaultAnsiPage;
  UINT first = 0;
  return ansiPage.compare_exchange_strong(first, page) ? page : first;
}

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR source, int sourceLength,
                        LPWSTR destination, int destinationSize) {
  const platform::KernelScope scope;
  platform::CodePage* const page = FindPage(codePage);
  if (page == nullptr) return FailWith(ERROR_INVALID_PARAMETER);
  return Convert(flags, source, sourceLength, destination, destinationSize,
                 [&](const char* text, std::size_t left) { return page->ToWide(text, left); });
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR source, int sourceLength,
                        LPSTR destination, int destinationSize, LPCSTR defaultChar,
                        LPBOOL usedDefaultChar) {
  const platform::KernelScope scope;
  platform::CodePage* const page = FindPage(codePage);
  if (page == nullptr || defaultChar != nullptr || usedDefaultChar != nullptr) {
    return FailWith(ERROR_INVALID_PARAMETER);
  }
  return Convert(flags, source, sourceLength, destination, destinationSize,
                 [&](const WCHAR* text, std::size_t left) { return page->ToNarrow(text, left); });
}
