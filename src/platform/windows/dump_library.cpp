#include "platform/dump_library.h"

#include <vector>

#include "platform/windows/crashed_stack.h"

namespace platform {
namespace {

constexpr ULONG32 kSignature = 0x504D444D;  // "MDMP"

using Memory = MINIDUMP_MEMORY_DESCRIPTOR;

/// A written dump whose records are replaced.
class WrittenDump {
 public:
  explicit WrittenDump(HANDLE file) : _file(file) {}

  /// Gives the thread the stack, in place of what the dump has of those addresses. False when the
  /// file cannot be read or written, or is no dump with threads and memory.
  bool PutStack(DWORD threadId, const CrashedStack& stack);

 private:
  bool FindStream(ULONG32 type, RVA& entryAt, MINIDUMP_DIRECTORY& entry);
  bool PointThreadTo(const Memory& stack, DWORD threadId);
  bool ListInstead(const Memory& stack);

  bool ReadAt(RVA at, void* to, DWORD sizeBytes);
  bool WriteAt(RVA at, const void* from, DWORD sizeBytes);
  /// 0 on failure.
  RVA Append(const void* from, DWORD sizeBytes);
  template <class Record>
  bool ReadRecord(RVA at, Record& record) {
    return ReadAt(at, &record, sizeof record);
  }

  HANDLE _file;
};

DWORD ListBytes(const std::vector<Memory>& list) {
  return static_cast<DWORD>(list.size() * sizeof(Memory));
}

bool Overlap(const Memory& one, const Memory& other) {
  return one.StartOfMemoryRange < other.StartOfMemoryRange + other.Memory.DataSize &&
         other.StartOfMemoryRange < one.StartOfMemoryRange + one.Memory.DataSize;
}

/// Adds what of `memory` lies outside `other`, which it overlaps.
void AddRest(std::vector<Memory>& list, const Memory& memory, const Memory& other) {
  const ULONG64 start = memory.StartOfMemoryRange;
  const ULONG64 end = start + memory.Memory.DataSize;
  const ULONG64 otherEnd = other.StartOfMemoryRange + other.Memory.DataSize;
  if (start < other.StartOfMemoryRange) {
    list.push_back(memory);
    list.back().Memory.DataSize = static_cast<ULONG32>(other.StartOfMemoryRange - start);
  }
  if (end > otherEnd) {
    const auto skipped = static_cast<ULONG32>(otherEnd - start);
    list.push_back({otherEnd, {memory.Memory.DataSize - skipped, memory.Memory.Rva + skipped}});
  }
}

bool WrittenDump::PutStack(DWORD threadId, const CrashedStack& stack) {
  Memory memory{};
  memory.StartOfMemoryRange = stack.Start();
  memory.Memory.DataSize = stack.SizeBytes();
  memory.Memory.Rva = Append(stack.Bytes(), stack.SizeBytes());
  return memory.Memory.Rva != 0 && PointThreadTo(memory, threadId) && ListInstead(memory);
}

bool WrittenDump::FindStream(ULONG32 type, RVA& entryAt, MINIDUMP_DIRECTORY& entry) {
  MINIDUMP_HEADER header;
  if (!ReadRecord(0, header) || header.Signature != kSignature) return false;
  entryAt = header.StreamDirectoryRva;
  for (ULONG32 i = 0; i < header.NumberOfStreams; ++i, entryAt += sizeof entry) {
    if (!ReadRecord(entryAt, entry)) return false;
    if (entry.StreamType == type) return true;
  }
  return false;
}

bool WrittenDump::PointThreadTo(const Memory& stack, DWORD threadId) {
  RVA entryAt = 0;
  MINIDUMP_DIRECTORY entry;
  ULONG32 count = 0;
  if (!FindStream(ThreadListStream, entryAt, entry)) return false;
  if (!ReadRecord(entry.Location.Rva, count)) return false;
  RVA at = entry.Location.Rva + sizeof count;
  for (ULONG32 i = 0; i < count; ++i, at += sizeof(MINIDUMP_THREAD)) {
    MINIDUMP_THREAD thread;
    if (!ReadRecord(at, thread)) return false;
    if (thread.ThreadId != threadId) continue;
    thread.Stack = stack;
    return WriteAt(at, &thread, sizeof thread);
  }
  return false;
}

/// The new list comes last in the file: it may be longer than the old one.
bool WrittenDump::ListInstead(const Memory& stack) {
  RVA entryAt = 0;
  MINIDUMP_DIRECTORY entry;
  ULONG32 count = 0;
  if (!FindStream(MemoryListStream, entryAt, entry)) return false;
  if (!ReadRecord(entry.Location.Rva, count)) return false;
  std::vector<Memory> before(count), after{stack};
  if (!ReadAt(entry.Location.Rva + sizeof count, before.data(), ListBytes(before))) return false;
  for (const Memory& memory : before) {
    if (Overlap(memory, stack)) {
      AddRest(after, memory, stack);
    } else {
      after.push_back(memory);
    }
  }
  count = static_cast<ULONG32>(after.size());
  entry.Location.Rva = Append(&count, sizeof count);
  entry.Location.DataSize = sizeof count + ListBytes(after);
  return entry.Location.Rva != 0 && Append(after.data(), ListBytes(after)) != 0 &&
         WriteAt(entryAt, &entry, sizeof entry);
}

bool WrittenDump::ReadAt(RVA at, void* to, DWORD sizeBytes) {
  DWORD done = 0;
  return SetFilePointer(_file, static_cast<LONG>(at), nullptr, FILE_BEGIN) == at &&
         ReadFile(_file, to, sizeBytes, &done, nullptr) && done == sizeBytes;
}

bool WrittenDump::WriteAt(RVA at, const void* from, DWORD sizeBytes) {
  DWORD done = 0;
  return SetFilePointer(_file, static_cast<LONG>(at), nullptr, FILE_BEGIN) == at &&
         WriteFile(_file, from, sizeBytes, &done, nullptr) && done == sizeBytes;
}

RVA WrittenDump::Append(const void* from, DWORD sizeBytes) {
  const DWORD end = SetFilePointer(_file, 0, nullptr, FILE_END);
  return end != INVALID_SET_FILE_POINTER && WriteAt(end, from, sizeBytes) ? end : 0;
}

}  // namespace

BOOL WriteDumpWith(decltype(&MiniDumpWriteDump) writeDump, HANDLE file, MINIDUMP_TYPE type,
                   EXCEPTION_POINTERS* pointers) {
  MINIDUMP_EXCEPTION_INFORMATION exception{GetCurrentThreadId(), pointers, TRUE};
  const BOOL isWritten = writeDump(GetCurrentProcess(), GetCurrentProcessId(), file, type,
                                   &exception, nullptr, nullptr);
  const CrashedStack* const stack = FindCrashedStack(pointers);
  // A dump that does not take the stack is a dump all the same.
  if (isWritten && stack != nullptr) WrittenDump(file).PutStack(exception.ThreadId, *stack);
  return isWritten;
}

}  // namespace platform
