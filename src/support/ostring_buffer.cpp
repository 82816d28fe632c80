#include "support/ostring_buffer.h"

#include <algorithm>
#include <array>
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
  Char* const form = static_cast<Char*>(::operator new(roomBytes));
  *form = 0;
  return form;
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
  // What only the caller refers to, nobody else can come to refer to.
  if (!IsShared() || _references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

template <class Char>
OStringBuffer* OStringBuffer::WithRoom(std::uint64_t lengthChars, DWORD codePage) {
  // One block of memory for both takes half the time of two.
  const std::uint64_t capacityChars = CapacityFor(lengthChars);
  const std::uint64_t roomBytes = lengthChars == 0 ? 0 : capacityChars * sizeof(WCHAR);
  auto* const buffer = new (roomBytes) OStringBuffer(codePage);
  buffer->_capacityChars = capacityChars;
  if (roomBytes != 0) buffer->Form<Char>() = static_cast<Char*>(buffer->Appendix());
  return buffer;
}

template <class Char>
OStringBuffer* OStringBuffer::Make(const Char* text, std::uint64_t count, DWORD codePage) {
  OStringBuffer* const buffer = WithRoom<Char>(count, codePage);
  if (count == 0) return buffer;
  std::char_traits<Char>::copy(buffer->Form<Char>(), text, count);
  buffer->Form<Char>()[count] = 0;
  return buffer;
}

template <class Char>
OStringBuffer* OStringBuffer::MakeWhole(const Char* text, std::uint64_t lengthChars) {
  OStringBuffer* const buffer = WithRoom<Char>(lengthChars, CP_ACP);
  // With its NUL at once: who counts the text now need not wait for a store of its own.
  if (lengthChars != 0) {
    std::char_traits<Char>::copy(buffer->Form<Char>(), text, lengthChars + 1);
  }
  return buffer;
}

OStringBuffer* OStringBuffer::Clone() const {
  std::unique_ptr<OStringBuffer, Releaser> copy(new OStringBuffer(_codePage));
  copy->_capacityChars = _capacityChars;
  copy->CopyForm<WCHAR>(*this);  // First: the room of the narrow one may depend on it.
  copy->CopyForm<char>(*this);
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
    // Only a form that was made from a wide one outgrows the room, and no wide form goes before it.
    return _narrow == nullptr || _wide == nullptr ? room : std::max(room, LengthOf(_narrow) + 1);
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
  // No block starts at the appendix of another.
  static_assert(sizeof(OStringBuffer) % __STDCPP_DEFAULT_NEW_ALIGNMENT__ != 0);
  if (Form<Char>() == nullptr) return;
  Empty<Char>();
  Char* const form = std::exchange(Form<Char>(), nullptr);
  if (form != Appendix()) ::operator delete(form);
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
  if (MultiByteToWideChar(_codePage, 0, text, -1, wide, room) == 0) {
    SecureWipe(wide, RoomBytes<WCHAR>());
  }
}

void OStringBuffer::FillFrom(const WCHAR* text) {
  const int needed = ToNarrow(_codePage, text, nullptr, 0);
  if (std::cmp_greater(needed, RoomBytes<char>())) {
    Free<char>();
    _narrow = NewForm<char>(static_cast<std::uint64_t>(needed));
  }
  char* const narrow = Allocated<char>();
  if (ToNarrow(_codePage, text, narrow, needed) == 0) {
    SecureWipe(narrow, static_cast<std::size_t>(needed));
  }
}

template <class Char>
Char* OStringBuffer::Edit(std::uint64_t textChars, std::uint64_t lengthChars) {
  Empty<OtherForm<Char>>();
  if (lengthChars + 1 > _capacityChars) Grow<Char>(textChars, CapacityFor(lengthChars));
  return Allocated<Char>();
}

template <class Char>
void OStringBuffer::Grow(std::uint64_t textChars, std::uint64_t capacityChars) {
  Char* const grown = NewForm<Char>(capacityChars * sizeof(WCHAR));
  if (textChars != 0) std::char_traits<Char>::copy(grown, Form<Char>(), textChars + 1);
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

template const char* OStringBuffer::ConvertedText();
template const WCHAR* OStringBuffer::ConvertedText();
template OStringBuffer* OStringBuffer::Make(const char*, std::uint64_t, DWORD);
template OStringBuffer* OStringBuffer::Make(const WCHAR*, std::uint64_t, DWORD);
template OStringBuffer* OStringBuffer::MakeWhole(const char*, std::uint64_t);
template OStringBuffer* OStringBuffer::MakeWhole(const WCHAR*, std::uint64_t);
template char* OStringBuffer::Edit(std::uint64_t, std::uint64_t);
template WCHAR* OStringBuffer::Edit(std::uint64_t, std::uint64_t);
template void OStringBuffer::Assign(const char*, std::uint64_t);
template void OStringBuffer::Assign(const WCHAR*, std::uint64_t);
