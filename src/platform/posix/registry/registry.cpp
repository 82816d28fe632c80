#include "platform/posix/api/registry.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/notice.h"
#include "platform/posix/kernel/object.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/registry/database.h"

using platform::KernelScope;
using platform::RegistryDatabase;
using platform::RegistryError;
using platform::RegistryKeyId;
using platform::RegistryName;
using platform::RegistryValue;

namespace {

/// What stands behind a key's handle.
class OpenKey : public platform::Object {
 public:
  OpenKey(RegistryKeyId key, REGSAM access) : id(key), rights(access) {}

  const RegistryKeyId id;
  const REGSAM rights;
};

struct Root {
  HKEY handle;
  RegistryKeyId id;
};

const Root* FindRoot(HKEY handle) {
  static const Root roots[] = {
      {HKEY_CLASSES_ROOT, 1}, {HKEY_CURRENT_USER, 2}, {HKEY_LOCAL_MACHINE, 3}, {HKEY_USERS, 4}};
  const auto root = std::find_if(std::begin(roots), std::end(roots),
                                 [&](const Root& candidate) { return candidate.handle == handle; });
  return root == std::end(roots) ? nullptr : root;
}

/// The key behind a handle, the roots included; null for any other handle.
std::shared_ptr<OpenKey> LookupKey(HKEY handle) {
  if (const Root* root = FindRoot(handle)) {
    return std::make_shared<OpenKey>(root->id, KEY_ALL_ACCESS);
  }
  return std::dynamic_pointer_cast<OpenKey>(platform::LookupObject(handle));
}

/// The process's connection. It lives as long as the process: threads may still use it while the
/// process ends.
struct Registry {
  std::mutex lock;
  platform::RegistryPatience patience;
  std::unique_ptr<RegistryDatabase> database;
  bool hasWarned = false;
};

Registry& TheRegistry() {
  static auto* const registry = new Registry;
  return *registry;
}

std::string RegistryPath() { return platform::StateRootPath() + "/registry.db"; }

bool IsFileAtFault(DWORD error) {
  return error == ERROR_BADDB || error == ERROR_REGISTRY_IO_FAILED || error == ERROR_DISK_FULL;
}

/// Runs `work` on the process's connection, one thread at a time, and returns its result or the
/// error it threw. After damage the next call opens the file anew.
template <class Work>
LSTATUS WithRegistry(Work&& work) {
  Registry& registry = TheRegistry();
  std::lock_guard<std::mutex> guard(registry.lock);
  try {
    if (!registry.database) {
      registry.database = std::make_unique<RegistryDatabase>(RegistryPath(), registry.patience);
    }
    const auto result = static_cast<LSTATUS>(work(*registry.database));
    registry.patience = {};
    return result;
  } catch (const RegistryError& error) {
    if (error.code == ERROR_BADDB) registry.database.reset();
    if (IsFileAtFault(error.code) && !std::exchange(registry.hasWarned, true)) {
      platform::WriteNotice("the registry " + RegistryPath() + " cannot be used: error " +
                            std::to_string(error.code));
    }
    return static_cast<LSTATUS>(error.code);
  }
}

/// Checks the path of a subkey; a null one counts as empty, which is the key itself.
DWORD CheckSubKeyPath(std::u16string_view path) {
  if (path.starts_with(u'\\')) return ERROR_BAD_PATHNAME;
  while (!path.empty()) {
    const std::size_t end = std::min(path.find(u'\\'), path.size());
    if (end > platform::kMaximumKeyNameChars) return ERROR_INVALID_PARAMETER;
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return ERROR_SUCCESS;
}

std::u16string_view TextOf(LPCWSTR text) {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}

/// Why a lookup on this key found nothing.
DWORD ErrorOfMissing(RegistryDatabase& database, RegistryKeyId key) {
  return database.KeyExists(key) ? ERROR_FILE_NOT_FOUND : ERROR_KEY_DELETED;
}

/// A database that may not be changed gives no handle that could.
DWORD CheckWritable(const RegistryDatabase& database, REGSAM access) {
  constexpr REGSAM kChanges = KEY_WRITE & ~KEY_READ;
  return (access & kChanges) != 0 && database.IsReadOnly() ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

HKEY NewKeyHandle(RegistryKeyId key, REGSAM access) {
  return reinterpret_cast<HKEY>(platform::InsertHandle(std::make_shared<OpenKey>(key, access)));
}

DWORD OpenSubKey(RegistryDatabase& database, RegistryKeyId from, LPCWSTR subKey, REGSAM access,
                 PHKEY result) {
  if (const DWORD error = CheckWritable(database, access)) return error;
  const auto key = database.FindKey(from, platform::SplitKeyPath(TextOf(subKey)));
  if (!key || !database.KeyExists(*key)) return ErrorOfMissing(database, from);
  *result = NewKeyHandle(*key, access);
  return ERROR_SUCCESS;
}

/// Hands a value out as the callers' buffers allow.
DWORD CopyValue(const RegistryValue& value, LPDWORD type, LPBYTE data, LPDWORD dataSize) {
  if (type != nullptr) *type = value.type;
  if (dataSize == nullptr) return ERROR_SUCCESS;
  const DWORD room = *dataSize;
  *dataSize = static_cast<DWORD>(value.data.size());
  if (data == nullptr) return ERROR_SUCCESS;
  if (room < value.data.size()) return ERROR_MORE_DATA;
  std::memcpy(data, value.data.data(), value.data.size());
  return ERROR_SUCCESS;
}

}  // namespace

LSTATUS RegOpenKeyExW(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result) {
  KernelScope scope;
  if (options != 0 || result == nullptr) return ERROR_INVALID_PARAMETER;
  const auto parent = LookupKey(key);
  if (!parent) return ERROR_INVALID_HANDLE;
  if (const DWORD error = CheckSubKeyPath(TextOf(subKey))) return static_cast<LSTATUS>(error);
  return WithRegistry([&](RegistryDatabase& database) {
    return OpenSubKey(database, parent->id, subKey, access, result);
  });
}

LSTATUS RegCreateKeyExW(HKEY key, LPCWSTR subKey, DWORD reserved, LPWSTR className, DWORD options,
                        REGSAM access, const SECURITY_ATTRIBUTES*, PHKEY result,
                        LPDWORD disposition) {
  KernelScope scope;
  if (reserved != 0 || className != nullptr || options != REG_OPTION_NON_VOLATILE ||
      result == nullptr) {
    return ERROR_INVALID_PARAMETER;
  }
  if (subKey == nullptr) return ERROR_BADKEY;
  const auto parent = LookupKey(key);
  if (!parent) return ERROR_INVALID_HANDLE;
  if (const DWORD error = CheckSubKeyPath(subKey)) return static_cast<LSTATUS>(error);
  return WithRegistry([&](RegistryDatabase& database) {
    DWORD made = REG_OPENED_EXISTING_KEY;
    DWORD error = OpenSubKey(database, parent->id, subKey, access, result);
    if (error == ERROR_FILE_NOT_FOUND) {
      bool created = false;
      const auto id = database.CreateKey(parent->id, platform::SplitKeyPath(subKey), created);
      *result = NewKeyHandle(id, access);
      if (created) made = REG_CREATED_NEW_KEY;
      error = ERROR_SUCCESS;
    }
    if (error == ERROR_SUCCESS && disposition != nullptr) *disposition = made;
    return error;
  });
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR valueName, LPDWORD reserved, LPDWORD type, LPBYTE data,
                         LPDWORD dataSize) {
  KernelScope scope;
  if (reserved != nullptr || (data != nullptr && dataSize == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  const auto open = LookupKey(key);
  if (!open) return ERROR_INVALID_HANDLE;
  if ((open->rights & KEY_QUERY_VALUE) == 0) return ERROR_ACCESS_DENIED;
  return WithRegistry([&](RegistryDatabase& database) {
    const auto value = database.FindValue(open->id, RegistryName(TextOf(valueName)));
    return value ? CopyValue(*value, type, data, dataSize) : ErrorOfMissing(database, open->id);
  });
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR valueName, DWORD reserved, DWORD type, const BYTE* data,
                       DWORD dataSize) {
  KernelScope scope;
  if (reserved != 0) return ERROR_INVALID_PARAMETER;
  if (data == nullptr && dataSize > 0) return ERROR_NOACCESS;
  const auto open = LookupKey(key);
  if (!open) return ERROR_INVALID_HANDLE;
  if ((open->rights & KEY_SET_VALUE) == 0) return ERROR_ACCESS_DENIED;
  return WithRegistry([&](RegistryDatabase& database) {
    RegistryValue value{type, {}};
    if (dataSize > 0) value.data.assign(reinterpret_cast<const char*>(data), dataSize);
    database.SetValue(open->id, RegistryName(TextOf(valueName)), value);
    return ERROR_SUCCESS;
  });
}

LSTATUS RegDeleteValueW(HKEY key, LPCWSTR valueName) {
  KernelScope scope;
  const auto open = LookupKey(key);
  if (!open) return ERROR_INVALID_HANDLE;
  if ((open->rights & KEY_SET_VALUE) == 0) return ERROR_ACCESS_DENIED;
  return WithRegistry([&](RegistryDatabase& database) {
    const bool deleted = database.DeleteValue(open->id, RegistryName(TextOf(valueName)));
    return deleted ? ERROR_SUCCESS : ErrorOfMissing(database, open->id);
  });
}

LSTATUS RegDeleteKeyW(HKEY key, LPCWSTR subKey) {
  KernelScope scope;
  if (subKey == nullptr) return ERROR_INVALID_PARAMETER;
  const auto parent = LookupKey(key);
  if (!parent) return ERROR_INVALID_HANDLE;
  if (const DWORD error = CheckSubKeyPath(subKey)) return static_cast<LSTATUS>(error);
  const auto path = platform::SplitKeyPath(subKey);
  if (path.empty() && FindRoot(key) != nullptr) return ERROR_ACCESS_DENIED;
  return WithRegistry([&](RegistryDatabase& database) {
    const auto target = database.FindKey(parent->id, path);
    if (!target || !database.KeyExists(*target)) return ErrorOfMissing(database, parent->id);
    database.DeleteKey(*target);
    return ERROR_SUCCESS;
  });
}

LSTATUS RegCloseKey(HKEY key) {
  KernelScope scope;
  if (FindRoot(key) != nullptr) return ERROR_SUCCESS;
  if (!LookupKey(key)) return ERROR_INVALID_HANDLE;
  return platform::RemoveHandle(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}
