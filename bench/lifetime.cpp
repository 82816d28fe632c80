#include "bench/lifetime.h"

#include <cstdio>
#include <deque>
#include <stdexcept>
#include <string>
#include <thread>

#include "bench/driven_process.h"
#include "bench/payload.h"
#include "bench/resident_memory.h"
#include "client/client.h"
#include "platform/find_process.h"
#include "simulator/tag/state_files.h"

namespace Bench {
namespace {

using Tagwright::Client;
using Tagwright::ServerKind;
using Tagwright::WideString;

/// Only a fault reaches it.
constexpr DWORD kTimeoutMs = 60000;

/// A start is over long before, with the parent being watched; a client is waited for ten times as
/// long.
constexpr DWORD kSettledMs = 500;

/// With how many encoder pipes the process is looked at.
constexpr int kPipeCounts[] = {0, 1, 10, 62};

constexpr std::string_view kJob =
    "<zsdk_job><printer port_type='0' port_address='bench'/>"
    "<write segment='1' data='E2004216CB60601500951ED6'/></zsdk_job>";

/// A file of the simulated printer with a text of the bench's own; as it was before at the end.
class BorrowedStateFile {
 public:
  BorrowedStateFile(std::string_view name, std::string_view text)
      : _path(Simulator::StateFilePath(name)), _before(Simulator::ReadStateFile(_path)) {
    Simulator::ReplaceStateFile(_path, text);
  }
  ~BorrowedStateFile() {
    if (_before) {
      Simulator::ReplaceStateFile(_path, *_before);
    } else {
      DeleteFileW(_path.c_str());
    }
  }
  BorrowedStateFile(const BorrowedStateFile&) = delete;
  BorrowedStateFile& operator=(const BorrowedStateFile&) = delete;

  bool Has(std::string_view text) const {
    return Simulator::ReadStateFile(_path).value_or("").find(text) != std::string::npos;
  }

 private:
  const Simulator::WideText _path;
  const std::optional<std::string> _before;
};

void ConnectTo(Client& client, const WideString& pipeName) {
  Await("the pipe does not come", [&] { return !client.Connect(pipeName); });
}

/// Asks the controller behind `control` for an encoder pipe and connects to it.
void AddEncoder(Client& control, const WideString& pipeName, Client& encoder) {
  std::string name = Tagwright::ToUtf8(pipeName);
  name.push_back('\0');
  const auto result = control.Send(Tagwright::eAddEncoder, Bytes(name));
  if (result.error || result.reply.status != Tagwright::eStatusSuccess ||
      encoder.Connect(pipeName)) {
    throw std::runtime_error("no encoder pipe");
  }
}

WideString NumberedName(const WideString& name, std::size_t number) {
  const std::string digits = "-" + std::to_string(number);
  return name + WideString(digits.begin(), digits.end());
}

void PrintSize(DWORD processId, int pipes) {
  const auto entry = FindProcess([&](const auto& e) { return e.th32ProcessID == processId; });
  std::printf("%2d encoder pipes: %6zu KiB resident, %3u threads\n", pipes,
              ResidentMemoryKb(processId).value_or(0),
              static_cast<unsigned>(entry ? entry->cntThreads : 0));
}

void MeasureEncoderPipes() {
  Tagwright::ServerProcess process;
  Client control(kTimeoutMs);
  const WideString name = Tagwright::FreshPipeName();
  if (!process.Start(name, ServerKind::kController) || process.Connect(control, kTimeoutMs)) {
    throw std::runtime_error("tagwright did not start");
  }
  // The first request's reply tells that everything of the start has been done.
  control.Send(Tagwright::eKeepAlive);
  std::deque<Client> encoders;
  Timings additions;
  for (const int count : kPipeCounts) {
    while (encoders.size() < static_cast<std::size_t>(count)) {
      Client& encoder = encoders.emplace_back(kTimeoutMs);
      const WideString encoderName = NumberedName(name, encoders.size());
      additions.Add([&] { AddEncoder(control, encoderName, encoder); });
      // A reply: the thread that waited for the client has ended.
      encoder.Send(Tagwright::eKeepAlive);
    }
    PrintSize(process.ProcessId(), count);
  }
  control.Send(Tagwright::eShutdown);
  process.WaitForExit(kTimeoutMs);
  std::puts((TimingsHeading() + "\n" + additions.Row("eAddEncoder to connected client")).c_str());
}

struct Situation {
  const char* name;
  bool connects;
  const char* faults;  ///< Of the job that is sent; null for none.
};

constexpr Situation kSituations[] = {
    {"idle, no client", false, nullptr},
    {"client connected and silent", true, nullptr},
    {"job with 1000 ms to go", true, R"({"WriteEPC": {"fault": "delay", "delay_ms": 1000}})"},
    {"component hangs", true, R"({"WriteEPC": {"fault": "hang"}})"},
};

Microseconds TimeToEnd(const Situation& situation, ServerKind kind) {
  DrivenProcess process(kind);
  Sleep(kSettledMs);
  if (!situation.connects) return process.TimeToEndAfterDriver();
  Client first(kTimeoutMs);
  Client added(kTimeoutMs);
  ConnectTo(first, process.Name());
  if (kind == ServerKind::kController) AddEncoder(first, NumberedName(process.Name(), 1), added);
  if (situation.faults == nullptr) return process.TimeToEndAfterDriver();
  const BorrowedStateFile faults("faults.json", situation.faults);
  const BorrowedStateFile calls("calls.jsonl", "");
  Client& encoder = kind == ServerKind::kController ? added : first;
  const std::jthread job([&] { encoder.Send(Tagwright::eEncode, Bytes(kJob)); });
  Await("the job does not reach the component", [&] { return calls.Has("WriteEPC"); });
  return process.TimeToEndAfterDriver();
}

void MeasureEnds() {
  std::printf("\nfrom the driver's death to the process's end %11s %12s\n", "encoder",
              "controller");
  for (const Situation& situation : kSituations) {
    const auto single = TimeToEnd(situation, ServerKind::kEncoder);
    const auto control = TimeToEnd(situation, ServerKind::kController);
    std::printf("%-44s %8.1f ms %9.1f ms\n", situation.name, single.count() / 1000,
                control.count() / 1000);
  }
}

}  // namespace

void MeasureLifetime() {
  MeasureEncoderPipes();
  MeasureEnds();
}

int PlayDriver(const WideString& pipeName, ServerKind kind) {
  Tagwright::ServerProcess process;
  if (!process.Start(pipeName, kind)) return 1;
  process.WaitForExit(INFINITE);
  return 0;
}

}  // namespace Bench
