#include <algorithm>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/log/log_file_reader.h"
#include "client/text.h"
#include "encode/verify_managed_components.h"
#include "platform/live_pipes.h"
#include "platform/native_path.h"
#include "platform/places.h"
#include "platform/process_arguments.h"
#include "platform/state_root.h"
#include "support/mini_dump_writer.h"
#include "support/process_utility.h"
#include "support/scoped_handle.h"

namespace Ctl {
namespace {

constexpr std::size_t kNameColumns = 16;

void PrintRow(std::string name, const std::string& text) {
  name.resize(std::max(kNameColumns, name.size() + 1), ' ');
  PrintLine(name + text);
}

void PrintPaths() {
  const Tagwright::WideString programs = ProcessUtility::GetCurrentModuleDirectory().wstring();
  const Tagwright::WideString log = Tagwright::LogFilePath("");
  PrintRow("programs", platform::NativePath(programs));
  PrintRow("log files", platform::NativePath(log.substr(0, log.find_last_of(TEXT('\\')))));
  PrintRow("crash dumps", platform::NativePath(DumpFolderPath().wstring()));
  PrintRow("simulator", platform::NativePath(platform::StateRoot() + TEXT("\\simulator")));
  for (const platform::Place& place : platform::SystemPlaces()) PrintRow(place.name, place.where);
}

void PrintComponent() {
  const OString missing = MissingRequiredFiles(ProcessUtility::GetCurrentModuleDirectory());
  PrintRow("component", missing.IsEmpty() ? "its five files are there"
                                          : "missing: " + Tagwright::ToUtf8(missing.wstring()));
}

bool IsTagwright(const PROCESSENTRY32W& entry) {
  const std::string name = Tagwright::ToUtf8(entry.szExeFile);
  return name == "tagwright" || name == "tagwright.exe";
}

/// What a tagwright's arguments say, read as the program reads them.
struct Serving {
  Tagwright::WideString pipe;
  bool control = false;
};

Serving ServingOf(const std::vector<Tagwright::WideString>& arguments) {
  Serving serving;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    if (arguments[i] == TEXT("/n") && i + 1 < arguments.size()) {
      serving.pipe = arguments[++i];
    } else if (arguments[i] == TEXT("/c")) {
      serving.control = true;
    }
  }
  return serving;
}

/// "python3 (4711)"
std::string NameOf(DWORD processId) {
  const auto arguments = platform::ProcessArguments(processId);
  if (arguments.empty()) return "process " + std::to_string(processId);
  const std::string program = Tagwright::ToUtf8(arguments.front());
  return program.substr(program.find_last_of("/\\") + 1) + " (" + std::to_string(processId) + ")";
}

std::string DescribeClient(const platform::LivePipe& pipe) {
  if (!pipe.clientProcessId) return "";
  return *pipe.clientProcessId == 0 ? ", no client" : ", client " + NameOf(*pipe.clientProcessId);
}

/// The file names of pipes are in lower case.
bool IsSamePipe(const std::string& name, const std::string& other) {
  return OString(name.c_str()).CompareNoCase(other.c_str()) == 0;
}

void PrintProcess(const PROCESSENTRY32W& entry) {
  const std::string process = "process " + std::to_string(entry.th32ProcessID) + ", started by " +
                              NameOf(entry.th32ParentProcessID);
  const auto arguments = platform::ProcessArguments(entry.th32ProcessID);
  if (arguments.empty()) {
    return PrintRow("tagwright", process + ": it has just ended, or may not be looked at");
  }
  const Serving serving = ServingOf(arguments);
  const std::string name = Tagwright::ToUtf8(serving.pipe);
  const std::vector<platform::LivePipe> pipes = platform::PipesOfServer(serving.pipe);
  const auto first = std::ranges::find_if(
      pipes, [&](const platform::LivePipe& pipe) { return IsSamePipe(pipe.name, name); });
  PrintRow("tagwright", process);
  PrintRow("", (serving.control ? "control pipe " : "encoder pipe ") + name +
                   (first == pipes.end() ? " (gone, or of another state root)"
                                         : DescribeClient(*first)));
  for (auto pipe = pipes.begin(); pipe != pipes.end(); ++pipe) {
    if (pipe != first) PrintRow("", "encoder pipe " + pipe->name + DescribeClient(*pipe));
  }
}

void PrintProcesses() {
  const ScopedHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  bool any = false;
  for (BOOL found = Process32FirstW(snapshot.Get(), &entry); found;
       found = Process32NextW(snapshot.Get(), &entry)) {
    if (!IsTagwright(entry)) continue;
    any = true;
    PrintProcess(entry);
  }
  if (!any) PrintRow("tagwright", "no process runs");
}

void AddSimpleCommand(CLI::App& app, const char* name, const char* what, void (*show)(),
                      ExitCode& result) {
  app.add_subcommand(name, what)->callback([show, &result] {
    show();
    result = ExitCode::kSuccess;
  });
}

}  // namespace

void AddPathsCommand(CLI::App& app, ExitCode& result) {
  AddSimpleCommand(app, "paths", "Say where everything lies", PrintPaths, result);
}

void AddStatusCommand(CLI::App& app, ExitCode& result) {
  AddSimpleCommand(
      app, "status", "Show the running processes, the component, the log masks and the paths",
      [] {
        PrintProcesses();
        PrintComponent();
        ShowLogMasks();
        PrintPaths();
      },
      result);
}

}  // namespace Ctl
