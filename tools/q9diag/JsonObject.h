/// @file
/// Reads one object of a JSON document strictly: every member must be known and of its kind, or is refused by its path.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "JsonText.h"

namespace vlm::tool {

/// Where a value lies in a document, for messages: "nameSpaces[0].attributes[3].value".
class JsonPath {
public:
    JsonPath() = default;
    JsonPath Member(std::string_view strName) const;
    JsonPath Element(std::size_t uIndex) const;
    /// The path, or "the document" for the whole.
    std::string Text() const { return m_strPath.empty() ? "the document" : m_strPath; }

private:
    std::string m_strPath;
};

/// One object while it is read.  Each getter throws ExceptionInvalidArgument with the member's path when the member is
/// missing or not what is asked for.
class JsonObject {
public:
    JsonObject(const Json& rObject, JsonPath path);

    const JsonPath& Path() const noexcept { return m_oPath; }
    JsonPath PathOf(const char* pszName) const { return m_oPath.Member(pszName); }

    const Json& Need(const char* pszName);
    /// Null when absent.
    const Json* Find(const char* pszName);
    std::int64_t Integer(const char* pszName, std::int64_t llLeast, std::int64_t llMost);
    bool Boolean(const char* pszName);
    bool Boolean(const char* pszName, bool fDefault);
    const Json& Array(const char* pszName);
    /// UTF-16 code units.
    XText Units(const char* pszName);
    /// A text that must be well-formed, as UTF-8.
    std::string Text(const char* pszName);

    /// Refuses what nobody has asked for.
    void RefuseUnknown() const;

private:
    const Json& m_rObject;
    JsonPath m_oPath;
    std::set<std::string, std::less<>> m_setKnown;
};

}  // namespace vlm::tool
