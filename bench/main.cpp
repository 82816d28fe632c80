/// tagwright_bench: round trips of a real tagwright process beside bare echoes of the same run;
/// with --lifetime how the process grows and ends, with --crashes what a crash costs.
///
/// Everything happens under the caller's state root, with the log mask that is set there; the jobs
/// go to a simulated tag of their own, at the port address "bench".
#include <CLI/CLI.hpp>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include "bench/crashes.h"
#include "bench/echo.h"
#include "bench/lifetime.h"
#include "bench/payload.h"
#include "bench/resident_memory.h"
#include "bench/timings.h"
#include "client/client.h"
#include "client/server_process.h"

namespace {

using Bench::Bytes;
using Bench::Timings;
using Tagwright::Client;

/// Only a fault reaches it.
constexpr DWORD kTimeoutMs = 60000;

/// Starts are slow; a tenth of the other repetitions tells as much.
constexpr int kRepetitionsPerStart = 10;

/// A type that no server handles.
constexpr std::uint32_t kUnknownType = 0x301;

/// A card's usual job less its passwords and locks, so that the same tag takes it again and again.
constexpr std::string_view kJob = R"(<?xml version="1.0" encoding="UTF-8"?>
<zsdk_job>
  <printer port_type="0" port_address="bench" uhfEncodeMode_ReaderConnectPerCard="1"/>
  <write segment="1" offset="2" data="E2004216CB60601500951ED6"/>
  <write segment="3" offset="0" data="00112233445566778899AABBCCDDEEFF"/>
</zsdk_job>
)";

/// A tagwright process and the connection to its encoder pipe.
class Server {
 public:
  Server() : _client(kTimeoutMs) {
    if (!_process.Start(Tagwright::FreshPipeName(), Tagwright::ServerKind::kEncoder) ||
        _process.Connect(_client, kTimeoutMs)) {
      throw std::runtime_error("tagwright did not start");
    }
  }

  void RoundTrip(std::uint32_t type, std::string_view payload, std::uint32_t expectedStatus) {
    const Tagwright::SendResult result = _client.Send(type, Bytes(payload));
    if (result.error || result.reply.status != expectedStatus) {
      throw std::runtime_error("tagwright answered with status " +
                               std::to_string(result.reply.status));
    }
  }

  void Stop() {
    RoundTrip(Tagwright::eShutdown, {}, Tagwright::eStatusSuccess);
    if (!_process.WaitForExit(kTimeoutMs)) throw std::runtime_error("tagwright did not end");
  }

  std::size_t MemoryKb() const { return Bench::ResidentMemoryKb(_process.ProcessId()).value_or(0); }

 private:
  Tagwright::ServerProcess _process;
  Client _client;
};

void PrintBuild() {
  std::printf("tagwright_bench, %s build, %u processors\n", TAGWRIGHT_BUILD_TYPE,
              std::thread::hardware_concurrency());
  if (!TAGWRIGHT_OPTIMISED) std::puts("WARNING: not an optimised build, the figures mean little");
}

void MeasureEchoes(int repetitions) {
  if (const auto socket = Bench::SocketEcho(repetitions)) {
    std::puts(socket->Row("bare socket echo, 16 bytes").c_str());
  }
  std::puts(Bench::PipeEcho(repetitions).Row("bare named-pipe echo, 16 bytes").c_str());
}

void MeasureStarts(int repetitions) {
  Timings starts;
  for (int i = 0; i < repetitions; ++i) {
    std::optional<Server> server;
    starts.Add([&server] { server.emplace(); });
    server->Stop();
  }
  std::puts(starts.Row("start to accepted connection").c_str());
}

void MeasureRoundTrips(int repetitions) {
  Server server;
  const std::size_t idleKb = server.MemoryKb();
  const Timings unknown = Timings::Of(repetitions, [&server] {
    server.RoundTrip(kUnknownType, {}, Tagwright::eStatusUnknownMessage);
  });
  std::puts(unknown.Row("unknown type").c_str());
  const Timings encode = Timings::Of(repetitions, [&server] {
    server.RoundTrip(Tagwright::eEncode, kJob, Tagwright::eStatusSuccess);
  });
  std::puts(encode.Row("eEncode, two writes, simulated printer").c_str());
  std::printf("resident memory: %zu KiB idle, %zu KiB after the jobs\n", idleKb, server.MemoryKb());
  server.Stop();
}

void Measure(int repetitions) {
  std::printf("%d repetitions\n%s\n", repetitions, Bench::TimingsHeading().c_str());
  MeasureEchoes(repetitions);
  MeasureStarts(std::max(1, repetitions / kRepetitionsPerStart));
  MeasureRoundTrips(repetitions);
}

}  // namespace

extern "C" int wmain(int argc, WCHAR** argv) {
  CLI::App app("Measures tagwright", "tagwright_bench");
  int repetitions = 500;
  app.add_option("--iterations", repetitions, "How often each thing is measured")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  bool lifetime = false;
  app.add_flag("--lifetime", lifetime, "Measure how the process grows and ends");
  bool crashes = false;
  app.add_flag("--crashes", crashes, "Measure how soon a crash is reported");
  std::string drivenPipe;
  app.add_option("--play-driver", drivenPipe)->group("");
  bool control = false;
  app.add_flag("--control", control)->group("");
  std::vector<std::string> arguments;
  for (int i = argc - 1; i > 0; --i) arguments.push_back(Tagwright::ToUtf8(argv[i]));
  try {
    app.parse(arguments);
    if (!drivenPipe.empty()) {
      return Bench::PlayDriver(
          {drivenPipe.begin(), drivenPipe.end()},
          control ? Tagwright::ServerKind::kController : Tagwright::ServerKind::kEncoder);
    }
    PrintBuild();
    if (lifetime) {
      Bench::MeasureLifetime();
    } else if (crashes) {
      Bench::MeasureCrashes(repetitions);
    } else {
      Measure(repetitions);
    }
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tagwright_bench: %s\n", error.what());
    return 1;
  }
  return 0;
}
