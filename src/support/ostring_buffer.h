/// The shared, reference-counted text behind an OString. Only OString uses it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/windows_api.h"

/// Holds one text in up to two forms: narrow (in a code page) and wide (UTF-16). A form is valid
/// when it is allocated and its first character is not zero; two valid forms hold the same text.
///
/// The text may be a password, so no form keeps old text: it is wiped when it is emptied,
/// shortened, moved or freed. Members templated on Char take char (narrow) or WCHAR (wide).
///
/// Only the reference count may be used by several threads at once.
class OStringBuffer {
 public:
  /// Starts with one reference and no forms. Code page 0 is the system's ANSI code page.
  explicit OStringBuffer(DWORD codePage = CP_ACP) : _codePage(codePage) {}
  OStringBuffer(const OStringBuffer&) = delete;
  OStringBuffer& operator=(const OStringBuffer&) = delete;
  /// The block may be longer than the object: by the form that Make puts behind it.
  static void* operator new(std::size_t sizeBytes, std::uint64_t roomBytes = 0) {
    return ::operator new(sizeBytes + roomBytes);
  }
  static void operator delete(void* block) { ::operator delete(block); }

  /// A buffer with one reference that holds the first `count` characters of `text`.
  template <class Char>
  static OStringBuffer* Make(const Char* text, std::uint64_t count, DWORD codePage);
  /// The same with a whole text. Null counts as empty.
  template <class Char>
  static OStringBuffer* Make(const Char* text) {
    return MakeWhole(text, text == nullptr ? 0 : std::char_traits<Char>::length(text));
  }

  void AddReference() { _references.fetch_add(1, std::memory_order_relaxed); }
  /// Gives one reference back; the last one frees the buffer.
  void Release();
  bool IsShared() const { return _references.load(std::memory_order_acquire) != 1; }

  /// A copy of its own with one reference and the same forms.
  OStringBuffer* Clone() const;

  DWORD CodePage() const { return _codePage; }
  /// Whether the page has characters of several bytes; UTF-8 is not counted among them.
  static bool IsMultiBytePage(DWORD codePage) {
    // Asked when it is first needed: texts are made before the system can be asked.
    static const bool isAnsiPageOne = IsListed(GetACP());
    return codePage == CP_ACP ? isAnsiPageOne : IsListed(codePage);
  }
  /// Whether positions in the text count wide characters.
  bool WorksWide() const { return IsValid<WCHAR>() || IsMultiBytePage(_codePage); }

  template <class Char>
  bool IsValid() const {
    return Form<Char>() != nullptr && *Form<Char>() != 0;
  }

  /// The text in this form, NUL-terminated; made from the other form when only that one is valid.
  /// An empty text gives a static empty string. The form is filled in place also while shared.
  template <class Char>
  const Char* Text() {
    return IsValid<Char>() ? Form<Char>() : ConvertedText<Char>();
  }

  /// Whether both are narrow texts of one code page, made of the same bytes. True only for what
  /// would be the same in the wide form, too.
  bool HasNarrowTextOf(const OStringBuffer& other) const {
    return _wide == nullptr && other._wide == nullptr && _narrow != nullptr &&
           other._narrow != nullptr && _codePage == other._codePage &&
           std::strcmp(_narrow, other._narrow) == 0;
  }

  /// Makes this the only valid form, with room for `lengthChars` characters besides its NUL, and
  /// returns it. The text stays: its `textChars` characters are in this form already.
  template <class Char>
  Char* Edit(std::uint64_t textChars, std::uint64_t lengthChars);

  /// Replaces the text by the first `count` characters of `text` (not a part of this buffer).
  template <class Char>
  void Assign(const Char* text, std::uint64_t count);

  /// Whether `text` points into one of the forms.
  bool Contains(const void* text) const { return IsWithin(text, _narrow) || IsWithin(text, _wide); }

 private:
  ~OStringBuffer();

  static bool IsListed(DWORD codePage);
  template <class Char>
  bool IsWithin(const void* position, const Char* form) const {
    // No form is longer than this: what is farther away needs no count of the characters.
    constexpr std::uint64_t kMostBytesPerChar = 4;
    const std::uint64_t distance =
        reinterpret_cast<std::uintptr_t>(position) - reinterpret_cast<std::uintptr_t>(form);
    return form != nullptr && distance < _capacityChars * kMostBytesPerChar &&
           distance <= std::char_traits<Char>::length(form) * sizeof(Char);
  }

  template <class Char>
  Char* const& Form() const {
    if constexpr (std::is_same_v<Char, char>) {
      return _narrow;
    } else {
      return _wide;
    }
  }
  template <class Char>
  Char*& Form() {
    return const_cast<Char*&>(std::as_const(*this).template Form<Char>());
  }
  /// The bytes that the form takes at the present capacity; more only for a narrow form whose text
  /// needs more than 2 bytes a character.
  template <class Char>
  std::uint64_t RoomBytes() const;
  template <class Char>
  static OStringBuffer* WithRoom(std::uint64_t lengthChars, DWORD codePage);
  template <class Char>
  static OStringBuffer* MakeWhole(const Char* text, std::uint64_t lengthChars);
  template <class Char>
  const Char* ConvertedText();
  template <class Char>
  Char* Allocated();
  template <class Char>
  void Empty();
  template <class Char>
  void Free();
  template <class Char>
  void CopyForm(const OStringBuffer& source);
  template <class Char>
  void Grow(std::uint64_t textChars, std::uint64_t capacityChars);
  /// The memory behind the object, where Make puts the first form.
  void* Appendix() { return this + 1; }
  void FillFrom(const char* text);
  void FillFrom(const WCHAR* text);

  std::atomic<std::uint32_t> _references{1};
  char* _narrow = nullptr;  ///< Room for 2 bytes a character, so that a double-byte page fits.
  WCHAR* _wide = nullptr;
  std::uint64_t _capacityChars = 0;  ///< Of each form, NUL included; a multiple of 32, or 0.
  DWORD _codePage;
};
