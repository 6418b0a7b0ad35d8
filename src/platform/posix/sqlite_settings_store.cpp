// The settings store on POSIX, kept in an SQLite database (only generic POSIX code here).
#include "platform/posix/sqlite_settings_store.h"

#include <fcntl.h>
#include <pwd.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <random>
#include <system_error>
#include <thread>
#include <unordered_map>

#include "com/com_error.h"
#include "platform/text_encoding.h"

namespace lmk {
namespace {

// "LMKS" in the database header tells our files from other programs' databases.
constexpr int32_t kApplicationId = 0x4C4D4B53;
constexpr int32_t kSchemaVersion = 1;

// SQLite's own wait for a lock is kept short; around it we retry until BusyLimit() so that a
// busy answer returned without waiting (WAL recovery, a checkpoint) is waited out as well.
constexpr int kBusyTimeoutMs = 100;
// How long a store that another program holds is waited for before the call fails. Long
// enough for another program's ordinary writes; LUMARKO_SETTINGS_WAIT (seconds) changes it.
constexpr std::chrono::milliseconds kDefaultBusyLimit{10000};
constexpr double kMaxBusyLimitSeconds = 3600;

std::chrono::milliseconds BusyLimit() {
  const char* text = std::getenv("LUMARKO_SETTINGS_WAIT");
  if (text == nullptr || *text == '\0') return kDefaultBusyLimit;
  char* end = nullptr;
  const double seconds = std::strtod(text, &end);
  if (end == text || *end != '\0' || !(seconds >= 0) || seconds > kMaxBusyLimitSeconds) {
    return kDefaultBusyLimit;
  }
  return std::chrono::milliseconds(static_cast<int64_t>(seconds * 1000));
}

// "10 s", "2.5 s": the wait as the user set it.
std::string BusyLimitText() {
  const auto limit = BusyLimit();
  std::string text = std::to_string(limit.count() / 1000);
  if (const auto rest = limit.count() % 1000; rest != 0) {
    std::string fraction = std::to_string(1000 + rest).substr(1);
    while (fraction.back() == '0') fraction.pop_back();
    text += "." + fraction;
  }
  return text + " s";
}

// The registry's own limit for value names.
constexpr size_t kMaxValueNameLength = 16383;

// Keys are rows keyed by their folded path (folded names joined by a backslash), with the
// folded path of the parent for enumeration and the last name as first written. Values are
// keyed by the folded path of their key and their folded name. Text is stored as TEXT, numbers
// as INTEGER and everything else as BLOB, so that the file stays readable with sqlite3.
constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS keys ("
    "  path TEXT PRIMARY KEY,"
    "  parent TEXT NOT NULL,"
    "  name TEXT NOT NULL) WITHOUT ROWID;"
    "CREATE INDEX IF NOT EXISTS keys_by_parent ON keys(parent, path);"
    "CREATE TABLE IF NOT EXISTS vals ("
    "  key TEXT NOT NULL,"
    "  fold TEXT NOT NULL,"
    "  name TEXT NOT NULL,"
    "  type INTEGER NOT NULL,"
    "  data,"
    "  PRIMARY KEY (key, fold)) WITHOUT ROWID;";

// A failure inside the store: an SQLite result code, its message and, for file errors, errno.
struct SqliteFailure : std::exception {
  SqliteFailure(int code, std::string message, int systemError = 0)
      : code(code), message(std::move(message)), systemError(systemError) {}
  const char* what() const noexcept override { return message.c_str(); }
  int code;
  std::string message;
  int systemError;
};

bool IsBusy(int code) {
  const int primary = code & 0xFF;
  return primary == SQLITE_BUSY || primary == SQLITE_LOCKED;
}

// Retries `fn` while it fails with a busy answer, with a short growing pause, until BusyLimit().
template <class F>
void RetryWhileBusy(F&& fn) {
  const auto deadline = std::chrono::steady_clock::now() + BusyLimit();
  thread_local std::minstd_rand jitter(std::random_device{}());
  for (int attempt = 0;; ++attempt) {
    try {
      fn();
      return;
    } catch (const SqliteFailure& failure) {
      if (!IsBusy(failure.code) || std::chrono::steady_clock::now() >= deadline) throw;
    }
    const int ceiling = std::min(1 << std::min(attempt, 6), 50);
    std::this_thread::sleep_for(std::chrono::milliseconds(1 + jitter() % ceiling));
  }
}

struct SqliteHresult {
  int code;
  HRESULT hr;
};

// Primary result codes; extended codes are looked up first, then their primary code.
constexpr SqliteHresult kSqliteHresults[] = {
    {SQLITE_OK, S_OK},
    {SQLITE_ROW, S_OK},
    {SQLITE_DONE, S_OK},
    {SQLITE_BUSY, HRESULT_FROM_WIN32(ERROR_BUSY)},
    {SQLITE_LOCKED, HRESULT_FROM_WIN32(ERROR_BUSY)},
    {SQLITE_NOMEM, E_OUTOFMEMORY},
    {SQLITE_READONLY, E_ACCESSDENIED},
    {SQLITE_PERM, E_ACCESSDENIED},
    {SQLITE_AUTH, E_ACCESSDENIED},
    {SQLITE_INTERRUPT, E_ABORT},
    {SQLITE_IOERR_READ, HRESULT_FROM_WIN32(ERROR_CANTREAD)},
    {SQLITE_IOERR_SHORT_READ, HRESULT_FROM_WIN32(ERROR_CANTREAD)},
    {SQLITE_IOERR, HRESULT_FROM_WIN32(ERROR_CANTWRITE)},
    {SQLITE_CORRUPT, HRESULT_FROM_WIN32(ERROR_BADDB)},
    {SQLITE_NOTADB, HRESULT_FROM_WIN32(ERROR_BADDB)},
    {SQLITE_FULL, HRESULT_FROM_WIN32(ERROR_DISK_FULL)},
    {SQLITE_CANTOPEN, HRESULT_FROM_WIN32(ERROR_CANTOPEN)},
    {SQLITE_TOOBIG, E_INVALIDARG},
    {SQLITE_FORMAT, HRESULT_FROM_WIN32(ERROR_BADDB)},
};

HRESULT HresultFromErrno(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
      return E_ACCESSDENIED;
    case ENOSPC:
      return HRESULT_FROM_WIN32(ERROR_DISK_FULL);
    case ENOENT:
    case ENOTDIR:
      return HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
    default:
      return HRESULT_FROM_WIN32(ERROR_CANTOPEN);
  }
}

HRESULT Describe(HRESULT hr, const std::string& text) {
  SetErrorDescription(FromUtf8(text));
  return hr;
}

std::string SystemMessage(int error) { return std::generic_category().message(error); }

// What stops the database at `path` from being written, as far as can be seen from outside:
// SQLite's own answer ("unable to open database file") does not say.
std::string WriteRefusal(const std::filesystem::path& path) {
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) {
    return " is a folder, not a database file; move the folder aside";
  }
  const std::filesystem::path folder = path.parent_path();
  struct statvfs volume {};
  if (::statvfs(folder.c_str(), &volume) == 0 && (volume.f_flag & ST_RDONLY) != 0) {
    return " is on a read-only file system; remount it read-write, or point LUMARKO_CONFIG_DIR "
           "at a folder that can be written";
  }
  if (::access(path.c_str(), F_OK) == 0 && ::access(path.c_str(), W_OK) != 0) {
    return " is read-only; make it writable again (chmod u+w " + path.string() + ")";
  }
  if (::access(folder.c_str(), W_OK) != 0) {
    return " is in a folder that cannot be written; give the folder write permission (the "
           "database keeps its journal beside it)";
  }
  return {};
}

// What to tell the user about a failure of the database at `path`.
std::string FailureText(const std::filesystem::path& path, const SqliteFailure& failure) {
  std::string detail = failure.message;
  if (failure.systemError != 0) detail += ": " + SystemMessage(failure.systemError);
  const std::string head = "settings database " + path.string();
  switch (failure.code & 0xFF) {
    case SQLITE_CANTOPEN:
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_IOERR:
      if (const std::string refusal = WriteRefusal(path); !refusal.empty()) {
        const size_t advice = refusal.find(';');
        return head + refusal.substr(0, advice) + " (" + detail + ")" + refusal.substr(advice);
      }
      break;
    default:
      break;
  }
  switch (failure.code & 0xFF) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
      return head + " is damaged (" + detail + "); move it aside to start afresh";
    case SQLITE_FORMAT:
      return head + " is not one this program can use (" + detail +
             "); move it aside to start afresh";
    case SQLITE_CANTOPEN:
      return head + " cannot be opened (" + detail +
             "); check that the file and its folder can be read and written";
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return head + " cannot be written (" + detail +
             "); check the permissions of the file and its folder";
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return head + " is busy: another program has held it for " + BusyLimitText() + " (" + detail +
             "); try again when that program has finished with it (LUMARKO_SETTINGS_WAIT sets "
             "how many seconds to wait)";
    case SQLITE_FULL:
      return head + " cannot grow (" + detail + "); free some disk space";
    case SQLITE_IOERR:
      return head + " could not be read or written (" + detail + "); check the disk";
    default:
      return head + ": " + detail;
  }
}

