#include "platform/posix/registry/database.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <chrono>
#include <string_view>
#include <thread>

#include "platform/posix/api/errors.h"
#include "platform/posix/kernel/file_modes.h"
#include "platform/posix/kernel/unique_fd.h"

namespace platform {

namespace {

/// Written to the file's user_version; a file with another one belongs to another program.
constexpr std::int64_t kLayoutVersion = 1;

constexpr const char* kCreateTables =
    "CREATE TABLE registry_keys(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL,"
    " folded TEXT NOT NULL, name TEXT NOT NULL, UNIQUE(parent, folded));"
    "CREATE TABLE registry_values(key INTEGER NOT NULL, folded TEXT NOT NULL, name TEXT NOT NULL,"
    " type INTEGER NOT NULL, data BLOB NOT NULL, PRIMARY KEY(key, folded)) WITHOUT ROWID;"
    "INSERT INTO registry_keys(id, parent, folded, name) VALUES"
    " (1, 0, 'HKEY_CLASSES_ROOT', 'HKEY_CLASSES_ROOT'),"
    " (2, 0, 'HKEY_CURRENT_USER', 'HKEY_CURRENT_USER'),"
    " (3, 0, 'HKEY_LOCAL_MACHINE', 'HKEY_LOCAL_MACHINE'),"
    " (4, 0, 'HKEY_USERS', 'HKEY_USERS');"
    "PRAGMA user_version = 1;";

DWORD ErrorFromSqlite(int result) {
  switch (result & 0xFF) {
    case SQLITE_NOMEM:
      return ERROR_OUTOFMEMORY;
    case SQLITE_FULL:
      return ERROR_DISK_FULL;
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
      return ERROR_ACCESS_DENIED;
    case SQLITE_ERROR:  // tables other than ours
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return ERROR_BADDB;
    default:
      return ERROR_REGISTRY_IO_FAILED;
  }
}

void Require(int result) {
  if (result != SQLITE_OK) throw RegistryError{ErrorFromSqlite(result)};
}

void Execute(sqlite3* connection, const char* sql) {
  Require(sqlite3_exec(connection, sql, nullptr, nullptr, nullptr));
}

/// One prepared statement; parameters are bound in order, and must outlive it.
class Statement {
 public:
  Statement(sqlite3* connection, std::string_view sql) {
    Require(sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()), &_statement,
                               nullptr));
  }
  ~Statement() { sqlite3_finalize(_statement); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  Statement& Bind(std::int64_t number) {
    Require(sqlite3_bind_int64(_statement, ++_bound, number));
    return *this;
  }
  Statement& Bind(const std::string& text) {
    Require(sqlite3_bind_text(_statement, ++_bound, text.data(), static_cast<int>(text.size()),
                              SQLITE_STATIC));
    return *this;
  }
  Statement& BindBytes(const std::string& bytes) {
    Require(sqlite3_bind_blob64(_statement, ++_bound, bytes.data(), bytes.size(), SQLITE_STATIC));
    return *this;
  }

  /// True while there is a row.
  bool Step() {
    const int result = sqlite3_step(_statement);
    if (result == SQLITE_ROW) return true;
    if (result != SQLITE_DONE) throw RegistryError{ErrorFromSqlite(result)};
    return false;
  }
  std::int64_t Number(int column) { return sqlite3_column_int64(_statement, column); }
  std::string Bytes(int column) {
    const void* bytes = sqlite3_column_blob(_statement, column);
    const int size = sqlite3_column_bytes(_statement, column);
    return size > 0 ? std::string(static_cast<const char*>(bytes), size) : std::string();
  }

 private:
  sqlite3_stmt* _statement = nullptr;
  int _bound = 0;
};

/// A write transaction, undone unless it was committed. It takes the write lock at once, so that
/// what it has read is still so when it writes.
class Transaction {
 public:
  explicit Transaction(sqlite3* connection) : _connection(connection) {
    Execute(_connection, "BEGIN IMMEDIATE");
  }
  ~Transaction() {
    if (!_committed) sqlite3_exec(_connection, "ROLLBACK", nullptr, nullptr, nullptr);
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void Commit() {
    Execute(_connection, "COMMIT");
    _committed = true;
  }

 private:
  sqlite3* _connection;
  bool _committed = false;
};

/// SQLite gives the files beside it the same mode. An existing file is not opened: closing it would
/// take the locks from a connection that this process has.
void CreatePrivately(const std::string& path) {
  if (const UniqueFd created{
          open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kPrivateFile)}) {
    return;
  }
  struct stat status {};
  if (stat(path.c_str(), &status) == 0 && (status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    chmod(path.c_str(), status.st_mode & S_IRWXU);
  }
}

/// What SQLite does while another process has the file locked; it tries again for anything but 0.
int WaitBriefly(void* patience, int) {
  constexpr std::chrono::milliseconds kPause(5);
  int& leftMs = static_cast<RegistryPatience*>(patience)->leftMs;
  if (leftMs <= 0) return 0;
  const auto start = std::chrono::steady_clock::now();
  std::this_thread::sleep_for(kPause);
  const auto slept = std::chrono::steady_clock::now() - start;
  leftMs -= static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(slept).count());
  return 1;
}

/// The connection until its owner is complete.
struct CloseConnection {
  sqlite3*& connection;
  bool armed = true;
  ~CloseConnection() {
    if (armed) sqlite3_close(connection);
  }
};

}  // namespace

