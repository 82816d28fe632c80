#include "platform/posix/kernel/state_paths.h"

#include <cstdlib>
#include <filesystem>
#include <vector>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/text.h"

namespace platform {
namespace {

constexpr std::string_view kSystemDrive = "drive_c";

std::string FromEnvironment(const char* variable) {
  const char* value = std::getenv(variable);
  return value == nullptr ? std::string() : value;
}

std::string ChooseStateRoot() {
  if (auto root = FromEnvironment("TAGWRIGHT_ROOT"); !root.empty()) return root;
  if (auto state = FromEnvironment("XDG_STATE_HOME"); !state.empty()) return state + "/tagwright";
  return FromEnvironment("HOME") + "/.local/state/tagwright";
}

void CreateFolder(const std::string& path) {
  std::error_code ignored;  // Whoever uses the folder reports that it is missing.
  std::filesystem::create_directories(path, ignored);
}

std::string PrepareStateRoot() {
  std::string root = std::filesystem::absolute(ChooseStateRoot()).lexically_normal().string();
  while (root.size() > 1 && root.back() == '/') root.pop_back();
  CreateFolder(root);
  return root;
}

std::string WithSlashes(std::string path) {
  for (char& c : path) {
    if (c == '\\') c = '/';
  }
  return path;
}

/// "." and ".." resolved by name alone, as for every Windows path; they do not lead above the root.
std::string FromRoot(std::string_view path) {
  const auto normal = std::filesystem::path("/").concat(path).lexically_normal().string();
  const auto start = normal.find_first_not_of('/');
  return start == std::string::npos ? "/" : "/" + normal.substr(start);
}

bool IsLetter(char c, char letter) { return (c | 0x20) == letter; }

std::string OnSystemDrive(std::string_view path) {
  const std::string onDrive = FromRoot(path);
  return StateFolder(std::string(kSystemDrive)) + (onDrive == "/" ? "" : onDrive);
}

bool OnDrive(char drive, std::string_view path, std::string& nativePath) {
  if (!path.starts_with('/')) return Fail(ERROR_BAD_PATHNAME);  // Drives have no current folder.
  if (!IsLetter(drive, 'c') && !IsLetter(drive, 'z')) return Fail(ERROR_PATH_NOT_FOUND);
  nativePath = IsLetter(drive, 'c') ? OnSystemDrive(path) : FromRoot(path);
  return true;
}

}  // namespace

const std::string& StateRootPath() {
  static const auto* const root = new std::string(PrepareStateRoot());
  return *root;
}

std::string StateFolder(const std::string& name) {
  std::string folder = StateRootPath() + '/' + name;
  CreateFolder(folder);
  return folder;
}

bool ToNativePath(LPCWSTR windowsPath, std::string& nativePath) {
  constexpr std::string_view kVerbatimPrefix = "//?/";
  const std::string whole = WithSlashes(ToUtf8(windowsPath));
  std::string_view path = whole;
  if (path.starts_with(kVerbatimPrefix)) path.remove_prefix(kVerbatimPrefix.size());
  if (path.empty() || path.starts_with("//")) return Fail(ERROR_PATH_NOT_FOUND);
  if (path.size() > 1 && path[1] == ':') return OnDrive(path[0], path.substr(2), nativePath);
  nativePath = path.starts_with('/') ? FromRoot(path) : std::string(path);
  return true;
}

std::u16string ToWindowsPath(std::string_view nativePath) {
  const std::string systemDrive = StateRootPath() + '/' + std::string(kSystemDrive);
  const bool isOnSystemDrive =
      nativePath.starts_with(systemDrive) &&
      (nativePath.size() == systemDrive.size() || nativePath[systemDrive.size()] == '/');
  std::string path(isOnSystemDrive ? nativePath.substr(systemDrive.size()) : nativePath);
  if (path.empty()) path = "/";
  for (char& c : path) {
    if (c == '/') c = '\\';
  }
  return ToUtf16((isOnSystemDrive ? "C:" : "Z:") + path);
}

}  // namespace platform
