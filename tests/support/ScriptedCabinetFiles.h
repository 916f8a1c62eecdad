/// @file
/// Files in memory for the cabinet port's tests: the n-th callback can be made to fail, and what is left open shows.
#pragma once

#include <algorithm>
#include <cstring>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "platform/CabinetPort.h"

namespace vlm::test {

class ScriptedCabinetFiles : public CabinetFiles, public CabinetMembers {
public:
    using Bytes = std::vector<BYTE>;

    std::map<std::string, Bytes> mapFiles;
    std::vector<std::string> vNames;  ///< the names of the members offered, in order
    int iFailAt = 0;                  ///< 1: the first callback fails; 0: none
    int cCalls = 0;
    int cBlocks = 0;            ///< memory blocks not yet given back
    bool fShortWrites = false;  ///< the failing write answers one byte less instead of -1
    std::string strSkip;        ///< the member to answer 0 for

    std::size_t OpenFiles() const { return m_mapOpen.size(); }

    std::intptr_t Open(const char* pszName, Mode eMode) noexcept override {
        if (Fails()) return -1;
        if (eMode == Mode::Read && !mapFiles.count(pszName)) return -1;
        if (eMode == Mode::CreateReadWrite) mapFiles[pszName].clear();
        m_mapOpen[++m_hLast] = {pszName, 0};
        return m_hLast;
    }
    UINT Read(std::intptr_t hFile, void* pTarget, UINT cBytes) noexcept override {
        if (Fails()) return 0xFFFFFFFF;
        auto& rOpen = m_mapOpen.at(hFile);
        const Bytes& rBytes = mapFiles[rOpen.strName];
        if (rOpen.uPosition >= rBytes.size()) return 0;
        const std::size_t c = std::min<std::size_t>(cBytes, rBytes.size() - rOpen.uPosition);
        std::memcpy(pTarget, rBytes.data() + rOpen.uPosition, c);
        rOpen.uPosition += c;
        return static_cast<UINT>(c);
    }
    UINT Write(std::intptr_t hFile, const void* pSource, UINT cBytes) noexcept override {
        if (Fails()) return fShortWrites && cBytes > 0 ? cBytes - 1 : 0xFFFFFFFF;
        auto& rOpen = m_mapOpen.at(hFile);
        Bytes& rBytes = mapFiles[rOpen.strName];
        if (rBytes.size() < rOpen.uPosition + cBytes) rBytes.resize(rOpen.uPosition + cBytes);
        if (cBytes > 0) std::memcpy(rBytes.data() + rOpen.uPosition, pSource, cBytes);
        rOpen.uPosition += cBytes;
        return cBytes;
    }
    LONG Seek(std::intptr_t hFile, LONG lDistance, int iOrigin) noexcept override {
        if (Fails()) return -1;
        auto& rOpen = m_mapOpen.at(hFile);
        const std::size_t uBase = iOrigin == 0 ? 0 : iOrigin == 1 ? rOpen.uPosition : mapFiles[rOpen.strName].size();
        rOpen.uPosition = uBase + static_cast<std::size_t>(static_cast<std::ptrdiff_t>(lDistance));
        return static_cast<LONG>(rOpen.uPosition);
    }
    int Close(std::intptr_t hFile) noexcept override {
        const bool fFails = Fails();
        return m_mapOpen.erase(hFile) == 1 && !fFails ? 0 : -1;
    }
    int Delete(const char* pszName) noexcept override { return mapFiles.erase(pszName) == 1 ? 0 : -1; }
    void* Allocate(std::size_t cBytes) noexcept override {
        if (Fails()) return nullptr;
        ++cBlocks;
        return ::operator new(cBytes, std::nothrow);
    }
    void Release(void* pMemory) noexcept override {
        --cBlocks;
        ::operator delete(pMemory);
    }

    std::intptr_t OnMember(const char* pszName, DWORD, WORD) noexcept override {
        vNames.emplace_back(pszName);
        if (strSkip == pszName) return 0;
        return Open(("out:" + std::string(pszName)).c_str(), Mode::CreateReadWrite);
    }
    bool OnMemberDone(std::intptr_t hFile) noexcept override { return Close(hFile) == 0; }

private:
    struct OpenFile {
        std::string strName;
        std::size_t uPosition = 0;
    };

    bool Fails() { return ++cCalls == iFailAt; }

    std::map<std::intptr_t, OpenFile> m_mapOpen;
    std::intptr_t m_hLast = 0;
};

}  // namespace vlm::test
