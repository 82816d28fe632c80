#include "support/ostring.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

#include "support/secure_wipe.h"

namespace {

/// A position that is cut to the end of the text.
constexpr int kEnd = std::numeric_limits<int>::max();

/// ASCII text is the same in every code page.
bool IsAscii(std::string_view text) {
  return std::ranges::none_of(text, [](char byte) { return (byte & 0x80) != 0; });
}

DWORD ResolvedPage(DWORD codePage) { return codePage == CP_ACP ? GetACP() : codePage; }

}  // namespace

OString::OString(const OString& other) noexcept : _buffer(other._buffer) {
  if (_buffer != nullptr) _buffer->AddReference();
}

OString::OString(char character) : OString(std::array{character, '\0'}.data()) {}

OString::OString(WCHAR character) : OString(std::array{character, TEXT('\0')}.data()) {}

OString::~OString() {
  if (_buffer != nullptr) _buffer->Release();
}

OString& OString::operator=(const OString& other) noexcept { return *this = OString(other); }

OString& OString::operator=(OString&& other) noexcept {
  std::swap(_buffer, other._buffer);
  return *this;
}

OString& OString::operator=(const char* text) { return AssignText(text); }

OString& OString::operator=(const WCHAR* text) { return AssignText(text); }

template <class Char>
OString& OString::AssignText(const Char* text) {
  if (_buffer != nullptr && _buffer->Contains(text)) return *this = OString(text);
  MakeUnique();
  _buffer->Assign(text, text == nullptr ? 0 : std::char_traits<Char>::length(text));
  return *this;
}

template <class Char>
OString OString::FromCharacters(const Char* text, int count, DWORD codePage) {
  const Char* const end = std::find(text, text + std::max(count, 0), Char{0});
  return OString(OStringBuffer::Make(text, static_cast<std::uint64_t>(end - text), codePage));
}

template OString OString::FromCharacters(const char*, int, DWORD);
template OString OString::FromCharacters(const WCHAR*, int, DWORD);

void OString::TakeOwnBuffer() {
  if (_buffer == nullptr) {
    _buffer = new OStringBuffer;
  } else {
    OStringBuffer* const own = _buffer->Clone();
    std::exchange(_buffer, own)->Release();
  }
}

OString& OString::operator<<(const OString& text) {
  if (text.IsEmpty()) return *this;
  if (IsEmpty()) return *this = text;
  InForm(WorksWideWith(text), [&]<class Char>() { return Splice<Char>(kEnd, 0, text); });
  return *this;
}

OString& OString::Append(std::string_view text) {
  const bool isOwn = _buffer != nullptr && _buffer->Contains(text.data());
  if (!isOwn && is_valid_n() && StaysNarrow()) {
    AppendTo<char>(text);
  } else if (!isOwn && is_valid_w() && IsAscii(text)) {
    AppendTo<WCHAR>(text);
  } else {
    *this << OString(text.data());
  }
  return *this;
}

OString& OString::operator<<(const WCHAR* text) { return *this << OString(text); }

OString& OString::operator<<(int value) { return *this << std::to_string(value).c_str(); }

OString operator+(OString left, const OString& right) {
  left << right;
  return left;
}

OString operator+(OString left, const char* right) {
  left << right;
  return left;
}

template <class Char, class In>
void OString::AppendTo(std::basic_string_view<In> added) {
  MakeUnique();
  const std::uint64_t length = View<Char>().size();
  Char* const end = _buffer->Edit<Char>(length, length + added.size()) + length;
  *std::copy(added.begin(), added.end(), end) = 0;
}

template <class Char>
int OString::Splice(int position, int count, const OString& text) {
  const OString source(text);  // Keeps the text when it is this string's own.
  return Splice<Char, Char>(position, count, source.View<Char>());
}

template <class Char, class In>
int OString::Splice(int position, int count, std::basic_string_view<In> added) {
  MakeUnique();
  const int length = static_cast<int>(View<Char>().size());
  position = std::clamp(position, 0, length);
  count = std::clamp(count, 0, length - position);
  const int newLength = length - count + static_cast<int>(added.size());

  Char* const form = _buffer->Edit<Char>(static_cast<std::uint64_t>(length),
                                         static_cast<std::uint64_t>(newLength));
  Char* const gap = form + position;
  std::char_traits<Char>::move(gap + added.size(), gap + count,
                               static_cast<std::size_t>(length - position - count));
  std::copy(added.begin(), added.end(), gap);
  form[newLength] = 0;
  if (newLength < length) {
    SecureWipe(form + newLength, static_cast<std::size_t>(length - newLength) * sizeof(Char));
  }
  return newLength;
}

template int OString::Splice<char>(int, int, const OString&);
template int OString::Splice<WCHAR>(int, int, const OString&);

int OString::GetLength() const {
  return InForm(WorksWide(), [&]<class Char>() { return static_cast<int>(View<Char>().size()); });
}

bool OString::HasOtherPageThan(const OString& other) const {
  return ResolvedPage(CodePage()) != ResolvedPage(other.CodePage());
}
