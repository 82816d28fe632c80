// What a request costs on any machine: system calls by kind, and how often an idle process wakes
// up.
#include <gmock/gmock.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <atomic>
#include <map>
#include <thread>

#include "process/control_fixture.h"
#include "support/log_levels.h"

namespace {

std::vector<pid_t> ThreadsOf(DWORD process) {
  std::vector<pid_t> threads;
  for (const auto& entry :
       std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
    threads.push_back(std::stoi(entry.path().filename()));
  }
  return threads;
}

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

  /// What has been counted; the thread is let go of at its next system call, which `cause` brings
  /// about.
  template <class Cause>
  const std::map<long, int>& Finish(Cause cause) {
    _isFinished = true;
    cause();
    _tracer.join();
    return _counts;
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
        ++_counts[static_cast<long>(call.entry.nr)];
      }
      ptrace(PTRACE_SYSCALL, thread, nullptr, nullptr);
      _isTracing = true;
      _isTracing.notify_all();
    }
    ptrace(PTRACE_DETACH, thread, nullptr, nullptr);
  }

  std::map<long, int> _counts;  // The tracer's until it has been joined.
  std::atomic<bool> _isTracing{false};
  std::atomic<bool> _isFinished{false};
  std::thread _tracer;
};

class Costs : public ControlTest {
 protected:
  static constexpr int kRequests = 50;

  void SetUp() override { _log.SetMask(0); }

  /// The system calls of the message thread for so many requests, one after another. What comes now
  /// and then is no cost of a request: memory for an arena, a lock that a late thread holds.
  std::map<long, int> CallsFor(std::uint32_t type, const std::string& payload,
                               std::uint32_t status) {
    EXPECT_EQ(_client.Ask(type, payload)->status, status);  // The first one makes what lasts.
    const auto threads = ThreadsOf(_tagwright.Id());
    SystemCalls calls(*std::max_element(threads.begin(), threads.end()));
    for (int request = 0; request < kRequests; ++request) {
      EXPECT_EQ(_client.Ask(type, payload)->status, status);
    }
    auto counts = calls.Finish([&] { _client.Ask(0x301, ""); });
    std::erase_if(counts, [](const auto& count) { return count.second < kRequests / 2; });
    return counts;
  }

  /// Each request is received with one call, whenever it comes, and answered with one; takes them
  /// out of `calls`. The tracer may interrupt a call that sleeps, which is then made again;
  /// and a request that the client's system takes in `pieces` may be received in as many.
  static void ExpectTransfers(std::map<long, int>& calls, int pieces = 1) {
    EXPECT_EQ(calls[SYS_sendto], kRequests);
    EXPECT_THAT(calls[SYS_recvmsg],
                testing::AllOf(testing::Ge(kRequests), testing::Le(pieces * kRequests + 2)));
    calls.erase(SYS_sendto);
    calls.erase(SYS_recvmsg);
  }
};

TEST_F(Costs, ARequestIsReceivedAndAnswered) {
  StartTagwright();
  for (const auto& [payloadBytes, pieces] : {std::pair{0, 1}, {1024, 2}, {64 * 1024, 4}}) {
    auto calls = CallsFor(0x301, std::string(static_cast<std::size_t>(payloadBytes), 'x'), 200002);
    ExpectTransfers(calls, pieces);
    EXPECT_THAT(calls, testing::IsEmpty()) << payloadBytes;
  }
}

TEST_F(Costs, AJobLooksAtItsFilesAndHoldsTheMutex) {
  _tagwright.Start("instant\\tagwright", "/n " + _pipeName);
  _tagwright.Connect(_client, _pipeName);
  auto calls = CallsFor(0x200, Example("card.xml"), 0);
  ExpectTransfers(calls);
  EXPECT_THAT(calls,
              testing::UnorderedElementsAre(
                  testing::Pair(SYS_newfstatat, 5 * kRequests),  // The required files.
                  testing::Pair(SYS_openat, kRequests),          // Whether a debugger listens.
                  // The mutex's lock is taken and left, its owner's mark read, set, cleared.
                  testing::Pair(SYS_fcntl, 2 * kRequests), testing::Pair(SYS_pread64, kRequests),
                  testing::Pair(SYS_pwrite64, 2 * kRequests)));
}

TEST_F(Costs, ALineOfTheLogOpensItsFilesAndItsMutex) {
  _log.SetMask(LogLevel::kDetailInfoA | LogLevel::kCopyToFile);  // One line for each request.
  StartTagwright();
  auto calls = CallsFor(0x301, "", 200002);
  ExpectTransfers(calls);
  const std::map<long, int> callsPerLine = {
      {SYS_openat, 3},  // The event log's file, the log file, the mutex's.
      {SYS_newfstatat, 3}, {SYS_write, 2},   {SYS_close, 3},
      {SYS_fcntl, 5},      {SYS_pread64, 2}, {SYS_pwrite64, 2}};
  for (const auto& [call, count] : calls) {
    const auto expected = callsPerLine.find(call);
    ASSERT_NE(expected, callsPerLine.end()) << call;
    // The last line may come when nobody counts any more; the mask may be read anew meanwhile.
    EXPECT_GE(count, expected->second * (kRequests - 1)) << call;
    EXPECT_LE(count, expected->second * kRequests + 20) << call;
  }
}

TEST_F(Costs, AnIdleProcessSleeps) {
  StartController();
  AddEncoder().Expect(200002, 0x301);
  const auto wakeUps = [&] {
    long sum = 0;
    for (const pid_t thread : ThreadsOf(_tagwright.Id())) {
      std::ifstream status("/proc/" + std::to_string(_tagwright.Id()) + "/task/" +
                           std::to_string(thread) + "/status");
      for (std::string word; status >> word;) {
        long switches = 0;
        if (word == "voluntary_ctxt_switches:" && status >> switches) sum += switches;
      }
    }
    return sum;
  };
  long before = -1;
  // The last threads of the start and of the request may still be on their way to sleep.
  _tagwright.Await([&] {
    const long previous = std::exchange(before, wakeUps());
    return previous == before;
  });
  Sleep(10000);
  EXPECT_EQ(wakeUps(), before);
}

}  // namespace
