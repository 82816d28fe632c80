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
    StdBrennick::shared_ptr<OEventLog> eventLog(new OEventLog(kSource, OEventLog::kApplicationLog));
    OExceptionHandler handler("Worker::Run", flags);
    handler.SetEventLog(eventLog);
    SetLastError(ERROR_SUCCESS);
    fail(handler);
    lastError = GetLastError();
    return log.Content();
  }

  DWORD lastError = ERROR_SUCCESS;
};

TEST_F(ExceptionHandler, ReportsTheTrimmedTextAndTheFunction) {
  for (const auto& [code, text, reported] :
       {std::tuple{87, "\t went wrong \r\n", std::string("went wrong")},
        {1, nullptr, SystemText(1)}}) {
    const auto fail = [code = code, text = text](OExceptionHandler& handler) {
      handler.Handle(OException(code, text, nullptr));
    };
    const std::string report = ReportOf(fail);
    EXPECT_THAT(report, HasSubstr("Error: " + reported + "\r"));
    EXPECT_THAT(report, HasSubstr("\nCaught in [Worker::Run]\r"));
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
  const struct {
    void (*fail)();
    OtherExceptions others;
    const char* reported;  // Null: nothing is.
  } cases[] = {
      {[] { throw std::runtime_error("no thread"); }, OtherExceptions::kReport, "Error: no thread"},
      {[] { throw 42; }, OtherExceptions::kReport, "Error: Exception of unknown type."},
      {[] { throw 42; }, OtherExceptions::kWereLogged, nullptr},
      {[] { throw std::runtime_error("logged"); }, OtherExceptions::kWereLogged, nullptr},
      {[] { throw new Counted<CException>(TEXT("logged")); }, OtherExceptions::kReport, nullptr},
  };
  for (const auto& expected : cases) {
    const std::string report = ReportOf([&](OExceptionHandler& handler) {
      EXPECT_FALSE(RunGuarded(handler, expected.fail, expected.others));
    });
    if (expected.reported == nullptr) {
      EXPECT_THAT(report, Not(HasSubstr("Caught in")));
    } else {
      EXPECT_THAT(report,
                  HasSubstr(std::string(expected.reported) + "\r\r\nCaught in [Worker::Run]\r"));
    }
  }
  EXPECT_EQ(Counted<CException>::deleted, 1);
  LogFrameworkException(Tracer("Worker"), [] { throw new Counted<CException>(TEXT("logged")); });
  EXPECT_EQ(Counted<CException>::deleted, 2);
  EXPECT_EQ(FrameworkMessage(CException(Widen(std::string(300, 'x')))).GetLength(), 254);
}

TEST_F(ExceptionHandler, AnApartmentThatIsThereAlreadyIsTold) {
  const ProductLog log(kSource);
  Z7SvEventLog.reset(new OEventLog(kSource, OEventLog::kApplicationLog));
  TestThread([] {
    const auto intro = [] { return OString("Worker: "); };
    InitializeApartment(intro);
    InitializeApartment(intro);
    for (int i = 0; i < 2; ++i) CoUninitialize();
    return 0;
  }).Join();
  Z7SvEventLog.reset();
  EXPECT_THAT(log.Texts(), testing::ElementsAre("Errors: Worker: coInitResult = 00000001"));
}

TEST_F(ExceptionHandler, DoesOnlyWhatItsFlagsSay) {
  const auto fail = [](OExceptionHandler& handler) {
    handler.Handle(OException(-3, "x", nullptr));
  };
  EXPECT_THAT(ReportOf(fail, OExceptionHandler::kSetLastError), Not(HasSubstr("Caught in")));
  EXPECT_EQ(lastError, DWORD{ERROR_INTERNAL_ERROR}) << "a code below 1 is an internal error";
  EXPECT_THAT(ReportOf(fail, OExceptionHandler::kReportToLog), HasSubstr("Caught in"));
  EXPECT_NE(lastError, DWORD{ERROR_INTERNAL_ERROR});
}

}  // namespace
