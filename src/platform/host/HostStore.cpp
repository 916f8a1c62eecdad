/// @file
/// The store file over SQLite.
///
/// | Table | Columns |
/// |---|---|
/// | `key` | `id` (never used twice), `parent` (0 for roots), `name` (compares without ASCII case), `volatile` |
/// | `value` | `key`, `name` (likewise), `type` (the registry's number), `data` |
/// | `state` | `name`, `value`: "boot" is the start of the machine that the volatile keys belong to; "protection/..."
/// are keys of the data protection |
///
/// Names are UTF-8; lone surrogates take the three bytes that UTF-8 gives to nobody.  A write-ahead log keeps readers
/// and the one writer apart.  A commit is in the file before it is confirmed, so that the death of the process loses
/// none; after a power cut the last ones may be missing (as with the system's own registry), but the tree is whole:
/// waiting for the medium each time would make a write several hundred times slower.
#include "platform/host/HostStore.h"

#include <fcntl.h>
#include <pwd.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <map>
#include <new>
#include <utility>

#include "platform/host/HostIds.h"
#include "platform/host/Undying.h"

namespace vlm::host {

namespace {

constexpr int BUSY_MILLISECONDS = 10'000;
constexpr int SCHEMA_VERSION = 1;
constexpr std::string_view MEMORY_PATH = ":memory:";

constexpr char SCHEMA[] =
    "CREATE TABLE key(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL,"
    " name TEXT NOT NULL COLLATE NOCASE, volatile INTEGER NOT NULL, UNIQUE(parent, name));"
    "CREATE TABLE value(key INTEGER NOT NULL, name TEXT NOT NULL COLLATE NOCASE, type INTEGER NOT NULL,"
    " data BLOB NOT NULL, UNIQUE(key, name));"
    "CREATE TABLE state(name TEXT PRIMARY KEY, value TEXT NOT NULL);"
    "INSERT INTO key VALUES(1, 0, 'HKEY_LOCAL_MACHINE', 0), (2, 0, 'HKEY_USERS', 0);"
    "PRAGMA user_version = 1;";

[[noreturn]] void Fail(int iResult) {
    switch (iResult & 0xFF) {
        case SQLITE_NOMEM:
            throw std::bad_alloc();
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            throw StoreFailure{Status::Busy};
        case SQLITE_FULL:
            throw StoreFailure{Status::DiskFull};
        case SQLITE_READONLY:
            throw StoreFailure{Status::WriteProtect};
        case SQLITE_PERM:
        case SQLITE_AUTH:
            throw StoreFailure{Status::AccessDenied};
        case SQLITE_CANTOPEN:
            throw StoreFailure{Status::PathNotFound};
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            throw StoreFailure{Status::BadDatabase};
        case SQLITE_TOOBIG:
            throw StoreFailure{Status::InvalidParameter};
        default:
            throw StoreFailure{Status::GeneralFailure};
    }
}

void Check(int iResult) {
    if (iResult != SQLITE_OK) Fail(iResult);
}

void Execute(sqlite3* pDatabase, const char* pszSql) {
    Check(sqlite3_exec(pDatabase, pszSql, nullptr, nullptr, nullptr));
}

struct DatabaseCloser {
    void operator()(sqlite3* pDatabase) const noexcept { sqlite3_close_v2(pDatabase); }
};
struct StatementFinalizer {
    void operator()(sqlite3_stmt* pStatement) const noexcept { sqlite3_finalize(pStatement); }
};
using Database = std::unique_ptr<sqlite3, DatabaseCloser>;
using Statement = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

Statement PrepareOn(sqlite3* pDatabase, const char* pszSql) {
    sqlite3_stmt* pStatement = nullptr;
    Check(sqlite3_prepare_v3(pDatabase, pszSql, -1, SQLITE_PREPARE_PERSISTENT, &pStatement, nullptr));
    return Statement(pStatement);
}

/// The connection of the process and what belongs to it.
struct Store {
    std::mutex oMutex;
    std::string path;  ///< as chosen; empty: the default
    Database apoDatabase;
    std::map<const char*, Statement> mapStatements;
    DWORD dwOwner = 0;
    bool fInMemory = false;
    std::uint64_t ullNumber = 1;
    std::int64_t llClassesKey = 0;
    std::int64_t llCurrentUserKey = 0;
};

Store& TheStore() {
    static Undying<Store> soStore;
    return soStore.object;
}

constinit std::atomic<StoreHook> gpfnHook{nullptr};

/// Makes a folder and those above it that are missing, for their owner alone, as the XDG base directories ask for.
void MakeFolder(const std::string& rPath) {
    for (std::size_t iEnd = 0; iEnd != std::string::npos;) {
        iEnd = rPath.find('/', iEnd + 1);
        if (mkdir(rPath.substr(0, iEnd).c_str(), 0700) != 0 && errno != EEXIST)
            throw StoreFailure{Status::PathNotFound};
    }
}

std::string DefaultPath() {
    if (const char* pszStore = std::getenv("Q9_STORE"); pszStore && *pszStore) return pszStore;
    std::string folder;
    if (const char* pszData = std::getenv("XDG_DATA_HOME"); pszData && *pszData == '/') {
        folder = pszData;
    } else {
        const char* pszHome = std::getenv("HOME");
        if (pszHome && *pszHome != '/') pszHome = nullptr;  // an empty one would be the root
        const passwd* pEntry = pszHome ? nullptr : getpwuid(getuid());
        if (pszHome == nullptr && pEntry == nullptr) throw StoreFailure{Status::PathNotFound};
        folder = std::string(pszHome ? pszHome : pEntry->pw_dir) + "/.local/share";
    }
    MakeFolder(folder += "/q9util");
    return folder + "/store.db";
}

/// Identifies the running start of the machine.
std::string BootIdentity() {
    std::string identity;
    std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), identity);
    return identity;
}

