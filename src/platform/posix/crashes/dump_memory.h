/// The memory that a dump is to hold: ranges without overlap, each with the place to read it from.
#pragma once

#include <span>

#include "platform/posix/crashes/process_maps.h"

namespace platform {

struct MemoryRange {
  ULONG_PTR start;
  std::size_t sizeBytes;
  /// Where the bytes are now; elsewhere for what had to be copied when it was still there.
  const void* source;

  ULONG_PTR End() const { return start + sizeBytes; }
};

/// Too large for a stack.
class DumpMemory {
 public:
  /// Called first, with the mappings of the process.
  void Begin(std::span<const Mapping> mappings);

  /// A copy takes part even where nothing is mapped any more. Null when there is no room.
  const MemoryRange* AddCopy(ULONG_PTR start, std::size_t sizeBytes, const void* copy);
  /// The range from `start`, cut to its mapping. Null when nothing readable is there, something
  /// of it is there already, or there is no room.
  const MemoryRange* Add(ULONG_PTR start, std::size_t sizeBytes);
  /// What lies around each of the words that points into writable memory.
  void AddReferenced(std::span<const ULONG_PTR> words);
  /// The writable data of the program and its libraries.
  void AddModuleData();

  std::span<const MemoryRange> Ranges() const { return {_ranges, _count}; }

 private:
  const Mapping* Find(ULONG_PTR address) const;
  bool IsTaken(ULONG_PTR start, ULONG_PTR end) const;

  std::span<const Mapping> _mappings;
  MemoryRange _ranges[4096];
  std::size_t _count = 0;
};

}  // namespace platform
