/// @file
/// A settings file in memory, whatever its form: the groups of attribute records that it holds.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "JsonObject.h"
#include "utilities/attributebytes/AttributeBytes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/DriverVersion.h"

namespace vlm::tool {

enum class Form { Persistent, NameSpaces, Indexed, Raw, Record };

/// The form's name in JSON: "persistent", "namespaces", "indexed", "raw", "record".
const char* NameOf(Form eForm) noexcept;
/// @throws ExceptionInvalidArgument
Form FormByName(const std::string& strName, const JsonPath& rPath);
const std::vector<std::string>& FormNames();

/// The records of one name space, or of a file without name spaces.
struct SettingsGroup {
    std::optional<LONG> olNameSpace;
    BYTE byKind = 0;         ///< kind of the name space's list
    bool bSpecified = true;  ///< the name space's own flag
    /// Shared and never changed in place; a new value is a new record.
    std::vector<AttributeBytesSharedPtr> vshpoRecords;
};

struct Settings {
    Form eForm = Form::Persistent;
    DriverVersion oVersion = DriverVersion::GetLibraryVersion();  ///< persistent and namespaces only
    std::vector<SettingsGroup> vGroups;
    bool bCompressedState = false;  ///< the file is a compressed state round the form
    std::size_t cStateBytes = 0;    ///< of the form itself, decompressed

    bool HasNameSpaces() const noexcept { return eForm == Form::Persistent || eForm == Form::NameSpaces; }
};

/// Recognises and decodes a settings file.
/// @param strFile names it in errors.
/// @throws ExceptionInvalidArgument when it is none; as the library does for a damaged one.
Settings DecodeSettings(const ByteBuffer& rbbFile, const std::string& strFile);

/// The bytes of a settings file, in the form and container that the object names.
/// @throws ExceptionDuplicateAttributeId for an identifier that stands twice where it may not.
ByteBuffer EncodeSettings(const Settings& rSettings);

/// The state that a file holds, freed from compression: what `verify` compares.  For a persistent block its header of
/// 16 bytes and the name-space state behind it.
ByteBuffer PlainState(const ByteBuffer& rbbFile);

Json ToJson(const Settings& rSettings);
/// Reads the document of `settings show --json`; its "schemaVersion" may be there or not.
Settings SettingsFromJson(const Json& rDocument);

}  // namespace vlm::tool
