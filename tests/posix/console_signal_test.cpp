#include <gtest/gtest.h>
#include <signal.h>

#include "common/victim.h"
#include "platform/windows_api.h"

namespace {

BOOL ExitWithType(DWORD type) { ExitProcess(10 + type); }
BOOL Decline(DWORD) { return FALSE; }
BOOL Hang(DWORD) {
  Sleep(INFINITE);
  return TRUE;
}
BOOL HangOnCtrlC(DWORD type) {
  if (type != CTRL_C_EVENT) return FALSE;
  Sleep(INFINITE);
  return TRUE;
}

const VictimRole kConsole("console", [](VictimSide& side, const std::string& handlers) {
  for (const char kind : handlers) {
    if (kind == 'e') SetConsoleCtrlHandler(ExitWithType, TRUE);
    if (kind == 'd') SetConsoleCtrlHandler(Decline, TRUE);
    if (kind == 'h') SetConsoleCtrlHandler(HangOnCtrlC, TRUE);
    if (kind == 'n') SetConsoleCtrlHandler(Hang, TRUE);
    if (kind == 'r') SetConsoleCtrlHandler(ExitWithType, FALSE);
  }
  side.Ready();
  side.WaitUntilReleased();
  return 1;
});

TEST(ConsoleSignalTest, SignalsRunTheHandlers) {
  constexpr DWORD kUnhandled = 0x3A;  // What the system keeps of 0xC000013A.
  const struct {
    const char* handlers;  // In the order of adding them; the last one is asked first.
    std::vector<int> signals;
    DWORD exitCode;
  } cases[] = {
      {"e", {SIGINT}, 10},         {"e", {SIGQUIT}, 11},          {"e", {SIGHUP}, 12},
      {"e", {SIGTERM}, 16},        {"ed", {SIGTERM}, 16},         {"de", {SIGTERM}, 16},
      {"d", {SIGINT}, kUnhandled}, {"er", {SIGTERM}, kUnhandled}, {"eh", {SIGINT, SIGTERM}, 16},
  };
  for (const auto& example : cases) {
    SCOPED_TRACE(example.handlers);
    Victim victim("console", example.handlers);
    victim.WaitUntilReady();
    for (const int signal : example.signals) kill(static_cast<pid_t>(victim.Id()), signal);
    EXPECT_EQ(victim.ExitCode(), example.exitCode);
  }
}

TEST(ConsoleSignalTest, AHandlerThatNeverReturnsDoesNotKeepTheProcessAlive) {
  constexpr DWORD kUnhandled = 0x3A;
  Victim victim("console", "n");
  victim.WaitUntilReady();
  const ULONGLONG start = GetTickCount64();
  kill(static_cast<pid_t>(victim.Id()), SIGHUP);
  kill(static_cast<pid_t>(victim.Id()), SIGTERM);
  EXPECT_EQ(victim.ExitCode(), kUnhandled);
  EXPECT_GE(GetTickCount64() - start, 19000U);
}

}  // namespace
