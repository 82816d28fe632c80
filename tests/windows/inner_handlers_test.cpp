/// A structured exception belongs to the innermost frame that takes it.
#include <gtest/gtest.h>

#include "platform/se_translator.h"

/// Reads through the pointer; its own handler makes a failed read return kHandled.
extern "C" int ReadUnderHandler(const int* address);
asm(R"(
    .text
    .globl ReadUnderHandler
    .def ReadUnderHandler; .scl 2; .type 32; .endef
    .seh_proc ReadUnderHandler
ReadUnderHandler:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    .seh_handler TakeException, @except
    movl (%rcx), %eax
    addq $40, %rsp
    ret
    .seh_endproc
)");

namespace {

constexpr int kHandled = 42;
constexpr int kReadBytes = 2;  // Of the instruction that reads.

[[noreturn]] void Throw(unsigned code, EXCEPTION_POINTERS*) { throw code; }

const int* const kNowhere = reinterpret_cast<const int*>(16);

}  // namespace

extern "C" EXCEPTION_DISPOSITION TakeException(EXCEPTION_RECORD*, void*, CONTEXT* registers,
                                               void*) {
  registers->Rip += kReadBytes;
  registers->Rax = kHandled;
  return ExceptionContinueExecution;
}

namespace {

TEST(InnerHandlers, ComeBeforeTheTranslator) {
  const SeTranslator previous = _set_se_translator(Throw);
  EXPECT_TRUE(IsBadReadPtr(kNowhere, sizeof *kNowhere));
  EXPECT_EQ(lstrlenA(reinterpret_cast<LPCSTR>(kNowhere)), 0);
  EXPECT_EQ(ReadUnderHandler(kNowhere), kHandled);
  EXPECT_THROW(*const_cast<volatile int*>(kNowhere) = 1, unsigned);
  _set_se_translator(previous);
}

}  // namespace
