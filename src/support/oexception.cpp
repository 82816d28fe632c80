#include "support/oexception.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

/// Null as well when there is no memory for the copy: an exception about exhausted memory must not
/// raise another one, least of all while it is being thrown.
std::unique_ptr<char[]> CopyOf(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t sizeBytes = std::strlen(text) + 1;
  std::unique_ptr<char[]> copy(new (std::nothrow) char[sizeBytes]);
  if (copy) std::copy_n(text, sizeBytes, copy.get());
  return copy;
}

/// Fills in the system's text for the code, line end included; returns its length, 0 for none.
DWORD FormatSystemText(DWORD errorCode, char (&text)[kMaxSystemText]) {
  return FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ARGUMENT_ARRAY, nullptr,
                        errorCode, 0, text, sizeof text, nullptr);
}

std::unique_ptr<char[]> CopyOfSystemText(LONG errorCode) {
  char text[kMaxSystemText];
  const DWORD code = errorCode < 1 ? ERROR_INTERNAL_ERROR : static_cast<DWORD>(errorCode);
  return CopyOf(FormatSystemText(code, text) == 0 ? nullptr : text);
}

struct Translation {
  DWORD errorCode;
  const char* message;  // null: the system's text for the error code
};

constexpr struct {
  DWORD firstCode;
  DWORD lastCode;
  Translation translation;
} kTranslations[] = {
    {EXCEPTION_ACCESS_VIOLATION, EXCEPTION_IN_PAGE_ERROR, {ERROR_INVALID_ADDRESS, nullptr}},
    {EXCEPTION_DATATYPE_MISALIGNMENT,
     EXCEPTION_DATATYPE_MISALIGNMENT,
     {ERROR_INVALID_ADDRESS, nullptr}},
    {EXCEPTION_ILLEGAL_INSTRUCTION,
     EXCEPTION_ILLEGAL_INSTRUCTION,
     {ERROR_INTERNAL_ERROR, "Illegal instruction."}},
    {EXCEPTION_FLT_DENORMAL_OPERAND,
     EXCEPTION_FLT_UNDERFLOW,
     {ERROR_INTERNAL_ERROR, "Floating point error."}},
    {EXCEPTION_INT_DIVIDE_BY_ZERO,
     EXCEPTION_INT_DIVIDE_BY_ZERO,
     {ERROR_INTERNAL_ERROR, "Division by zero."}},
    {EXCEPTION_INT_OVERFLOW, EXCEPTION_INT_OVERFLOW, {ERROR_ARITHMETIC_OVERFLOW, nullptr}},
    {EXCEPTION_STACK_OVERFLOW, EXCEPTION_STACK_OVERFLOW, {ERROR_STACK_OVERFLOW, nullptr}},
};

Translation TranslationOf(DWORD code) {
  for (const auto& range : kTranslations) {
    if (range.firstCode <= code && code <= range.lastCode) return range.translation;
  }
  return {ERROR_UNIDENTIFIED_ERROR, nullptr};
}

}  // namespace

OException::OException(LONG errorCode, const char* message, EXCEPTION_POINTERS* pointers)
    : _errorCode(errorCode),
      _message(message == nullptr ? CopyOfSystemText(errorCode) : CopyOf(message)),
      _pointers(pointers) {}

OException::OException(const OException& other)
    : _errorCode(other._errorCode),
      _message(CopyOf(other._message.get())),
      _pointers(other._pointers) {}

OException::~OException() = default;

FixedText<kMaxSystemText> StructuredExceptionText(DWORD code) {
  const Translation translation = TranslationOf(code);
  FixedText<kMaxSystemText> text;
  if (translation.message != nullptr) return text << translation.message;
  char systemText[kMaxSystemText];
  const std::string_view line(systemText, FormatSystemText(translation.errorCode, systemText));
  return text << line.substr(0, line.find_last_not_of("\r\n") + 1);
}

void ThrowStructuredException(unsigned code, EXCEPTION_POINTERS* pointers) {
  const Translation translation = TranslationOf(code);
  throw OException(static_cast<LONG>(translation.errorCode), translation.message, pointers);
}