std::int64_t EnsureKey(sqlite3* pDatabase, std::int64_t llParent, std::string_view svName) {
    const Statement apoInsert =
        PrepareOn(pDatabase, "INSERT INTO key(parent, name, volatile) VALUES(?, ?, 0) ON CONFLICT DO NOTHING");
    StoreStatement(apoInsert.get()).Bind(1, llParent).Bind(2, svName).Step();
    const Statement apoSelect = PrepareOn(pDatabase, "SELECT id FROM key WHERE parent = ? AND name = ?");
    StoreStatement oSelect(apoSelect.get());
    if (!oSelect.Bind(1, llParent).Bind(2, svName).Step()) throw StoreFailure{Status::BadDatabase};
    return oSelect.Integer(0);
}

void DropVolatileKeys(sqlite3* pDatabase) {
    const std::string identity = BootIdentity();
    {
        const Statement apoSelect = PrepareOn(pDatabase, "SELECT 1 FROM state WHERE name = 'boot' AND value = ?");
        if (StoreStatement(apoSelect.get()).Bind(1, identity).Step()) return;
    }
    Execute(pDatabase,
            "DELETE FROM value WHERE key IN (SELECT id FROM key WHERE volatile); DELETE FROM key WHERE volatile;");
    const Statement apoInsert = PrepareOn(pDatabase, "INSERT OR REPLACE INTO state VALUES('boot', ?)");
    StoreStatement(apoInsert.get()).Bind(1, identity).Step();
}

