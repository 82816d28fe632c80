/// The real program, started as the driver starts it and watched from outside.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "common/child_process.h"
#include "common/pipe_client.h"
#include "common/product_log.h"
#include "platform/find_process.h"

using WideText = std::basic_string<WCHAR>;

inline std::string ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline std::string Example(const std::string& name) {
  const std::string text = ReadWholeFile(std::filesystem::path(TAGWRIGHT_EXAMPLES_DIR) / name);
  EXPECT_FALSE(text.empty()) << name;
  return text;
}

/// A program that lies beside the test program.
class Program : public ChildProcess {
 public:
  /// `name` without its ending, which is the test program's own.
  void Start(const std::string& name, const std::string& arguments) {
    WCHAR path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const WideText own(path);
    const WideText ending = own.ends_with(TEXT(".exe")) ? TEXT(".exe") : TEXT("");
    ChildProcess::Start(TEXT("\"") + own.substr(0, own.rfind(TEXT('\\')) + 1) + Widen(name) +
                        ending + TEXT("\" ") + Widen(arguments));
  }

  /// Takes over a child of another process.
  void Adopt(DWORD parentId) {
    const auto child =
        FindProcess([&](const auto& entry) { return entry.th32ParentProcessID == parentId; });
    ASSERT_TRUE(child.has_value());
    _process.dwProcessId = child->th32ProcessID;
    _process.hProcess = OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, Id());
    ASSERT_NE(Handle(), nullptr);
  }

  /// Looks again and again, while the program runs, until `condition` holds.
  template <class Condition>
  void Await(Condition&& condition) {
    const ULONGLONG end = GetTickCount64() + kLongMs;
    while (!condition()) {
      ASSERT_LT(GetTickCount64(), end) << "it does not happen";
      ASSERT_EQ(WaitForSingleObject(Handle(), 5), DWORD{WAIT_TIMEOUT}) << "it has ended";
    }
  }

  /// Connects as soon as the program has created the pipe.
  void Connect(PipeClient& client, const std::string& pipeName) {
    DWORD error = client.TryConnect(pipeName);
    while (error == ERROR_FILE_NOT_FOUND && WaitForSingleObject(Handle(), 2) == WAIT_TIMEOUT) {
      error = client.TryConnect(pipeName);
    }
    ASSERT_EQ(error, DWORD{ERROR_SUCCESS});
  }
};

/// A program in single mode and its client.
struct Serving {
  explicit Serving(const std::string& name) {
    const std::string pipeName = UniquePipeName();
    program.Start(name, "/n " + pipeName);
    program.Connect(client, pipeName);
  }
  Program program;
  PipeClient client;
};

/// The folder of the simulated printer's tags and faults.
inline std::filesystem::path SimulatorFolder() {
  const std::filesystem::path folder =
      std::filesystem::path(std::getenv("TAGWRIGHT_ROOT")) / "simulator";
  std::filesystem::create_directories(folder);
  return folder;
}

class ProcessTest : public testing::Test {
 protected:
  ProcessTest() : _pipeName(UniquePipeName()) {}
  ~ProcessTest() override {
    std::error_code ignored;
    std::filesystem::remove_all(SimulatorFolder(), ignored);
  }

  /// tagwright in single mode, its client connected.
  void StartTagwright(const std::string& program = "tagwright") {
    _tagwright.Start(program, "/n " + _pipeName);
    _tagwright.Connect(_client, _pipeName);
  }

  /// Faults of the simulated component, by member name: {"WriteEPC": {"fault": "false"}}.
  static void ScriptFaults(const std::string& json) {
    std::ofstream(SimulatorFolder() / "faults.json") << json;
  }

  /// From now on the component's calls are recorded.
  static void RecordCalls() { std::ofstream(SimulatorFolder() / "calls.jsonl"); }
  static std::vector<nlohmann::json> Calls() {
    std::vector<nlohmann::json> calls;
    std::istringstream lines(ReadWholeFile(SimulatorFolder() / "calls.jsonl"));
    for (std::string line; std::getline(lines, line);) {
      calls.push_back(nlohmann::json::parse(line, nullptr, false));
    }
    return calls;
  }
  /// Whether the process `id` has entered the component's `member`.
  static bool HasCalled(DWORD id, const std::string& member) {
    const auto calls = Calls();
    return std::any_of(calls.begin(), calls.end(), [&](const nlohmann::json& call) {
      return !call.is_discarded() && call["process"] == id && call["member"] == member;
    });
  }

  /// Until the servers have turned to their clients for a request so many times altogether.
  void AwaitReads(int count) {
    _tagwright.Await([&] { return _log.Count("PipeServer::ReadBytes: Called") == count; });
  }

  /// Compares the whole log, thread by thread, with the file of this name in the folder logs.
  void ExpectLog(const std::string& life) const {
    const auto file = std::filesystem::path(TAGWRIGHT_EXPECTED_LOGS_DIR) / (life + ".txt");
    EXPECT_EQ(_log.ThreadTexts(), ReadWholeFile(file)) << life;
  }

  void ExpectExit(DWORD exitCode = 0) { EXPECT_EQ(_tagwright.ExitCode(), exitCode); }

  std::string _pipeName;
  ProductLog _log;
  Program _tagwright;
  PipeClient _client;
};
