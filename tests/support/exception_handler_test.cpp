/// What a thread procedure's exception scope reports, and the exceptions themselves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>

#include "common/product_log.h"
#include "common/test_thread.h"
#include "platform/framework_exceptions.h"
#include "support/log.h"
#include "support/oevent_log.h"
#include "support/thread_procedure.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// The system's text without its line end.
std::string SystemText(DWORD code) {
  char text[1024] = "";
  const DWORD length =
      FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0, text, 1024, nullptr);
  return std::string(text, length - 2);
}

class ExceptionHandler : public testing::Test {
 protected:
  static constexpr const char* kSource = "Tagwright Exception Handler Test";

  /// The report of what `fail` does to a handler, as the log file has it; "" without one.
  template <class Fail>
  std::string ReportOf(const Fail& fail, DWORD flags = 9) {
    const ProductLog log(kSource);
    OExceptionHandler handler("Worker::Run", flags);
    handler.SetEventLog(
        StdBrennick::shared_ptr<OEventLog>(new OEventLog(kSource, OEventLog::kApplicationLog)));
    SetLastError(ERROR_SUCCESS);
    fail(handler);
    lastError = GetLastError();
    return log.Content();
  }

  DWORD lastError = ERROR_SUCCESS;
};

auto Handling(LONG code, const char* text) {
  return [=](OExceptionHandler& handler) { handler.Handle(OException(code, text, nullptr)); };
}

TEST_F(ExceptionHandler, ReportsTheTrimmedTextAndTheFunction) {
  for (const auto& [code, text, reported] :
       {std::tuple{87, "\t went wrong \r\n", std::string("went wrong")},
        {1, nullptr, SystemText(1)}}) {
    EXPECT_THAT(ReportOf(Handling(code, text)), AllOf(HasSubstr("Error: " + reported + "\r"),
                                                      HasSubstr("\nCaught in [Worker::Run]\r")));
    EXPECT_EQ(lastError, static_cast<DWORD>(code));
  }
}

/// Says when it is deleted, which whoever takes it has to do.
template <class Exception>
struct Counted : Exception {
  using Exception::Exception;
  ~Counted() override { ++deleted; }
  static inline int deleted = 0;
};

TEST_F(ExceptionHandler, KnowsWhatStandsForOtherFailures) {
  const auto exhaust = [](OExceptionHandler& handler) {
    RunGuarded(handler, [] { throw new Counted<CMemoryException>; });
  };
  EXPECT_THAT(ReportOf(exhaust), HasSubstr("Error: " + SystemText(14) + "\r"));
  EXPECT_EQ(Counted<CMemoryException>::deleted, 1);
  EXPECT_EQ(lastError, DWORD{ERROR_OUTOFMEMORY});
  const auto fail = [](OExceptionHandler& handler) {
    handler.HandleStandardException(OStdException(nullptr));
  };
  EXPECT_THAT(ReportOf(fail), HasSubstr("Error: " + SystemText(1359) + "\r"));
  EXPECT_EQ(lastError, DWORD{ERROR_INTERNAL_ERROR});
}

TEST_F(ExceptionHandler, LeavesALineOfWhateverEndsAThread) {
  const auto reportOf = [this](void (*fail)(), OtherExceptions others) {
    return ReportOf(
        [=](OExceptionHandler& handler) { EXPECT_FALSE(RunGuarded(handler, fail, others)); });
  };
  const auto standard = [] { throw std::runtime_error("no thread"); };
  const auto unknown = [] { throw 42; };
  const std::string caught = "\r\r\nCaught in [Worker::Run]\r";
  EXPECT_THAT(reportOf(standard, OtherExceptions::kReport), HasSubstr("Error: no thread" + caught));
  EXPECT_THAT(reportOf(unknown, OtherExceptions::kReport),
              HasSubstr("Error: Exception of unknown type." + caught));
  EXPECT_EQ(reportOf(standard, OtherExceptions::kWereLogged), "");
  EXPECT_EQ(reportOf(unknown, OtherExceptions::kWereLogged), "");
  EXPECT_EQ(
      reportOf([] { throw new Counted<CException>(TEXT("logged")); }, OtherExceptions::kReport),
      "");
  EXPECT_EQ(Counted<CException>::deleted, 1);
  LogFrameworkException(Tracer("Worker"), [] { throw new Counted<CException>(TEXT("logged")); });
  EXPECT_EQ(Counted<CException>::deleted, 2);
  EXPECT_EQ(FrameworkMessage(CException(Widen(std::string(300, 'x')))).GetLength(), 254);
}

TEST_F(ExceptionHandler, AnApartmentThatIsThereAlreadyIsTold) {
  const ProductLog log(kSource);
  Z7SvEventLog.reset(new OEventLog(kSource, OEventLog::kApplicationLog));
  TestThread([] {
    for (int i = 0; i < 2; ++i) InitializeApartment([] { return OString("Worker: "); });
    for (int i = 0; i < 2; ++i) CoUninitialize();
    return 0;
  }).Join();
  Z7SvEventLog.reset();
  EXPECT_THAT(log.Texts(), testing::ElementsAre("Errors: Worker: coInitResult = 00000001"));
}

TEST_F(ExceptionHandler, DoesOnlyWhatItsFlagsSay) {
  const auto fail = Handling(-3, "x");
  EXPECT_THAT(ReportOf(fail, OExceptionHandler::kSetLastError), Not(HasSubstr("Caught in")));
  EXPECT_EQ(lastError, DWORD{ERROR_INTERNAL_ERROR}) << "a code below 1 is an internal error";
  EXPECT_THAT(ReportOf(fail, OExceptionHandler::kReportToLog), HasSubstr("Caught in"));
  EXPECT_NE(lastError, DWORD{ERROR_INTERNAL_ERROR});
}

}  // namespace
