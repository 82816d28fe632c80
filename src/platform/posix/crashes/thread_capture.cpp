#include "platform/posix/crashes/thread_capture.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <mutex>

#include "platform/posix/kernel/crash_site.h"
#include "platform/posix/kernel/futex.h"
#include "platform/posix/kernel/signals.h"
#include "platform/posix/kernel/unique_fd.h"

namespace platform {
namespace {

/// How long the threads have to answer, all of them together: those that answer do so at once.
constexpr DWORD kAnswerTimeMs = 2000;
/// How long a thread waits at most for the capture's end.
constexpr DWORD kStandStillMs = 10000;

CapturedThread g_threads[kMaxCapturedThreads];
std::size_t g_threadCount = 0;
/// Odd while threads stand still; they wait for it to change.
FutexWord g_phase{0};
/// How many have answered; the capturing thread waits for it to change.
FutexWord g_answers{0};

void Answer(const void* registers) {
  const pid_t id = gettid();
  for (std::size_t i = 0; i < g_threadCount; ++i) {
    if (g_threads[i].id != id) continue;
    CopyRegisters(registers, g_threads[i].context);
    g_threads[i].isCaptured = true;
  }
  ++g_answers;
  FutexWake(g_answers);
}

void OnCaptureSignal(int, siginfo_t*, void* registers) {
  const int error = errno;
  const std::uint32_t phase = g_phase;
  if (phase % 2 == 1) {
    Answer(registers);
    FutexWait(g_phase, phase, Deadline(kStandStillMs));
  }
  errno = error;
}

void InstallSignalHandler() {
  struct sigaction action {};
  action.sa_sigaction = OnCaptureSignal;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
  sigfillset(&action.sa_mask);
  sigaction(CaptureSignal(), &action, nullptr);
}

void AddThread(const char* name) {
  const pid_t id = static_cast<pid_t>(std::strtol(name, nullptr, 10));
  if (id <= 0 || id == gettid() || g_threadCount == kMaxCapturedThreads) return;
  g_threads[g_threadCount].id = id;
  g_threads[g_threadCount].isCaptured = false;
  ++g_threadCount;
}

struct DirectoryEntry {  // what getdents64 delivers
  ino64_t inode;
  off64_t offset;
  unsigned short length;
  unsigned char type;
  char name[1];
};

/// Not opendir, which takes memory from the heap.
void ListThreads() {
  g_threadCount = 0;
  const UniqueFd folder(open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  alignas(DirectoryEntry) char buffer[4096];
  for (;;) {
    const long size = syscall(SYS_getdents64, folder.Get(), buffer, sizeof buffer);
    if (size <= 0) return;
    for (long at = 0; at < size;) {
      const auto* entry = reinterpret_cast<const DirectoryEntry*>(buffer + at);
      AddThread(entry->name);
      at += entry->length;
    }
  }
}

std::uint32_t AskThreads() {
  std::uint32_t asked = 0;
  for (std::size_t i = 0; i < g_threadCount; ++i) {
    if (syscall(SYS_tgkill, getpid(), g_threads[i].id, CaptureSignal()) == 0) ++asked;
  }
  return asked;
}

void AwaitAnswers(std::uint32_t count) {
  const Deadline deadline(kAnswerTimeMs);
  for (bool isInTime = true; isInTime;) {
    const std::uint32_t answers = g_answers;
    if (answers >= count) return;
    isInTime = FutexWait(g_answers, answers, deadline);
  }
}

}  // namespace

ThreadCapture::ThreadCapture() {
  static std::once_flag installed;
  std::call_once(installed, InstallSignalHandler);
  ListThreads();
  g_answers = 0;
  ++g_phase;
  AwaitAnswers(AskThreads());
}

ThreadCapture::~ThreadCapture() {
  ++g_phase;
  FutexWake(g_phase);
}

std::span<const CapturedThread> ThreadCapture::Threads() const {
  return {g_threads, g_threadCount};
}

}  // namespace platform
