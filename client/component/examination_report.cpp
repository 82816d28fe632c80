#include "client/component/examination_report.h"

#include <algorithm>
#include <stdexcept>

#include "client/client.h"

namespace Tagwright {
namespace {

constexpr DWORD kBufferBytes = 4096;

[[noreturn]] void Fail(const std::string& what) {
  throw std::runtime_error(what + ", system error " + std::to_string(GetLastError()));
}

HANDLE CreateReportPipe(const WideString& name) {
  const HANDLE pipe = CreateNamedPipeW(PipePath(name).c_str(), PIPE_ACCESS_DUPLEX, 0, 1,
                                       kBufferBytes, kBufferBytes, 0, nullptr);
  if (pipe == INVALID_HANDLE_VALUE) Fail("cannot create a pipe");
  return pipe;
}

}  // namespace

ReportWriter::ReportWriter(const WideString& pipeName)
    : _pipe(CreateFileW(PipePath(pipeName).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                        OPEN_EXISTING, 0, nullptr)) {
  if (!_pipe.IsValid()) Fail("cannot open the pipe of the report");
}

void ReportWriter::Write(ReportKind kind, const std::string& text) {
  std::string line = static_cast<char>(kind) + text;
  const auto isControl = [](char byte) { return static_cast<unsigned char>(byte) < ' '; };
  std::replace_if(line.begin(), line.end(), isControl, ' ');
  line += '\n';
  DWORD written = 0;
  if (!WriteFile(_pipe.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr)) {
    Fail("cannot write the report");
  }
}

ReportReader::ReportReader(const WideString& pipeName)
    : _pipe(CreateReportPipe(pipeName)), _watchdog(_pipe.Get()) {}

bool ReportReader::Accept(DWORD timeoutMs) {
  _watchdog.Start(timeoutMs);
  // An examination that is over already has left its report in the pipe.
  const bool isConnected = ConnectNamedPipe(_pipe.Get(), nullptr) ||
                           GetLastError() == ERROR_PIPE_CONNECTED ||
                           GetLastError() == ERROR_NO_DATA;
  _watchdog.Stop();
  return isConnected;
}

std::optional<ReportLine> ReportReader::Read(DWORD timeoutMs) {
  _watchdog.Start(timeoutMs);
  std::size_t end = _received.find('\n');
  for (; end == std::string::npos && Fill(); end = _received.find('\n')) continue;
  _watchdog.Stop();
  if (end == std::string::npos) return std::nullopt;
  ReportLine line{static_cast<ReportKind>(_received[0]), _received.substr(1, end - 1)};
  _received.erase(0, end + 1);
  return line;
}

bool ReportReader::Fill() {
  char piece[kBufferBytes];
  DWORD count = 0;
  if (!ReadFile(_pipe.Get(), piece, sizeof piece, &count, nullptr)) {
    _hasTimedOut = GetLastError() == ERROR_OPERATION_ABORTED;
    return false;
  }
  _received.append(piece, count);
  return true;
}

}  // namespace Tagwright
