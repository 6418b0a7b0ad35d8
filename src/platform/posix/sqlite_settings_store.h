// The settings store on POSIX: one SQLite database file per scope.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/settings_store.h"

struct sqlite3;
struct sqlite3_stmt;

namespace lmk {

/// The database file of a scope. CurrentUser: settings.db in $LUMARKO_CONFIG_DIR, else in
/// $XDG_CONFIG_HOME/Lumarko, else in ~/.config/Lumarko. Machine: settings.db in
/// $LUMARKO_CONFIG_DIR/machine, else in /etc/xdg/Lumarko. E_FAIL when no home folder is known.
HRESULT SettingsDatabasePath(SettingsScope scope, std::filesystem::path* out);

/// The HRESULT for an SQLite result code (primary or extended): busy and locked give
/// ERROR_BUSY, damage ERROR_BADDB, open failures ERROR_CANTOPEN, refused writes E_ACCESSDENIED.
HRESULT HresultFromSqlite(int code);

/// A settings store kept in one SQLite database file, shared safely by threads and processes.
class SqliteSettingsStore final : public SettingsStore {
  struct PrivateTag {
    explicit PrivateTag() = default;
  };

 public:
  /// How the database journals its writes. Both survive a crash at any point. Wal lets readers
  /// and one writer run at the same time; Rollback lets users who may not write the folder
  /// still read the file (the machine-wide store).
  enum class Journal { Wal, Rollback };

  /// Opens the database file at `path`, creating it and its folder when missing, and checks
  /// that it is an undamaged database of this store. A file that fails the check is left
  /// exactly as it is: ERROR_BADDB, or ERROR_CANTOPEN when it cannot be read. Each call opens
  /// a connection of its own.
  static HRESULT OpenFile(const std::filesystem::path& path, Journal journal,
                          std::shared_ptr<SettingsStore>* out);

  /// Only OpenFile makes stores; the tag keeps the constructor usable by std::make_shared alone.
  SqliteSettingsStore(PrivateTag, std::filesystem::path path, sqlite3* db);
  ~SqliteSettingsStore() override;
  SqliteSettingsStore(const SqliteSettingsStore&) = delete;
  SqliteSettingsStore& operator=(const SqliteSettingsStore&) = delete;

  HRESULT CreateKey(std::wstring_view key) override;
  HRESULT KeyExists(std::wstring_view key) override;
  HRESULT GetValue(std::wstring_view key, std::wstring_view name, RegValue* out) override;
  HRESULT SetValue(std::wstring_view key, std::wstring_view name, const RegValue& value) override;
  HRESULT DeleteValue(std::wstring_view key, std::wstring_view name) override;
  HRESULT DeleteTree(std::wstring_view key) override;
  HRESULT EnumSubkeys(std::wstring_view key, std::vector<std::wstring>* out) override;
  HRESULT EnumValues(std::wstring_view key,
                     std::vector<std::pair<std::wstring, RegValue>>* out) override;
  HRESULT Update(std::wstring_view key, std::wstring_view name, const Updater& update) override;
  HRESULT Transact(const TransactionBody& body) override;

 private:
  class Query;
  struct StatementCloser {
    void operator()(sqlite3_stmt* statement) const;
  };
  struct ConnectionCloser {
    void operator()(sqlite3* db) const;
  };

  /// Makes a new, complete database file at `path` with the given mode; S_OK also when another
  /// process made it first.
  static HRESULT CreateFile(const std::filesystem::path& path, unsigned mode);
  void Prepare(Journal journal);
  void CreateSchema();
  sqlite3_stmt* Statement(const char* sql);
  void Exec(const std::string& sql);
  void RollbackQuietly();
  [[noreturn]] void Throw(int code) const;
  HRESULT Read(const std::function<HRESULT()>& body);
  HRESULT Write(const std::function<HRESULT()>& body);
  HRESULT FailFromCurrentException() const;

  bool KeyRowExists(const std::string& folded);
  enum class Access { kRead, kWrite };
  using KeyBody =
      std::function<HRESULT(const std::vector<std::wstring>& names, const std::string& folded)>;
  /// Checks the key's syntax, then runs body with its names and folded path under the lock, in
  /// one read or write transaction. What the body throws comes back as its HRESULT.
  HRESULT AtKey(std::wstring_view key, Access access, const KeyBody& body);
  /// Fills *out (emptied first, also when a busy store makes the read start again) with one
  /// make(query) per row that sql selects for the key (its folded path bound as ?1); NotFound
  /// when the key does not exist.
  template <class Row>
  HRESULT ReadKeyRows(std::wstring_view key, const char* sql, std::vector<Row>* out,
                      Row (*make)(Query&));
  std::string EnsureKeyPath(const std::vector<std::wstring>& names);
  bool LoadValue(const std::string& key, const std::string& fold, RegValue* out);
  void StoreValue(const std::string& key, std::wstring_view name, const RegValue& value);

  const std::filesystem::path path_;
  std::unique_ptr<sqlite3, ConnectionCloser> db_;
  // Declared after db_ so that the statements are finalised before the connection closes.
  std::map<std::string, std::unique_ptr<sqlite3_stmt, StatementCloser>> statements_;
  // Held for each call and for a whole transaction; recursive so that a transaction's body
  // (and an updater) can call the store on the same thread.
  std::recursive_mutex mutex_;
  int depth_ = 0;  // open transactions: 0 none, 1 the outer one, more for savepoints
};

}  // namespace lmk
