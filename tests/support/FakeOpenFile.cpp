/// @file
/// Facts, appending and mappings of the disk in memory.
#include <algorithm>

#include "support/FakeCalls.h"
#include "support/FakeFileEntries.h"

namespace vlm::test {

void FakeFilePort::SetFacts(XStringView svPath, const Facts& rFacts) {
    const FakeCall oCall(m_oMutex);
    const EntryPointer shpoEntry = LookupPath(svPath);
    ASSERT_TRUE(shpoEntry) << "facts of a file that there is not";
    shpoEntry->oFacts = rFacts;
}

void FakeFilePort::TakeOverViews() const {
    for (const auto& [pMemory, oView] : m_mapViews) {
        if (oView.oMapping.fWritable) {
            std::copy(oView.vbyMemory.begin(), oView.vbyMemory.end(), oView.oMapping.shpoEntry->vbyContents.begin());
        }
    }
}

void FakeFilePort::BringIntoViews() {
    for (auto& [pMemory, rView] : m_mapViews) {
        std::copy_n(rView.oMapping.shpoEntry->vbyContents.begin(), rView.vbyMemory.size(), rView.vbyMemory.begin());
    }
}

bool FakeFilePort::IsShownBeyond(const DiskEntry& rEntry, ULONGLONG ullSize) const {
    return std::any_of(m_mapViews.begin(), m_mapViews.end(), [&](const auto& rPair) {
        const Mapping& rMapping = rPair.second.oMapping;
        return rMapping.shpoEntry.get() == &rEntry && rMapping.ullBytes > ullSize;
    });
}

Status FakeFilePort::GetFacts(HANDLE hFile, Facts& rFacts) noexcept {
    const std::lock_guard oLock(m_oMutex);
    const OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    rFacts = pFile->shpoEntry->oFacts;
    rFacts.dwAttributes = pFile->shpoEntry->dwAttributes;
    rFacts.ullVolume = 1;
    rFacts.ullFile = reinterpret_cast<std::uintptr_t>(pFile->shpoEntry.get());
    return Status::Success;
}

Status FakeFilePort::SetAttributesOf(HANDLE hFile, DWORD dwAttributes) noexcept {
    const std::lock_guard oLock(m_oMutex);
    OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    if (!pFile->fAttributes) return Status::AccessDenied;
    dwAttributes &= ~(ATTRIBUTE_DIRECTORY | ATTRIBUTE_NORMAL);
    pFile->shpoEntry->dwAttributes = dwAttributes ? dwAttributes : ATTRIBUTE_NORMAL;
    return Status::Success;
}

Status FakeFilePort::Append(HANDLE hFile, const void* pSource, DWORD dwBytes, DWORD& rdwWritten) noexcept {
    const FakeCall oCall(m_oMutex);
    rdwWritten = 0;
    OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    if (!pFile->fWritable) return Status::AccessDenied;
    pFile->ullPosition = pFile->shpoEntry->vbyContents.size();
    return WriteTo(*pFile, pSource, dwBytes, rdwWritten);
}

Status FakeFilePort::CreateMappingOf(HANDLE hFile, ULONGLONG ullBytes, bool fWritable, HANDLE& rhMapping) noexcept {
    const FakeCall oCall(m_oMutex);
    const OpenFile* pFile = Find(hFile);
    if (pFile == nullptr) return Status::InvalidHandle;
    if (!pFile->fReadable || (fWritable && !pFile->fWritable)) return Status::AccessDenied;
    if (ullBytes >> 63) return Status::InvalidParameter;
    std::vector<BYTE>& rvbyContents = pFile->shpoEntry->vbyContents;
    if (ullBytes == 0) ullBytes = rvbyContents.size();
    if (ullBytes == 0) return Status::FileInvalid;
    if (ullBytes > rvbyContents.size()) {
        if (!fWritable) return Status::NotEnoughMemory;
        if (!HasRoom(ullBytes - rvbyContents.size())) return Status::DiskFull;
        rvbyContents.resize(ullBytes);
    }
    rhMapping = reinterpret_cast<HANDLE>(m_uiLastHandle += 4);
    m_mapMappings[rhMapping] = {pFile->shpoEntry, ullBytes, fWritable};
    return Status::Success;
}

Status FakeFilePort::MapView(HANDLE hMapping, ULONGLONG ullBytes, void*& rpView) noexcept {
    const FakeCall oCall(m_oMutex);
    const auto it = m_mapMappings.find(hMapping);
    if (it == m_mapMappings.end()) {
        ReportMisuse("a view of a mapping that is not open", hMapping);
        return Status::InvalidHandle;
    }
    if (ullBytes > it->second.ullBytes) return Status::AccessDenied;
    if (ullBytes == 0) ullBytes = it->second.ullBytes;
    TakeOverViews();
    const auto itContents = it->second.shpoEntry->vbyContents.begin();
    View oView{it->second, std::vector<BYTE>(itContents, itContents + static_cast<std::ptrdiff_t>(ullBytes))};
    rpView = oView.vbyMemory.data();
    m_mapViews.emplace(rpView, std::move(oView));
    return Status::Success;
}

Status FakeFilePort::UnmapView(void* pView) noexcept {
    const FakeCall oCall(m_oMutex);
    const auto it = m_mapViews.find(pView);
    if (it == m_mapViews.end()) {
        ReportMisuse("an address that is no view's", pView);
        return Status::InvalidAddress;
    }
    TakeOverViews();
    m_mapViews.erase(it);
    return Status::Success;
}

}  // namespace vlm::test
