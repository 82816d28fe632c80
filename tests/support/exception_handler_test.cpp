/// What a thread procedure's exception scope reports, and the exceptions themselves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "common/product_log.h"
#include "support/oevent_log.h"
#include "support/oexception_handler.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

std::string SystemText(DWORD code) {
  char text[1024] = "";
  FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ARGUMENT_ARRAY, nullptr, code, 0, text,
                 sizeof(text), nullptr);
  return text;
}

TEST(Exception, TakesTheSystemsTextWhenItHasNone) {
  EXPECT_STREQ(OException(5, "own text", nullptr).Message(), "own text");
  EXPECT_THAT(SystemText(ERROR_ACCESS_DENIED), EndsWith("\r\n"));
  EXPECT_EQ(OException(5, nullptr, nullptr).Message(), SystemText(ERROR_ACCESS_DENIED));
  for (const LONG noCode : {0, -1}) {
    EXPECT_EQ(OException(noCode, nullptr, nullptr).Message(), SystemText(ERROR_INTERNAL_ERROR));
  }
  EXPECT_EQ(OException(0x2FFFFFFF, nullptr, nullptr).Message(), nullptr);
}

TEST(Exception, CopiesOwnTheirText) {
  auto original = std::make_unique<OException>(87, "text", nullptr);
  const OException copy(*original);
  original.reset();
  EXPECT_STREQ(copy.Message(), "text");
  EXPECT_EQ(copy.ErrorCode(), 87);
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
  static std::string Trimmed(DWORD code) {
    const std::string text = SystemText(code);
    return text.substr(0, text.find_last_not_of("\r\n ") + 1);
  }

  DWORD lastError = ERROR_SUCCESS;
};

TEST_F(ExceptionHandler, ReportsTheTrimmedTextAndTheFunction) {
  const std::string report = ReportOf([](OExceptionHandler& handler) {
    handler.Handle(OException(87, "\t went wrong \r\n", nullptr));
  });
  EXPECT_THAT(report, HasSubstr("Error: went wrong\r"));
  EXPECT_THAT(report, HasSubstr("\nCaught in [Worker::Run]\r"));
  EXPECT_EQ(lastError, DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(ExceptionHandler, NamesMemoryAndStandardFailures) {
  EXPECT_THAT(ReportOf([](OExceptionHandler& handler) { handler.OutOfMemory(); }),
              HasSubstr("Error: " + Trimmed(ERROR_OUTOFMEMORY) + "\r"));
  EXPECT_EQ(lastError, DWORD{ERROR_OUTOFMEMORY});
  EXPECT_THAT(ReportOf([](OExceptionHandler& handler) {
                handler.HandleStandardException(OStdException("bad cast"));
              }),
              HasSubstr("Error: bad cast\r"));
  EXPECT_EQ(lastError, DWORD{ERROR_INTERNAL_ERROR});
  EXPECT_THAT(ReportOf([](OExceptionHandler& handler) {
                handler.HandleStandardException(OStdException(nullptr));
              }),
              HasSubstr("Error: " + Trimmed(ERROR_INTERNAL_ERROR) + "\r"));
}

TEST_F(ExceptionHandler, DoesOnlyWhatItsFlagsSay) {
  const auto fail = [](OExceptionHandler& handler) {
    handler.Handle(OException(-3, "x", nullptr));
  };
  EXPECT_THAT(ReportOf(fail, OExceptionHandler::kSetLastError), Not(HasSubstr("Caught in")));
  EXPECT_EQ(lastError, DWORD{ERROR_INTERNAL_ERROR}) << "a code below 1 is an internal error";
  EXPECT_THAT(ReportOf(fail, OExceptionHandler::kReportToLog), HasSubstr("Caught in"));

  const auto withoutLog = [&](OExceptionHandler& handler) {
    handler.UnSetEventLog();
    fail(handler);
  };
  EXPECT_THAT(ReportOf(withoutLog), Not(HasSubstr("Caught in")));
  EXPECT_EQ(lastError, DWORD{ERROR_INTERNAL_ERROR});
}

}  // namespace
