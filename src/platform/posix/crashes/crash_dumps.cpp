#include "platform/posix/api/crash_dumps.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <new>

#include "platform/posix/api/processes.h"
#include "platform/posix/api/threads.h"
#include "platform/posix/crashes/dump_file.h"
#include "platform/posix/crashes/dump_memory.h"
#include "platform/posix/crashes/dump_modules.h"
#include "platform/posix/crashes/thread_capture.h"
#include "platform/posix/files/disk_file.h"
#include "platform/posix/kernel/crash_site.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"

using platform::CapturedThread;
using platform::CrashSite;
using platform::DumpFile;
using platform::Fail;
using platform::MemoryRange;
using namespace platform::minidump;

namespace {

constexpr DWORD kProvidedTypes = MiniDumpWithDataSegs | MiniDumpWithHandleData |
                                 MiniDumpWithUnloadedModules |
                                 MiniDumpWithIndirectlyReferencedMemory;

/// Of the stack of a thread that did not crash.
constexpr std::size_t kOtherStackBytes = 64 * 1024;
/// Of the crashed thread's stack, what is searched for pointers.
constexpr std::size_t kSearchedStackBytes = 32 * 1024;
/// Code on both sides of the instruction that failed.
constexpr ULONG_PTR kCodeBytes = 128;

constexpr std::size_t kMaxThreads = platform::kMaxCapturedThreads + 1;

/// What debuggers of Linux processes want to see as the exception's code.
DWORD SignalOf(DWORD code) {
  switch (code) {
    case EXCEPTION_IN_PAGE_ERROR:
    case EXCEPTION_DATATYPE_MISALIGNMENT:
      return SIGBUS;
    case EXCEPTION_ILLEGAL_INSTRUCTION:
      return SIGILL;
    case EXCEPTION_BREAKPOINT:
      return SIGTRAP;
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_STACK_OVERFLOW:
      return SIGSEGV;
    default:
      return SIGFPE;
  }
}

/// One dump at a time, in memory of its own: neither the heap nor a crashed thread's stack is to be
/// relied on.
class DumpWriter {
 public:
  void Begin(int file, DWORD types, const MINIDUMP_EXCEPTION_INFORMATION* exception);
  bool Write();

 private:
  void AddStream(StreamType type, Location location);
  void AddSystemInfo();
  void AddThreads(std::span<const CapturedThread> others);
  void AddThread(DWORD id, const CONTEXT* context);
  void AddCrashedThread();
  void AddStackOf(ThreadRecord& record, ULONG_PTR stackPointer);
  void AddCrashedStack(ThreadRecord& record, const CrashSite& site);
  void AddReferencedMemory();
  void AddException();
  void AddMemory();
  void AddHeader();

