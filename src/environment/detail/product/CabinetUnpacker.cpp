/// @file
/// Unpacks beside the target, and moves in.
#include "environment/detail/product/CabinetUnpacker.h"

#include <map>
#include <set>
#include <utility>

#include "environment/detail/product/FolderTree.h"
#include "platform/Platform.h"
#include "utilities/Bounds.h"
#include "utilities/compression/CabinetArchive.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/SimpleFile.h"
#include "utilities/utilitiesdll/SystemText.h"

namespace vlm {

namespace {

FilePort& Files() noexcept {
    return *GetPlatform().pFiles;
}

CXString Lower(CXString csText) {
    return csText.MakeLower();
}

/// The names of one cabinet file in the form that paths are built from.
std::vector<CXString> CheckNames(const CabinetArchive& rArchive) {
    std::vector<CXString> vcsNames;
    std::set<CXString> setFiles, setFolders;
    for (const CabinetArchive::Member& rMember : rArchive.GetMembers()) {
        CXString csName = rMember.csName;
        if (!CabinetArchive::IsSafeName(csName)) {
            VLM_THROW(ExceptionCompression,
                      VTEXT("The cabinet file is refused: its member '%s' has a name that is not safe."), csName);
        }
        csName.Replace(VTEXT('/'), VTEXT('\\'));
        bool fMeets = !setFiles.insert(Lower(csName)).second || setFolders.contains(Lower(csName));
        int cFolders = 0;
        for (CXString csFolder = folders::ParentOf(Lower(csName)); !csFolder.IsEmpty();
             csFolder = folders::ParentOf(csFolder)) {
            fMeets = fMeets || setFiles.contains(csFolder);
            setFolders.insert(csFolder);
            ++cFolders;
        }
        if (fMeets || cFolders >= static_cast<int>(bounds::MAX_FOLDER_LEVELS)) {
            VLM_THROW(ExceptionCompression,
                      VTEXT("The cabinet file is refused: its member '%s' meets another one, or lies too deep."),
                      csName);
        }
        vcsNames.push_back(csName);
    }
    return vcsNames;
}

[[noreturn]] void RefuseWrite(const CXString& kcsPath, Status status) {
    VLM_THROW(ExceptionWriteFile, VTEXT("The unpacked file or folder '%s' cannot be made! %s"), kcsPath,
              TextOfStatus(status));
}

void RequireWrite(const CXString& kcsPath, Status status) {
    if (status != Status::Success) RefuseWrite(kcsPath, status);
}

}  // namespace

CabinetUnpacker::CabinetUnpacker(const CXString& kcsTarget)
    : m_csTarget(kcsTarget), m_csStaging(kcsTarget + VTEXT(".new")) {}

CabinetUnpacker::~CabinetUnpacker() {
    if (!m_fPrepared) return;
    NoThrow([&] {
        const Status status = folders::DeleteTree(m_csStaging);
        if (status == Status::Success) return;
        VLM_REPORT_ERROR(DebugCategory::Utils, VTEXT("The folder '%s' stays until the next unpacking! %s"), m_csStaging,
                         TextOfStatus(status));
    });
}

void CabinetUnpacker::Prepare() {
    if (m_fPrepared) return;
    RequireWrite(m_csStaging, folders::DeleteTree(m_csStaging));
    RequireWrite(m_csTarget, folders::Make(folders::ParentOf(m_csTarget)));
    m_fPrepared = true;
    RequireWrite(m_csStaging, Files().CreateDirectoryAt(m_csStaging));
}

void CabinetUnpacker::Extract(const CXString& kcsCabFile) {
    ByteBuffer bbImage;
    SimpleFile(kcsCabFile).ReadTheFile(bbImage, bounds::MAX_FILE_ORIGINAL_BYTES);
    Prepare();
    ExtractImage(bbImage, CXString(), CXString());
}

void CabinetUnpacker::ExtractNested(const CXString& kcsRelative, const CXString& kcsName) {
    const CXString csPath = folders::Join(folders::Join(m_csStaging, kcsRelative), kcsName);
    ByteBuffer bbImage;
    const Status status = folders::Read(csPath, bounds::MAX_FILE_ORIGINAL_BYTES, true, bbImage);
    if (status != Status::Success) {
        VLM_THROW(ExceptionReadFile, VTEXT("The nested cabinet file '%s' cannot be read! %s"), csPath,
                  TextOfStatus(status));
    }
    ExtractImage(bbImage, kcsRelative, kcsName);
}

void CabinetUnpacker::ExtractImage(const ByteBuffer& kbbImage, const CXString& kcsRelative,
                                   const CXString& kcsOwnName) {
    TranslateOutOfMemory([&] {
        const CabinetArchive oArchive(kbbImage);
        const std::vector<CXString> vcsNames = CheckNames(oArchive);
        m_cFiles += vcsNames.size();
        m_cBytes += oArchive.GetOriginalDataSize();
        if (m_cFiles > bounds::MAX_UNPACKED_FILES || m_cBytes > bounds::MAX_UNPACKED_BYTES ||
            ++m_cCabinets > bounds::MAX_UNPACKED_CABINETS) {
            VLM_THROW(ExceptionCompression,
                      VTEXT("The cabinet file is refused: with what it holds there are %I64u files and %I64u bytes in "
                            "%I64u cabinet files."),
                      static_cast<ULONGLONG>(m_cFiles), static_cast<ULONGLONG>(m_cBytes),
                      static_cast<ULONGLONG>(m_cCabinets));
        }
        const std::vector<ByteBuffer> vbbContents = oArchive.ExtractAll();
        for (std::size_t u = 0; u < vcsNames.size(); ++u) {
            if (!kcsOwnName.IsEmpty() && vcsNames[u].CompareNoCase(kcsOwnName) == 0) continue;
            const CXString csRelative = folders::Join(kcsRelative, vcsNames[u]);
            const CXString csPath = folders::Join(m_csStaging, csRelative);
            RequireWrite(csPath, folders::MakeBelow(m_csStaging, folders::ParentOf(csRelative)));
            Status status = folders::WriteNew(csPath, vbbContents[u]);
            // A nested cabinet file may bring a newer form of what is there.
            if (status == Status::FileExists && folders::KindOf(csPath) == folders::Kind::File) {
                status = folders::DeleteItem(folders::ParentOf(csPath), {folders::LeafOf(csPath)});
                if (status == Status::Success) status = folders::WriteNew(csPath, vbbContents[u]);
            }
            RequireWrite(csPath, status);
        }
    });
}

void CabinetUnpacker::MoveIn() {
    Prepare();
    RequireWrite(m_csTarget, folders::MakeBelow(folders::ParentOf(m_csTarget), folders::LeafOf(m_csTarget)));
    const Status status =
        folders::Walk(m_csStaging, [&](const CXString& kcsRelative, const std::vector<folders::Item>& rvo) {
            const CXString csFolder = folders::Join(m_csTarget, kcsRelative);
            RequireWrite(csFolder, folders::MakeBelow(m_csTarget, kcsRelative));
            for (const folders::Item& rItem : rvo) {
                if (rItem.IsLink()) RefuseWrite(folders::Join(csFolder, rItem.csName), Status::AccessDenied);
                if (rItem.IsFile()) MoveFileIn(kcsRelative, rItem.csName);
            }
            return Status::Success;
        });
    RequireWrite(m_csTarget, status);
}

void CabinetUnpacker::MoveFileIn(const CXString& kcsRelative, const CXString& kcsName) {
    const CXString csFrom = folders::Join(folders::Join(m_csStaging, kcsRelative), kcsName);
    const CXString csTo = folders::Join(folders::Join(m_csTarget, kcsRelative), kcsName);
    Status status = Files().Move(csFrom, csTo, true);
    if (status != Status::Success) {
        // A read-only file is replaced like any other; one that somebody reads is fine if it is the same.
        ByteBuffer bbOld, bbNew;
        const bool fSame = folders::Read(csTo, bounds::MAX_FILE_ORIGINAL_BYTES, true, bbOld) == Status::Success &&
                           folders::Read(csFrom, bounds::MAX_FILE_ORIGINAL_BYTES, true, bbNew) == Status::Success &&
                           bbOld == bbNew;
        if (fSame) return;
        SimpleFile::EnsureFileIsWritable(csTo);
        status = Files().Move(csFrom, csTo, true);
    }
    RequireWrite(csTo, status);
    // A link that was put on the way meanwhile shows now.
    FilePort::OpenOptions oOptions;
    oOptions.eAccess = FilePort::Access::Attributes;
    oOptions.dwShare = FilePort::ShareRead | FilePort::ShareWrite | FilePort::ShareDelete;
    oOptions.fPlainLocalFile = true;
    HANDLE hFile = nullptr;
    RequireWrite(csTo, Files().Open(csTo, oOptions, hFile));
    Files().Close(hFile);
}

}  // namespace vlm
