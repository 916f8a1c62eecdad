/// @file
/// Folders of the system.
#pragma once

#include <map>
#include <memory>

#include "platform/FolderPort.h"
#include "platform/win32/System.h"

namespace vlm::win32 {

class Win32FolderPort final : public FolderPort {
public:
    Status OpenFolder(const XCHAR* pszPath, HANDLE& rhFolder) noexcept override;
    Status NextEntry(HANDLE hFolder, Entry& rEntry) noexcept override;
    Status CloseFolder(HANDLE hFolder) noexcept override;
    Status RemoveFolder(const XCHAR* pszPath) noexcept override;
    Status CopyTo(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept override;
    Status DeleteAtRestart(const XCHAR* pszPath) noexcept override;

private:
    struct List;
    /// By the system's handle.  Made with the first list.
    using Lists = std::map<HANDLE, std::shared_ptr<List>>;

    SRWLOCK m_oLock = SRWLOCK_INIT;
    std::unique_ptr<Lists> m_apoLists;
};

}  // namespace vlm::win32
