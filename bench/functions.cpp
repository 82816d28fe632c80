/// Single functions beside what the language offers for the same.
#include <benchmark/benchmark.h>

#include <atomic>
#include <string>

#include "support/log.h"
#include "support/ostring.h"

namespace {

constexpr char kText[] = "PipeServer::ReadBytes: Called by the message thread of the pipe";
constexpr char16_t kWideText[] = u"PipeServer::ReadBytes: Called by the message thread of the pipe";

void CopyString(benchmark::State& state) {
  const std::string text(kText);
  for (auto _ : state) benchmark::DoNotOptimize(std::string(text));
}
void CopyOString(benchmark::State& state) {
  const OString text(kText);
  for (auto _ : state) benchmark::DoNotOptimize(OString(text));
}

void AppendString(benchmark::State& state) {
  for (auto _ : state) {
    std::string text(kText);
    text += kText;
    benchmark::DoNotOptimize(text);
  }
}
void AppendOString(benchmark::State& state) {
  for (auto _ : state) {
    OString text(kText);
    text << kText;
    benchmark::DoNotOptimize(text);
  }
}

template <class Text>
void Compare(benchmark::State& state, const Text& left, const Text& right) {
  for (auto _ : state) {
    const Text* first = &left;
    benchmark::DoNotOptimize(first);
    if constexpr (std::is_same_v<Text, OString>) {
      benchmark::DoNotOptimize(first->Compare(right));
    } else {
      benchmark::DoNotOptimize(first->compare(right));
    }
  }
}
void CompareString(benchmark::State& state) { Compare<std::string>(state, kText, kText); }
void CompareOString(benchmark::State& state) { Compare<OString>(state, kText, kText); }
void CompareU16String(benchmark::State& state) {
  Compare<std::u16string>(state, kWideText, kWideText);
}
void CompareWideOString(benchmark::State& state) { Compare<OString>(state, kWideText, kWideText); }

void HandOutBothStrings(benchmark::State& state) {
  const std::string narrow(kText);
  const std::u16string wide(kWideText);
  for (auto _ : state) {
    benchmark::DoNotOptimize(narrow.c_str());
    benchmark::DoNotOptimize(wide.c_str());
  }
}
void HandOutBothFormsOfOString(benchmark::State& state) {
  const OString text(kText);
  for (auto _ : state) {
    benchmark::DoNotOptimize(text.nstring());
    benchmark::DoNotOptimize(text.wstring());
  }
}

void LoadAtomic(benchmark::State& state) {
  std::atomic<DWORD> mask{0};
  for (auto _ : state) benchmark::DoNotOptimize(mask.load());
}
void LogLineThatIsOff(benchmark::State& state) {
  Z7SvEventLog = StdBrennick::shared_ptr<OEventLog>(
      new OEventLog("Brennick Tagwright.Bench.Functions", OEventLog::kApplicationLog));
  for (auto _ : state) {
    Log::Information([] { return OString(kText) << kText; }, LogLevel::kDetailInfoA);
  }
  Z7SvEventLog = StdBrennick::shared_ptr<OEventLog>();
}

BENCHMARK(CopyString);
BENCHMARK(CopyOString);
BENCHMARK(AppendString);
BENCHMARK(AppendOString);
BENCHMARK(CompareString);
BENCHMARK(CompareOString);
BENCHMARK(CompareU16String);
BENCHMARK(CompareWideOString);
BENCHMARK(HandOutBothStrings);
BENCHMARK(HandOutBothFormsOfOString);
BENCHMARK(LoadAtomic);
BENCHMARK(LogLineThatIsOff);

}  // namespace

BENCHMARK_MAIN();
