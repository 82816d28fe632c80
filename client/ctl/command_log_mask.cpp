#include <memory>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/log_mask.h"
#include "support/log_levels.h"
#include "support/scoped_key.h"

namespace Ctl {
namespace {

constexpr const WCHAR* kMaskKey = TEXT("Software\\Brennick\\Drivers\\DebugLogMasks");
constexpr const WCHAR* kMaskValue = TEXT("Brennick Tagwright.Native");

/// Throws Failure (kLocal) unless `status` is success.
void Check(LSTATUS status, const std::string& what) {
  if (status == ERROR_SUCCESS) return;
  throw Failure(
      ExitCode::kLocal,
      "cannot " + what + " the log mask in the registry (system error " + std::to_string(status) +
          (status == ERROR_ACCESS_DENIED ? "; it takes an administrator's rights)" : ")"));
}

/// False when there is no value of 4 bytes, in which case the program uses its default.
bool ReadMask(DWORD& mask) {
  ScopedKey key;
  const LSTATUS status =
      RegOpenKeyExW(HKEY_LOCAL_MACHINE, kMaskKey, 0, KEY_QUERY_VALUE, key.Receive());
  if (status == ERROR_FILE_NOT_FOUND) return false;
  Check(status, "open");
  DWORD size = sizeof(mask);
  return RegQueryValueExW(key.Get(), kMaskValue, nullptr, nullptr, reinterpret_cast<BYTE*>(&mask),
                          &size) == ERROR_SUCCESS &&
         size == sizeof(mask);
}

void WriteMask(DWORD mask) {
  ScopedKey key;
  Check(RegCreateKeyExW(HKEY_LOCAL_MACHINE, kMaskKey, 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_SET_VALUE, nullptr, key.Receive(), nullptr),
        "open");
  Check(RegSetValueExW(key.Get(), kMaskValue, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&mask),
                       sizeof(mask)),
        "write");
}

void ShowMask() {
  DWORD mask = 0;
  if (ReadMask(mask)) {
    PrintLine(DescribeLogMask(mask));
  } else {
    PrintLine(DescribeLogMask(LogLevel::kDefaultMask) + " (not set, this is the default)");
  }
}

void SetMask(const std::string& text) {
  const DWORD mask = ParseLogMask(text);
  WriteMask(mask);
  PrintLine(DescribeLogMask(mask));
}

}  // namespace

void AddLogMaskCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command = app.add_subcommand(
      "log-mask", "Show or set what is logged; a running process follows in 5 s");
  const auto mask = std::make_shared<std::string>();
  CLI::Option* const option = command->add_option(
      "MASK", *mask,
      "A number, or names with commas: errors, warnings, info, detail, detail-a to detail-p, file, "
      "debugger, default, all, none");
  command->callback([mask, option, &result] {
    if (option->count() == 0) {
      ShowMask();
    } else {
      SetMask(*mask);
    }
    result = ExitCode::kSuccess;
  });
}

}  // namespace Ctl
