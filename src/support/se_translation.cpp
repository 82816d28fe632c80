#include "support/se_translation.h"

#include "support/oexception.h"

namespace {

struct Translation {
  DWORD firstCode;
  DWORD lastCode;
  DWORD errorCode;
  const char* message;  // null: the system's text for the error code
};

constexpr Translation kTranslations[] = {
    {EXCEPTION_ACCESS_VIOLATION, EXCEPTION_IN_PAGE_ERROR, ERROR_INVALID_ADDRESS, nullptr},
    {EXCEPTION_DATATYPE_MISALIGNMENT, EXCEPTION_DATATYPE_MISALIGNMENT, ERROR_INVALID_ADDRESS,
     nullptr},
    {EXCEPTION_ILLEGAL_INSTRUCTION, EXCEPTION_ILLEGAL_INSTRUCTION, ERROR_INTERNAL_ERROR,
     "Illegal instruction."},
    {EXCEPTION_FLT_DENORMAL_OPERAND, EXCEPTION_FLT_UNDERFLOW, ERROR_INTERNAL_ERROR,
     "Floating point error."},
    {EXCEPTION_INT_DIVIDE_BY_ZERO, EXCEPTION_INT_DIVIDE_BY_ZERO, ERROR_INTERNAL_ERROR,
     "Division by zero."},
    {EXCEPTION_INT_OVERFLOW, EXCEPTION_INT_OVERFLOW, ERROR_ARITHMETIC_OVERFLOW, nullptr},
    {EXCEPTION_STACK_OVERFLOW, EXCEPTION_STACK_OVERFLOW, ERROR_STACK_OVERFLOW, nullptr},
};

constexpr Translation kAnyOther = {0, 0, ERROR_UNIDENTIFIED_ERROR, nullptr};

const Translation& TranslationOf(DWORD code) {
  for (const Translation& translation : kTranslations) {
    if (translation.firstCode <= code && code <= translation.lastCode) return translation;
  }
  return kAnyOther;
}

}  // namespace

void ThrowStructuredException(unsigned code, EXCEPTION_POINTERS* pointers) {
  const Translation& translation = TranslationOf(code);
  throw OException(static_cast<LONG>(translation.errorCode), translation.message, pointers);
}
