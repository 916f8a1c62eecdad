// Settings files: recognising, decoding and encoding their forms.
#include "Settings.h"

#include <array>
#include <memory>

#include "Failure.h"
#include "RecordJson.h"
#include "utilities/attributebytes/AttributeBytesIndexedList.h"
#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/AttributeBytesNameSpaces.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesRawList.h"
#include "utilities/attributebytes/PersistentAttributes.h"
#include "utilities/compression/CabCompressedBuffer.h"
#include "utilities/debuggingandexceptions/VelomException.h"

namespace vlm::tool {

namespace {

constexpr int DEFAULT_LEVEL = -1;
constexpr std::array<const char*, 5> FORM_NAMES = {"persistent", "namespaces", "indexed", "raw", "record"};

DWORD FirstWord(const ByteBuffer& rbbState) {
    return rbbState.size() < 4 ? 0 : rbbState.getDword();
}

bool IsPersistentBlock(const ByteBuffer& rbbFile) {
    if (rbbFile.size() < PersistentAttributes::HEADER_BYTES) return false;
    PersistentAttributes::HeaderStructure oHeader;
    ByteBuffer bbCompressed;
    PersistentAttributes::GetMajorComponentsFromStateDataBuffer(rbbFile, oHeader, bbCompressed);
    return PersistentAttributes::IsCurrentVersionHeader(oHeader);
}

bool EndsLikeCompressedState(const ByteBuffer& rbbFile) {
    if (rbbFile.size() < 8) return false;
    const std::string_view strEnd(reinterpret_cast<const char*>(rbbFile.data() + rbbFile.size() - 4), 4);
    return strEnd == "COM5" || strEnd == "COM4" || strEnd == "COMP";
}

SettingsGroup GroupOf(const AttributeBytesList& rList) {
    SettingsGroup oGroup;
    oGroup.vshpoRecords = rList.GetAllAttributeBytes();
    return oGroup;
}

Settings FromNameSpaces(const AttributeBytesNameSpaces& rNameSpaces, Form eForm, const DriverVersion& rVersion) {
    Settings oSettings;
    oSettings.eForm = eForm;
    oSettings.oVersion = rVersion;
    for (const AttributeBytesSharedPtr& rshpoRecord : rNameSpaces.GetNameSpacesIndexedList()) {
        const auto& rId = static_cast<const AttributeBytesNameSpacesId&>(rshpoRecord->GetAttributeBytesId());
        const auto& rList = static_cast<const AttributeBytesListValue&>(rshpoRecord->GetAttributeBytesValue());
        SettingsGroup oGroup = GroupOf(rList.GetAttributeBytesRawList());
        oGroup.olNameSpace = rId.GetNameSpaceId();
        oGroup.byKind = rList.GetKindOfList();
        oGroup.bSpecified = rList.IsSpecified();
        oSettings.vGroups.push_back(std::move(oGroup));
    }
    return oSettings;
}

Settings DecodePersistent(const ByteBuffer& rbbFile) {
    PersistentAttributes oAttributes;
    DriverVersion oVersion;
    if (!oAttributes.ImportPersistentAttributesState(rbbFile, oVersion, false, false))
        RefuseInput("the block's header is not of the current version");
    return FromNameSpaces(oAttributes.GetAttributeBytesNameSpaces(), Form::Persistent, oVersion);
}

Settings DecodeRecord(const ByteBuffer& rbbState, const std::string& strFile) {
    const BYTE* pbyCursor = rbbState.data();
    DWORD dwRemaining = rbbState.GetLength();
    Settings oSettings;
    oSettings.eForm = Form::Record;
    oSettings.vGroups.emplace_back();
    try {
        oSettings.vGroups[0].vshpoRecords.push_back(
            AttributeBytes::WalkBufferToCreateAttributeBytes(pbyCursor, dwRemaining));
    } catch (const VelomException& rException) {
        RefuseInput(strFile +
                    ": no persistent block, compressed state, ABNS, ABIL or ABRL state, and no record either: " +
                    ToUtf8(rException.GetExceptionMesage().View()));
    }
    if (dwRemaining != 0)
        RefuseInput(strFile + ": a record is followed by " + std::to_string(dwRemaining) + " bytes at byte " +
                    std::to_string(rbbState.size() - dwRemaining));
    return oSettings;
}

/// Reads the records of lists in lists, which the library leaves as bytes until somebody asks for them.
/// @throws as the library does for a damaged record.
void ReadNestedLists(const AttributeBytes& rRecord) {
    const AttributeBytesValue& rValue = rRecord.GetAttributeBytesValue();
    if (!rValue.IsList()) return;
    const auto& rList = static_cast<const AttributeBytesListValue&>(rValue);
    for (const AttributeBytesSharedPtr& rshpoRecord : rList.GetAttributeBytesRawList())
        ReadNestedLists(*rshpoRecord);
}

/// One of the forms without a compressed state round it.
Settings DecodePlain(const ByteBuffer& rbbState, const std::string& strFile) {
    Settings oSettings;
    if (IsPersistentBlock(rbbState)) {
        oSettings = DecodePersistent(rbbState);
    } else if (FirstWord(rbbState) == AttributeBytesNameSpaces::SIGNATURE) {
        AttributeBytesNameSpaces oNameSpaces;
        const DriverVersion oVersion = oNameSpaces.ImportAttributeBytesNameSpacesState(rbbState);
        oSettings = FromNameSpaces(oNameSpaces, Form::NameSpaces, oVersion);
    } else if (FirstWord(rbbState) == AttributeBytesIndexedList::SIGNATURE) {
        AttributeBytesIndexedList oList;
        oList.ImportAttributeBytesIndexedListState(rbbState);
        oSettings.eForm = Form::Indexed;
        oSettings.vGroups.push_back(GroupOf(oList));
    } else if (FirstWord(rbbState) == AttributeBytesRawList::SIGNATURE) {
        AttributeBytesRawList oList;
        oList.ImportAttributeBytesRawListState(rbbState);
        oSettings.eForm = Form::Raw;
        oSettings.vGroups.push_back(GroupOf(oList));
    } else {
        oSettings = DecodeRecord(rbbState, strFile);
    }
    for (const SettingsGroup& rGroup : oSettings.vGroups)
        for (const AttributeBytesSharedPtr& rshpoRecord : rGroup.vshpoRecords)
            ReadNestedLists(*rshpoRecord);
    oSettings.cStateBytes = rbbState.size();
    return oSettings;
}

std::unique_ptr<AttributeBytesRawList> RawListOf(const SettingsGroup& rGroup) {
    auto apoList = std::make_unique<AttributeBytesRawList>();
    for (const AttributeBytesSharedPtr& rshpoRecord : rGroup.vshpoRecords)
        apoList->AddAttributeBytes(*rshpoRecord);
    return apoList;
}

AttributeBytesIndexedList IndexedListOf(const SettingsGroup& rGroup) {
    AttributeBytesIndexedList oList;
    for (const AttributeBytesSharedPtr& rshpoRecord : rGroup.vshpoRecords)
        oList.AddAttributeBytes(*rshpoRecord);
    return oList;
}

ByteBuffer NameSpacesState(const Settings& rSettings) {
    AttributeBytesIndexedList oNameSpaces;
    for (const SettingsGroup& rGroup : rSettings.vGroups) {
        IndexedListOf(rGroup);  // refuses an identifier that stands twice; the order of the records stays as it is
        AttributeBytesListValue oValue(RawListOf(rGroup), rGroup.byKind);
        oValue.SetIsSpecified(rGroup.bSpecified);
        oNameSpaces.AddAttributeBytes(
            AttributeBytes(AttributeBytesNameSpacesId(rGroup.olNameSpace.value_or(0)), oValue));
    }
    ByteBuffer bbState = ByteBuffer::createFromLongValue(static_cast<LONG>(AttributeBytesNameSpaces::SIGNATURE));
    rSettings.oVersion.AppendDriverVersionState(bbState);
    bbState.append(oNameSpaces.GetAttributeBytesIndexedListState());
    return bbState;
}

ByteBuffer PersistentBlock(const Settings& rSettings) {
    PersistentAttributes::HeaderStructure oHeader;
    PersistentAttributes::InitializeHeaderStructure(oHeader);
    oHeader.m_oDriverVersion = rSettings.oVersion;
    ByteBuffer bbBlock;
    PersistentAttributes::CreateStateDataFromComponents(oHeader, NameSpacesState(rSettings), bbBlock);
    return bbBlock;
}

ByteBuffer EncodePlain(const Settings& rSettings) {
    switch (rSettings.eForm) {
        case Form::Persistent:
            return PersistentBlock(rSettings);
        case Form::NameSpaces:
            return NameSpacesState(rSettings);
        case Form::Indexed:
            return IndexedListOf(rSettings.vGroups.at(0)).GetAttributeBytesIndexedListState();
        case Form::Raw:
            return RawListOf(rSettings.vGroups.at(0))->GetAttributeBytesRawListState();
        case Form::Record:
            break;
    }
    return rSettings.vGroups.at(0).vshpoRecords.at(0)->GetAttributeBytesState();
}

/// The header of a block and its name-space state, one behind the other.
ByteBuffer PlainPersistent(const ByteBuffer& rbbBlock) {
    PersistentAttributes::HeaderStructure oHeader;
    ByteBuffer bbState;
    PersistentAttributes::GetComponentsFromStateDataBuffer(rbbBlock, oHeader, bbState);
    ByteBuffer bbPlain(rbbBlock.data(), PersistentAttributes::HEADER_BYTES);
    return bbPlain.append(bbState);
}

}  // namespace

const char* NameOf(Form eForm) noexcept {
    return FORM_NAMES[static_cast<std::size_t>(eForm)];
}

Form FormByName(const std::string& strName, const JsonPath& rPath) {
    for (std::size_t i = 0; i < FORM_NAMES.size(); ++i)
        if (strName == FORM_NAMES[i]) return static_cast<Form>(i);
    RefuseInput(rPath.Text() + ": not one of persistent, namespaces, indexed, raw, record");
}

const std::vector<std::string>& FormNames() {
    static const std::vector<std::string> soNames(FORM_NAMES.begin(), FORM_NAMES.end());
    return soNames;
}

Settings DecodeSettings(const ByteBuffer& rbbFile, const std::string& strFile) {
    if (IsPersistentBlock(rbbFile)) return DecodePlain(rbbFile, strFile);
    ByteBuffer bbState = rbbFile;
    if (CabCompressedBuffer::TryToUncompressStateData(bbState)) {
        Settings oSettings = DecodePlain(bbState, strFile);
        oSettings.bCompressedState = true;
        return oSettings;
    }
    try {
        return DecodePlain(rbbFile, strFile);
    } catch (const VelomException&) {
        // A damaged compressed state says best itself what is wrong with it.
        if (EndsLikeCompressedState(rbbFile))
            CabCompressedBuffer::CreateWithBufferState(rbbFile)->GetOriginalData(bbState);
        throw;
    }
}

ByteBuffer EncodeSettings(const Settings& rSettings) {
    ByteBuffer bbState = EncodePlain(rSettings);
    if (!rSettings.bCompressedState) return bbState;
    return CabCompressedBuffer::CreateWithUncompressedData(bbState, DEFAULT_LEVEL)->GetCompressedBufferState();
}

ByteBuffer PlainState(const ByteBuffer& rbbFile) {
    if (IsPersistentBlock(rbbFile)) return PlainPersistent(rbbFile);
    ByteBuffer bbState = rbbFile;
    CabCompressedBuffer::TryToUncompressStateData(bbState);
    return IsPersistentBlock(bbState) ? PlainPersistent(bbState) : bbState;
}

}  // namespace vlm::tool
