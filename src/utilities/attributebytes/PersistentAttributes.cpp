/// @file
/// A settings collection as one opaque, compressed block, and back.
#include "utilities/attributebytes/PersistentAttributes.h"

#include <atomic>

#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

constinit std::atomic<LONG> glDocPropNameSpaceId{1};
constinit std::atomic<LONG> glDevicePropNameSpaceId{2};
constinit std::atomic<LONG> glMsDeviceCapabilitiesNameSpaceId{3};

}  // namespace

PersistentAttributes::PersistentAttributes() {
    DoDefaultConstruction();
}

PersistentAttributes::PersistentAttributes(const ByteBuffer& rbbState) {
    DoDefaultConstruction();
    DriverVersion oVersion;
    ImportPersistentAttributesState(rbbState, oVersion, false, false);
}

PersistentAttributes::PersistentAttributes(const AttributeBytesNameSpaces& rNameSpaces) {
    SetAttributeBytesNameSpaces(rNameSpaces);
}

PersistentAttributes::PersistentAttributes(const PersistentAttributes& rOther) = default;
PersistentAttributes& PersistentAttributes::operator=(const PersistentAttributes& rOther) {
    if (this != &rOther) {
        PersistentAttributes oCopy(rOther);
        m_bbStateData.swap(oCopy.m_bbStateData);
        m_oNameSpaces = std::move(oCopy.m_oNameSpaces);
    }
    return *this;
}
PersistentAttributes::~PersistentAttributes() = default;

void PersistentAttributes::DoDefaultConstruction() {
    m_oNameSpaces = AttributeBytesNameSpaces();
    m_bbStateData.clear();
}

// ---- contents ----

void PersistentAttributes::SetStateData(const ByteBuffer& rbbStateData) {
    m_bbStateData = rbbStateData;
}

void PersistentAttributes::SetAttributeBytesNameSpaces(const AttributeBytesNameSpaces& rNameSpaces) {
    AttributeBytesNameSpaces oNameSpaces(rNameSpaces);
    ByteBuffer bbStateData = BuildStateData(oNameSpaces);
    m_bbStateData.swap(bbStateData);
    m_oNameSpaces = std::move(oNameSpaces);
}

std::unique_ptr<AttributeBytesIndexedList> PersistentAttributes::GetAttributeBytesListForNameSpace(
    LONG lNameSpaceId) const {
    return m_oNameSpaces.GetNameSpaceAttributes(lNameSpaceId);
}

ByteBuffer PersistentAttributes::GetPersistentAttributesState() const {
    ByteBuffer bbState = m_bbStateData.empty() ? BuildStateData(m_oNameSpaces) : m_bbStateData;
    VLM_REPORT(DebugCategory::AttrBytes, VTEXT("Getting PersistentAttributes state (size=%ld bytes)"),
               bbState.GetLength());
    return bbState;
}

LONG PersistentAttributes::GetDataModelDocPropNameSpaceId() noexcept {
    return glDocPropNameSpaceId;
}
LONG PersistentAttributes::GetDataModelDevicePropNameSpaceId() noexcept {
    return glDevicePropNameSpaceId;
}
LONG PersistentAttributes::GetMsDeviceCapabilitiesNameSpaceId() noexcept {
    return glMsDeviceCapabilitiesNameSpaceId;
}
void PersistentAttributes::SetPredefinedNameSpaceIds(LONG lDocProp, LONG lDeviceProp,
                                                     LONG lMsDeviceCapabilities) noexcept {
    glDocPropNameSpaceId = lDocProp;
    glDevicePropNameSpaceId = lDeviceProp;
    glMsDeviceCapabilitiesNameSpaceId = lMsDeviceCapabilities;
}

// ---- building ----

bool PersistentAttributes::IsCurrentVersionHeader(const HeaderStructure& rHeader) noexcept {
    return rHeader.m_dwSize == HEADER_BYTES && rHeader.m_dwVersion == CURRENT_VERSION;
}

void PersistentAttributes::InitializeHeaderStructure(HeaderStructure& rHeader) noexcept {
    rHeader = {HEADER_BYTES, CURRENT_VERSION, DriverVersion::GetLibraryVersion()};
}

ByteBuffer PersistentAttributes::BuildStateData(const AttributeBytesNameSpaces& rNameSpaces) {
    HeaderStructure oHeader;
    InitializeHeaderStructure(oHeader);
    ByteBuffer bbStateData;
    CreateStateDataFromComponents(oHeader, rNameSpaces.GetAttributeBytesNameSpacesState(), bbStateData);
    return bbStateData;
}

