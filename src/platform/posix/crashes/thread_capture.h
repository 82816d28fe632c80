/// Stops the other threads of this process and reads their registers, from inside: a signal asks
/// each one, whose handler notes where it was and waits.
#pragma once

#include <sys/types.h>

#include <span>

#include "platform/posix/api/exceptions.h"

namespace platform {

/// Of a process with more threads the rest runs on.
constexpr std::size_t kMaxCapturedThreads = 512;

struct CapturedThread {
  pid_t id;
  /// Whether it answered in time; the context is empty otherwise, and the thread runs on.
  bool isCaptured;
  CONTEXT context;
};

/// The other threads stand still while it lives. One at a time in a process.
class ThreadCapture {
 public:
  ThreadCapture();
  ~ThreadCapture();
  ThreadCapture(const ThreadCapture&) = delete;
  ThreadCapture& operator=(const ThreadCapture&) = delete;

  std::span<const CapturedThread> Threads() const;
};

}  // namespace platform
