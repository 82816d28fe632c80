/// The program with the crashing component of victims/, whose crashes end the process.
#pragma once

#include "common/dump_folder.h"
#include "process/process_fixture.h"

class FatalCrashTest : public ProcessTest {
 protected:
  static constexpr const char* kProgram = "crashing\\tagwright";

  /// What the component does while it "writes".
  static std::string JobFor(const std::string& action) {
    return "<zsdk_job><write segment='1' data='" + action + "'/></zsdk_job>";
  }

  /// Empty where the system has none (Wine, of the less common codes).
  static std::string SystemText(DWORD code) {
    char text[1024] = "";
    const DWORD length =
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0, text, 1024, nullptr);
    constexpr DWORD kLineEnd = 2;
    return std::string(text, length < kLineEnd ? 0 : length - kLineEnd);
  }

  /// The component's `action` ends the process with a report and a dump. The process that serves
  /// `bystander` goes on and can encode: nobody holds the mutex any more.
  void ExpectFatalCrash(const std::string& action, const std::string& error,
                        const std::string& program = kProgram,
                        const std::string& function = "PipeServer::ProcessMessagesThread") {
    SCOPED_TRACE(action);
    const ProductLog log;
    Serving bystander(kProgram), crashing(program);
    crashing.client.Send(0x200, JobFor(action));
    crashing.client.ExpectClosed();
    EXPECT_NE(crashing.program.ExitCode(), 0U);
    bystander.client.Expect(0, 0x200, JobFor("nothing"));
    EXPECT_TRUE(log.Has("Error: " + error));
    EXPECT_EQ(log.Count("Caught in [" + function + "]"), 1);
    const std::string number = std::to_string(_crashes++);
    const std::string path = DumpFolder::Path("bkcrash_000" + number + ".dmp");
    EXPECT_TRUE(log.Has("MiniDump File: " + path));
    EXPECT_FALSE(DumpFolder::Streams(DumpFolder::Content(path)).empty());
  }

 private:
  const DumpFolder _dumps;
  int _crashes = 0;
};
