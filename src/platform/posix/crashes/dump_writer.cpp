#include "platform/posix/crashes/dump_writer.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <new>

#include "platform/fatal_crash.h"
#include "platform/posix/crashes/dump_file.h"
#include "platform/posix/crashes/dump_memory.h"
#include "platform/posix/crashes/dump_modules.h"
#include "platform/posix/crashes/thread_capture.h"
#include "platform/posix/kernel/crash_site.h"
#include "platform/posix/kernel/sizes.h"

namespace platform {
namespace {

using namespace minidump;

/// Bytes of stack saved for a thread that did not crash.
constexpr std::size_t kOtherStackBytes = 64 * kKiB;
/// Bytes of the crashed thread's stack that are searched for pointers.
constexpr std::size_t kSearchedStackBytes = 32 * kKiB;
/// Bytes of code saved on both sides of the instruction that failed.
constexpr ULONG_PTR kCodeBytes = 128;
/// How long a dump waits for the one before; that one has failed then.
constexpr std::chrono::seconds kLongestWait{3};

constexpr std::size_t kMaxThreads = kMaxCapturedThreads + 1;

/// The exception's code as debuggers of Linux processes expect it.
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
    case EXCEPTION_PRIV_INSTRUCTION:
    case EXCEPTION_STACK_OVERFLOW:
      return SIGSEGV;
    case kAborted:
      return SIGABRT;
    default:
      return SIGFPE;
  }
}

/// Writes one dump at a time, in memory of its own: it relies neither on the heap nor on a crashed
/// thread's stack.
class DumpWriter {
 public:
  DumpWriter(int file, DWORD types, const MINIDUMP_EXCEPTION_INFORMATION* exception)
      : _file(file), _types(types), _exception(exception) {}
  bool Write();

 private:
  void AddStream(StreamType type, Location location);
  void AddSystemInfo();
  void AddThreads(std::span<const CapturedThread> others);
  void AddThread(DWORD id, const CONTEXT* context);
  void AddCrashedThread();
  void AddStack(ThreadRecord& record, const MemoryRange* range);
  const MemoryRange* CrashedStack();
  void AddReferencedMemory();
  void AddException();
  void AddMemory();
  void AddHeader();

  DumpFile _file;
  const DWORD _types;
  const MINIDUMP_EXCEPTION_INFORMATION* const _exception;
  const DWORD _headerOffset = _file.Reserve(sizeof(Header));
  const DWORD _directoryOffset = _file.Reserve(sizeof _directory);
  DWORD _streamCount = 0;
  DirectoryEntry _directory[16];
  Location _exceptionContext{};
  const MemoryRange* _crashedStack = nullptr;
  ProcessMaps _maps;
  DumpMemory _memory;
  struct {
    DWORD count = 0;
    ThreadRecord records[kMaxThreads];
  } _threads;
  struct {
    DWORD count = 0;
    MemoryDescriptor descriptors[4096];
  } _memoryList;
};

bool DumpWriter::Write() {
  {
    const ThreadCapture capture;
    const auto mappings = _maps.Read();
    _memory.Begin(mappings);
    AddSystemInfo();
    AddThreads(capture.Threads());
    AddStream(StreamType::kModuleList, AppendModules(_file, mappings));
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
  AddStack(record, _memory.Add(context->Rsp - kRedZoneBytes, kOtherStackBytes));
}

void DumpWriter::AddCrashedThread() {
  const EXCEPTION_POINTERS* const pointers = _exception->ExceptionPointers;
  ThreadRecord& record = _threads.records[_threads.count++];
  record = {};
  record.id = _exception->ThreadId;
  record.context = _exceptionContext = _file.AppendRecord(*pointers->ContextRecord);
  _crashedStack = CrashedStack();
  AddStack(record, _crashedStack);
}

/// The stack of a crash that was thrown has been unwound and used again since: its copy is taken
/// instead. That of a fatal crash is as it was; an overflowing one ends at its guard.
const MemoryRange* DumpWriter::CrashedStack() {
  const EXCEPTION_POINTERS* const pointers = _exception->ExceptionPointers;
  if (const CrashSite* const thrown = FindCrashSite(pointers)) {
    return _memory.AddCopy(thrown->copyStart, thrown->copyBytes, thrown->stackCopy);
  }
  ULONG_PTR start = pointers->ContextRecord->Rsp - kRedZoneBytes;
  const ULONG_PTR low = CurrentStack().low;
  if (start < low && start + CrashSite::kStackCopyBytes > low) start = low;
  return _memory.Add(start, CrashSite::kStackCopyBytes);
}

void DumpWriter::AddStack(ThreadRecord& record, const MemoryRange* range) {
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
  if (_crashedStack == nullptr) return;
  const auto* const words = static_cast<const ULONG_PTR*>(_crashedStack->source);
  const std::size_t searched = std::min(_crashedStack->sizeBytes, kSearchedStackBytes);
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

/// MAP_FAILED when there is none. Not the layer's module's, because that is in every dump.
void* MemoryForWriter() {
  static void* const memory =
      mmap(nullptr, sizeof(DumpWriter), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return memory;
}

}  // namespace

bool WriteDump(int file, DWORD types, const MINIDUMP_EXCEPTION_INFORMATION* exception) {
  static std::timed_mutex oneAtATime;
  const std::unique_lock turn(oneAtATime, kLongestWait);
  void* const memory = MemoryForWriter();
  if (!turn || memory == MAP_FAILED) return false;
  return (new (memory) DumpWriter(file, types, exception))->Write();
}

}  // namespace platform
