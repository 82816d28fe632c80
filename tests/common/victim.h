/// Children of a test: the test program itself, run again in a named role, to be killed or watched.
///
///   const VictimRole kHolder("holder", [](VictimSide& side, const std::string& argument) {
///     ...
///     side.Ready();              // Tells the parent that it is where the test wants it.
///     side.WaitUntilReleased();  // Ends when the parent lets go, or dies.
///     return 0;                  // Exit code.
///   });
///   Victim victim("holder", "argument");
///   victim.WaitUntilReady();
///   victim.Kill();
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "common/child_process.h"
#include "common/unique_name.h"

/// What a role sees of its parent.
class VictimSide {
 public:
  explicit VictimSide(const std::string& pipePath)
      : _pipe(CreateFileW(Widen(pipePath).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                          OPEN_EXISTING, 0, nullptr)) {}
  ~VictimSide() { CloseHandle(_pipe); }
  VictimSide(const VictimSide&) = delete;
  VictimSide& operator=(const VictimSide&) = delete;

  void Ready() {
    DWORD written = 0;
    WriteFile(_pipe, "r", 1, &written, nullptr);
  }

  void WaitUntilReleased() {
    char signal = 0;
    DWORD bytesRead = 0;
    ReadFile(_pipe, &signal, 1, &bytesRead, nullptr);
  }

 private:
  HANDLE _pipe;
};

class VictimRole {
 public:
  using Body = std::function<int(VictimSide&, const std::string&)>;

  VictimRole(const std::string& name, Body body) { All()[name] = std::move(body); }

  /// Plays the role that the command line names, if it names one: the exit code.
  static std::optional<int> Play(int argc, char** argv) {
    if (argc != 5 || std::string(argv[1]) != "--victim") return std::nullopt;
    VictimSide side(argv[3]);
    return All().at(argv[2])(side, argv[4]);
  }

 private:
  static std::map<std::string, Body>& All() {
    static std::map<std::string, Body> roles;
    return roles;
  }
};

/// A running child. It is killed with this object if it has not ended.
class Victim : public ChildProcess {
 public:
  using Text = std::basic_string<WCHAR>;

  /// `argument` must not be empty; it is given to the child as one argument of its command line,
  /// quoted already if need be.
  explicit Victim(const std::string& role, const std::string& argument = "-") {
    const Text path = UniqueName(TEXT("\\\\.\\pipe\\victim-"));
    _pipe = CreateNamedPipeW(path.c_str(), PIPE_ACCESS_DUPLEX, 0, 1, 64, 64, 0, nullptr);
    WCHAR program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const Text blank(1, ' ');
    Start(TEXT("\"") + Text(program) + TEXT("\" --victim ") + Widen(role) + blank + path + blank +
          Widen(argument));
  }
  ~Victim() {
    Kill();  // Before it sees its pipe go.
    CloseHandle(_pipe);
  }

  void WaitUntilReady() {
    char signal = 0;
    DWORD bytesRead = 0;
    ConnectNamedPipe(_pipe, nullptr);
    EXPECT_TRUE(ReadFile(_pipe, &signal, 1, &bytesRead, nullptr)) << GetLastError();
  }

  void Release() {
    DWORD written = 0;
    WriteFile(_pipe, "g", 1, &written, nullptr);
  }

 private:
  HANDLE _pipe = INVALID_HANDLE_VALUE;
};
