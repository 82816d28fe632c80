/// The string of the whole system.
#pragma once

#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/windows_api.h"
#include "support/ostring_buffer.h"

/// Text that may arrive narrow (system ANSI code page) or wide (UTF-16) and is handed out as
/// either, converted when first asked for. Copies share one buffer; a modification first gives the
/// modified string a buffer of its own.
///
/// Lengths and positions count characters of the working form: wide when the wide form is valid or
/// the code page is a multi-byte one, else narrow. An operation on two strings works wide when
/// either of them does.
///
/// Several threads may hold and release copies of one string. One string object, and the forms of a
/// shared text (filled by nstring, wstring, GetLength and comparisons), belong to one thread at a
/// time. Memory exhaustion leaves as std::bad_alloc. Text is wiped before its memory is freed.
class OString {
 public:
  OString() noexcept = default;
  OString(const OString& other) noexcept;
  OString(OString&& other) noexcept : _buffer(std::exchange(other._buffer, nullptr)) {}
  OString(const char* text) : _buffer(OStringBuffer::Make(text)) {}
  OString(const WCHAR* text) : _buffer(OStringBuffer::Make(text)) {}
  explicit OString(char character);
  explicit OString(WCHAR character);
  /// The decimal digits of `value`.
  explicit OString(DWORD value);
  ~OString();

  OString& operator=(const OString& other) noexcept;
  OString& operator=(OString&& other) noexcept;
  /// Null counts as empty. The memory of a longer text before is used again.
  OString& operator=(const char* text);
  OString& operator=(const WCHAR* text);

  /// Appending to an empty string shares the appended string's buffer.
  OString& operator<<(const OString& text);
  OString& operator<<(const char* text) {
    return text == nullptr ? *this : Append(std::string_view(text));
  }
  OString& operator<<(const WCHAR* text);
  /// Appends signed decimal digits.
  OString& operator<<(int value);
  /// These would be taken for an int: write OString(value) for what is meant.
  OString& operator<<(DWORD) = delete;
  OString& operator<<(char) = delete;
  OString& operator<<(WCHAR) = delete;

  friend OString operator+(OString left, const OString& right);
  friend OString operator+(OString left, const char* right);

  /// The text in one form, never null. Valid until the string is modified or destroyed.
  const char* nstring() const { return _buffer == nullptr ? "" : _buffer->Text<char>(); }
  const WCHAR* wstring() const { return _buffer == nullptr ? TEXT("") : _buffer->Text<WCHAR>(); }
  /// Whether that form is there already. Neither converts.
  bool is_valid_n() const noexcept { return _buffer != nullptr && _buffer->IsValid<char>(); }
  bool is_valid_w() const noexcept { return _buffer != nullptr && _buffer->IsValid<WCHAR>(); }
  bool IsEmpty() const noexcept { return !is_valid_n() && !is_valid_w(); }
  int GetLength() const;

  /// -1, 0 or 1. Wide characters compare unsigned, narrow ones signed: bytes from 0x80 upward sort
  /// before ASCII and before the end of a string.
  int Compare(const OString& other) const {
    // Most texts are narrow, and the C library finds out soonest that two of them are the same.
    const bool haveText = _buffer != nullptr && other._buffer != nullptr;
    return haveText && _buffer->HasNarrowTextOf(*other._buffer) ? 0 : CompareInWorkingForm(other);
  }
  /// The same with "a" to "z", and only those, taken as upper case.
  int CompareNoCase(const OString& other) const;
  int CompareNoCase(const char* text) const;
  bool operator==(const char* text) const;
  bool operator!=(const char* text) const;

  /// Substrings; what lies outside the string is cut off. The whole string shares its buffer.
  OString Mid(int start, int count) const;
  OString Mid(int start) const;
  OString Left(int count) const;
  OString Right(int count) const;

