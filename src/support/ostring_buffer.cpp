#include "support/ostring_buffer.h"

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <string>

#include "support/secure_wipe.h"

namespace {

constexpr std::array<DWORD, 6> kMultiBytePages = {932, 936, 949, 950, 1361, 54936};

constexpr std::uint64_t kCapacityStepChars = 32;

template <class Char>
using OtherForm = std::conditional_t<std::is_same_v<Char, char>, WCHAR, char>;

template <class Char>
std::uint64_t LengthOf(const Char* text) {
  return std::char_traits<Char>::length(text);
}

std::uint64_t CapacityFor(std::uint64_t lengthChars) {
  return (lengthChars + kCapacityStepChars) & ~(kCapacityStepChars - 1);
}

template <class Char>
Char* NewForm(std::uint64_t roomBytes) {
  Char* form = new Char[roomBytes / sizeof(Char)];
  *form = 0;
  return form;
}

template <class Char>
void WipeAndDelete(Char* form, std::uint64_t roomBytes) {
  SecureWipe(form, roomBytes);
  delete[] form;
}

bool IsWithin(const void* position, const void* start, std::uint64_t sizeBytes) {
  const auto* const first = static_cast<const BYTE*>(start);
  const auto* const at = static_cast<const BYTE*>(position);
  return first != nullptr && !std::less<>()(at, first) && std::less<>()(at, first + sizeBytes);
}

/// The bytes that the text takes with its NUL, 0 on failure; `narrow` may be null while `room` is
/// 0.
int ToNarrow(DWORD codePage, const WCHAR* text, char* narrow, int room) {
  return WideCharToMultiByte(codePage, 0, text, -1, narrow, room, nullptr, nullptr);
}

struct Releaser {
  void operator()(OStringBuffer* buffer) const { buffer->Release(); }
};

}  // namespace

bool OStringBuffer::IsListed(DWORD codePage) {
  return std::ranges::find(kMultiBytePages, codePage) != std::end(kMultiBytePages);
}

OStringBuffer::~OStringBuffer() {
  Free<char>();
  Free<WCHAR>();
}

void OStringBuffer::Release() {
  if (_references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

OStringBuffer* OStringBuffer::Clone() const {
  std::unique_ptr<OStringBuffer, Releaser> copy(new OStringBuffer(_codePage));
  copy->_capacityChars = _capacityChars;
  copy->CopyForm<char>(*this);
  copy->CopyForm<WCHAR>(*this);
  return copy.release();
}

template <class Char>
void OStringBuffer::CopyForm(const OStringBuffer& source) {
  const Char* const text = source.Form<Char>();
  if (text == nullptr) return;
  Form<Char>() = NewForm<Char>(source.RoomBytes<Char>());
  std::copy_n(text, LengthOf(text) + 1, Form<Char>());
}

template <class Char>
std::uint64_t OStringBuffer::RoomBytes() const {
  const std::uint64_t room = _capacityChars * sizeof(WCHAR);
  if constexpr (std::is_same_v<Char, char>) {
    return _narrow == nullptr ? room : std::max(room, LengthOf(_narrow) + 1);
  } else {
    return room;
  }
}

template <class Char>
Char* OStringBuffer::Allocated() {
  if (Form<Char>() == nullptr) Form<Char>() = NewForm<Char>(RoomBytes<Char>());
  return Form<Char>();
}

template <class Char>
void OStringBuffer::Empty() {
  if (IsValid<Char>()) SecureWipe(Form<Char>(), RoomBytes<Char>());
}

template <class Char>
void OStringBuffer::Free() {
  if (Form<Char>() == nullptr) return;
  WipeAndDelete(Form<Char>(), RoomBytes<Char>());
  Form<Char>() = nullptr;
}

template <class Char>
const Char* OStringBuffer::ConvertedText() {
  static constexpr Char kEmpty[] = {0};
  if (!IsValid<OtherForm<Char>>()) return kEmpty;
  FillFrom(Form<OtherForm<Char>>());
  return Form<Char>();
}

void OStringBuffer::FillFrom(const char* text) {
  WCHAR* const wide = Allocated<WCHAR>();
  const int room = static_cast<int>(_capacityChars);
  if (MultiByteToWideChar(_codePage, 0, text, -1, wide, room) == 0) *wide = 0;
}

void OStringBuffer::FillFrom(const WCHAR* text) {
  const int needed = ToNarrow(_codePage, text, nullptr, 0);
  if (std::cmp_greater(needed, RoomBytes<char>())) {
    Free<char>();
    _narrow = NewForm<char>(static_cast<std::uint64_t>(needed));
  }
  char* const narrow = Allocated<char>();
  if (ToNarrow(_codePage, text, narrow, needed) == 0) *narrow = 0;
}

template <class Char>
Char* OStringBuffer::Edit(std::uint64_t lengthChars) {
  Text<Char>();
  Empty<OtherForm<Char>>();
  if (lengthChars + 1 > _capacityChars) Grow<Char>(CapacityFor(lengthChars));
  return Allocated<Char>();
}

template <class Char>
void OStringBuffer::Grow(std::uint64_t capacityChars) {
  Char* const grown = NewForm<Char>(capacityChars * sizeof(WCHAR));
  if (IsValid<Char>()) std::copy_n(Form<Char>(), LengthOf(Form<Char>()) + 1, grown);
  Free<char>();
  Free<WCHAR>();
  _capacityChars = capacityChars;
  Form<Char>() = grown;
}

template <class Char>
void OStringBuffer::Assign(const Char* text, std::uint64_t count) {
  if (count + 1 > _capacityChars) {
    Free<char>();
    Free<WCHAR>();
    _capacityChars = CapacityFor(count);
  } else {
    Empty<char>();
    Empty<WCHAR>();
  }
  if (count == 0) return;
  Char* const form = Allocated<Char>();
  std::copy_n(text, count, form);
  form[count] = 0;
}

bool OStringBuffer::Contains(const void* text) const {
  return IsWithin(text, _narrow, RoomBytes<char>()) || IsWithin(text, _wide, RoomBytes<WCHAR>());
}

template const char* OStringBuffer::ConvertedText();
template const WCHAR* OStringBuffer::ConvertedText();
template char* OStringBuffer::Edit(std::uint64_t);
template WCHAR* OStringBuffer::Edit(std::uint64_t);
template void OStringBuffer::Assign(const char*, std::uint64_t);
template void OStringBuffer::Assign(const WCHAR*, std::uint64_t);
