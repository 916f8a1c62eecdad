/// @file
/// The one store file of the host: where it is, and transactions on it.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/WinTypes.h"

struct sqlite3;
struct sqlite3_stmt;

namespace vlm::host {

/// Chooses the store.  Without a call it is the file named by the environment variable Q9_STORE, else "q9util/store.db"
/// in the user's data folder, which is made when it is missing.
/// @param pszPath borrowed for the call; UTF-8; ":memory:": in this process's memory; null: the default again.
/// All handles into the former store become invalid.  @return false when memory is short; nothing is changed then.
/// Threads: any.
bool SetHostStorePath(const char* pszPath) noexcept;

/// The store in force, as chosen or by default; the folder of the default is made when it is missing.
/// @return false when there is no place for it.  @throws std::bad_alloc
bool HostStorePath(std::string& rPath);
/// Returns when what was committed so far is on the medium; a commit alone may be lost with the power.
/// Failure: throws StoreFailure.
void FlushStore();

/// A function called inside each writing transaction when all is written and nothing is confirmed; null: none.  For
/// tests that stop the process there.
using StoreHook = void (*)() noexcept;
void SetHostStoreHook(StoreHook pfnHook) noexcept;

/// What a statement on the store can throw; never leaves the adapters.
struct StoreFailure {
    Status eStatus;
};

/// A prepared statement in use; its bindings and its position go with the object.
/// Failure: throws StoreFailure.
class StoreStatement {
public:
    explicit StoreStatement(sqlite3_stmt* pStatement) noexcept : m_pStatement(pStatement) {}
    ~StoreStatement();
    StoreStatement(const StoreStatement&) = delete;
    StoreStatement& operator=(const StoreStatement&) = delete;

    StoreStatement& Bind(int iParameter, std::int64_t llValue);
    StoreStatement& Bind(int iParameter, std::string_view svText);
    /// `pData` stays the caller's and must outlive the object.
    StoreStatement& BindBytes(int iParameter, const void* pData, std::size_t cBytes);
    /// @return whether there is a row.
    bool Step();
    std::int64_t Integer(int iColumn) noexcept;
    std::string_view Text(int iColumn) noexcept;
    /// Valid until the next Step.
    std::string_view Bytes(int iColumn) noexcept;

private:
    sqlite3_stmt* m_pStatement;
};

/// One transaction on the store.  Holds the store's lock; rolls back unless Commit was called.
/// Threads: one transaction at a time in a process; processes wait for each other, ten seconds at most (Busy).
/// Failure: throws StoreFailure and std::bad_alloc; nothing is changed then.
class StoreTransaction {
public:
    enum class Kind { Read, Write };
    explicit StoreTransaction(Kind eKind);
    ~StoreTransaction();
    StoreTransaction(const StoreTransaction&) = delete;
    StoreTransaction& operator=(const StoreTransaction&) = delete;

    /// A statement of the connection's cache; `pszSql` is a literal, its address is the key.
    StoreStatement Prepare(const char* pszSql);
    std::int64_t LastInsertedId() noexcept;
    void Commit();
    /// Counts the stores that the process has used: handles carry it.
    std::uint64_t StoreNumber() const noexcept;

    /// Keys that every store has.
    static constexpr std::int64_t KEY_LOCAL_MACHINE = 1, KEY_USERS = 2;
    std::int64_t ClassesKey() const noexcept;
    std::int64_t CurrentUserKey() const noexcept;

private:
    std::unique_lock<std::mutex> m_oLock;
    sqlite3* m_pDatabase;
    bool m_fOpen = true;
};

}  // namespace vlm::host