RegistryDatabase::RegistryDatabase(const std::string& path, RegistryPatience& patience) {
  CreatePrivately(path);
  CloseConnection onFailure{_connection};
  Require(sqlite3_open_v2(path.c_str(), &_connection,
                          SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                          nullptr));
  Require(sqlite3_busy_handler(_connection, WaitBriefly, &patience));
  ChooseJournal();
  EnsureTables();
  onFailure.armed = false;
}

RegistryDatabase::~RegistryDatabase() { sqlite3_close(_connection); }

/// With the write-ahead log readers never wait for writers and a change waits for no disk; a power
/// failure costs the last changes at most. While others use the file the switch may fail, and then
/// their journal serves as well: a later opening switches.
void RegistryDatabase::ChooseJournal() {
  const int result =
      sqlite3_exec(_connection, "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL", nullptr,
                   nullptr, nullptr);
  if (ErrorFromSqlite(result) == ERROR_BADDB) throw RegistryError{ERROR_BADDB};
}

void RegistryDatabase::EnsureTables() {
  if (LayoutVersion() == kLayoutVersion) return;
  Transaction transaction(_connection);
  const std::int64_t version = LayoutVersion();  // another process may have been quicker
  if (version == kLayoutVersion) return;
  if (version != 0) throw RegistryError{ERROR_BADDB};
  Execute(_connection, kCreateTables);
  transaction.Commit();
}

std::int64_t RegistryDatabase::LayoutVersion() {
  Statement query(_connection, "PRAGMA user_version");
  return query.Step() ? query.Number(0) : 0;
}

bool RegistryDatabase::IsReadOnly() const { return sqlite3_db_readonly(_connection, "main") == 1; }

bool RegistryDatabase::KeyExists(RegistryKeyId key) {
  Statement query(_connection, "SELECT 1 FROM registry_keys WHERE id = ?");
  return query.Bind(key).Step();
}

std::optional<RegistryKeyId> RegistryDatabase::FindSubKey(RegistryKeyId parent,
                                                          const RegistryName& name) {
  Statement query(_connection, "SELECT id FROM registry_keys WHERE parent = ? AND folded = ?");
  if (!query.Bind(parent).Bind(name.folded).Step()) return std::nullopt;
  return query.Number(0);
}

std::optional<RegistryKeyId> RegistryDatabase::FindKey(RegistryKeyId from,
                                                       const std::vector<RegistryName>& path) {
  std::optional<RegistryKeyId> key = from;
  for (const RegistryName& name : path) {
    key = FindSubKey(*key, name);
    if (!key) return std::nullopt;
  }
  return key;
}

RegistryKeyId RegistryDatabase::InsertKey(RegistryKeyId parent, const RegistryName& name) {
  Statement insert(_connection, "INSERT INTO registry_keys(parent, folded, name) VALUES(?, ?, ?)");
  insert.Bind(parent).Bind(name.folded).Bind(name.spelling).Step();
  return sqlite3_last_insert_rowid(_connection);
}

RegistryKeyId RegistryDatabase::CreateKey(RegistryKeyId from, const std::vector<RegistryName>& path,
                                          bool& created) {
  Transaction transaction(_connection);
  if (!KeyExists(from)) throw RegistryError{ERROR_KEY_DELETED};
  RegistryKeyId key = from;
  for (const RegistryName& name : path) {
    const std::optional<RegistryKeyId> found = FindSubKey(key, name);
    created = !found;
    key = found ? *found : InsertKey(key, name);
  }
  transaction.Commit();
  return key;
}

void RegistryDatabase::DeleteKey(RegistryKeyId key) {
  Transaction transaction(_connection);
  Statement subKeys(_connection, "SELECT 1 FROM registry_keys WHERE parent = ?");
  if (subKeys.Bind(key).Step()) throw RegistryError{ERROR_ACCESS_DENIED};
  Statement(_connection, "DELETE FROM registry_values WHERE key = ?").Bind(key).Step();
  Statement(_connection, "DELETE FROM registry_keys WHERE id = ?").Bind(key).Step();
  transaction.Commit();
}

std::optional<RegistryValue> RegistryDatabase::FindValue(RegistryKeyId key,
                                                         const RegistryName& name) {
  Statement query(_connection,
                  "SELECT type, data FROM registry_values WHERE key = ? AND folded = ?");
  if (!query.Bind(key).Bind(name.folded).Step()) return std::nullopt;
  return RegistryValue{static_cast<DWORD>(query.Number(0)), query.Bytes(1)};
}

void RegistryDatabase::SetValue(RegistryKeyId key, const RegistryName& name,
                                const RegistryValue& value) {
  const std::optional<RegistryValue> present = FindValue(key, name);
  if (present && present->type == value.type && present->data == value.data) return;
  Transaction transaction(_connection);
  if (!KeyExists(key)) throw RegistryError{ERROR_KEY_DELETED};
  Statement write(_connection,
                  "INSERT INTO registry_values(key, folded, name, type, data) VALUES(?, ?, ?, ?, ?)"
                  " ON CONFLICT DO UPDATE SET type = excluded.type, data = excluded.data");
  write.Bind(key)
      .Bind(name.folded)
      .Bind(name.spelling)
      .Bind(value.type)
      .BindBytes(value.data)
      .Step();
  transaction.Commit();
}

bool RegistryDatabase::DeleteValue(RegistryKeyId key, const RegistryName& name) {
  Statement remove(_connection, "DELETE FROM registry_values WHERE key = ? AND folded = ?");
  remove.Bind(key).Bind(name.folded).Step();
  return sqlite3_changes(_connection) > 0;
}

}  // namespace platform
