#include "platform/posix/api/console.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/epoll.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <mutex>
#include <vector>

#include "platform/posix/api/errors.h"
#include "platform/posix/api/processes.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/reactor.h"
#include "platform/posix/kernel/signals.h"
#include "platform/posix/kernel/thread.h"

using platform::Fail;
using platform::KernelScope;

namespace {

/// STATUS_CONTROL_C_EXIT: the exit code of a process that a control event ended.
constexpr UINT kEndedByControlEvent = 0xC000013AU;
/// How long a process may go on after a close or shutdown event; see console.h.
constexpr itimerspec kClosingGrace = {.it_interval = {}, .it_value = {.tv_sec = 20, .tv_nsec = 0}};

struct ControlEvent {
  int signal;
  DWORD type;
  bool endsProcess;
};

constexpr ControlEvent kControlEvents[] = {
    {SIGINT, CTRL_C_EVENT, false},
    {SIGQUIT, CTRL_BREAK_EVENT, false},
    {SIGHUP, CTRL_CLOSE_EVENT, true},
    {SIGTERM, CTRL_SHUTDOWN_EVENT, true},
};

struct Handlers {
  std::mutex lock;
  std::vector<PHANDLER_ROUTINE> routines;
};

Handlers& TheHandlers() {
  static auto* const handlers = new Handlers;  // Used until the very end of the process.
  return *handlers;
}

/// From the signal handler to the reactor: one byte a signal, its number.
int g_signalPipe[2];

/// The end of kClosingGrace. A timer of the system and a signal handler need neither a thread nor
/// the heap, which the threads that do not end may have damaged or locked.
timer_t g_closingTimer{};
std::atomic<bool> g_isClosing{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void OnClosingTimer(int, siginfo_t*, void*) { _exit(static_cast<int>(kEndedByControlEvent)); }

bool PrepareClosingTimer() {
  platform::HandleSignal(platform::ClosingTimerSignal(), OnClosingTimer);
  sigevent event{};
  event.sigev_notify = SIGEV_SIGNAL;
  event.sigev_signo = platform::ClosingTimerSignal();
  return timer_create(CLOCK_MONOTONIC, &event, &g_closingTimer) == 0;
}

/// Called in a signal handler; the first event counts.
void StartClosingTimer() {
  if (!g_isClosing.exchange(true)) timer_settime(g_closingTimer, 0, &kClosingGrace, nullptr);
}

const ControlEvent* FindEvent(int signal) {
  const auto* const event = std::find_if(std::begin(kControlEvents), std::end(kControlEvents),
                                         [&](const auto& one) { return one.signal == signal; });
  return event == std::end(kControlEvents) ? nullptr : event;
}

bool AskHandlers(DWORD type) {
  std::vector<PHANDLER_ROUTINE> routines;
  {
    KernelScope scope;
    std::lock_guard lock(TheHandlers().lock);
    routines = TheHandlers().routines;
  }
  return std::any_of(routines.rbegin(), routines.rend(),
                     [type](PHANDLER_ROUTINE routine) { return routine(type) != FALSE; });
}

/// A console control thread: one for each event, so that a handler that blocks holds up no other.
unsigned RunControlEvent(void* argument) {
  const auto& event = *static_cast<const ControlEvent*>(argument);
  if (!AskHandlers(event.type)) ExitProcess(kEndedByControlEvent);
  return 0;
}

void OnSignalsReady() {
  unsigned char signal = 0;
  if (read(g_signalPipe[0], &signal, sizeof signal) != sizeof signal) return;
  if (const ControlEvent* event = FindEvent(signal); event != nullptr) {
    platform::Thread::Start(RunControlEvent, const_cast<ControlEvent*>(event), 0);
  }
}

void OnControlSignal(int signal, siginfo_t*, void*) {
  const int before = errno;
  if (FindEvent(signal)->endsProcess) StartClosingTimer();
  const auto byte = static_cast<unsigned char>(signal);
  // A full pipe has more events waiting than anybody sends on purpose: this one is dropped.
  [[maybe_unused]] const auto written = write(g_signalPipe[1], &byte, sizeof byte);
  errno = before;
}

bool ListenForSignals() {
  if (pipe2(g_signalPipe, O_CLOEXEC | O_NONBLOCK) != 0 || !PrepareClosingTimer()) return false;
  platform::WatchDescriptor(g_signalPipe[0], EPOLLIN, OnSignalsReady);
  for (const ControlEvent& event : kControlEvents) {
    platform::HandleSignal(event.signal, OnControlSignal);
  }
  return true;
}

DWORD AddHandler(PHANDLER_ROUTINE handler) {
  static const bool isListening = ListenForSignals();
  if (!isListening) return ERROR_TOO_MANY_OPEN_FILES;
  TheHandlers().routines.push_back(handler);
  return ERROR_SUCCESS;
}

DWORD RemoveHandler(PHANDLER_ROUTINE handler) {
  auto& routines = TheHandlers().routines;
  const auto last = std::find(routines.rbegin(), routines.rend(), handler);
  if (last == routines.rend()) return ERROR_INVALID_PARAMETER;
  routines.erase(std::next(last).base());
  return ERROR_SUCCESS;
}

}  // namespace

BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) {
  KernelScope scope;
  if (handler == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  std::lock_guard lock(TheHandlers().lock);
  const DWORD error = add ? AddHandler(handler) : RemoveHandler(handler);
  return error == ERROR_SUCCESS ? TRUE : Fail(error);
}
