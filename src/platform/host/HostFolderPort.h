/// @file
/// Folders of the host.
#pragma once

#include <memory>

#include "platform/FolderPort.h"
#include "platform/host/HandleTable.h"

namespace vlm::host {

class HostFolderPort final : public FolderPort {
public:
    Status OpenFolder(const XCHAR* pszPath, HANDLE& rhFolder) noexcept override;
    Status NextEntry(HANDLE hFolder, Entry& rEntry) noexcept override;
    Status CloseFolder(HANDLE hFolder) noexcept override;
    Status RemoveFolder(const XCHAR* pszPath) noexcept override;
    Status CopyTo(const XCHAR* pszFrom, const XCHAR* pszTo, bool fReplace) noexcept override;
    /// There is no such list: what nobody holds is deleted at once, and the kernel lets even that be deleted which
    /// somebody has open.
    Status DeleteAtRestart(const XCHAR* pszPath) noexcept override;

private:
    struct List;
    HandleTable<std::shared_ptr<List>> m_oLists;
};

}  // namespace vlm::host
