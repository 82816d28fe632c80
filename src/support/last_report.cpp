#include "support/last_report.h"

#include <mutex>

#include "platform/fatal_crash.h"
#include "platform/last_output.h"
#include "support/crash_report.h"
#include "support/fixed_text.h"
#include "support/mini_dump_writer.h"
#include "support/oevent_log.h"
#include "support/oexception.h"
#include "support/oexception_handler.h"

namespace {

/// What the report calls a thread that has no exception handler scope.
constexpr char kNameless[] = "unknown thread";

/// Where dumps go, and its name as reports have it. Neither is ever freed: a crash may come at the
/// very end.
const platform::LastDumpFolder* g_dumpFolder = nullptr;
const char* g_dumpFolderName = "";

using DumpPath = FixedText<MAX_PATH>;

DumpOutcome WriteDump(EXCEPTION_POINTERS* pointers, DumpPath& path) {
  using Result = platform::LastDumpFolder::Result;
  g_dumpFolder->Create();
  FixedText<MAX_PATH> name;
  Result result = Result::kExists;
  for (int number = 0; number < kMaxDumpFiles && result == Result::kExists; ++number) {
    name.Clear();
    name << kDumpFilePrefix;
    name.AppendDecimal(static_cast<DWORD>(number), kDumpNumberDigits) << kDumpFileEnding;
    result = g_dumpFolder->Write(name.nstring(), kDumpType, pointers);
  }
  path << g_dumpFolderName << "\\" << name.View();
  return result == Result::kWritten ? DumpOutcome::kWritten : DumpOutcome::kFailed;
}

void Report(EXCEPTION_POINTERS* pointers) {
  const OExceptionHandler* const handler = OExceptionHandler::Innermost();
  DumpPath dumpPath;
  const DumpOutcome dump = WriteDump(pointers, dumpPath);
  FixedText<4 * MAX_PATH> text;
  ComposeCrashReport(
      text, StructuredExceptionText(pointers->ExceptionRecord->ExceptionCode).nstring(),
      handler != nullptr ? handler->FunctionName() : kNameless, dump, dumpPath.nstring());
  const OEventLog* log = handler != nullptr ? handler->EventLog() : nullptr;
  if (log == nullptr) log = Z7SvEventLog.get();
  if (log != nullptr) log->LogLastError(text.View());
}

void Prepare() {
  static const auto& folder = *new OString(DumpFolderPath());
  g_dumpFolderName = folder.nstring();
  g_dumpFolder = new platform::LastDumpFolder(folder.wstring());
  platform::SetFatalCrashHandler(Report);
}

}  // namespace

void PrepareLastReport() {
  static std::once_flag prepared;
  std::call_once(prepared, Prepare);
}
