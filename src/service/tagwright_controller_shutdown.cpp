/// How the controller stops: encoder threads first, then the control pipe, each within its time.
#include <algorithm>

#include "service/tagwright_controller.h"
#include "service/time_limits.h"
#include "support/log.h"
#include "support/thread_end.h"

namespace {

constexpr Tracer kShutdownAllPipes{"TagwrightController::ShutdownAllPipes"};
constexpr Tracer kWaitForEncoders{"TagwrightController::WaitForEncoderThreadShutdown"};
constexpr Tracer kWaitForControl{"TagwrightController::WaitForControlThreadShutdown"};
constexpr Tracer kTerminateEncoders{"TagwrightController::TerminateEncoderThreads"};

void TraceShutdown(const char* text) { kShutdownAllPipes(text, LogLevel::kDetailInfoD); }

/// A server whose thread was never started has none.
void AddThreadOf(const PipeServer& server, std::vector<HANDLE>& threads) {
  const HANDLE thread = server.GetThreadHandle();
  if (thread != INVALID_HANDLE_VALUE) threads.push_back(thread);
}

struct WaitTexts {
  const char* ended;
  const char* timedOut;
  const char* failed;
};

/// Whether the threads have ended.
bool ReportWait(const Tracer& trace, ThreadEnd end, const WaitTexts& texts) {
  switch (end) {
    case ThreadEnd::kEnded:
      trace(texts.ended);
      break;
    case ThreadEnd::kTimedOut:
      trace(texts.timedOut);
      break;
    case ThreadEnd::kAbandoned:
      trace.Warning("handle abandoned");
      break;
    case ThreadEnd::kFailed:
      trace.Error(texts.failed);
      break;
  }
  return end == ThreadEnd::kEnded;
}

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
  if (!WaitForEncoderThreadShutdown(kMaxControlShutdownTimeMs)) TerminateEncoderThreads();
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
  ForEachEncoder([&](const TagwrightServer& server) { AddThreadOf(server, threads); });
  return threads;
}

bool TagwrightController::WaitForEncoderThreadShutdown(DWORD timeout) {
  const std::vector<HANDLE> threads = EncoderThreads();
  if (threads.empty()) {
    kWaitForEncoders("There are no threads to wait for");
    return true;
  }
  return ReportWait(
      kWaitForEncoders, AwaitThreads(threads, timeout),
      {"all threads signaled as shutdown", "timeout while waiting for threads to shutdown",
       "WaitForMultipleObjects failed"});
}

bool TagwrightController::WaitForControlThreadShutdown(DWORD timeout) {
  std::vector<HANDLE> thread;
  AddThreadOf(*this, thread);
  return ReportWait(kWaitForControl, AwaitThreads(thread, timeout),
                    {"Control pipe thread shutdown", "Timeout while waiting for thread to shutdown",
                     "WaitForSingleObjects failed"});
}

void TagwrightController::TerminateEncoderThreads() {
  ForEachEncoder([](TagwrightServer& server) {
    if (!IsActive(server.GetThreadHandle())) return;
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
  if (!IsActive(GetThreadHandle())) return;
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
  if (!WaitForEncoderThreadShutdown(kMaxControlShutdownTimeMs)) {
    kShutdownAllPipes.Warning("Forcing Encoder Threads Termination");
    TerminateEncoderThreads();
  }
  TraceShutdown("Encoder Threads shutdown");
  PipeServer::Shutdown();
  DestroyEncoders();
  const DWORD usedMs = GetTickCount() - startTick;
  if (usedMs < kMaxControlShutdownTimeMs)
    WaitForControlThreadShutdown(kMaxControlShutdownTimeMs - usedMs);
  TraceShutdown("Returned from WaitForControlThreadShutdown");
  TerminateControlThread();
  TraceShutdown("Leave");
}
