#include "platform/posix/crashes/dump_modules.h"

#include <elf.h>
#include <link.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace platform {
namespace {

using minidump::Location;
using minidump::ModuleRecord;

/// More than a process of ours ever loads.
constexpr std::size_t kMaxModules = 256;

/// The mappings of one file, which follow one another.
struct Module {
  std::span<const Mapping> mappings;

  ULONG_PTR Base() const { return mappings.front().start; }
  ULONG_PTR End() const { return mappings.back().end; }
  const char* Path() const { return mappings.front().path; }
  bool HasCode() const {
    for (const Mapping& mapping : mappings) {
      if (mapping.isExecutable) return mappings.front().isReadable;
    }
    return false;
  }
};

Module FirstModule(std::span<const Mapping> mappings) {
  std::size_t count = 1;
  while (count < mappings.size() && std::strcmp(mappings[count].path, mappings.front().path) == 0) {
    ++count;
  }
  return {mappings.first(count)};
}

constexpr std::size_t kMaxBuildIdBytes = 64;

/// The beginning of a dump's record for a build id, and the id.
struct BuildId {
  DWORD signature = minidump::kBuildIdSignature;
  BYTE bytes[kMaxBuildIdBytes] = {};
  DWORD sizeBytes = 0;
};
static_assert(offsetof(BuildId, bytes) == sizeof(DWORD));

/// Reads memory of this process by way of the kernel: a module whose file has become shorter since
/// it was loaded has pages that end the process with SIGBUS when they are touched.
bool ReadMemory(ULONG_PTR from, void* to, std::size_t sizeBytes) {
  const iovec target{to, sizeBytes};
  const iovec source{reinterpret_cast<void*>(from), sizeBytes};
  return process_vm_readv(getpid(), &target, 1, &source, 1, 0) == static_cast<ssize_t>(sizeBytes);
}

template <class Record>
bool ReadRecord(ULONG_PTR from, Record& record) {
  return ReadMemory(from, &record, sizeof record);
}

ULONG_PTR RoundUp(ULONG_PTR size) { return (size + 3) / 4 * 4; }

/// A linker makes fewer; broken headers must not keep a crashed process busy.
constexpr int kMaxSegments = 64;
constexpr int kMaxNotes = 64;

bool FindInNotes(ULONG_PTR at, ULONG_PTR end, BuildId& id) {
  ElfW(Nhdr) note;
  for (int i = 0; i < kMaxNotes && at + sizeof note < end && ReadRecord(at, note); ++i) {
    const ULONG_PTR name = at + sizeof note;
    const ULONG_PTR content = name + RoundUp(note.n_namesz);
    char owner[sizeof ELF_NOTE_GNU] = {};
    if (note.n_type == NT_GNU_BUILD_ID && ReadRecord(name, owner) &&
        std::memcmp(owner, ELF_NOTE_GNU, sizeof owner) == 0) {
      id.sizeBytes = std::min<DWORD>(note.n_descsz, kMaxBuildIdBytes);
      return ReadMemory(content, id.bytes, id.sizeBytes);
    }
    at = content + RoundUp(note.n_descsz);
  }
  return false;
}

/// From the module's headers in memory.
bool FindBuildId(const Module& module, BuildId& id) {
  ElfW(Ehdr) header;
  if (!ReadRecord(module.Base(), header)) return false;
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) return false;
  const ULONG_PTR bias = header.e_type == ET_EXEC ? 0 : module.Base();
  for (ULONG_PTR i = 0; i < std::min<ULONG_PTR>(header.e_phnum, kMaxSegments); ++i) {
    ElfW(Phdr) segment;
    if (!ReadRecord(module.Base() + header.e_phoff + i * sizeof segment, segment)) return false;
    const ULONG_PTR notes = bias + segment.p_vaddr;
    if (segment.p_type == PT_NOTE && FindInNotes(notes, notes + segment.p_memsz, id)) return true;
  }
  return false;
}

Location AppendBuildId(DumpFile& file, const Module& module) {
  BuildId id;
  return FindBuildId(module, id) ? file.Append(&id, offsetof(BuildId, bytes) + id.sizeBytes)
                                 : Location{0, 0};
}

ModuleRecord Describe(DumpFile& file, const Module& module) {
  ModuleRecord record{};
  record.base = module.Base();
  record.sizeBytes = static_cast<DWORD>(module.End() - module.Base());
  record.nameOffset = file.AppendText(module.Path());
  record.codeView = AppendBuildId(file, module);
  return record;
}

}  // namespace

Location AppendModules(DumpFile& file, std::span<const Mapping> mappings) {
  static struct {
    DWORD count;
    ModuleRecord records[kMaxModules];
  } list;
  static_assert(sizeof list == sizeof(DWORD) + sizeof list.records);
  list.count = 0;
  while (!mappings.empty() && list.count < kMaxModules) {
    const Module module = FirstModule(mappings);
    mappings = mappings.subspan(module.mappings.size());
    if (module.mappings.front().IsOfFile() && module.HasCode()) {
      list.records[list.count++] = Describe(file, module);
    }
  }
  return file.Append(&list, sizeof list.count + list.count * sizeof(ModuleRecord));
}

}  // namespace platform