  /// Inserts at `position`, clamped to the string. Returns the new length. The array forms take at
  /// most `count` characters, fewer when a NUL comes first.
  int Insert(int position, const OString& text);
  int Insert(int position, const char* text, int count);
  int Insert(int position, const WCHAR* text, int count);
  /// Removes up to `count` characters from `position`, clamped to the string.
  void Delete(int position, int count);
  /// Replaces each occurrence, from the start and without overlap; a replacement is not searched
  /// again. Returns the number of replacements; 0 for an empty `oldText` or two identical texts.
  int Replace(const OString& oldText, const OString& newText);
  /// Remove every character of `set` from one end.
  OString& TrimRight(const OString& set = " \t\r\n");
  OString& TrimLeft(const OString& set = " \t\r\n");
  /// Fills up on the left until the string has `width` characters.
  void PadLeft(int width, char fill);
  /// Becomes the digits of `value`, with zeros on the left up to `width`, then "-" in front of a
  /// negative one.
  void FormatNumber(int value, int width);

  /// Index of the first or last occurrence, or -1.
  int Find(char character) const;
  int Find(WCHAR character) const;
  int ReverseFind(char character) const;
  int ReverseFind(WCHAR character) const;
  /// Index of the last character that occurs in `set`, or -1.
  int ReverseFindOneOf(const OString& set) const;

 private:
  explicit OString(OStringBuffer* buffer) noexcept : _buffer(buffer) {}

  template <class Char>
  static OString FromCharacters(const Char* text, int count, DWORD codePage = 0);
  template <class Char>
  OString& AssignText(const Char* text);
  template <class Char>
  const Char* Text() const {
    if constexpr (std::is_same_v<Char, char>) {
      return nstring();
    } else {
      return wstring();
    }
  }
  template <class Char>
  std::basic_string_view<Char> View() const {
    return Text<Char>();
  }

  /// Calls the template `operation` for the characters of the wide or of the narrow form.
  template <class Operation>
  static auto InForm(bool wide, const Operation& operation) {
    return wide ? operation.template operator()<WCHAR>() : operation.template operator()<char>();
  }

  void MakeUnique() {
    if (_buffer == nullptr || _buffer->IsShared()) TakeOwnBuffer();
  }
  void TakeOwnBuffer();
  DWORD CodePage() const noexcept { return _buffer == nullptr ? CP_ACP : _buffer->CodePage(); }
  bool WorksWide() const {
    return _buffer == nullptr ? OStringBuffer::IsMultiBytePage(CP_ACP) : _buffer->WorksWide();
  }
  bool WorksWideWith(const OString& other) const {
    return WorksWide() || other.WorksWide() ||
           (CodePage() != other.CodePage() && HasOtherPageThan(other));
  }
  bool HasOtherPageThan(const OString& other) const;
  int CompareInWorkingForm(const OString& other) const;

  template <class Char, class In>
  void AppendTo(std::basic_string_view<In> added);
  /// The one way of editing: `count` characters at `position` make room for those of `text`.
  template <class Char>
  int Splice(int position, int count, const OString& text);
  /// `added` is no part of a form that this string alone has. Narrow text that is spliced into a
  /// wide form is ASCII.
  template <class Char, class In>
  int Splice(int position, int count, std::basic_string_view<In> added);
  /// `text` ends in a NUL.
  OString& Append(std::string_view text);
  /// Whether working with narrow text of the system's code page, too, takes the narrow form.
  bool StaysNarrow() const { return CodePage() == CP_ACP && !WorksWide(); }
  template <class Map>
  int CompareMapped(const OString& other, Map map) const;
  template <class Map>
  int CompareMapped(const char* text, Map map) const;
  template <class Char>
  int ReplaceAll(const OString& oldText, const OString& newText);
  int FindFirst(const OString& character) const;

  OStringBuffer* _buffer = nullptr;
};

/// Exactly 8 upper-case hexadecimal digits.
OString FormatHex(DWORD value);

/// `time` in the strftime format `format`, cut to nothing when it needs 128 characters or more. Day
/// of the year and daylight saving are not known to it.
OString FormatTime(const SYSTEMTIME& time, const OString& format);