void PersistentAttributes::CreateStateDataFromComponents(const HeaderStructure& rHeader,
                                                         const ByteBuffer& rbbNameSpacesState, ByteBuffer& rbbOut) {
    ByteBuffer bbStateData;
    bbStateData.appendDwordValue(rHeader.m_dwSize).appendDwordValue(rHeader.m_dwVersion);
    rHeader.m_oDriverVersion.AppendDriverVersionState(bbStateData);

    CabCompressedBuffer oCompressed(CompressedBuffer::CF_MS_CABINET, CompressedBuffer::DEFAULT_COMPRESSION_LEVEL);
    oCompressed.Store(rbbNameSpacesState);
    bbStateData.appendLpbyte(oCompressed.GetCompressedBufferStateLpbyte(), oCompressed.GetCompressedBufferStateSize());
    VLM_REPORT(DebugCategory::AttrBytes, VTEXT("Compressed data created (%ld bytes, down from %ld)."),
               oCompressed.GetCompressedBufferStateSize(), rbbNameSpacesState.GetLength());
    rbbOut.swap(bbStateData);
}

// ---- importing ----

bool PersistentAttributes::ImportPersistentAttributesState(const ByteBuffer& rbbState, DriverVersion& rVersion,
                                                           bool fTrustedSource, bool fDumpStateData) {
    if (fDumpStateData) DumpStateData(rbbState);
    RequireHeader(rbbState);
    ByteBuffer bbStateData = UpgradeOldStateDataVersionIfNecessary(rbbState);

    VLM_REPORT(
        DebugCategory::AttrBytes,
        VTEXT("Break the state data buffer into the components: header and AttributeBytesNameSpaces state data."));
    HeaderStructure oHeader;
    ByteBuffer bbCompressedData;
    GetMajorComponentsFromStateDataBuffer(bbStateData, oHeader, bbCompressedData);
    if (!IsCurrentVersionHeader(oHeader)) {
        VLM_REPORT_ERROR(DebugCategory::AttrBytes,
                         VTEXT("Import request ignored. Don't have header structure of the most recent version. The "
                               "header information doesn't exist or doesn't match."));
        return false;
    }

    ByteBuffer bbNameSpacesState;
    ValidateCompressedData(bbCompressedData, fTrustedSource, bbNameSpacesState);
    AttributeBytesNameSpaces oNameSpaces;
    const DriverVersion oVersion = oNameSpaces.ImportAttributeBytesNameSpacesState(bbNameSpacesState);

    m_bbStateData.swap(bbStateData);
    m_oNameSpaces = std::move(oNameSpaces);
    rVersion = oVersion;
    return true;
}

ByteBuffer PersistentAttributes::UpgradeOldStateDataVersionIfNecessary(const ByteBuffer& rbbStateData) {
    if (rbbStateData.size() >= HEADER_BYTES && IsCurrentVersionHeader(ReadHeader(rbbStateData))) {
        VLM_REPORT(DebugCategory::AttrBytes,
                   VTEXT("The state data is not an older version, so returning the unmodified source buffer."));
    }
    return rbbStateData;
}

void PersistentAttributes::ValidateCompressedData(const ByteBuffer& rbbCompressedData, bool fTrustedSource,
                                                  ByteBuffer& rbbNameSpacesState) {
    VLM_REPORT(DebugCategory::AttrBytes, VTEXT("Convert the compressed data into a CompressedBuffer."));
    const std::unique_ptr<CabCompressedBuffer> apoCompressed =
        CabCompressedBuffer::CreateWithBufferState(rbbCompressedData);
    if (!fTrustedSource) {
        VLM_REPORT(DebugCategory::AttrBytes,
                   VTEXT("Decompress the data in the CompressedBuffer and create a new ByteBuffer."));
    }
    ByteBuffer bbNameSpacesState;
    apoCompressed->GetOriginalData(bbNameSpacesState);
    if (bbNameSpacesState.size() != apoCompressed->GetOriginalDataSize()) {
        VLM_THROW(ExceptionMissingOrBadPersistentAttributesFormat,
                  VTEXT("Size of decompressed data (%ld) doesn't match the expected original size (%ld)."),
                  bbNameSpacesState.GetLength(), apoCompressed->GetOriginalDataSize());
    }
    if (fTrustedSource) {
        VLM_REPORT(DebugCategory::AttrBytes,
                   VTEXT("The state data from the trusted source passes a minimal validity test. Import request "
                         "fulfilled."));
    } else {
        VLM_REPORT(DebugCategory::AttrBytes,
                   VTEXT("Data is OK. Got real, decompressed data from raw data buffer. Size is what we expected."));
        VLM_REPORT(DebugCategory::AttrBytes, VTEXT("Compressed data is valid. Import request fulfilled."));
    }
    rbbNameSpacesState.swap(bbNameSpacesState);
}