/// Brings tables and roots into being, in one step that no other process sees half done.
void Prepare(Store& rStore, sqlite3* pDatabase) {
    Execute(pDatabase, "BEGIN IMMEDIATE");
    int iVersion = 0;
    {
        const Statement apoVersion = PrepareOn(pDatabase, "PRAGMA user_version");
        StoreStatement oVersion(apoVersion.get());
        if (oVersion.Step()) iVersion = static_cast<int>(oVersion.Integer(0));
    }
    if (iVersion > SCHEMA_VERSION) throw StoreFailure{Status::BadDatabase};
    if (iVersion == 0) Execute(pDatabase, SCHEMA);
    DropVolatileKeys(pDatabase);
    const std::int64_t llSoftware = EnsureKey(pDatabase, StoreTransaction::KEY_LOCAL_MACHINE, "Software");
    rStore.llClassesKey = EnsureKey(pDatabase, llSoftware, "Classes");
    rStore.llCurrentUserKey =
        EnsureKey(pDatabase, StoreTransaction::KEY_USERS, "S-1-5-21-0-0-0-" + std::to_string(getuid()));
    Execute(pDatabase, "COMMIT");
}

/// Several processes that open a new store at once refuse each other here without waiting.
void SwitchToLog(sqlite3* pDatabase) {
    constexpr int cAttempts = 200;
    for (int i = 0;; ++i) {
        const int iResult = sqlite3_exec(pDatabase, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
        if (iResult == SQLITE_OK) return;
        if ((iResult & 0xFF) != SQLITE_BUSY || i == cAttempts) Fail(iResult);
        sqlite3_sleep(10);
    }
}

/// A new store is its owner's alone: it keeps the keys of the data protection.  SQLite makes the files beside it alike.
void MakePrivate(const std::string& rPath) noexcept {
    if (rPath == MEMORY_PATH) return;
    const int iFile = open(rPath.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
    if (iFile >= 0) close(iFile);
}

void Open(Store& rStore) {
    const std::string path = rStore.path.empty() ? DefaultPath() : rStore.path;
    MakePrivate(path);
    sqlite3* pDatabase = nullptr;
    const int iResult = sqlite3_open_v2(path.c_str(), &pDatabase,
                                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    Database apoDatabase(pDatabase);
    Check(iResult);
    Check(sqlite3_busy_timeout(pDatabase, BUSY_MILLISECONDS));
    SwitchToLog(pDatabase);
    Execute(pDatabase, "PRAGMA synchronous = NORMAL; PRAGMA trusted_schema = OFF;");
    Prepare(rStore, pDatabase);
    sqlite3_commit_hook(
        pDatabase,
        [](void*) {
            if (const StoreHook pfnHook = gpfnHook.load()) pfnHook();
            return 0;
        },
        nullptr);
    rStore.fInMemory = path == MEMORY_PATH;
    rStore.dwOwner = CurrentProcess();
    rStore.apoDatabase = std::move(apoDatabase);
}

/// A connection must not be used on both sides of a fork, and closing it there would take the parent's locks away.
void LeaveToParent(Store& rStore) noexcept {
    for (auto& [pszSql, apoStatement] : rStore.mapStatements)
        static_cast<void>(apoStatement.release());
    rStore.mapStatements.clear();
    static_cast<void>(rStore.apoDatabase.release());
}

}  // namespace

bool SetHostStorePath(const char* pszPath) noexcept try {
    std::string path(pszPath ? pszPath : "");
    Store& rStore = TheStore();
    const std::lock_guard oLock(rStore.oMutex);
    if (!rStore.fInMemory && rStore.dwOwner != CurrentProcess()) {
        LeaveToParent(rStore);
    } else {
        rStore.mapStatements.clear();
        rStore.apoDatabase.reset();
    }
    rStore.path.swap(path);
    ++rStore.ullNumber;
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool HostStorePath(std::string& rPath) try {
    Store& rStore = TheStore();
    const std::lock_guard oLock(rStore.oMutex);
    rPath = rStore.path.empty() ? DefaultPath() : rStore.path;
    return true;
} catch (const StoreFailure&) {
    return false;
}

void FlushStore() {
    Store& rStore = TheStore();
    const std::lock_guard oLock(rStore.oMutex);
    if (!rStore.apoDatabase) return;
    Check(sqlite3_wal_checkpoint_v2(rStore.apoDatabase.get(), nullptr, SQLITE_CHECKPOINT_FULL, nullptr, nullptr));
}

void SetHostStoreHook(StoreHook pfnHook) noexcept {
    gpfnHook = pfnHook;
}

StoreStatement::~StoreStatement() {
    sqlite3_reset(m_pStatement);
    sqlite3_clear_bindings(m_pStatement);
}

StoreStatement& StoreStatement::Bind(int iParameter, std::int64_t llValue) {
    Check(sqlite3_bind_int64(m_pStatement, iParameter, llValue));
    return *this;
}

StoreStatement& StoreStatement::Bind(int iParameter, std::string_view svText) {
    Check(sqlite3_bind_text64(m_pStatement, iParameter, svText.data(), svText.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
    return *this;
}

StoreStatement& StoreStatement::BindBytes(int iParameter, const void* pData, std::size_t cBytes) {
    Check(cBytes ? sqlite3_bind_blob64(m_pStatement, iParameter, pData, cBytes, SQLITE_STATIC)
                 : sqlite3_bind_zeroblob(m_pStatement, iParameter, 0));
    return *this;
}

bool StoreStatement::Step() {
    const int iResult = sqlite3_step(m_pStatement);
    if (iResult != SQLITE_ROW && iResult != SQLITE_DONE) Fail(iResult);
    return iResult == SQLITE_ROW;
}

std::int64_t StoreStatement::Integer(int iColumn) noexcept {
    return sqlite3_column_int64(m_pStatement, iColumn);
}

std::string_view StoreStatement::Text(int iColumn) noexcept {
    const void* pText = sqlite3_column_text(m_pStatement, iColumn);
    return {static_cast<const char*>(pText), static_cast<std::size_t>(sqlite3_column_bytes(m_pStatement, iColumn))};
}

std::string_view StoreStatement::Bytes(int iColumn) noexcept {
    const void* pData = sqlite3_column_blob(m_pStatement, iColumn);
    return {static_cast<const char*>(pData), static_cast<std::size_t>(sqlite3_column_bytes(m_pStatement, iColumn))};
}

StoreTransaction::StoreTransaction(Kind eKind) : m_oLock(TheStore().oMutex) {
    Store& rStore = TheStore();
    if (rStore.apoDatabase && !rStore.fInMemory && rStore.dwOwner != CurrentProcess()) LeaveToParent(rStore);
    if (!rStore.apoDatabase) Open(rStore);
    m_pDatabase = rStore.apoDatabase.get();
    // A writer takes its place at the start: upgrading later could only end in a dead end for one of two.
    Execute(m_pDatabase, eKind == Kind::Write ? "BEGIN IMMEDIATE" : "BEGIN");
}

StoreTransaction::~StoreTransaction() {
    if (m_fOpen) sqlite3_exec(m_pDatabase, "ROLLBACK", nullptr, nullptr, nullptr);
}

StoreStatement StoreTransaction::Prepare(const char* pszSql) {
    Statement& rapoStatement = TheStore().mapStatements[pszSql];
    if (!rapoStatement) rapoStatement = PrepareOn(m_pDatabase, pszSql);
    return StoreStatement(rapoStatement.get());
}

std::int64_t StoreTransaction::LastInsertedId() noexcept {
    return sqlite3_last_insert_rowid(m_pDatabase);
}

void StoreTransaction::Commit() {
    Execute(m_pDatabase, "COMMIT");
    m_fOpen = false;
}

std::uint64_t StoreTransaction::StoreNumber() const noexcept {
    return TheStore().ullNumber;
}

std::int64_t StoreTransaction::ClassesKey() const noexcept {
    return TheStore().llClassesKey;
}

std::int64_t StoreTransaction::CurrentUserKey() const noexcept {
    return TheStore().llCurrentUserKey;
}

}  // namespace vlm::host
