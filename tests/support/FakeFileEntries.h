/// @file
/// What the disk in memory consists of; for its own sources.
#pragma once

#include "support/FakeFilePort.h"

namespace vlm::test {

/// A path with one kind of separator, no doubled ones and no dots.
XString Tidy(XStringView svPath);
/// The form that the map is keyed by: tidy and in ASCII upper case.
XString KeyOf(XStringView svPath);
XString FolderOf(const XString& rKey);
bool IsRoot(const XString& rKey);
bool IsEmptyPath(const XCHAR* pszPath);

struct FakeFilePort::DiskEntry {
    XString path;
    std::vector<BYTE> vbyContents;
    std::vector<BYTE> vbyFlushed;
    DWORD dwAttributes = ATTRIBUTE_NORMAL;
    bool fDeletePending = false;
    Facts oFacts{.cLinks = 1, .fDisk = true, .fLocal = true};
    bool IsFolder() const { return (dwAttributes & ATTRIBUTE_DIRECTORY) != 0; }
    bool IsLink() const { return (dwAttributes & ATTRIBUTE_LINK) != 0; }
    bool IsPlain() const { return oFacts.fDisk && oFacts.fLocal && !oFacts.fLink && !IsLink() && oFacts.cLinks == 1; }
    bool IsReadOnly() const { return (dwAttributes & ATTRIBUTE_READONLY) != 0; }
};

struct FakeFilePort::OpenFile {
    EntryPointer shpoEntry;
    ULONGLONG ullPosition;
    DWORD dwUses;
    DWORD dwDenies;
    bool fReadable;
    bool fWritable;
    bool fDeletable;
    bool fAttributes;
};

/// The first bytes of a file, to be shown in memory.
struct FakeFilePort::Mapping {
    EntryPointer shpoEntry;
    ULONGLONG ullBytes;
    bool fWritable;
};

/// Memory of its own, which is brought into line with the file whenever somebody looks: a write beyond its end is one
/// that the sanitizer sees.
struct FakeFilePort::View {
    Mapping oMapping;
    std::vector<BYTE> vbyMemory;
};

}  // namespace vlm::test
