// What a request costs on any machine: system calls by kind, and how often an idle process wakes
// up.
#include <gmock/gmock.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <thread>

#include "process/control_fixture.h"
#include "support/log_levels.h"

namespace {

/// Of each thread a folder, which has its number.
std::filesystem::directory_iterator ThreadsOf(DWORD process) {
  return std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task");
}

using CallCounts = std::map<long, int>;  // How often each system call is made.

/// Counts the system calls of one thread of another process, as a debugger would.
class SystemCalls {
 public:
  explicit SystemCalls(pid_t thread) : _tracer([this, thread] { Trace(thread); }) {
    _isTracing.wait(false);
  }
  ~SystemCalls() {
    if (_tracer.joinable()) _tracer.join();
  }
  SystemCalls(const SystemCalls&) = delete;
  SystemCalls& operator=(const SystemCalls&) = delete;

  /// What most requests cost; the thread is let go of at its next system call, which `cause` brings
  /// about. What comes now and then is no cost of a request: the mask read anew, memory for an
  /// arena, a lock that a late thread holds, a call that the tracer has interrupted.
  template <class Cause>
  CallCounts Finish(Cause cause) {
    _isFinished = true;
    cause();
    _tracer.join();
    const auto often =
        std::ranges::max_element(_requests, {}, [](const auto& request) { return request.second; });
    return often == _requests.end() ? CallCounts{} : often->first;
  }

 private:
  void Trace(pid_t thread) {
    ptrace(PTRACE_SEIZE, thread, nullptr, PTRACE_O_TRACESYSGOOD);
    ptrace(PTRACE_INTERRUPT, thread, nullptr, nullptr);
    for (int status = 0; waitpid(thread, &status, __WALL) == thread && WIFSTOPPED(status);) {
      if (_isFinished) break;
      __ptrace_syscall_info call{};
      if (WSTOPSIG(status) == (SIGTRAP | 0x80) &&
          ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof call, &call) > 0 &&
          call.op == PTRACE_SYSCALL_INFO_ENTRY) {
        Count(static_cast<long>(call.entry.nr));
      }
      ptrace(PTRACE_SYSCALL, thread, nullptr, nullptr);
      ReleaseCaller();
    }
    ptrace(PTRACE_DETACH, thread, nullptr, nullptr);
    ReleaseCaller();  // Also where the thread cannot be traced: nothing is counted then.
  }

  void ReleaseCaller() {
    _isTracing = true;
    _isTracing.notify_all();
  }

  /// A request's calls are those between two replies.
  void Count(long call) {
    ++_calls[call];
    if (call == SYS_sendto) ++_requests[std::exchange(_calls, {})];
  }

  CallCounts _calls;  // The tracer's until it has been joined.
  std::map<CallCounts, int> _requests;
  std::atomic<bool> _isTracing{false};
  std::atomic<bool> _isFinished{false};
  std::thread _tracer;
};

class Costs : public ControlTest {
 protected:
  static constexpr int kRequests = 50;

  void SetUp() override { _log.SetMask(0); }

  /// The system calls of the message thread for a request, of many one after another.
  CallCounts CallsFor(std::uint32_t type, const std::string& payload, std::uint32_t status) {
    EXPECT_EQ(_client.Ask(type, payload)->status, status);  // The first one makes what lasts.
    SystemCalls calls(AwaitMessageThread());
    for (int request = 0; request < kRequests; ++request) {
      EXPECT_EQ(_client.Ask(type, payload)->status, status);
    }
    return calls.Finish([&] { _client.Ask(0x301, ""); });
  }

 private:
  /// The only thread that sleeps in a receive.
  pid_t AwaitMessageThread() {
    pid_t found = 0;
    _tagwright.Await([&] {
      for (const auto& thread : ThreadsOf(_tagwright.Id())) {
        std::ifstream call(thread.path() / "syscall");
        long number = -1;
        if (call >> number && number == SYS_recvfrom) found = std::stoi(thread.path().filename());
      }
      return found != 0;
    });
    return found;
  }
};

TEST_F(Costs, ARequestIsReceivedAndAnswered) {
  StartTagwright();
  EXPECT_EQ(CallsFor(0x301, "", 200002), (CallCounts{{SYS_recvfrom, 1}, {SYS_sendto, 1}}));
  // What the client's system takes in pieces may be received in as many.
  for (const auto& [payloadBytes, pieces] : {std::pair{1024, 2}, {64 * 1024, 4}}) {
    auto calls = CallsFor(0x301, std::string(static_cast<std::size_t>(payloadBytes), 'x'), 200002);
    EXPECT_LE(std::exchange(calls[SYS_recvfrom], 1), pieces) << payloadBytes;
    EXPECT_EQ(calls, (CallCounts{{SYS_recvfrom, 1}, {SYS_sendto, 1}})) << payloadBytes;
  }
}

TEST_F(Costs, AJobLooksAtItsFilesAndHoldsTheMutex) {
  StartTagwright("instant\\tagwright");
  EXPECT_EQ(CallsFor(0x200, Example("card.xml"), 0),
            (CallCounts{{SYS_recvfrom, 1},
                        {SYS_sendto, 1},
                        {SYS_newfstatat, 5},  // The required files.
                        {SYS_openat, 1},      // Whether a debugger listens.
                        // The mutex's lock is taken and left, its owner's mark read, set, cleared.
                        {SYS_fcntl, 2},
                        {SYS_pread64, 1},
                        {SYS_pwrite64, 2}}));
}

TEST_F(Costs, ALineOfTheLogOpensItsFilesAndKeepsThatOfItsMutex) {
  _log.SetMask(LogLevel::kDetailInfoA | LogLevel::kCopyToFile);  // One line for each request.
  StartTagwright();
  EXPECT_EQ(CallsFor(0x301, "", 200002),
            (CallCounts{{SYS_recvfrom, 1},
                        {SYS_sendto, 1},
                        {SYS_openat, 2},  // The event log's file and the log file.
                        {SYS_lseek, 2},   // fstat would make the next write twice as slow.
                        {SYS_statx, 1},
                        {SYS_write, 2},
                        {SYS_close, 2},
                        {SYS_fcntl, 5},  // The mutex's name and its ownership come and go.
                        {SYS_pread64, 2},
                        {SYS_pwrite64, 2}}));
}

TEST_F(Costs, AnIdleProcessSleeps) {
  StartController();
  AddEncoder().Expect(200002, 0x301);
  const auto wakeUps = [&] {
    long sum = 0;
    for (const auto& thread : ThreadsOf(_tagwright.Id())) {
      std::ifstream status(thread.path() / "status");
      std::string state;
      for (std::string word; status >> word;) {
        long switches = 0;
        if (word == "State:") status >> state;
        if (word == "voluntary_ctxt_switches:" && status >> switches) sum += switches;
      }
      if (state != "S") return -1L;
    }
    return sum;
  };
  long before = -1;
  // The last threads of the start and of the request may still be on their way to sleep.
  _tagwright.Await([&] {
    const long previous = std::exchange(before, wakeUps());
    return before >= 0 && previous == before;
  });
  Sleep(10000);
  EXPECT_EQ(wakeUps(), before);
}

}  // namespace
