/// registry.db under the state root: keys and values in two tables of an SQLite database, shared by
/// every process that uses the root.
///
///   registry_keys(id, parent, folded, name)
///   registry_values(key, folded, name, type, data)
///
/// The four roots have the ids 1 to 4 and the parent 0; `type` is a REG_* number, `data` the raw
/// bytes.
///
/// Ids are never used again, so a handle to a deleted key finds nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/posix/api/base.h"
#include "platform/posix/registry/names.h"

struct sqlite3;

namespace platform {

using RegistryKeyId = std::int64_t;

struct RegistryValue {
  DWORD type;
  std::string data;
};

/// What every operation below throws: a system error code. ERROR_BADDB is a damaged or foreign
/// file, ERROR_REGISTRY_IO_FAILED anything between (a lock that others held for longer than the
/// patience lasted, too).
struct RegistryError {
  DWORD code;
};

/// How long operations wait for other processes' transactions, all of them together: a file that
/// another program keeps locked costs this time once, and not for each value.
struct RegistryPatience {
  static constexpr int kFullMs = 3000;
  int leftMs = kFullMs;
};

/// One connection. It is neither locked nor usable after a fork; see WithRegistry in registry.cpp.
class RegistryDatabase {
 public:
  /// Opens the database; the first use creates it, for its owner alone. `patience` outlives this
  /// object; who has it gives it back what was spent when an operation has succeeded.
  RegistryDatabase(const std::string& path, RegistryPatience& patience);
  ~RegistryDatabase();
  RegistryDatabase(const RegistryDatabase&) = delete;
  RegistryDatabase& operator=(const RegistryDatabase&) = delete;

  /// Whether this user may not change the file.
  bool IsReadOnly() const;

  bool KeyExists(RegistryKeyId key);
  std::optional<RegistryKeyId> FindKey(RegistryKeyId from, const std::vector<RegistryName>& path);
  /// Makes what is missing of the path; `created` tells whether the last key is new.
  RegistryKeyId CreateKey(RegistryKeyId from, const std::vector<RegistryName>& path, bool& created);
  /// Deletes a key and its values; ERROR_ACCESS_DENIED while it has subkeys.
  void DeleteKey(RegistryKeyId key);

  std::optional<RegistryValue> FindValue(RegistryKeyId key, const RegistryName& name);
  /// ERROR_KEY_DELETED when there is no such key. A value that is the same already is not written,
  /// so that setting it again costs no disk access.
  void SetValue(RegistryKeyId key, const RegistryName& name, const RegistryValue& value);
  /// False when there was none.
  bool DeleteValue(RegistryKeyId key, const RegistryName& name);

 private:
  std::optional<RegistryKeyId> FindSubKey(RegistryKeyId parent, const RegistryName& name);
  RegistryKeyId InsertKey(RegistryKeyId parent, const RegistryName& name);
  void ChooseJournal();
  void EnsureTables();
  std::int64_t LayoutVersion();

  sqlite3* _connection = nullptr;
};

}  // namespace platform
