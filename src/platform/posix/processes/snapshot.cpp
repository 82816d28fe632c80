/// CreateToolhelp32Snapshot and its walk, from /proc.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "platform/posix/api/processes.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/object.h"
#include "platform/posix/kernel/process_ids.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/processes/parent_process.h"

using platform::Fail;
using platform::KernelScope;

namespace {

namespace fs = std::filesystem;

struct ProcessLine {
  DWORD id;
  DWORD parentId;
  std::u16string program;
};

/// The program's file name; the kernel's short name for it where the link cannot be read.
std::string ProgramName(const fs::path& folder, const std::string& shortName) {
  std::error_code error;
  const fs::path program = fs::read_symlink(folder / "exe", error);
  return error ? shortName : program.filename().string();
}

/// /proc/<id>/stat: id (name) state parent ... The name may hold anything, parentheses included.
/// Nothing when the process has gone.
std::optional<ProcessLine> ReadProcess(const fs::path& folder, DWORD id) {
  constexpr std::size_t kParent = 1;
  std::ifstream file(folder / "stat");
  // Unlike an iterator, << does not throw when the process goes before its open file is read.
  const std::string text = (std::ostringstream() << file.rdbuf()).str();
  const auto open = text.find('(');
  const auto close = text.rfind(')');
  if (open == text.npos || close == text.npos) return std::nullopt;
  std::istringstream words(text.substr(close + 1));
  const std::vector<std::string> fields{std::istream_iterator<std::string>(words), {}};
  if (fields.size() <= kParent) return std::nullopt;
  const std::string shortName = text.substr(open + 1, close - open - 1);
  const auto parentId = id == GetCurrentProcessId()
                            ? static_cast<DWORD>(platform::ParentId())
                            : static_cast<DWORD>(std::stoul(fields[kParent]));
  return ProcessLine{id, parentId, platform::ToUtf16(ProgramName(folder, shortName))};
}

std::vector<ProcessLine> ReadOtherProcesses() {
  std::vector<ProcessLine> lines;
  for (const DWORD id : platform::ProcessIds()) {
    if (id == GetCurrentProcessId()) continue;
    if (auto line = ReadProcess("/proc/" + std::to_string(id), id))
      lines.push_back(std::move(*line));
  }
  return lines;
}

/// The calling process comes first, and the others are read when somebody looks further: a process
/// that wants to know its parent at its start does not pay for all that run.
class Snapshot final : public platform::Object {
 public:
  void Rewind() { _next = 0; }
  const ProcessLine* Next() {
    if (_next == _lines.size() && !_isComplete) Complete();
    return _next < _lines.size() ? &_lines[_next++] : nullptr;
  }

 private:
  void Complete() {
    if (_lines.empty()) {
      if (auto self = ReadProcess("/proc/self", GetCurrentProcessId())) {
        _lines.push_back(std::move(*self));
        return;
      }
    }
    _isComplete = true;
    std::ranges::move(ReadOtherProcesses(), std::back_inserter(_lines));
  }

  std::vector<ProcessLine> _lines;
  std::size_t _next = 0;
  bool _isComplete = false;
};

DWORD WriteNext(Snapshot& snapshot, PROCESSENTRY32W& entry) {
  if (entry.dwSize < sizeof(PROCESSENTRY32W)) return ERROR_INSUFFICIENT_BUFFER;
  const ProcessLine* line = snapshot.Next();
  if (line == nullptr) return ERROR_NO_MORE_FILES;
  entry = {};
  entry.dwSize = sizeof(PROCESSENTRY32W);
  entry.th32ProcessID = line->id;
  entry.th32ParentProcessID = line->parentId;
  line->program.copy(entry.szExeFile, MAX_PATH - 1);
  return ERROR_SUCCESS;
}

BOOL Step(HANDLE snapshot, PROCESSENTRY32W& entry, bool isFirst) {
  KernelScope scope;
  const auto list = platform::Lookup<Snapshot>(snapshot);
  if (!list) return FALSE;
  if (isFirst) list->Rewind();
  const DWORD error = WriteNext(*list, entry);
  return error == ERROR_SUCCESS ? TRUE : Fail(error);
}

}  // namespace

HANDLE CreateToolhelp32Snapshot(DWORD flags, DWORD processId) {
  KernelScope scope;
  if (flags != TH32CS_SNAPPROCESS || processId != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  return platform::InsertHandle(std::make_shared<Snapshot>());
}

BOOL Process32FirstW(HANDLE snapshot, PROCESSENTRY32W* entry) {
  return Step(snapshot, *entry, true);
}

BOOL Process32NextW(HANDLE snapshot, PROCESSENTRY32W* entry) {
  return Step(snapshot, *entry, false);
}
