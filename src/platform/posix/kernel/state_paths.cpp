#include "platform/posix/kernel/state_paths.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/file_modes.h"
#include "platform/posix/kernel/notice.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/kernel/unique_fd.h"

namespace platform {
namespace {

constexpr std::string_view kSystemDrive = "drive_c";
constexpr mode_t kSharedMode = 0711;
constexpr mode_t kWrittenByOthers = S_IWGRP | S_IWOTH;

std::string FromEnvironment(const char* variable) {
  const char* value = std::getenv(variable);
  return value == nullptr ? std::string() : value;
}

std::string NameOfStateRoot() {
  if (auto root = FromEnvironment("TAGWRIGHT_ROOT"); !root.empty()) return root;
  if (auto state = FromEnvironment("XDG_STATE_HOME"); !state.empty()) return state + "/tagwright";
  return FromEnvironment("HOME") + "/.local/state/tagwright";
}

/// A relative name stays as it is in a current folder that has been deleted.
std::string ChooseStateRoot() {
  const std::filesystem::path name = NameOfStateRoot();
  std::error_code error;
  const auto absolute = std::filesystem::absolute(name, error);
  std::string root = (error ? name : absolute).lexically_normal().string();
  while (root.size() > 1 && root.back() == '/') root.pop_back();
  return root;
}

/// The root before anybody has looked at whose it is.
const std::string& UncheckedStateRoot() {
  static const auto* const root = new std::string(ChooseStateRoot());
  return *root;
}

/// Creates what is missing of the path; the new folders have the mode, whatever the umask is.
void CreateFolders(const std::string& path, mode_t mode) {
  for (const std::string& folder : FoldersTo(path)) {
    if (mkdir(folder.c_str(), mode) == 0) chmod(folder.c_str(), mode);
  }
}

/// Why the root cannot be used; empty when it can.
std::string ObjectionTo(const std::string& root) {
  const UniqueFd folder(open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  struct stat status {};
  if (!folder || fstat(folder.Get(), &status) != 0) return std::strerror(errno);
  if (status.st_uid != geteuid()) return "it belongs to another user";
  if ((status.st_mode & kWrittenByOthers) != 0) return "other users may write to it";
  return {};
}

std::string PrepareStateRoot() {
  const std::string& root = UncheckedStateRoot();
  // Others pass through it on their way to the shared folders.
  CreateFolders(root, kSharedMode);
  const std::string objection = ObjectionTo(root);
  if (objection.empty()) return root;
  WriteNotice("the state root " + root + " cannot be used: " + objection);
  _exit(EX_CONFIG);
}

const std::string& SystemDrive() {
  static const auto* const folder = new std::string(StateFolder(std::string(kSystemDrive)));
  return *folder;
}

/// What stands for a byte of a native name that a Windows path cannot hold.
constexpr char16_t kPrivateUse = 0xF000;

bool StandsForByte(char16_t unit) {
  return unit == kPrivateUse + u'\\' || (unit >= kPrivateUse + 0x80 && unit <= kPrivateUse + 0xFF);
}

void AppendAsBytes(std::u16string& text, std::string_view bytes) {
  for (const char byte : bytes) {
    text += static_cast<char16_t>(kPrivateUse + static_cast<unsigned char>(byte));
  }
}

/// Valid UTF-8 in the form of a Windows path.
void AppendName(std::u16string& text, std::string_view valid) {
  for (const char16_t unit : ToUtf16(valid)) {
    if (unit == u'/') {
      text += u'\\';
    } else if (unit == u'\\') {
      AppendAsBytes(text, "\\");
    } else if (StandsForByte(unit)) {
      AppendAsBytes(text, ToUtf8(std::u16string_view(&unit, 1)));
    } else {
      text += unit;
    }
  }
}

std::u16string WithBackslashes(std::string_view path) {
  std::u16string text;
  while (!path.empty()) {
    const std::size_t valid = Unicode::ValidPrefix(path);
    AppendName(text, path.substr(0, valid));
    AppendAsBytes(text, path.substr(valid, 1));
    path.remove_prefix(std::min(valid + 1, path.size()));
  }
  return text;
}

bool IsAscii(char16_t unit) { return unit < 0x80; }

std::string WithSlashes(std::u16string_view path) {
  std::string bytes;
  bytes.reserve(path.size());
  while (!path.empty()) {
    const char16_t first = path.front();
    std::size_t taken = 1;
    if (IsAscii(first)) {
      bytes += first == u'\\' ? '/' : static_cast<char>(first);
    } else if (StandsForByte(first)) {
      bytes += static_cast<char>(first & 0xFF);
    } else {
      const auto* const end = std::ranges::find_if(
          path, [](char16_t unit) { return IsAscii(unit) || StandsForByte(unit); });
      taken = static_cast<std::size_t>(end - path.begin());
      bytes += ToUtf8(path.substr(0, taken));
    }
    path.remove_prefix(taken);
  }
  return bytes;
}

/// Whether an absolute path is its own normal form: almost every path is, and the library takes far
/// longer to find that out.
bool IsNormal(std::string_view path) {
  for (std::size_t start = 1; start < path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    const std::string_view name = path.substr(start, end - start);
    if (name.empty() || name == "." || name == "..") return false;
    start = end + 1;
  }
  return path.starts_with('/');
}

/// "." and ".." resolved by name alone, as for every Windows path; they do not lead above the root.
std::string FromRoot(std::string_view path) {
  if (IsNormal(path)) return std::string(path);
  const auto normal = std::filesystem::path("/").concat(path).lexically_normal().string();
  const auto start = normal.find_first_not_of('/');
  return start == std::string::npos ? "/" : "/" + normal.substr(start);
}

bool IsLetter(char c, char letter) { return (c | 0x20) == letter; }

std::string OnSystemDrive(std::string_view path) {
  const std::string onDrive = FromRoot(path);
  return SystemDrive() + (onDrive == "/" ? "" : onDrive);
}

DWORD OnDrive(char drive, std::string_view path, std::string& nativePath) {
  if (!path.starts_with('/')) return ERROR_BAD_PATHNAME;  // Drives have no current folder.
  if (!IsLetter(drive, 'c') && !IsLetter(drive, 'z')) return ERROR_PATH_NOT_FOUND;
  nativePath = IsLetter(drive, 'c') ? OnSystemDrive(path) : FromRoot(path);
  return 0;
}

}  // namespace

const std::string& StateRootPath() {
  static const auto* const root = new std::string(PrepareStateRoot());
  return *root;
}

std::vector<std::string> FoldersTo(const std::string& path) {
  std::vector<std::string> folders;
  std::filesystem::path folder;
  for (const auto& name : std::filesystem::path(path)) folders.push_back(folder /= name);
  return folders;
}

std::string StateFolder(const std::string& name) {
  std::string folder = StateRootPath() + '/' + name;
  CreateFolders(folder, kPrivateFolder);
  return folder;
}

std::string SharedStatePath(const std::string& name) { return UncheckedStateRoot() + '/' + name; }

void MakeSharedStateFolder(const std::string& name) {
  const std::string folder = SharedStatePath(name);
  CreateFolders(folder, kSharedMode);
  struct stat status {};
  if (stat(folder.c_str(), &status) == 0 && (status.st_mode & ALLPERMS) != kSharedMode) {
    chmod(folder.c_str(), kSharedMode);
  }
}

DWORD NativePathOf(LPCWSTR windowsPath, std::string& nativePath) {
  constexpr std::string_view kVerbatimPrefix = "//?/";
  const std::string whole = WithSlashes(windowsPath == nullptr ? u"" : windowsPath);
  std::string_view path = whole;
  if (path.starts_with(kVerbatimPrefix)) path.remove_prefix(kVerbatimPrefix.size());
  if (path.empty() || path.starts_with("//")) return ERROR_PATH_NOT_FOUND;
  if (path.size() > 1 && path[1] == ':') return OnDrive(path[0], path.substr(2), nativePath);
  nativePath = path.starts_with('/') ? FromRoot(path) : std::string(path);
  return 0;
}

std::u16string ToWindowsPath(std::string_view nativePath) {
  const std::string systemDrive = UncheckedStateRoot() + '/' + std::string(kSystemDrive);
  const bool isOnSystemDrive =
      nativePath.starts_with(systemDrive) &&
      (nativePath.size() == systemDrive.size() || nativePath[systemDrive.size()] == '/');
  const std::string_view path =
      isOnSystemDrive ? nativePath.substr(systemDrive.size()) : nativePath;
  return (isOnSystemDrive ? u"C:" : u"Z:") + WithBackslashes(path.empty() ? "/" : path);
}

}  // namespace platform
