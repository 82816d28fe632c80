/// The mappings of this process, read without the heap.
#pragma once

#include <cstddef>
#include <span>

#include "platform/posix/api/base.h"

namespace platform {

struct Mapping {
  ULONG_PTR start;
  ULONG_PTR end;
  bool isReadable;
  bool isWritable;
  bool isExecutable;
  const char* path;  // "" for none; "[stack]" and the like for what is no file

  bool IsOfFile() const { return path[0] == '/'; }
};

/// A reader with room for the usual process; of a larger one the rest is left out. Large: it is not
/// to lie on a stack.
class ProcessMaps {
 public:
  /// What is mapped now, in the order of addresses. Valid until the next call.
  std::span<const Mapping> Read();

 private:
  void AddLine(char* line);

  char _text[512 * 1024];
  Mapping _mappings[4096];
  std::size_t _count;
};

}  // namespace platform
