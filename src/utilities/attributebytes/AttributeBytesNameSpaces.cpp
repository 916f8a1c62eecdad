/// @file
/// The settings of several name spaces.
#include "utilities/attributebytes/AttributeBytesNameSpaces.h"

#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/detail/RecordScan.h"
#include "utilities/attributebytes/detail/StoreBytes.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

const AttributeBytesListValue& GetListValue(const AttributeBytesIndexedList& rList, LONG lNameSpaceId) {
    const AttributeBytes& rRecord = rList.GetAttributeBytesRef(AttributeBytesNameSpacesId(lNameSpaceId));
    return static_cast<const AttributeBytesListValue&>(rRecord.GetAttributeBytesValue());
}

}  // namespace

AttributeBytesNameSpaces::AttributeBytesNameSpaces() = default;
AttributeBytesNameSpaces::~AttributeBytesNameSpaces() = default;
AttributeBytesNameSpaces::AttributeBytesNameSpaces(const AttributeBytesNameSpaces&) = default;
AttributeBytesNameSpaces::AttributeBytesNameSpaces(AttributeBytesNameSpaces&&) noexcept = default;
AttributeBytesNameSpaces& AttributeBytesNameSpaces::operator=(const AttributeBytesNameSpaces&) = default;
AttributeBytesNameSpaces& AttributeBytesNameSpaces::operator=(AttributeBytesNameSpaces&&) noexcept = default;

DWORD AttributeBytesNameSpaces::GetNumberOfNameSpaces() const noexcept {
    return m_oNameSpacesIndexedList.GetNumberOfAttributeBytes();
}

bool AttributeBytesNameSpaces::IsEmpty() const noexcept {
    return m_oNameSpacesIndexedList.IsEmpty();
}

LONG AttributeBytesNameSpaces::GetNameSpaceByIndex(LONG lIndex) const {
    const AttributeBytesSharedPtr shpoRecord = m_oNameSpacesIndexedList.GetAttributeBytesByIndex(lIndex);
    return static_cast<const AttributeBytesNameSpacesId&>(shpoRecord->GetAttributeBytesId()).GetNameSpaceId();
}

bool AttributeBytesNameSpaces::Exists(LONG lNameSpaceId) const noexcept {
    return m_oNameSpacesIndexedList.GetAttributeBytesPtr(AttributeBytesNameSpacesId(lNameSpaceId)) != nullptr;
}

std::unique_ptr<AttributeBytesIndexedList> AttributeBytesNameSpaces::GetNameSpaceAttributes(LONG lNameSpaceId) const {
    return m_oNameSpacesIndexedList.GetCollection(AttributeBytesNameSpacesId(lNameSpaceId));
}

void AttributeBytesNameSpaces::SetNameSpaceAttributes(LONG lNameSpaceId, const AttributeBytesList& rAttributes,
                                                      BYTE byKindOfList) {
    auto apoRawList = std::make_unique<AttributeBytesRawList>();
    apoRawList->ImportFromOtherList(rAttributes);
    m_oNameSpacesIndexedList.SetAttributeBytes(AttributeBytesNameSpacesId(lNameSpaceId),
                                               AttributeBytesListValue(std::move(apoRawList), byKindOfList));
}

void AttributeBytesNameSpaces::DeleteNameSpaceAttributes(LONG lNameSpaceId) noexcept {
    m_oNameSpacesIndexedList.DeleteAttributesBytes(AttributeBytesNameSpacesId(lNameSpaceId));
}

const AttributeBytesRawList& AttributeBytesNameSpaces::GetAttributeBytesRawList(LONG lNameSpaceId) const {
    return GetListValue(m_oNameSpacesIndexedList, lNameSpaceId).GetAttributeBytesRawList();
}

BYTE AttributeBytesNameSpaces::GetKindOfList(LONG lNameSpaceId) const {
    return GetListValue(m_oNameSpacesIndexedList, lNameSpaceId).GetKindOfList();
}

ByteBuffer AttributeBytesNameSpaces::GetAttributeBytesNameSpacesState() const {
    return GetAttributeBytesNameSpacesState(DriverVersion::GetLibraryVersion());
}

ByteBuffer AttributeBytesNameSpaces::GetAttributeBytesNameSpacesState(const DriverVersion& rVersion) const {
    const ByteBuffer bbVersion = rVersion.GetDriverVersionState();
    const std::size_t cbState = 4 + bbVersion.size() + m_oNameSpacesIndexedList.GetAttributeBytesIndexedListStateSize();
    return vlm::MakeState(cbState, [&](BYTE* pbyOut) {
        pbyOut = vlm::StoreBytes(vlm::StoreDword(pbyOut, SIGNATURE), bbVersion.data(), bbVersion.size());
        m_oNameSpacesIndexedList.StoreAttributeBytesIndexedListState(pbyOut);
    });
}

DriverVersion AttributeBytesNameSpaces::ImportAttributeBytesNameSpacesState(const ByteBuffer& rbbState) {
    const BYTE* pbyCursor = rbbState.data();
    DWORD dwRemaining = rbbState.GetLength();
    vlm::WalkBufferToCheckSignature(pbyCursor, dwRemaining, SIGNATURE);
    const DriverVersion oVersion = DriverVersion::WalkBufferToGetDriverVersion(pbyCursor, dwRemaining);
    VLM_REPORT(DebugCategory::AttrBytes, VTEXT("State data is version %s"), oVersion.GetStringValue());
    AttributeBytesIndexedList oNameSpaces;
    oNameSpaces.ImportAttributeBytesIndexedListState(pbyCursor, dwRemaining);
    for (const AttributeBytesSharedPtr& rshpoRecord : oNameSpaces) {
        const AttributeBytesId& rId = rshpoRecord->GetAttributeBytesId();
        if (rId.GetAttributeBytesIdType() != AttributeBytesId::ABIDE_NAMESPACE ||
            !rshpoRecord->GetAttributeBytesValue().IsList()) {
            VLM_THROW(ExceptionMissingOrBadAttributeBytesFormat,
                      VTEXT("The name-space data holds a record (%s) that is no list of a name space!"),
                      rId.GetDumpDisplayString(true));
        }
    }
    m_oNameSpacesIndexedList = std::move(oNameSpaces);
    return oVersion;
}
