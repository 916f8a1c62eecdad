/// @file
/// What the contract suites about files share.
#pragma once

#include "PortContract.h"
#include "platform/OpenFilePort.h"

namespace vlm::test {

using Access = FilePort::Access;
using Disposition = FilePort::Disposition;
using Options = FilePort::OpenOptions;

inline constexpr DWORD NONE = FilePort::ShareNone, READ = FilePort::ShareRead, WRITE = FilePort::ShareWrite,
                       DELETE_ = FilePort::ShareDelete, ALL = READ | WRITE | DELETE_;
inline constexpr Options READING{Access::Read, Disposition::OpenExisting, ALL, true, false};
inline constexpr Options WRITING{Access::ReadWrite, Disposition::OpenAlways, ALL, true, false};

/// A folder of its own for each test, on the disk of the adapter that is tested.
class FileContract : public PortContract {
protected:
    void SetUp() override {
        PortContract::SetUp();
        if (IsFake()) {
            m_folder = VTEXT("C:\\work");
            m_oFake.files.AddFolder(m_folder);
            return;
        }
        m_oFolder = std::filesystem::temp_directory_path() / std::filesystem::path(UniqueName());
        std::filesystem::create_directory(m_oFolder);
        m_folder = m_oFolder.string<XCHAR>();
    }
    void TearDown() override {
        if (IsFake()) return;
        for (const auto& rEntry : std::filesystem::recursive_directory_iterator(m_oFolder)) {
            std::filesystem::permissions(rEntry.path(), std::filesystem::perms::owner_all);
        }
        std::filesystem::remove_all(m_oFolder);
    }

    FilePort& Files() const { return *Ports().pFiles; }
    OpenFilePort& OpenFiles() const { return *Ports().pOpenFiles; }
    XString Path(XStringView svName) const { return m_folder + VTEXT('\\') + XString(svName); }
    HANDLE Open(const XString& rPath, const Options& rOptions) const {
        HANDLE hFile = nullptr;
        EXPECT_EQ(Files().Open(rPath.c_str(), rOptions, hFile), Status::Success);
        return hFile;
    }
    Status TryOpen(const XString& rPath, const Options& rOptions) const {
        HANDLE hFile = nullptr;
        const Status eStatus = Files().Open(rPath.c_str(), rOptions, hFile);
        if (eStatus == Status::Success) {
            EXPECT_EQ(Files().Close(hFile), Status::Success);
        }
        return eStatus;
    }
    void Put(const XString& rPath, std::string_view svContents) const {
        const HANDLE hFile = Open(rPath, {Access::ReadWrite, Disposition::CreateAlways, ALL, true, false});
        DWORD dwWritten = 0;
        EXPECT_EQ(Files().Write(hFile, svContents.data(), static_cast<DWORD>(svContents.size()), dwWritten),
                  Status::Success);
        EXPECT_EQ(dwWritten, svContents.size());
        EXPECT_EQ(Files().Close(hFile), Status::Success);
    }
    std::string Read(HANDLE hFile, DWORD dwBytes) const {
        std::string bytes(dwBytes, '#');
        DWORD dwRead = 99;
        EXPECT_EQ(Files().Read(hFile, bytes.data(), dwBytes, dwRead), Status::Success);
        bytes.resize(dwRead);
        return bytes;
    }
    std::string Contents(const XString& rPath) const {
        const HANDLE hFile = Open(rPath, READING);
        const std::string bytes = Read(hFile, 4096);
        EXPECT_EQ(Files().Close(hFile), Status::Success);
        return bytes;
    }
    bool Exists(const XString& rPath) const {
        DWORD dwAttributes = 0;
        return Files().GetAttributes(rPath.c_str(), dwAttributes) == Status::Success;
    }

    XString m_folder;
    std::filesystem::path m_oFolder;
};

}  // namespace vlm::test
