/// The numbers that programs are compiled with.
#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>

#include "platform/windows_api.h"

namespace {

template <class... Numbers>
std::uint64_t SumOf(Numbers... numbers) {
  std::uint64_t sum = 0;
  ((sum = sum * 31 + static_cast<DWORD>(numbers)), ...);
  return sum;
}

/// The sums are the same on both systems, whose headers have nothing in common.
TEST(Constants, AreThoseOfTheSystem) {
  EXPECT_EQ(SumOf(TRUE, FALSE, MAX_PATH, INFINITE), 4295005146U) << "base";
  EXPECT_EQ(SumOf(CP_ACP, CP_UTF8), 65001U) << "code_pages";
  EXPECT_EQ(SumOf(S_OK, S_FALSE, E_INVALIDARG, COINIT_APARTMENTTHREADED), 66586218060U) << "com";
  EXPECT_EQ(SumOf(CTRL_C_EVENT, CTRL_BREAK_EVENT, CTRL_CLOSE_EVENT, CTRL_LOGOFF_EVENT,
                  CTRL_SHUTDOWN_EVENT),
            31874U)
      << "console";
  EXPECT_EQ(SumOf(MiniDumpNormal, MiniDumpWithDataSegs, MiniDumpWithHandleData,
                  MiniDumpWithUnloadedModules, MiniDumpWithIndirectlyReferencedMemory),
            34691U)
      << "crash_dumps";
  EXPECT_EQ(SumOf(ERROR_NEGATIVE_SEEK, FORMAT_MESSAGE_IGNORE_INSERTS, FORMAT_MESSAGE_FROM_SYSTEM,
                  FORMAT_MESSAGE_ARGUMENT_ARRAY),
            4529821U)
      << "errors";
  EXPECT_EQ(SumOf(EVENTLOG_ERROR_TYPE, EVENTLOG_WARNING_TYPE, EVENTLOG_INFORMATION_TYPE,
                  EVENTLOG_SEEK_READ, EVENTLOG_FORWARDS_READ),
            987013U)
      << "event_log";
  EXPECT_EQ(
      SumOf(EXCEPTION_DATATYPE_MISALIGNMENT, EXCEPTION_BREAKPOINT, EXCEPTION_ACCESS_VIOLATION,
            EXCEPTION_IN_PAGE_ERROR, EXCEPTION_ILLEGAL_INSTRUCTION, EXCEPTION_FLT_DENORMAL_OPERAND,
            EXCEPTION_FLT_DIVIDE_BY_ZERO, EXCEPTION_FLT_INEXACT_RESULT,
            EXCEPTION_FLT_INVALID_OPERATION, EXCEPTION_FLT_OVERFLOW, EXCEPTION_FLT_UNDERFLOW,
            EXCEPTION_INT_DIVIDE_BY_ZERO, EXCEPTION_INT_OVERFLOW, EXCEPTION_PRIV_INSTRUCTION,
            EXCEPTION_STACK_OVERFLOW, EXCEPTION_MAXIMUM_PARAMETERS),
      17186641796285781672U)
      << "exceptions";
  EXPECT_EQ(SumOf(GENERIC_READ, GENERIC_WRITE, FILE_SHARE_READ, FILE_SHARE_WRITE, FILE_SHARE_DELETE,
                  CREATE_NEW, CREATE_ALWAYS, OPEN_EXISTING, OPEN_ALWAYS, FILE_ATTRIBUTE_READONLY,
                  FILE_ATTRIBUTE_HIDDEN, FILE_ATTRIBUTE_SYSTEM, FILE_ATTRIBUTE_DIRECTORY,
                  FILE_ATTRIBUTE_ARCHIVE, FILE_ATTRIBUTE_NORMAL, FILE_ATTRIBUTE_TEMPORARY,
                  INVALID_FILE_ATTRIBUTES, MOVEFILE_REPLACE_EXISTING, FILE_BEGIN, FILE_CURRENT,
                  FILE_END, _SH_DENYNO, CSIDL_COMMON_APPDATA, CSIDL_FLAG_CREATE),
            1900477780779536332U)
      << "files";
  EXPECT_EQ(SumOf(WAIT_OBJECT_0, WAIT_ABANDONED, WAIT_ABANDONED_0, WAIT_TIMEOUT, WAIT_FAILED,
                  MAXIMUM_WAIT_OBJECTS, SYNCHRONIZE),
            4131255049149U)
      << "handles";
  EXPECT_EQ(SumOf(PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, PIPE_READMODE_BYTE, PIPE_WAIT), 89373U)
      << "pipes";
  EXPECT_EQ(
      SumOf(TH32CS_SNAPPROCESS, PROCESS_TERMINATE, PROCESS_QUERY_INFORMATION, CREATE_NO_WINDOW),
      134310015U)
      << "processes";
  EXPECT_EQ(SumOf(KEY_QUERY_VALUE, KEY_SET_VALUE, KEY_READ, KEY_WRITE, KEY_ALL_ACCESS,
                  REG_OPTION_NON_VOLATILE, REG_CREATED_NEW_KEY, REG_OPENED_EXISTING_KEY, REG_NONE,
                  REG_SZ, REG_BINARY, REG_DWORD),
            3632045864774387602U)
      << "registry";
  EXPECT_EQ(SumOf(SDDL_REVISION_1), 1U) << "security";
  EXPECT_EQ(SumOf(STILL_ACTIVE), 259U) << "threads";
  const HKEY roots[] = {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS};
  for (unsigned i = 0; i < std::size(roots); ++i) {
    EXPECT_EQ(static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(roots[i])), 0x80000000U + i);
  }
  EXPECT_EQ(INVALID_HANDLE_VALUE, reinterpret_cast<HANDLE>(~std::uintptr_t{0}));
}

TEST(Com, CountsTheInitialisationsOfAThread) {
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_FALSE);
  CoUninitialize();
  CoUninitialize();
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  CoUninitialize();
}

}  // namespace