void PersistentAttributes::RequireHeader(const ByteBuffer& rbbStateData) {
    if (rbbStateData.size() < HEADER_BYTES) {
        // Deliberate: the doubled blank; readers of logs search for the text as it is.
        VLM_THROW(
            ExceptionMissingOrBadPersistentAttributesFormat,
            VTEXT("The ByteBuffer data is not big enough (%ld bytes) to contain the required header  (%ld bytes)!"),
            rbbStateData.GetLength(), HEADER_BYTES);
    }
}

PersistentAttributes::HeaderStructure PersistentAttributes::ReadHeader(const ByteBuffer& rbbStateData) {
    const BYTE* pbyCursor = rbbStateData.data();
    DWORD dwRemaining = rbbStateData.GetLength();
    HeaderStructure oHeader;
    oHeader.m_dwSize = static_cast<DWORD>(ByteBuffer::WalkBufferToGetLong(pbyCursor, dwRemaining));
    oHeader.m_dwVersion = static_cast<DWORD>(ByteBuffer::WalkBufferToGetLong(pbyCursor, dwRemaining));
    oHeader.m_oDriverVersion = DriverVersion::WalkBufferToGetDriverVersion(pbyCursor, dwRemaining);
    return oHeader;
}

void PersistentAttributes::GetMajorComponentsFromStateDataBuffer(const ByteBuffer& rbbStateData,
                                                                 HeaderStructure& rHeader,
                                                                 ByteBuffer& rbbCompressedData) {
    RequireHeader(rbbStateData);
    const HeaderStructure oHeader = ReadHeader(rbbStateData);
    rbbCompressedData.setWithLpbyte(rbbStateData.data() + HEADER_BYTES, rbbStateData.size() - HEADER_BYTES);
    rHeader = oHeader;
}

void PersistentAttributes::GetComponentsFromStateDataBuffer(const ByteBuffer& rbbStateData, HeaderStructure& rHeader,
                                                            ByteBuffer& rbbNameSpacesState) {
    HeaderStructure oHeader;
    ByteBuffer bbCompressedData;
    GetMajorComponentsFromStateDataBuffer(rbbStateData, oHeader, bbCompressedData);
    GetComponentsFromCompressedDataBuffer(bbCompressedData, rbbNameSpacesState);
    rHeader = oHeader;
}

void PersistentAttributes::GetComponentsFromCompressedDataBuffer(const ByteBuffer& rbbCompressedData,
                                                                 ByteBuffer& rbbNameSpacesState) {
    ValidateCompressedData(rbbCompressedData, false, rbbNameSpacesState);
}

void PersistentAttributes::DumpStateData(const ByteBuffer& rbbStateData) noexcept {
    vlm::NoThrow([&rbbStateData] {
        VLM_REPORT(DebugCategory::AttrDump, VTEXT("PersistentAttributes state data is %ld bytes"),
                   rbbStateData.GetLength());
        if (rbbStateData.size() < HEADER_BYTES) return;
        const HeaderStructure oHeader = ReadHeader(rbbStateData);
        VLM_REPORT(DebugCategory::AttrDump, VTEXT("m_dwSize          = %ld (expecting %ld)"), oHeader.m_dwSize,
                   HEADER_BYTES);
        VLM_REPORT(DebugCategory::AttrDump, VTEXT("m_dwVersion       = 0x%08lx (expecting 0x%08lx)"),
                   oHeader.m_dwVersion, CURRENT_VERSION);
        VLM_REPORT(DebugCategory::AttrDump, VTEXT("m_oDriverVersion  = %s"), oHeader.m_oDriverVersion.GetStringValue());
        VLM_REPORT(DebugCategory::AttrDump, VTEXT("There are %ld bytes of raw data."),
                   static_cast<DWORD>(rbbStateData.size() - HEADER_BYTES));
    });
}
