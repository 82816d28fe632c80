#include "bench/crashes.h"

#include <cstdio>
#include <stdexcept>

#include "bench/timings.h"
#include "support/mini_dump_writer.h"
#include "support/oevent_log.h"
#include "support/scoped_handle.h"
#include "support/thread_procedure.h"

namespace Bench {
namespace {

int* volatile nowhere = nullptr;

/// Hands the exception of a crash to `handle`.
template <class Handle>
void Crash(Handle&& handle) {
  try {
    *nowhere = 1;
  } catch (const OException& exception) {
    handle(exception);
  }
}

/// Returns the size.
LONGLONG DeleteFileAndTellSize(OString& fileName) {
  LARGE_INTEGER size{};
  {
    const ScopedHandle file(CreateFileW(fileName.wstring(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                        OPEN_EXISTING, 0, nullptr));
    GetFileSizeEx(file.Get(), &size);
  }
  DeleteFileW(fileName.wstring());
  return size.QuadPart;
}

}  // namespace

void MeasureCrashes(int repetitions) {
  OExceptionHandler handler("MeasureCrashes", kThreadHandlerFlags);
  handler.SetEventLog(StdBrennick::shared_ptr<OEventLog>(
      new OEventLog("Brennick Tagwright.Bench", OEventLog::kApplicationLog)));
  const auto report = [&handler](const OException& exception) {
    handler.Handle(OException(exception.ErrorCode(), exception.Message(), nullptr));
  };
  std::printf("%d repetitions\n%s\n", repetitions, TimingsHeading().c_str());
  const Timings caught = Timings::Of(repetitions, [] { Crash([](const OException&) {}); });
  std::puts(caught.Row("fault to catch block").c_str());
  const Timings reported = Timings::Of(repetitions, [&report] { Crash(report); });
  std::puts(reported.Row("fault to report, no dump").c_str());
  Timings dumped;
  LONGLONG dumpBytes = 0;
  for (int i = 0; i < repetitions; ++i) {
    OString fileName;
    dumped.Add([&] {
      Crash([&](const OException& exception) {
        if (!WriteMiniDumpFile(exception.Pointers(), fileName)) {
          throw std::runtime_error("no dump was written");
        }
        report(exception);
      });
    });
    dumpBytes = DeleteFileAndTellSize(fileName);
  }
  std::puts(dumped.Row("fault to report, with a dump").c_str());
  std::printf("dump file: %lld bytes\n", static_cast<long long>(dumpBytes));
}

}  // namespace Bench
