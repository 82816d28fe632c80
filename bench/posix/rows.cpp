#include "bench/rows.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "bench/driven_process.h"
#include "bench/posix/child.h"
#include "bench/resident_memory.h"
#include "bench/table.h"
#include "pipe/message_header.h"
#include "support/oevent_log.h"
#include "support/oregistry.h"

namespace Bench {
namespace {

/// A type that no server handles.
constexpr std::uint32_t kUnknownType = 0x301;

constexpr int kEncoders = 62;
constexpr char kOneMillisecondJob[] = "<zsdk_job><printer port_address='1000'/></zsdk_job>";
/// The same tag takes it again and again.
constexpr char kSimulatorJob[] =
    "<zsdk_job><printer port_type='0' port_address='bench'/>"
    "<write segment='1' offset='2' data='E2004216CB60601500951ED6'/>"
    "<write segment='3' offset='0' data='00112233445566778899AABBCCDDEEFF'/></zsdk_job>";

std::string StateRoot() { return std::getenv("TAGWRIGHT_ROOT"); }

std::string FreshName() {
  static int count = 0;
  return "bench-" + std::to_string(getpid()) + "-" + std::to_string(++count);
}

/// The folders of tagwrights: one has the simulated printer, the others components that return at
/// once, one of them of managed code.
constexpr const char* kSimulator = "";
constexpr const char* kInstant = "/instant";
constexpr const char* kManaged = "/managed_instant";

class Tagwright {
 public:
  explicit Tagwright(const char* folder, const char* option = nullptr)
      : _name(FreshName()),
        _process(Command(folder, _name, option)),
        _connection(StateRoot() + "/pipe/" + _name) {}

  Connection& First() { return _connection; }
  pid_t Id() const { return _process.Id(); }

  /// Another encoder pipe of a process that was started with /c.
  Connection& AddEncoder() {
    const std::string name = FreshName();
    _connection.RoundTrip(::Tagwright::eAddEncoder, name, ::Tagwright::eStatusSuccess);
    Connection& encoder = _encoders.emplace_back(StateRoot() + "/pipe/" + name);
    encoder.RoundTrip(kUnknownType, {}, ::Tagwright::eStatusUnknownMessage);
    return encoder;
  }
  std::deque<Connection>& Encoders() { return _encoders; }

 private:
  static std::vector<std::string> Command(const char* folder, const std::string& name,
                                          const char* option) {
    std::vector<std::string> command = {ProgramFolder() + folder + "/tagwright", "/n", name};
    if (option != nullptr) command.emplace_back(option);
    return command;
  }

  const std::string _name;
  const Child _process;
  Connection _connection;
  std::deque<Connection> _encoders;
};

/// The small server that tagwright is measured beside.
class EchoServer {
 public:
  EchoServer()
      : _path(StateRoot() + "/" + FreshName()),
        _process({ProgramFolder() + "/tagwright_bench_echo", _path}),
        _connection(_path) {}
  ~EchoServer() { unlink(_path.c_str()); }
  EchoServer(const EchoServer&) = delete;
  EchoServer& operator=(const EchoServer&) = delete;

  Connection& Client() { return _connection; }

