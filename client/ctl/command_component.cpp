#include <algorithm>
#include <filesystem>
#include <memory>

#include "client/component/examination.h"
#include "client/component/job_calls.h"
#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/input_file.h"
#include "client/ctl/system_error.h"
#include "client/server_process.h"

namespace Ctl {
namespace {

using Tagwright::ReportKind;

struct ComponentOptions {
  std::string file;
  std::string job;
  /// Far longer than a card takes.
  std::uint32_t timeoutMs = 30000;
  /// The pipe of the process that watches; of the examining process only.
  std::string reportPipe;

  DWORD Milliseconds() const { return timeoutMs == 0 ? INFINITE : timeoutMs; }
};

/// How long the examining process may take to be gone when it has nothing left to do.
constexpr DWORD kProcessMs = 10000;

Tagwright::WideString Quoted(const std::string& argument) {
  if (argument.find('"') != std::string::npos) {
    throw Failure(ExitCode::kUsage, argument + " has a double quote in its name");
  }
  return TEXT(" \"") + Tagwright::ToWide(argument) + TEXT("\"");
}

ScopedHandle StartExaminer(const ComponentOptions& options, const Tagwright::WideString& pipe) {
  const Tagwright::WideString program = Tagwright::ProgramBesideThis(TEXT("tagwrightctl"));
  Tagwright::WideString line = TEXT("\"") + program + TEXT("\" component --report ") + pipe;
  if (!options.job.empty()) line += TEXT(" --call") + Quoted(options.job);
  line += TEXT(" --") + Quoted(options.file);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started = {};
  if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &started)) {
    throw Failure(ExitCode::kLocal, "cannot start " + Tagwright::ToUtf8(program) + " (" +
                                        SystemErrorText(GetLastError()) + ")");
  }
  CloseHandle(started.hThread);
  return ScopedHandle(started.hProcess);
}

/// Prints what the examining process says, and what becomes of it.
class Watcher {
 public:
  explicit Watcher(const ComponentOptions& options)
      : _options(options),
        _pipe(Tagwright::FreshPipeName()),
        _report(_pipe),
        _process(StartExaminer(options, _pipe)) {}
  ~Watcher() { TerminateProcess(_process.Get(), 1); }
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  ExitCode Watch() {
    if (!_report.Accept(_options.Milliseconds()))
      throw Failure(ExitCode::kLocal, "the examination does not begin");
    while (const auto line = _report.Read(_options.Milliseconds())) {
      if (line->kind == ReportKind::kOver) {
        _step = "the end of its process";
        SeeEnd();
        return Summarize();
      }
      Show(*line);
    }
    if (_report.HasTimedOut()) {
      Fault(_step + " hangs: it has not ended after " + std::to_string(_options.timeoutMs) + " ms");
    } else {
      SeeEnd();
    }
    return Summarize();
  }

 private:
  void Show(const Tagwright::ReportLine& line) {
    switch (line.kind) {
      case ReportKind::kBegin:
        _step = line.text;
        break;
      case ReportKind::kEnd:
        PrintLine(_step + ": " + line.text);
        break;
      case ReportKind::kRefused:
        _isRefused = true;
        PrintLine(line.text);
        break;
      default:
        Fault(line.text);
    }
  }

  void Fault(const std::string& text) {
    ++_faults;
    PrintLine(_options.file + ": error: " + text);
  }

  void SeeEnd() {
    DWORD exitCode = 0;
    if (WaitForSingleObject(_process.Get(), kProcessMs) != WAIT_OBJECT_0) {
      Fault(_step + " hangs");
    } else if (GetExitCodeProcess(_process.Get(), &exitCode) && (exitCode != 0 || !IsAtEnd())) {
      Fault(_step + " ends the process, exit code " + std::to_string(exitCode));
    }
  }
  bool IsAtEnd() const { return _step == "the end of its process"; }

  ExitCode Summarize() const {
    PrintLine(_options.file + ": " +
              (_faults == 0   ? "nothing is wrong"
               : _faults == 1 ? "1 fault"
                              : std::to_string(_faults) + " faults"));
    if (_faults != 0) return ExitCode::kDoubtful;
    return _isRefused ? ExitCode::kRefused : ExitCode::kSuccess;
  }

  const ComponentOptions& _options;
  const Tagwright::WideString _pipe;
  Tagwright::ReportReader _report;
  ScopedHandle _process;
  std::string _step = "the start of its process";
  int _faults = 0;
  bool _isRefused = false;
};

/// The process that loads the component.
ExitCode Examine(const ComponentOptions& options) {
  Tagwright::ReportWriter report(Tagwright::ToWide(options.reportPipe));
  Tagwright::Examination examination(report);
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);  // As the threads of the program do.
  try {
    examination.Load(options.file);
    examination.CallWithoutPrinter();
    if (!options.job.empty()) Tagwright::CallForJob(examination, LoadFile(options.job).Bytes());
  } catch (const Tagwright::ExaminationEnded&) {
    // Said already.
  } catch (const std::exception& error) {
    examination.Fault(error.what());
  }
  report.Write(ReportKind::kOver, {});
  return ExitCode::kSuccess;
}

ExitCode Component(const ComponentOptions& options) {
  if (!options.reportPipe.empty()) return Examine(options);
  if (!std::filesystem::exists(std::filesystem::path(Tagwright::ToWide(options.file)))) {
    throw Failure(ExitCode::kLocal, "there is no " + options.file);
  }
  return Watcher(options).Watch();
}

}  // namespace

void AddComponentCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command = app.add_subcommand(
      "component",
      "Load a printer component in a process of its own and say what is wrong with it");
  const auto options = std::make_shared<ComponentOptions>();
  command->add_option("--call", options->job,
                      "Run the calls of a job one by one; the card in the printer is encoded");
  command->add_option("--timeout", options->timeoutMs, "Time limit of each call in ms, 0 for none")
      ->capture_default_str();
  command->add_option("--report", options->reportPipe)->group("");
  command->add_option("FILE", options->file, "The component")->required();
  command->callback([options, &result] { result = Component(*options); });
}

}  // namespace Ctl
