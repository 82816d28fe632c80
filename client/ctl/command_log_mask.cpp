#include <memory>

#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/log_mask.h"
#include "client/ctl/log_source_option.h"
#include "client/ctl/system_error.h"
#include "client/log/log_file_reader.h"
#include "platform/native_path.h"
#include "support/log_levels.h"
#include "support/scoped_handle.h"

namespace Ctl {
namespace {

Tagwright::WideString MaskKey() { return Tagwright::ToWide(LogLevel::kMaskKey); }

/// Whose mask is set when nobody says another.
constexpr std::string_view kDefaultSource = "native";

struct MaskOptions {
  std::string source;
  std::vector<std::string> words;
};

/// Throws Failure (kLocal) unless `status` is success.
void Check(LSTATUS status, const std::string& what) {
  if (status == ERROR_SUCCESS) return;
  throw Failure(
      ExitCode::kLocal,
      "cannot " + what + " the log mask in the registry (" +
          SystemErrorText(static_cast<DWORD>(status)) +
          (status == ERROR_ACCESS_DENIED ? "; it takes an administrator's rights)" : ")"));
}

/// False when there is no value of 4 bytes, in which case the program uses its default.
bool ReadMask(const std::string& source, DWORD& mask) {
  ScopedKey key;
  const LSTATUS status =
      RegOpenKeyExW(HKEY_LOCAL_MACHINE, MaskKey().c_str(), 0, KEY_QUERY_VALUE, key.Receive());
  if (status == ERROR_FILE_NOT_FOUND) return false;
  Check(status, "open");
  DWORD size = sizeof(mask);
  return RegQueryValueExW(key.Get(), Tagwright::ToWide(source).c_str(), nullptr, nullptr,
                          reinterpret_cast<BYTE*>(&mask), &size) == ERROR_SUCCESS &&
         size == sizeof(mask);
}

void WriteMask(const std::string& source, DWORD mask) {
  ScopedKey key;
  Check(RegCreateKeyExW(HKEY_LOCAL_MACHINE, MaskKey().c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_SET_VALUE, nullptr, key.Receive(), nullptr),
        "open");
  Check(RegSetValueExW(key.Get(), Tagwright::ToWide(source).c_str(), 0, REG_DWORD,
                       reinterpret_cast<const BYTE*>(&mask), sizeof(mask)),
        "write");
}

/// "; its file is /.../Brennick_Tagwright.Native.txt, 4711 bytes".
std::string DescribeFile(const std::string& source) {
  const Tagwright::WideString path = Tagwright::LogFilePath(source);
  const ScopedHandle file(CreateFileW(path.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
  LARGE_INTEGER size = {};
  const bool exists = file.IsValid() && GetFileSizeEx(file.Get(), &size);
  return platform::NativePath(path) + ", " +
         (exists ? std::to_string(size.QuadPart) + " bytes" : "not there yet");
}

void ShowMask(const std::string& source) {
  DWORD mask = 0;
  const bool isSet = ReadMask(source, mask);
  PrintLine(Tagwright::LogSourceWord(source) + ": " +
            DescribeLogMask(isSet ? mask : LogLevel::kDefaultMask) +
            (isSet ? "" : " (not set, this is the default)") + "\n  file " + DescribeFile(source));
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ",") + word;
  return text;
}

void ShowOrSetMask(const MaskOptions& options) {
  if (options.words.empty() && options.source.empty()) return ShowLogMasks();
  const std::string source =
      LogSourceNamed(options.source.empty() ? std::string(kDefaultSource) : options.source);
  if (!options.words.empty()) WriteMask(source, ParseLogMask(Joined(options.words)));
  ShowMask(source);
}

}  // namespace

void ShowLogMasks() {
  for (const Tagwright::LogSource& source : Tagwright::LogSources()) {
    DWORD mask = 0;
    const std::string name(source.name);
    if (source.word == kDefaultSource || ReadMask(name, mask)) ShowMask(name);
  }
}

void AddLogMaskCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command = app.add_subcommand(
      "log-mask", "Show or set what is logged; a running process follows in 5 s");
  const auto options = std::make_shared<MaskOptions>();
  command->add_option("--source", options->source,
                      "Whose mask: native (the default when setting), managed, simulator");
  command->add_option(
      "MASK", options->words,
      "A number, or names with commas or blanks between them: errors, warnings, info, detail, "
      "detail-a to detail-p, file, debugger, default, all, off");
  command->callback([options, &result] {
    ShowOrSetMask(*options);
    result = ExitCode::kSuccess;
  });
}

}  // namespace Ctl
