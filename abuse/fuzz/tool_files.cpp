/// What the command-line tool reads: log files, the event log, and what people type.
#include <cstdio>

#include "client/ctl/failure.h"
#include "client/ctl/since.h"
#include "client/log/event_log_reader.h"
#include "client/log/log_file_reader.h"
#include "fuzz/fuzz_target.h"
#include "platform/posix/kernel/state_paths.h"
#include "support/ofile.h"

namespace {

constexpr const char* kSource = "Brennick Tagwright.Native";

/// Writes the file that `path` names in place of what is there.
void Replace(const std::string& path, const std::string& text) {
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  Fuzz::Require(file != nullptr, "the file can be made");
  std::fwrite(text.data(), 1, text.size(), file);
  std::fclose(file);
}

void ReadLogFile(const std::string& text) {
  const auto path = Tagwright::LogFilePath(kSource);
  CreateDirectoryW(TEXT("C:\\Log Files"), nullptr);
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  DWORD written = 0;
  WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  CloseHandle(file);
  Tagwright::LogFileReader reader(kSource);
  for (const auto& event : reader.ReadNew()) static_cast<void>(FormatLogEvent(event));
  Fuzz::Require(reader.ReadNew().empty(), "nothing is read twice");
}

void ReadEventLog(const std::string& text) {
  Replace(platform::StateFolder("eventlog") + "/Application.jsonl", text);
  Tagwright::EventLogReader reader;
  for (const auto& event : reader.ReadNew()) static_cast<void>(FormatLogEvent(event));
}

void ReadTime(const std::string& text) {
  try {
    static_cast<void>(Ctl::ParseSince(text, 1795415462125));
  } catch (const Ctl::Failure&) {
  }
}

}  // namespace

void Fuzz::ToolFiles(Bytes bytes) {
  Input input(bytes);
  const std::uint8_t reader = input.Byte();
  const std::string text = input.Rest();
  switch (reader % 3) {
    case 0:
      return ReadLogFile(text);
    case 1:
      return ReadEventLog(text);
    default:
      return ReadTime(text);
  }
}