 private:
  const std::string _path;
  const Child _process;
  Connection _connection;
};

void PrintRoundTrips() {
  struct Case {
    const char* size;
    std::size_t payloadBytes;
    int repetitions;
  };
  static constexpr Case kCases[] = {{"16 bytes", 0, 2000},
                                    {"1 KiB of payload", 1024, 2000},
                                    {"64 KiB of payload", 64 * 1024, 500},
                                    {"4 MiB of payload", 4 * 1024 * 1024, 20},
                                    {"16 MiB of payload", 16 * 1024 * 1024, 6}};
  Tagwright tagwright(kInstant);
  EchoServer echo;
  for (const Case& size : kCases) {
    const std::string payload(size.payloadBytes, 'x');
    CompareRatio(
        {std::string("round trip of an unknown type, ") + size.size,
         [&] {
           tagwright.First().RoundTrip(kUnknownType, payload, ::Tagwright::eStatusUnknownMessage);
         }},
        {"bare socket echo", [&] { echo.Client().RoundTrip(0, payload, 0); }}, size.repetitions,
        "1.10 times");
  }
}

std::string ExampleJob() {
  std::ifstream file(TAGWRIGHT_EXAMPLES_DIR "/card.xml", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void PrintJobs() {
  const std::string job = ExampleJob();
  Tagwright instant(kInstant);
  const Subject instantJob = {
      "eEncode of examples/card.xml, instant component",
      [&] { instant.First().RoundTrip(::Tagwright::eEncode, job, ::Tagwright::eStatusSuccess); }};
  const Subject roundTrip = {
      "round trip of the same bytes",
      [&] { instant.First().RoundTrip(kUnknownType, job, ::Tagwright::eStatusUnknownMessage); }};
  CompareDifference(instantJob, roundTrip, 1000, "20 us more");
  Tagwright simulator(kSimulator);
  CompareRatio({"job with two writes, simulated printer",
                [&] {
                  simulator.First().RoundTrip(::Tagwright::eEncode, kSimulatorJob,
                                              ::Tagwright::eStatusSuccess);
                }},
               instantJob, 100, "-");
}

/// From the start of a tagwright to the reply to its first job.
void RunFirstJob(std::deque<Tagwright>& tagwrights, const char* folder) {
  tagwrights.emplace_back(folder).First().RoundTrip(::Tagwright::eEncode, ExampleJob(),
                                                    ::Tagwright::eStatusSuccess);
}

std::string MemoryAfterJob(const Tagwright& tagwright) {
  return std::to_string(*ResidentMemoryKb(static_cast<DWORD>(tagwright.Id())) / 1024) + " MiB";
}

/// In builds that have the host of managed code.
void PrintManagedCode() {
  if (access((ProgramFolder() + kManaged + "/tagwright").c_str(), X_OK) != 0) return;
  const std::string job = ExampleJob();
  std::deque<Tagwright> managed, native;
  RunFirstJob(managed, kManaged);
  RunFirstJob(native, kInstant);
  const auto encode = [&](Tagwright& tagwright) {
    tagwright.First().RoundTrip(::Tagwright::eEncode, job, ::Tagwright::eStatusSuccess);
  };
  CompareDifference(
      {"eEncode of examples/card.xml, instant managed component", [&] { encode(managed.front()); }},
      {"the same, native", [&] { encode(native.front()); }}, 1000, "-");
  PrintFigure("resident memory after these jobs, managed component",
              MemoryAfterJob(managed.front()) + ", native " + MemoryAfterJob(native.front()), "-");
  CompareDifference({"start to the first job's reply, managed component",
                     [&] { RunFirstJob(managed, kManaged); }},
                    {"the same, native", [&] { RunFirstJob(native, kInstant); }}, 1, "-");
}

void Spin(std::chrono::milliseconds duration) {
  const auto start = std::chrono::steady_clock::now();
  while (std::chrono::steady_clock::now() - start < duration) {
  }
}

void PrintEncoders() {
  Tagwright control(kInstant, "/c");
  control.First().RoundTrip(::Tagwright::eKeepAlive, {}, ::Tagwright::eStatusSuccess);
  const auto before = ResidentMemoryKb(static_cast<DWORD>(control.Id()));
  for (int i = 0; i < kEncoders; ++i) control.AddEncoder();
  const auto after = ResidentMemoryKb(static_cast<DWORD>(control.Id()));
  PrintFigure("resident memory of one more encoder pipe",
              std::to_string((*after - *before) / kEncoders) + " KiB", "16 KiB");
  CompareRatio({"62 clients with jobs of 1 ms each",
                [&] {
                  for (Connection& encoder : control.Encoders()) {
                    encoder.Send(::Tagwright::eEncode, kOneMillisecondJob);
                  }
                  for (Connection& encoder : control.Encoders()) encoder.Receive();
                }},
               {"62 ms of work", [] { Spin(std::chrono::milliseconds(kEncoders)); }}, 3,
               "1.05 times");
}

void PrintStart() {
  std::deque<Tagwright> tagwrights;
  std::deque<EchoServer> servers;
  CompareRatio(
      {"start to the first accepted connection", [&] { tagwrights.emplace_back(kInstant); }},
      {"a small server's", [&] { servers.emplace_back(); }}, 5, "3 ms");
}

void PrintEnd() {
  constexpr DWORD kSettledMs = 300;  // The parent is being watched by then.
  Timings ends;
  for (int round = 0; round < kRounds; ++round) {
    DrivenProcess process(::Tagwright::ServerKind::kEncoder);
    Sleep(kSettledMs);
    ends.AddDuration(process.TimeToEndAfterDriver());
  }
  char figure[32];
  std::snprintf(figure, sizeof figure, "%.1f ms", ends.Quantile(0.5).count() / 1000);
  PrintFigure("the driver's death to the end, idle", figure, "2.4 ms");
}

void Append(const std::string& path, const std::string& bytes) {
  constexpr mode_t kMode = 0666;
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kMode);
  if (write(file, bytes.data(), bytes.size()) < 0) throw std::runtime_error("cannot write");
  close(file);
}

void PrintLogLine() {
  constexpr char kSource[] = "Brennick Tagwright.Bench";
  constexpr DWORD kEverythingToFile = 0xF400FFFFU;
  // What the line takes in the file, and its event in the event log.
  const std::string line(120, 'x');
  const std::string event(330, 'x');
  const OString key = OString("LOCAL_MACHINE:Software\\Brennick\\Drivers\\DebugLogMasks\\")
                      << kSource;
  ORegistry().SetValue(key, &kEverythingToFile);
  OEventLog log(kSource, OEventLog::kApplicationLog);
  const OString text("PipeServer::ReadBytes: Called");
  CompareRatio({"log line with event and file", [&] { log.LogInformationEvent(text, 0, 0); }},
               {"the same bytes appended to two files",
                [&] {
                  Append(StateRoot() + "/line", line);
                  Append(StateRoot() + "/event", event);
                }},
               200, "3 times");
}

}  // namespace

void PrintRows() {
  PrintRoundTrips();
  PrintJobs();
  PrintManagedCode();
  PrintEncoders();
  PrintStart();
  PrintEnd();
  PrintLogLine();
}

}  // namespace Bench