  DumpFile _file{-1};
  DWORD _types = 0;
  const MINIDUMP_EXCEPTION_INFORMATION* _exception = nullptr;
  DWORD _directoryOffset = 0;
  DWORD _headerOffset = 0;
  DWORD _streamCount = 0;
  DirectoryEntry _directory[16];
  Location _exceptionContext{};
  platform::ProcessMaps _maps;
  platform::DumpMemory _memory;
  struct {
    DWORD count;
    ThreadRecord records[kMaxThreads];
  } _threads;
  struct {
    DWORD count;
    MemoryDescriptor descriptors[4096];
  } _memoryList;
};

void DumpWriter::Begin(int file, DWORD types, const MINIDUMP_EXCEPTION_INFORMATION* exception) {
  _file = DumpFile(file);
  _types = types;
  _exception = exception;
  _streamCount = 0;
  _threads.count = 0;
  _memoryList.count = 0;
  _exceptionContext = {};
}

bool DumpWriter::Write() {
  _headerOffset = _file.Reserve(sizeof(Header));
  _directoryOffset = _file.Reserve(sizeof _directory);
  {
    const platform::ThreadCapture capture;
    const auto mappings = _maps.Read();
    _memory.Begin(mappings);
    AddSystemInfo();
    AddThreads(capture.Threads());
    AddStream(StreamType::kModuleList, platform::AppendModules(_file, mappings));
    if (_exception != nullptr) AddException();
    AddMemory();
  }
  AddStream(StreamType::kLinuxMaps, _file.AppendFile("/proc/self/maps"));
  AddStream(StreamType::kLinuxProcStatus, _file.AppendFile("/proc/self/status"));
  AddStream(StreamType::kLinuxCpuInfo, _file.AppendFile("/proc/cpuinfo"));
  AddHeader();
  return !_file.HasFailed();
}

void DumpWriter::AddStream(StreamType type, Location location) {
  _directory[_streamCount++] = {type, location};
}

void DumpWriter::AddSystemInfo() {
  SystemInfo info{};
  utsname system{};
  uname(&system);
  info.processorArchitecture = kProcessorAmd64;
  info.processorCount = static_cast<BYTE>(sysconf(_SC_NPROCESSORS_ONLN));
  info.platformId = kPlatformLinux;
  info.servicePackOffset = _file.AppendText(system.version);
  AddStream(StreamType::kSystemInfo, _file.AppendRecord(info));
}

void DumpWriter::AddThreads(std::span<const CapturedThread> others) {
  if (_exception != nullptr) AddCrashedThread();
  for (const CapturedThread& thread : others) {
    AddThread(static_cast<DWORD>(thread.id), thread.isCaptured ? &thread.context : nullptr);
  }
  AddStream(StreamType::kThreadList,
            _file.Append(&_threads, sizeof(DWORD) + _threads.count * sizeof(ThreadRecord)));
}

void DumpWriter::AddThread(DWORD id, const CONTEXT* context) {
  ThreadRecord& record = _threads.records[_threads.count++];
  record = {};
  record.id = id;
  if (context == nullptr) return;
  record.context = _file.AppendRecord(*context);
  AddStackOf(record, context->Rsp);
}

void DumpWriter::AddCrashedThread() {
  const EXCEPTION_POINTERS* const pointers = _exception->ExceptionPointers;
  ThreadRecord& record = _threads.records[_threads.count++];
  record = {};
  record.id = _exception->ThreadId;
  record.context = _exceptionContext = _file.AppendRecord(*pointers->ContextRecord);
  const CrashSite* const site = platform::FindCrashSite(pointers);
  if (site != nullptr) {
    AddCrashedStack(record, *site);
  } else {
    AddStackOf(record, pointers->ContextRecord->Rsp);
  }
}

void DumpWriter::AddStackOf(ThreadRecord& record, ULONG_PTR stackPointer) {
  const MemoryRange* const range =
      _memory.Add(stackPointer - platform::kRedZoneBytes, kOtherStackBytes);
  if (range == nullptr) return;
  record.stack = {range->start, _file.Append(range->source, range->sizeBytes)};
  _memoryList.descriptors[_memoryList.count++] = record.stack;
}

/// The stack as it was: since then its innermost part has been unwound and used again.
void DumpWriter::AddCrashedStack(ThreadRecord& record, const CrashSite& site) {
  const MemoryRange* const range = _memory.AddCopy(site.copyStart, site.copyBytes, site.stackCopy);
  if (range == nullptr) return;
  record.stack = {range->start, _file.Append(range->source, range->sizeBytes)};
  _memoryList.descriptors[_memoryList.count++] = record.stack;
}

void DumpWriter::AddReferencedMemory() {
  const CONTEXT& context = *_exception->ExceptionPointers->ContextRecord;
  const ULONG_PTR registers[] = {context.Rax, context.Rcx, context.Rdx, context.Rbx, context.Rbp,
                                 context.Rsi, context.Rdi, context.R8,  context.R9,  context.R10,
                                 context.R11, context.R12, context.R13, context.R14, context.R15};
  _memory.Add(context.Rip - kCodeBytes, 2 * kCodeBytes);
  _memory.AddReferenced(registers);
  const CrashSite* const site = platform::FindCrashSite(_exception->ExceptionPointers);
  if (site == nullptr) return;
  const auto* const words = reinterpret_cast<const ULONG_PTR*>(site->stackCopy);
  const std::size_t searched = std::min(site->copyBytes, kSearchedStackBytes);
  _memory.AddReferenced({words, searched / sizeof(ULONG_PTR)});
}

void DumpWriter::AddException() {
  const EXCEPTION_RECORD& record = *_exception->ExceptionPointers->ExceptionRecord;
  ExceptionStream stream{};
  stream.threadId = _exception->ThreadId;
  stream.code = SignalOf(record.ExceptionCode);
  stream.flags = record.ExceptionCode;
  stream.address = record.NumberParameters == 2
                       ? record.ExceptionInformation[1]
                       : reinterpret_cast<ULONG_PTR>(record.ExceptionAddress);
  stream.parameterCount = record.NumberParameters;
  std::copy_n(record.ExceptionInformation, EXCEPTION_MAXIMUM_PARAMETERS, stream.parameters);
  stream.context = _exceptionContext;
  AddStream(StreamType::kException, _file.AppendRecord(stream));
}

void DumpWriter::AddMemory() {
  // What something points to comes last: its small blocks must not keep whole ranges out.
  if ((_types & MiniDumpWithDataSegs) != 0) _memory.AddModuleData();
  const bool isReferencedWanted = (_types & MiniDumpWithIndirectlyReferencedMemory) != 0;
  if (isReferencedWanted && _exception != nullptr) AddReferencedMemory();
  // The stacks are there already, one after another at the list's start.
  for (const MemoryRange& range : _memory.Ranges()) {
    const auto isStack = [&](const MemoryDescriptor& other) { return other.start == range.start; };
    const auto end = _memoryList.descriptors + _memoryList.count;
    if (std::any_of(_memoryList.descriptors, end, isStack)) continue;
    *end = {range.start, _file.Append(range.source, range.sizeBytes)};
    ++_memoryList.count;
  }
  AddStream(
      StreamType::kMemoryList,
      _file.Append(&_memoryList, sizeof(DWORD) + _memoryList.count * sizeof(MemoryDescriptor)));
}

void DumpWriter::AddHeader() {
  Header header{};
  header.signature = kSignature;
  header.version = kVersion;
  header.streamCount = _streamCount;
  header.directoryOffset = _directoryOffset;
  header.timeSeconds = static_cast<DWORD>(time(nullptr));
  header.flags = _types;
  _file.OverwriteAt(_directoryOffset, _directory, _streamCount * sizeof(DirectoryEntry));
  _file.OverwriteAt(_headerOffset, &header, sizeof header);
}

/// Null when there is no memory. It has memory of its own, because that of the layer's module is in
/// every dump.
DumpWriter* TheWriter() {
  static DumpWriter* const writer = [] {
    void* const memory = mmap(nullptr, sizeof(DumpWriter), PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory == MAP_FAILED ? nullptr : new (memory) DumpWriter;
  }();
  return writer;
}

bool WriteDump(int file, DWORD types, const MINIDUMP_EXCEPTION_INFORMATION* exception) {
  static std::mutex oneAtATime;
  const std::lock_guard guard(oneAtATime);
  DumpWriter* const writer = TheWriter();
  if (writer == nullptr) return false;
  writer->Begin(file, types, exception);
  return writer->Write();
}

}  // namespace

BOOL MiniDumpWriteDump(HANDLE process, DWORD processId, HANDLE file, MINIDUMP_TYPE dumpType,
                       const MINIDUMP_EXCEPTION_INFORMATION* exception,
                       const MINIDUMP_USER_STREAM_INFORMATION* userStreams,
                       const MINIDUMP_CALLBACK_INFORMATION* callback) {
  const platform::KernelScope scope;
  if (process != GetCurrentProcess() || processId != GetCurrentProcessId() ||
      (dumpType & ~kProvidedTypes) != 0 || userStreams != nullptr || callback != nullptr) {
    return Fail(ERROR_NOT_SUPPORTED);
  }
  const auto disk = platform::Lookup<platform::DiskFile>(file);
  if (!disk) return FALSE;
  return WriteDump(disk->Descriptor(), dumpType, exception) ? TRUE : Fail(ERROR_WRITE_FAULT);
}
