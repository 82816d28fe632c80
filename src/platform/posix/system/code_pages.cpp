#include "platform/posix/api/code_pages.h"

#include <string.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <string>
#include <type_traits>

#include "platform/posix/api/errors.h"
#include "platform/posix/api/registry.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/system/iconv_page.h"

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

platform::IconvPage* FindPage(UINT codePage) {
  return platform::IconvPage::Find(codePage == CP_ACP ? GetACP() : codePage);
}

/// The destination of a conversion; without one it only counts.
template <class Char>
class Output {
 public:
  Output(Char* destination, int sizeChars) : _destination(destination), _sizeChars(sizeChars) {}

  /// Takes what is below 0x80 at the start of `text` and fits; it is the same in every page.
  template <class In>
  std::size_t PutAscii(const In* text, std::size_t count) {
    if (_sizeChars != 0) count = std::min(count, static_cast<std::size_t>(_sizeChars - _written));
    const In* const end = std::find_if(text, text + count, [](In character) {
      return static_cast<std::make_unsigned_t<In>>(character) >= 0x80;
    });
    if (_sizeChars != 0) std::copy(text, end, _destination + _written);
    _written += static_cast<int>(end - text);
    return static_cast<std::size_t>(end - text);
  }

  /// False when the characters do not fit.
  bool Put(const platform::IconvPage::Piece<Char>& piece) {
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

/// A system error code, 0 with the number of characters written on success.
template <class In, class Out, class Step>
DWORD Convert(DWORD flags, const In* source, int sourceLength, Out* destination,
              int destinationSize, int& written, const Step& step) {
  if (flags != 0) return ERROR_INVALID_FLAGS;
  if (source == nullptr || sourceLength < -1 || sourceLength == 0 || destinationSize < 0 ||
      (destination == nullptr && destinationSize != 0)) {
    return ERROR_INVALID_PARAMETER;
  }
  std::size_t left = sourceLength == -1 ? std::char_traits<In>::length(source) + 1
                                        : static_cast<std::size_t>(sourceLength);
  Output<Out> output(destination, destinationSize);
  for (;;) {
    const std::size_t ascii = output.PutAscii(source, left);
    source += ascii;
    left -= ascii;
    if (left == 0) break;
    auto piece = step(source, left);
    const bool fits = output.Put(piece);
    source += piece.consumed;
    left -= piece.consumed;
    explicit_bzero(piece.units.data(), sizeof(piece.units));
    if (!fits) return ERROR_INSUFFICIENT_BUFFER;
  }
  written = output.Written();
  return ERROR_SUCCESS;
}

int Report(DWORD error, int written) {
  if (error != ERROR_SUCCESS) SetLastError(error);
  return written;
}

}  // namespace

UINT GetACP() {
  static std::atomic<UINT> ansiPage{0};
  UINT page = ansiPage.load(std::memory_order_relaxed);
  if (page != 0) return page;
  const platform::KernelScope scope;
  page = ReadAnsiPage();
  if (platform::IconvPage::Find(page) == nullptr) page = kDefaultAnsiPage;
  UINT first = 0;
  return ansiPage.compare_exchange_strong(first, page) ? page : first;
}

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR source, int sourceLength,
                        LPWSTR destination, int destinationSize) {
  const platform::KernelScope scope;
  platform::IconvPage* const page = FindPage(codePage);
  if (page == nullptr) return Report(ERROR_INVALID_PARAMETER, 0);
  int written = 0;
  const DWORD error =
      Convert(flags, source, sourceLength, destination, destinationSize, written,
              [&](const char* text, std::size_t left) { return page->ToWide(text, left); });
  return Report(error, written);
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR source, int sourceLength,
                        LPSTR destination, int destinationSize, LPCSTR defaultChar,
                        LPBOOL usedDefaultChar) {
  const platform::KernelScope scope;
  platform::IconvPage* const page = FindPage(codePage);
  if (page == nullptr || defaultChar != nullptr || usedDefaultChar != nullptr) {
    return Report(ERROR_INVALID_PARAMETER, 0);
  }
  int written = 0;
  const DWORD error =
      Convert(flags, source, sourceLength, destination, destinationSize, written,
              [&](const WCHAR* text, std::size_t left) { return page->ToNarrow(text, left); });
  return Report(error, written);
}
