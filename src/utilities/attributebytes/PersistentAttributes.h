/// @file
/// A settings collection as one opaque, compressed block, and back.
#pragma once

#include <memory>

#include "utilities/attributebytes/AttributeBytesNameSpaces.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/DriverVersion.h"

/// Attribute name spaces and the block that stores them in a device mode, a registry value or a file.  The block:
///
///     offset  size  field
///          0     4  header size, always 16
///          4     4  version, 0x20070001
///          8     8  driver version of the library that wrote it: four 16-bit parts
///         16        state of a CabCompressedBuffer (format 2, level -1) that holds an AttributeBytesNameSpaces state
///
/// **Threads**: no lock of its own; one thread at a time.
/// **Failure**: an operation that throws, or answers false, leaves the object as it was.
class VLM_API PersistentAttributes {
public:
    static constexpr DWORD HEADER_BYTES = 16;
    static constexpr DWORD CURRENT_VERSION = 0x20070001;

    /// The first 16 bytes of a block.
    struct HeaderStructure {
        DWORD m_dwSize = 0;
        DWORD m_dwVersion = 0;
        DriverVersion m_oDriverVersion;
    };

    /// No name spaces, and no block yet.
    PersistentAttributes();
    /// From a block, as ImportPersistentAttributesState from a source that is not trusted; a block with an unknown
    /// header gives an empty object.
    explicit PersistentAttributes(const ByteBuffer& rbbState);
    explicit PersistentAttributes(const AttributeBytesNameSpaces& rNameSpaces);
    PersistentAttributes(const PersistentAttributes& rOther);
    PersistentAttributes& operator=(const PersistentAttributes& rOther);
    ~PersistentAttributes();

    /// The block that stores the name spaces.
    ByteBuffer GetPersistentAttributesState() const;
    /// Takes a block over, after every check has passed.
    /// @param rVersion the version in the name-space state; set only when the block was taken over.
    /// @param fTrustedSource true: whoever stored the block vouches for it, and it is reported so.  It is decompressed
    ///        once in either case, and sizes, bounds and signatures are checked all the same.
    /// @param fDumpStateData true: also writes a breakdown of the block as debug messages, taken over or not.
    /// @return false when the header is unknown; the block is then ignored.
    /// @throws ExceptionMissingOrBadPersistentAttributesFormat for fewer than 16 bytes or a size that does not match;
    ///         as CabCompressedBuffer and AttributeBytesNameSpaces do for what they read.
    bool ImportPersistentAttributesState(const ByteBuffer& rbbState, DriverVersion& rVersion, bool fTrustedSource,
                                         bool fDumpStateData);

    /// The block as it was last built or imported; empty when there is none yet.
    const ByteBuffer& GetStateData() const noexcept { return m_bbStateData; }
    /// Replaces the block alone, unchecked; the name spaces stay.  An empty one is built anew when it is asked for.
    void SetStateData(const ByteBuffer& rbbStateData);
    const AttributeBytesNameSpaces& GetAttributeBytesNameSpaces() const noexcept { return m_oNameSpaces; }
    /// Replaces the name spaces and builds the block that stores them.
    void SetAttributeBytesNameSpaces(const AttributeBytesNameSpaces& rNameSpaces);
    /// The records of one name space.  @throws as AttributeBytesNameSpaces::GetNameSpaceAttributes.
    std::unique_ptr<AttributeBytesIndexedList> GetAttributeBytesListForNameSpace(LONG lNameSpaceId) const;

    /// The numbers of the predefined name spaces: 1, 2 and 3, unless start-up code sets others.
    /// **Threads**: any.
    static LONG GetDataModelDocPropNameSpaceId() noexcept;
    static LONG GetDataModelDevicePropNameSpaceId() noexcept;
    static LONG GetMsDeviceCapabilitiesNameSpaceId() noexcept;
    static void SetPredefinedNameSpaceIds(LONG lDocProp, LONG lDeviceProp, LONG lMsDeviceCapabilities) noexcept;

    // The steps of building and importing.

    static bool IsCurrentVersionHeader(const HeaderStructure& rHeader) noexcept;
    /// Fills in the current size, version and the library's driver version.
    static void InitializeHeaderStructure(HeaderStructure& rHeader) noexcept;
    /// Header and compressed name-space state, in `rbbOut`.
    static void CreateStateDataFromComponents(const HeaderStructure& rHeader, const ByteBuffer& rbbNameSpacesState,
                                              ByteBuffer& rbbOut);
    /// Splits a block into its header and its compressed part.
    /// @throws ExceptionMissingOrBadPersistentAttributesFormat for fewer than 16 bytes.
    static void GetMajorComponentsFromStateDataBuffer(const ByteBuffer& rbbStateData, HeaderStructure& rHeader,
                                                      ByteBuffer& rbbCompressedData);
    /// Splits a block into its header and its decompressed name-space state.
    static void GetComponentsFromStateDataBuffer(const ByteBuffer& rbbStateData, HeaderStructure& rHeader,
                                                 ByteBuffer& rbbNameSpacesState);
    /// Decompresses the compressed part.
    static void GetComponentsFromCompressedDataBuffer(const ByteBuffer& rbbCompressedData,
                                                      ByteBuffer& rbbNameSpacesState);
    /// Decompresses the compressed part and compares the size with the one that its footer records.
    /// @throws ExceptionMissingOrBadPersistentAttributesFormat when they differ; as CabCompressedBuffer does.
    static void ValidateCompressedData(const ByteBuffer& rbbCompressedData, bool fTrustedSource,
                                       ByteBuffer& rbbNameSpacesState);
    /// The block in the current version.  No older version is known yet, so every block is answered as it is.
    static ByteBuffer UpgradeOldStateDataVersionIfNecessary(const ByteBuffer& rbbStateData);
    /// Writes a breakdown of a block of any content as debug messages; never throws.
    static void DumpStateData(const ByteBuffer& rbbStateData) noexcept;

private:
    void DoDefaultConstruction();
    static ByteBuffer BuildStateData(const AttributeBytesNameSpaces& rNameSpaces);
    static void RequireHeader(const ByteBuffer& rbbStateData);
    static HeaderStructure ReadHeader(const ByteBuffer& rbbStateData);

    ByteBuffer m_bbStateData;
    AttributeBytesNameSpaces m_oNameSpaces;
};