HRESULT CheckValue(std::wstring_view name, const RegValue& value) {
  if (name.size() > kMaxValueNameLength || name.find(L'\0') != std::wstring_view::npos) {
    return E_INVALIDARG;
  }
  if (value.type == RegType::Dword && value.number > 0xFFFFFFFFu) return E_INVALIDARG;
  return S_OK;
}

// The folded path of the first `count` names.
std::string FoldedPath(const std::vector<std::wstring>& names, size_t count) {
  std::wstring path;
  for (size_t i = 0; i < count; ++i) {
    if (i > 0) path += L'\\';
    path += FoldSettingsName(names[i]);
  }
  return ToUtf8(path);
}

HRESULT NotFound() { return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND); }

// One open store per database file and process; the process id keeps a child made by fork
// from using its parent's connection.
std::mutex g_openStoresMutex;
std::unordered_map<std::string, std::weak_ptr<SettingsStore>> g_openStores;

}  // namespace

HRESULT HresultFromSqlite(int code) {
  for (const auto& entry : kSqliteHresults) {
    if (entry.code == code) return entry.hr;
  }
  for (const auto& entry : kSqliteHresults) {
    if (entry.code == (code & 0xFF)) return entry.hr;
  }
  return E_FAIL;
}

HRESULT SettingsDatabasePath(SettingsScope scope, std::filesystem::path* out) {
  if (out == nullptr) return E_INVALIDARG;
  const char* base = std::getenv("LUMARKO_CONFIG_DIR");
  if (base != nullptr && *base != '\0') {
    // Absolute, so that messages name the file fully and a change of folder cannot move it.
    std::filesystem::path folder = std::filesystem::absolute(base);
    if (scope == SettingsScope::Machine) folder /= "machine";
    *out = folder / "settings.db";
    return S_OK;
  }
  if (scope == SettingsScope::Machine) {
    *out = "/etc/xdg/Lumarko/settings.db";
    return S_OK;
  }
  // A relative XDG_CONFIG_HOME is invalid and must be ignored.
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  if (xdg != nullptr && xdg[0] == '/') {
    *out = std::filesystem::path(xdg) / "Lumarko" / "settings.db";
    return S_OK;
  }
  std::string home;
  if (const char* env = std::getenv("HOME"); env != nullptr && *env != '\0') {
    home = env;
  } else {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_dir != nullptr) {
      home = found->pw_dir;
    }
  }
  if (home.empty()) {
    return Describe(E_FAIL,
                    "cannot find the settings folder: neither HOME nor XDG_CONFIG_HOME "
                    "is set; set one of them or LUMARKO_CONFIG_DIR");
  }
  *out = std::filesystem::path(home) / ".config" / "Lumarko" / "settings.db";
  return S_OK;
}

