#include "platform/posix/crashes/dump_modules.h"

#include <elf.h>
#include <link.h>

#include <algorithm>
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

struct BuildId {
  const BYTE* bytes = nullptr;
  DWORD sizeBytes = 0;
};

DWORD RoundUp(DWORD size) { return (size + 3) / 4 * 4; }

BuildId FindInNotes(const BYTE* at, std::size_t sizeBytes) {
  const BYTE* const end = at + sizeBytes;
  while (at + sizeof(ElfW(Nhdr)) < end) {
    const auto* note = reinterpret_cast<const ElfW(Nhdr)*>(at);
    const BYTE* const name = at + sizeof *note;
    const BYTE* const content = name + RoundUp(note->n_namesz);
    if (note->n_type == NT_GNU_BUILD_ID && std::memcmp(name, "GNU", sizeof "GNU") == 0) {
      return {content, note->n_descsz};
    }
    at = content + RoundUp(note->n_descsz);
  }
  return {};
}

/// From the module's headers in memory.
BuildId FindBuildId(const Module& module) {
  const auto* base = reinterpret_cast<const BYTE*>(module.Base());
  const auto* header = reinterpret_cast<const ElfW(Ehdr)*>(base);
  if (std::memcmp(header->e_ident, ELFMAG, SELFMAG) != 0) return {};
  const ULONG_PTR bias = header->e_type == ET_EXEC ? 0 : module.Base();
  const auto* segments = reinterpret_cast<const ElfW(Phdr)*>(base + header->e_phoff);
  for (int i = 0; i < header->e_phnum; ++i) {
    if (segments[i].p_type != PT_NOTE) continue;
    const auto* notes = reinterpret_cast<const BYTE*>(bias + segments[i].p_vaddr);
    const BuildId id = FindInNotes(notes, segments[i].p_memsz);
    if (id.bytes != nullptr) return id;
  }
  return {};
}

Location AppendBuildId(DumpFile& file, const Module& module) {
  const BuildId id = FindBuildId(module);
  if (id.bytes == nullptr) return {0, 0};
  BYTE record[sizeof(DWORD) + 64];
  const std::size_t size = std::min<std::size_t>(id.sizeBytes, sizeof record - sizeof(DWORD));
  std::memcpy(record, &minidump::kBuildIdSignature, sizeof(DWORD));
  std::memcpy(record + sizeof(DWORD), id.bytes, size);
  return file.Append(record, sizeof(DWORD) + size);
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
