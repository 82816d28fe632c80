/// tagwright_bench: real tagwright processes beside bare ones of the same run, in one table; with
/// --lifetime how the process grows and ends, with --crashes what a crash costs.
///
/// Everything happens under a state root of its own, without a log mask.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <thread>

#include "bench/crashes.h"
#include "bench/lifetime.h"
#include "bench/rows.h"
#include "bench/table.h"
#include "tests/common/test_root.h"

namespace {

/// Made before the first use of the state root, and inherited by the processes that are started.
class StateRoot {
 public:
  StateRoot() {
    if (std::getenv(kMark) != nullptr) return;
    _own.emplace();
    static std::string variable = std::string(kMark) + "=1";
    putenv(variable.data());
  }

 private:
  static constexpr const char* kMark = "TAGWRIGHT_BENCH";
  std::optional<TestRoot> _own;
};

const StateRoot g_stateRoot;

void PrintBuild() {
  std::printf("tagwright_bench, %s build, %u processors\n", TAGWRIGHT_BUILD_TYPE,
              std::thread::hardware_concurrency());
  if (!TAGWRIGHT_OPTIMISED) std::puts("WARNING: not an optimised build, the figures mean little");
  std::puts("");
}

}  // namespace

extern "C" int wmain(int argc, WCHAR** argv) {
  CLI::App app("Measures tagwright", "tagwright_bench");
  int repetitions = 500;
  app.add_option("--iterations", repetitions, "How often each crash is measured")
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
      Bench::PrintTableHeading();
      Bench::PrintRows();
    }
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tagwright_bench: %s\n", error.what());
    return 1;
  }
  return 0;
}