HRESULT SettingsStore::Open(SettingsScope scope, std::shared_ptr<SettingsStore>* out) {
  if (out == nullptr) return E_INVALIDARG;
  out->reset();
  try {
    std::filesystem::path path;
    LMK_RETURN_IF_FAILED(SettingsDatabasePath(scope, &path));
    const std::string cacheKey = std::to_string(::getpid()) + ":" + path.string();
    std::lock_guard lock(g_openStoresMutex);
    if (auto open = g_openStores[cacheKey].lock()) {
      *out = std::move(open);
      return S_OK;
    }
    const auto journal = scope == SettingsScope::Machine ? SqliteSettingsStore::Journal::Rollback
                                                         : SqliteSettingsStore::Journal::Wal;
    std::shared_ptr<SettingsStore> store;
    LMK_RETURN_IF_FAILED(SqliteSettingsStore::OpenFile(path, journal, &store));
    g_openStores[cacheKey] = store;
    *out = std::move(store);
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

// A prepared statement in use: bindings in, rows out; reset when it goes out of scope so the
// cached statement can be used again.
class SqliteSettingsStore::Query {
 public:
  Query(SqliteSettingsStore& store, const char* sql)
      : store_(store), statement_(store.Statement(sql)) {}
  ~Query() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
  }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  Query& Bind(int index, const std::string& text) {
    Check(sqlite3_bind_text(statement_, index, text.data(), static_cast<int>(text.size()),
                            SQLITE_TRANSIENT));
    return *this;
  }
  Query& Bind(int index, int64_t number) {
    Check(sqlite3_bind_int64(statement_, index, number));
    return *this;
  }
  Query& BindBytes(int index, const std::vector<uint8_t>& bytes) {
    // An empty vector may have no data pointer, which would store NULL instead of no bytes.
    if (bytes.empty()) {
      Check(sqlite3_bind_zeroblob(statement_, index, 0));
    } else {
      Check(sqlite3_bind_blob(statement_, index, bytes.data(), static_cast<int>(bytes.size()),
                              SQLITE_TRANSIENT));
    }
    return *this;
  }

  /// True while there is a row; throws SqliteFailure on errors.
  bool Step() {
    const int rc = sqlite3_step(statement_);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    store_.Throw(rc);
  }

  std::string Text(int column) const {
    const auto* text = sqlite3_column_text(statement_, column);
    if (text == nullptr) return {};
    return std::string(reinterpret_cast<const char*>(text),
                       static_cast<size_t>(sqlite3_column_bytes(statement_, column)));
  }
  int64_t Int(int column) const { return sqlite3_column_int64(statement_, column); }
  std::vector<uint8_t> Bytes(int column) const {
    const auto* data = static_cast<const uint8_t*>(sqlite3_column_blob(statement_, column));
    if (data == nullptr) return {};
    return {data, data + sqlite3_column_bytes(statement_, column)};
  }

  // The value in columns type, data.
  RegValue Value(int typeColumn) const {
    RegValue value;
    value.type = static_cast<RegType>(static_cast<DWORD>(Int(typeColumn)));
    if (value.IsText()) {
      value.text = FromUtf8(Text(typeColumn + 1));
    } else if (value.IsNumber()) {
      value.number = static_cast<uint64_t>(Int(typeColumn + 1));
      if (value.type == RegType::Dword) value.number &= 0xFFFFFFFFu;
    } else {
      value.bytes = Bytes(typeColumn + 1);
    }
    return value;
  }

 private:
  void Check(int rc) {
    if (rc != SQLITE_OK) store_.Throw(rc);
  }

  SqliteSettingsStore& store_;
  sqlite3_stmt* statement_;
};

void SqliteSettingsStore::StatementCloser::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

void SqliteSettingsStore::ConnectionCloser::operator()(sqlite3* db) const { sqlite3_close_v2(db); }

SqliteSettingsStore::SqliteSettingsStore(PrivateTag, std::filesystem::path path, sqlite3* db)
    : path_(std::move(path)), db_(db) {}

SqliteSettingsStore::~SqliteSettingsStore() = default;

HRESULT SqliteSettingsStore::OpenFile(const std::filesystem::path& path, Journal journal,
                                      std::shared_ptr<SettingsStore>* out) {
  if (out == nullptr) return E_INVALIDARG;
  out->reset();
  try {
    const bool privateFiles = journal == Journal::Wal;
    std::error_code ec;
    std::filesystem::create_directories(path.parent_path(), ec);
    if (ec) {
      return Describe(HresultFromErrno(ec.value()), "cannot create the settings folder " +
                                                        path.parent_path().string() + " (" +
                                                        ec.message() + ")");
    }
    if (!std::filesystem::exists(path, ec)) {
      LMK_RETURN_IF_FAILED(CreateFile(path, privateFiles ? 0600 : 0644));
    }

    sqlite3* raw = nullptr;
    const int rc =
        sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX, nullptr);
    std::unique_ptr<sqlite3, ConnectionCloser> db(raw);
    if (rc != SQLITE_OK) {
      const int error = raw != nullptr ? sqlite3_system_errno(raw) : 0;
      const SqliteFailure failure(rc, raw != nullptr ? sqlite3_errmsg(raw) : sqlite3_errstr(rc),
                                  error);
      return Describe(HresultFromSqlite(rc), FailureText(path, failure));
    }
    sqlite3_extended_result_codes(raw, 1);
    sqlite3_busy_timeout(raw, kBusyTimeoutMs);
    auto store = std::make_shared<SqliteSettingsStore>(PrivateTag(), path, db.release());
    try {
      std::lock_guard lock(store->mutex_);
      store->Prepare(journal);
    } catch (...) {
      return store->FailFromCurrentException();
    }
    *out = std::move(store);
    return S_OK;
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT SqliteSettingsStore::CreateFile(const std::filesystem::path& path, unsigned mode) {
  // A database comes into being whole: it is made under a temporary name in the same folder
  // and linked into place. So an empty settings file is never one of ours half made, but one
  // that was emptied, and is reported instead of starting every counter again at 0.
  std::string temporary =
      (path.parent_path() / ("." + path.filename().string() + ".XXXXXX")).string();
  const int fd = ::mkstemp(temporary.data());
  if (fd < 0) {
    const int error = errno;
    return Describe(HresultFromErrno(error),
                    FailureText(path, SqliteFailure(SQLITE_CANTOPEN, "cannot create it", error)));
  }
  // The mode is set here rather than by SQLite so that the user's settings stay the user's.
  ::fchmod(fd, static_cast<mode_t>(mode));
  ::close(fd);
  struct Remover {
    const std::string& name;
    ~Remover() { ::unlink(name.c_str()); }
  } remover{temporary};

  sqlite3* raw = nullptr;
  const int rc = sqlite3_open_v2(temporary.c_str(), &raw,
                                 SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX, nullptr);
  std::unique_ptr<sqlite3, ConnectionCloser> db(raw);
  if (rc != SQLITE_OK) {
    return Describe(HresultFromSqlite(rc),
                    FailureText(path, SqliteFailure(rc, "cannot create it: " +
                                                            std::string(sqlite3_errstr(rc)))));
  }
  sqlite3_extended_result_codes(raw, 1);
  {
    const auto maker = std::make_shared<SqliteSettingsStore>(PrivateTag(), path, db.release());
    try {
      std::lock_guard lock(maker->mutex_);
      maker->CreateSchema();
    } catch (...) {
      return maker->FailFromCurrentException();
    }
  }
  // Another process may have made the file meanwhile: then that one is used. File systems
  // without hard links get a rename, which only a creation at the same instant could race.
  if (::link(temporary.c_str(), path.c_str()) != 0 && errno != EEXIST &&
      (std::filesystem::exists(path) || ::rename(temporary.c_str(), path.c_str()) != 0)) {
    const int error = errno;
    return Describe(HresultFromErrno(error),
                    FailureText(path, SqliteFailure(SQLITE_CANTOPEN, "cannot create it", error)));
  }
  const int folder = ::open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder >= 0) {
    ::fsync(folder);
    ::close(folder);
  }
  return S_OK;
}

void SqliteSettingsStore::Prepare(Journal journal) {
  // Reading the schema reads the file's header: a file that is no database fails here, before
  // anything could be written to it.
  int64_t objects = 0;
  RetryWhileBusy([&] {
    Query query(*this, "SELECT count(*) FROM sqlite_master");
    query.Step();
    objects = query.Int(0);
  });
  // The store is small, so checking every page once per open costs little and keeps damage
  // from surfacing later in the middle of a batch run.
  RetryWhileBusy([&] {
    Query query(*this, "PRAGMA quick_check(1)");
    const std::string verdict = query.Step() ? query.Text(0) : std::string("no answer");
    if (verdict != "ok") throw SqliteFailure(SQLITE_CORRUPT, "integrity check: " + verdict);
  });
  int64_t applicationId = 0;
  int64_t version = 0;
  RetryWhileBusy([&] {
    Query app(*this, "PRAGMA application_id");
    applicationId = app.Step() ? app.Int(0) : 0;
    Query user(*this, "PRAGMA user_version");
    version = user.Step() ? user.Int(0) : 0;
  });
  const bool fresh = applicationId == 0 && objects == 0;
  if (fresh) {
    std::error_code ec;
    if (std::filesystem::file_size(path_, ec) == 0 && !ec) {
      throw SqliteFailure(SQLITE_CORRUPT, "the file is empty: it was cut short or emptied");
    }
  }
  if (!fresh && applicationId != kApplicationId) {
    throw SqliteFailure(SQLITE_FORMAT, "it belongs to another program");
  }
  if (version > kSchemaVersion) {
    throw SqliteFailure(SQLITE_FORMAT,
                        "it was written by a newer version of this program, in "
                        "format " +
                            std::to_string(version));
  }
  const bool readOnly = sqlite3_db_readonly(db_.get(), "main") == 1;
  if (readOnly) {
    if (fresh) throw SqliteFailure(SQLITE_READONLY, "it is empty and read-only");
    return;
  }

  const char* wanted = journal == Journal::Wal ? "wal" : "delete";
  std::string current;
  RetryWhileBusy([&] {
    Query query(*this, "PRAGMA journal_mode");
    current = query.Step() ? query.Text(0) : std::string();
  });
  if (current != wanted) {
    // Switching needs the file to itself; while others have it open, the current mode (also
    // safe) stays until a later open.
    try {
      Exec(std::string("PRAGMA journal_mode=") + wanted);
    } catch (const SqliteFailure& failure) {
      if (!IsBusy(failure.code)) throw;
    }
  }
  // Every commit reaches the disk before the call returns: a counter value once handed out
  // is never handed out again, even after a power cut.
  Exec("PRAGMA synchronous=FULL");
  if (fresh) CreateSchema();
}

void SqliteSettingsStore::CreateSchema() {
  const HRESULT hr = Write([&] {
    // Another process may have made the schema since this one looked.
    {
      Query query(*this, "PRAGMA application_id");
      if (query.Step() && query.Int(0) == kApplicationId) return S_OK;
    }
    Exec(kSchema);
    Exec("PRAGMA application_id=" + std::to_string(kApplicationId));
    Exec("PRAGMA user_version=" + std::to_string(kSchemaVersion));
    return S_OK;
  });
  if (FAILED(hr)) ThrowIfFailed(hr);
}

sqlite3_stmt* SqliteSettingsStore::Statement(const char* sql) {
  auto& slot = statements_[sql];
  if (!slot) {
    sqlite3_stmt* raw = nullptr;
    const int rc = sqlite3_prepare_v3(db_.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &raw, nullptr);
    if (rc != SQLITE_OK) {
      sqlite3_finalize(raw);
      statements_.erase(sql);
      Throw(rc);
    }
    slot.reset(raw);
  }
  return slot.get();
}

void SqliteSettingsStore::Exec(const std::string& sql) {
  const int rc = sqlite3_exec(db_.get(), sql.c_str(), nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK) Throw(rc);
}

void SqliteSettingsStore::Throw(int code) const {
  const int primary = code & 0xFF;
  const bool fileError = primary == SQLITE_CANTOPEN || primary == SQLITE_IOERR ||
                         primary == SQLITE_FULL || primary == SQLITE_PERM;
  const int error = fileError ? sqlite3_system_errno(db_.get()) : 0;
  std::string message = sqlite3_errmsg(db_.get());
  // sqlite3_errmsg describes the connection's last error, which need not be this one.
  if (message == "not an error") message = sqlite3_errstr(code);
  throw SqliteFailure(code, std::move(message), error);
}

void SqliteSettingsStore::RollbackQuietly() {
  if (sqlite3_get_autocommit(db_.get()) == 0) {
    sqlite3_exec(db_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

HRESULT SqliteSettingsStore::FailFromCurrentException() const {
  try {
    throw;
  } catch (const SqliteFailure& failure) {
    return Describe(HresultFromSqlite(failure.code), FailureText(path_, failure));
  } catch (...) {
    return HresultFromCurrentException();
  }
}

HRESULT SqliteSettingsStore::Read(const std::function<HRESULT()>& body) {
  if (depth_ > 0) return body();
  HRESULT hr = S_OK;
  // One read transaction, so that a read of several rows sees one state of the store.
  RetryWhileBusy([&] {
    Exec("BEGIN");
    try {
      hr = body();
      Exec("COMMIT");
    } catch (...) {
      RollbackQuietly();
      throw;
    }
  });
  return hr;
}

HRESULT SqliteSettingsStore::Write(const std::function<HRESULT()>& body) {
  if (depth_ > 0) {
    const std::string savepoint = "lmk" + std::to_string(depth_);
    Exec("SAVEPOINT " + savepoint);
    ++depth_;
    HRESULT hr = E_UNEXPECTED;
    try {
      hr = body();
    } catch (...) {
      --depth_;
      Exec("ROLLBACK TO " + savepoint);
      Exec("RELEASE " + savepoint);
      throw;
    }
    --depth_;
    if (FAILED(hr)) Exec("ROLLBACK TO " + savepoint);
    Exec("RELEASE " + savepoint);
    return hr;
  }
  // IMMEDIATE takes the write lock up front, so that a read-modify-write never has to upgrade
  // a read lock another writer could have overtaken.
  RetryWhileBusy([&] { Exec("BEGIN IMMEDIATE"); });
  depth_ = 1;
  HRESULT hr = E_UNEXPECTED;
  try {
    hr = body();
    if (SUCCEEDED(hr)) RetryWhileBusy([&] { Exec("COMMIT"); });
  } catch (...) {
    depth_ = 0;
    RollbackQuietly();
    throw;
  }
  depth_ = 0;
  if (FAILED(hr)) RollbackQuietly();
  return hr;
}

bool SqliteSettingsStore::KeyRowExists(const std::string& folded) {
  if (folded.empty()) return true;
  Query query(*this, "SELECT 1 FROM keys WHERE path = ?1");
  query.Bind(1, folded);
  return query.Step();
}

std::string SqliteSettingsStore::EnsureKeyPath(const std::vector<std::wstring>& names) {
  std::string parent;
  for (size_t i = 0; i < names.size(); ++i) {
    std::string path = FoldedPath(names, i + 1);
    Query query(*this, "INSERT OR IGNORE INTO keys (path, parent, name) VALUES (?1, ?2, ?3)");
    query.Bind(1, path).Bind(2, parent).Bind(3, ToUtf8(names[i]));
    query.Step();
    parent = std::move(path);
  }
  return parent;
}

bool SqliteSettingsStore::LoadValue(const std::string& key, const std::string& fold,
                                    RegValue* out) {
  Query query(*this, "SELECT type, data FROM vals WHERE key = ?1 AND fold = ?2");
  query.Bind(1, key).Bind(2, fold);
  if (!query.Step()) return false;
  *out = query.Value(0);
  return true;
}

void SqliteSettingsStore::StoreValue(const std::string& key, std::wstring_view name,
                                     const RegValue& value) {
  // On conflict only type and data change: the name keeps the case it was first written with.
  Query query(*this,
              "INSERT INTO vals (key, fold, name, type, data) VALUES (?1, ?2, ?3, ?4, ?5) "
              "ON CONFLICT (key, fold) DO UPDATE SET type = excluded.type, data = excluded.data");
  query.Bind(1, key)
      .Bind(2, ToUtf8(FoldSettingsName(name)))
      .Bind(3, ToUtf8(name))
      .Bind(4, static_cast<int64_t>(value.type));
  if (value.IsText()) {
    query.Bind(5, ToUtf8(value.text));
  } else if (value.IsNumber()) {
    query.Bind(5, static_cast<int64_t>(value.number));
  } else {
    query.BindBytes(5, value.bytes);
  }
  query.Step();
}

HRESULT SqliteSettingsStore::AtKey(std::wstring_view key, Access access, const KeyBody& body) {
  try {
    std::vector<std::wstring> names;
    LMK_RETURN_IF_FAILED(SplitSettingsKeyPath(key, &names));
    const std::string folded = FoldedPath(names, names.size());
    std::lock_guard lock(mutex_);
    const auto run = [&] { return body(names, folded); };
    return access == Access::kRead ? Read(run) : Write(run);
  } catch (...) {
    return FailFromCurrentException();
  }
}

HRESULT SqliteSettingsStore::CreateKey(std::wstring_view key) {
  return AtKey(key, Access::kWrite,
               [&](const std::vector<std::wstring>& names, const std::string&) {
                 EnsureKeyPath(names);
                 return S_OK;
               });
}

HRESULT SqliteSettingsStore::KeyExists(std::wstring_view key) {
  return AtKey(key, Access::kRead,
               [&](const std::vector<std::wstring>&, const std::string& folded) {
                 return KeyRowExists(folded) ? S_OK : S_FALSE;
               });
}

HRESULT SqliteSettingsStore::GetValue(std::wstring_view key, std::wstring_view name,
                                      RegValue* out) {
  if (out == nullptr) return E_INVALIDARG;
  return AtKey(key, Access::kRead,
               [&](const std::vector<std::wstring>&, const std::string& folded) {
                 return LoadValue(folded, ToUtf8(FoldSettingsName(name)), out) ? S_OK : NotFound();
               });
}

HRESULT SqliteSettingsStore::SetValue(std::wstring_view key, std::wstring_view name,
                                      const RegValue& value) {
  try {
    std::vector<std::wstring> names;
    LMK_RETURN_IF_FAILED(SplitSettingsKeyPath(key, &names));
    LMK_RETURN_IF_FAILED(CheckValue(name, value));
    std::lock_guard lock(mutex_);
    return Write([&] {
      StoreValue(EnsureKeyPath(names), name, value);
      return S_OK;
    });
  } catch (...) {
    return FailFromCurrentException();
  }
}

HRESULT SqliteSettingsStore::DeleteValue(std::wstring_view key, std::wstring_view name) {
  return AtKey(key, Access::kWrite,
               [&](const std::vector<std::wstring>&, const std::string& folded) {
                 Query query(*this, "DELETE FROM vals WHERE key = ?1 AND fold = ?2");
                 query.Bind(1, folded).Bind(2, ToUtf8(FoldSettingsName(name)));
                 query.Step();
                 return sqlite3_changes(db_.get()) > 0 ? S_OK : NotFound();
               });
}

HRESULT SqliteSettingsStore::DeleteTree(std::wstring_view key) {
  try {
    std::vector<std::wstring> names;
    LMK_RETURN_IF_FAILED(SplitSettingsKeyPath(key, &names));
    if (names.empty()) return E_INVALIDARG;
    const std::string folded = FoldedPath(names, names.size());
    // Every path below the key starts with its path and a backslash; ']' follows '\' in
    // byte order, so the range [path\, path]) holds exactly the subtree.
    const std::string below = folded + "\\";
    const std::string after = folded + "]";
    std::lock_guard lock(mutex_);
    return Write([&] {
      if (!KeyRowExists(folded)) return NotFound();
      Query keys(*this, "DELETE FROM keys WHERE path = ?1 OR (path >= ?2 AND path < ?3)");
      keys.Bind(1, folded).Bind(2, below).Bind(3, after);
      keys.Step();
      Query values(*this, "DELETE FROM vals WHERE key = ?1 OR (key >= ?2 AND key < ?3)");
      values.Bind(1, folded).Bind(2, below).Bind(3, after);
      values.Step();
      return S_OK;
    });
  } catch (...) {
    return FailFromCurrentException();
  }
}

template <class Row>
HRESULT SqliteSettingsStore::ReadKeyRows(std::wstring_view key, const char* sql,
                                         std::vector<Row>* out, Row (*make)(Query&)) {
  if (out == nullptr) return E_INVALIDARG;
  return AtKey(key, Access::kRead,
               [&](const std::vector<std::wstring>&, const std::string& folded) {
                 out->clear();
                 if (!KeyRowExists(folded)) return NotFound();
                 Query query(*this, sql);
                 query.Bind(1, folded);
                 while (query.Step()) out->push_back(make(query));
                 return S_OK;
               });
}

HRESULT SqliteSettingsStore::EnumSubkeys(std::wstring_view key, std::vector<std::wstring>* out) {
  return ReadKeyRows<std::wstring>(key, "SELECT name FROM keys WHERE parent = ?1 ORDER BY path",
                                   out, [](Query& row) { return FromUtf8(row.Text(0)); });
}

HRESULT SqliteSettingsStore::EnumValues(std::wstring_view key,
                                        std::vector<std::pair<std::wstring, RegValue>>* out) {
  return ReadKeyRows<std::pair<std::wstring, RegValue>>(
      key, "SELECT name, type, data FROM vals WHERE key = ?1 ORDER BY fold", out,
      [](Query& row) { return std::pair(FromUtf8(row.Text(0)), row.Value(1)); });
}

HRESULT SqliteSettingsStore::Update(std::wstring_view key, std::wstring_view name,
                                    const Updater& update) {
  if (!update) return E_INVALIDARG;
  try {
    std::vector<std::wstring> names;
    LMK_RETURN_IF_FAILED(SplitSettingsKeyPath(key, &names));
    LMK_RETURN_IF_FAILED(CheckValue(name, RegValue()));
    const std::string folded = FoldedPath(names, names.size());
    const std::string fold = ToUtf8(FoldSettingsName(name));
    std::lock_guard lock(mutex_);
    return Write([&] {
      std::optional<RegValue> current;
      RegValue stored;
      if (LoadValue(folded, fold, &stored)) current = std::move(stored);
      const std::optional<RegValue> next = update(current);
      if (!next) return S_OK;
      LMK_RETURN_IF_FAILED(CheckValue(name, *next));
      StoreValue(EnsureKeyPath(names), name, *next);
      return S_OK;
    });
  } catch (...) {
    return FailFromCurrentException();
  }
}

HRESULT SqliteSettingsStore::Transact(const TransactionBody& body) {
  if (!body) return E_INVALIDARG;
  try {
    std::lock_guard lock(mutex_);
    return Write([&] { return body(*this); });
  } catch (...) {
    return FailFromCurrentException();
  }
}

}  // namespace lmk
