/// @file
/// One file in a folder on a disk in memory.
#pragma once

#include <gtest/gtest.h>

#include "formats/Buffers.h"
#include "support/FakePlatform.h"

namespace vlm::test {

/// Whatever a test does to the file, no handle may stay open.
class FileOnAFake : public testing::Test {
protected:
    static constexpr const XCHAR* PATH = VTEXT("C:\\data\\file.bin");

    FileOnAFake() : m_oScope(m_oFake.Get()) { m_oFake.files.AddFolder(VTEXT("C:\\data")); }
    ~FileOnAFake() override { EXPECT_EQ(m_oFake.files.OpenHandles(), 0u); }

    void Put(std::string_view svContents, DWORD dwAttributes = FilePort::ATTRIBUTE_NORMAL) {
        m_oFake.files.AddFile(PATH, BytesOf(svContents), dwAttributes);
    }
    std::string Contents() const {
        const auto ovby = m_oFake.files.Contents(PATH);
        return ovby ? std::string(ovby->begin(), ovby->end()) : "(none)";
    }

    FakePlatform m_oFake;
    PlatformScope m_oScope;
};

}  // namespace vlm::test
