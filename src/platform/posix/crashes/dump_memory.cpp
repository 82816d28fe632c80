#include "platform/posix/crashes/dump_memory.h"

#include <algorithm>
#include <iterator>

#include "platform/posix/kernel/sizes.h"

namespace platform {
namespace {

/// What is taken of memory that something points to: the block of this size the address lies in.
/// As much as the field's dump writers take.
constexpr ULONG_PTR kReferencedBytes = kKiB;

/// Of one mapping with data. Ours have a few pages.
constexpr std::size_t kMaxModuleDataBytes = 256 * kKiB;

}  // namespace

void DumpMemory::Begin(std::span<const Mapping> mappings) { _mappings = mappings; }

const Mapping* DumpMemory::Find(ULONG_PTR address) const {
  const auto after =
      std::upper_bound(_mappings.begin(), _mappings.end(), address,
                       [](ULONG_PTR value, const Mapping& mapping) { return value < mapping.end; });
  return after != _mappings.end() && after->start <= address ? &*after : nullptr;
}

bool DumpMemory::IsTaken(ULONG_PTR start, ULONG_PTR end) const {
  return std::any_of(_ranges, _ranges + _count, [&](const MemoryRange& range) {
    return start < range.End() && range.start < end;
  });
}

const MemoryRange* DumpMemory::AddCopy(ULONG_PTR start, std::size_t sizeBytes, const void* copy) {
  if (_count == std::size(_ranges) || sizeBytes == 0) return nullptr;
  _ranges[_count] = {start, sizeBytes, copy};
  return &_ranges[_count++];
}

const MemoryRange* DumpMemory::Add(ULONG_PTR start, std::size_t sizeBytes) {
  const Mapping* const mapping = Find(start);
  if (mapping == nullptr || !mapping->isReadable) return nullptr;
  const ULONG_PTR end = std::min(start + sizeBytes, mapping->end);
  if (IsTaken(start, end)) return nullptr;
  return AddCopy(start, end - start, reinterpret_cast<const void*>(start));
}

void DumpMemory::AddReferenced(std::span<const ULONG_PTR> words) {
  for (const ULONG_PTR word : words) {
    const Mapping* const mapping = Find(word);
    if (mapping == nullptr || !mapping->isWritable) continue;
    Add(word / kReferencedBytes * kReferencedBytes, kReferencedBytes);
  }
}

void DumpMemory::AddModuleData() {
  const Mapping* before = nullptr;
  for (const Mapping& mapping : _mappings) {
    // Variables without a value in the file follow it.
    const bool isRest = before != nullptr && before->IsOfFile() && mapping.path[0] == 0 &&
                        mapping.start == before->end;
    before = &mapping;
    if (!mapping.isWritable || !(mapping.IsOfFile() || isRest)) continue;
    Add(mapping.start, std::min<std::size_t>(mapping.end - mapping.start, kMaxModuleDataBytes));
  }
}

}  // namespace platform
