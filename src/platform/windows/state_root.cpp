#include "platform/state_root.h"

#include <vector>

namespace platform {
namespace {

std::basic_string<WCHAR> FromEnvironment() {
  const DWORD size = GetEnvironmentVariableW(TEXT("TAGWRIGHT_ROOT"), nullptr, 0);
  if (size == 0) return {};
  std::vector<WCHAR> value(size);
  const DWORD length = GetEnvironmentVariableW(TEXT("TAGWRIGHT_ROOT"), value.data(), size);
  return {value.data(), length};
}

std::basic_string<WCHAR> UnderCommonAppData() {
  WCHAR folder[MAX_PATH] = {};
  SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA | CSIDL_FLAG_CREATE, nullptr, 0, folder);
  return folder + std::basic_string<WCHAR>(TEXT("\\Tagwright"));
}

std::basic_string<WCHAR> Choose() {
  std::basic_string<WCHAR> root = FromEnvironment();
  if (root.empty()) root = UnderCommonAppData();
  while (!root.empty() && (root.back() == TEXT('\\') || root.back() == TEXT('/'))) root.pop_back();
  return root;
}

}  // namespace

std::basic_string<WCHAR> StateRoot() {
  const std::basic_string<WCHAR> root = Choose();
  CreateDirectoryW(root.c_str(), nullptr);
  return root;
}

}  // namespace platform
