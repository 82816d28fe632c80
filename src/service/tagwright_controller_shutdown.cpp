/// How the controller stops: encoder threads first, then the control pipe, each within its time.
#include <algorithm>

#include "service/tagwright_controller.h"
#include "service/time_limits.h"
#include "support/log.h"

namespace {

constexpr Tracer kShutdownAllPipes{"TagwrightController::ShutdownAllPipes"};
constexpr Tracer kWaitForEncoders{"TagwrightController::WaitForEncoderThreadShutdown"};
constexpr Tracer kWaitForControl{"TagwrightController::WaitForControlThreadShutdown"};
constexpr Tracer kTerminateEncoders{"TagwrightController::TerminateEncoderThreads"};

void TraceShutdown(const char* text) { kShutdownAllPipes(text, LogLevel::kDetailInfoD); }

}  // namespace

template <class Visit>
void TagwrightController::ForEachEncoder(Visit&& visit) {
  OAutoLock lock(_terminationLock);
  for (ONode* node = _pEncoderServers->GetHead(); node != nullptr; node = node->GetNext()) {
    visit(*static_cast<TagwrightServer*>(node));
  }
}

void TagwrightController::StopEncoders() {
  ShutdownEncoderThreads();
  if (!WaitForEncoderThreadShutdown(kMaxPipesEndMs)) TerminateEncoderThreads();
}

TagwrightController::~TagwrightController() {
  // A control thread that an exception ended has left the encoders serving.
  const std::vector<HANDLE> threads = EncoderThreads();
  if (std::any_of(threads.begin(), threads.end(), IsActive)) StopEncoders();
}

void TagwrightController::Shutdown() { PipeServer::Shutdown(); }

void TagwrightController::ShutdownEncoderThreads() {
  ForEachEncoder([](TagwrightServer& server) { server.Shutdown(); });
}

std::vector<HANDLE> TagwrightController::EncoderThreads() {
  std::vector<HANDLE> threads;
  ForEachEncoder([&](const TagwrightServer& server) {
    const HANDLE thread = server.GetThreadHandle();
    if (thread != INVALID_HANDLE_VALUE) threads.push_back(thread);
  });
  return threads;
}

bool TagwrightController::WaitForEncoderThreadShutdown(DWORD timeout) {
  const std::vector<HANDLE> threads = EncoderThreads();
  if (threads.empty()) {
    kWaitForEncoders("There are no threads to wait for");
    return true;
  }
  const auto count = static_cast<DWORD>(threads.size());
  const DWORD result = WaitForMultipleObjects(count, threads.data(), TRUE, timeout);
  if (result < WAIT_OBJECT_0 + count) {
    kWaitForEncoders("all threads signaled as shutdown");
    return true;
  }
  if (result == WAIT_TIMEOUT) {
    kWaitForEncoders("timeout while waiting for threads to shutdown");
  } else if (result >= WAIT_ABANDONED_0 && result < WAIT_ABANDONED_0 + count) {
    kWaitForEncoders.Warning("handle abandoned");
  } else {
    kWaitForEncoders.Error("WaitForMultipleObjects failed");
  }
  return false;
}

bool TagwrightController::WaitForControlThreadShutdown(DWORD timeout) {
  if (timeout == 0) return true;
  const HANDLE thread = GetThreadHandle();
  // Windows takes INVALID_HANDLE_VALUE for this process itself and would wait in vain.
  switch (thread == INVALID_HANDLE_VALUE ? WAIT_FAILED : WaitForSingleObject(thread, timeout)) {
    case WAIT_OBJECT_0:
      kWaitForControl("Control pipe thread shutdown");
      return true;
    case WAIT_TIMEOUT:
      kWaitForControl("Timeout while waiting for thread to shutdown");
      return false;
    case WAIT_ABANDONED:
      kWaitForControl.Warning("handle abandoned");
      return false;
    default:
      kWaitForControl.Error("WaitForSingleObjects failed");
      return false;
  }
}

void TagwrightController::TerminateEncoderThreads() {
  ForEachEncoder([](TagwrightServer& server) {
    const HANDLE thread = server.GetThreadHandle();
    if (thread == INVALID_HANDLE_VALUE || !IsActive(thread)) return;
    kTerminateEncoders.Warning(
        [] { return OString("Terminating thread id: 0x") << FormatHex(GetCurrentThreadId()); });
    server.TerminateMessageThread();
  });
}

void TagwrightController::RefuseFurtherEncoders() {
  OAutoLock lock(_terminationLock);
  _acceptsEncoders = false;
}

void TagwrightController::DestroyEncoders() {
  OAutoLock lock(_terminationLock);
  while (ONode* server = _pEncoderServers->RemoveHead()) delete server;
}

void TagwrightController::TerminateControlThread() {
  const HANDLE thread = GetThreadHandle();
  if (thread == INVALID_HANDLE_VALUE || !IsActive(thread)) return;
  kShutdownAllPipes.Warning("Forcibly terminating control thread");
  TerminateMessageThread();
}

void TagwrightController::ShutdownAllPipes() {
  TraceShutdown("Enter");
  const DWORD startTick = GetTickCount();
  // From here on an eAddEncoder still in flight is refused, so that no server is started that the
  // steps below would not stop.
  RefuseFurtherEncoders();
  ShutdownEncoderThreads();
  if (!WaitForEncoderThreadShutdown(kMaxPipesEndMs)) {
    kShutdownAllPipes.Warning("Forcing Encoder Threads Termination");
    TerminateEncoderThreads();
  }
  TraceShutdown("Encoder Threads shutdown");
  PipeServer::Shutdown();
  DestroyEncoders();
  const DWORD usedMs = GetTickCount() - startTick;
  if (usedMs < kMaxPipesEndMs) WaitForControlThreadShutdown(kMaxPipesEndMs - usedMs);
  TraceShutdown("Returned from WaitForControlThreadShutdown");
  TerminateControlThread();
  TraceShutdown("Leave");
}
