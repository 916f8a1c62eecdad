// Strict reading of one JSON object.
#include "JsonObject.h"

#include "Failure.h"

namespace vlm::tool {

JsonPath JsonPath::Member(std::string_view strName) const {
    JsonPath oResult;
    oResult.m_strPath = m_strPath + (m_strPath.empty() ? "" : ".") + std::string(strName);
    return oResult;
}

JsonPath JsonPath::Element(std::size_t uIndex) const {
    JsonPath oResult;
    oResult.m_strPath = m_strPath + "[" + std::to_string(uIndex) + "]";
    return oResult;
}

JsonObject::JsonObject(const Json& rObject, JsonPath path) : m_rObject(rObject), m_oPath(std::move(path)) {
    if (!rObject.is_object()) RefuseInput(m_oPath.Text() + ": not an object");
}

const Json* JsonObject::Find(const char* pszName) {
    m_setKnown.insert(pszName);
    const auto it = m_rObject.find(pszName);
    return it == m_rObject.end() ? nullptr : &*it;
}

const Json& JsonObject::Need(const char* pszName) {
    const Json* const pMember = Find(pszName);
    if (!pMember) RefuseInput(PathOf(pszName).Text() + ": the member is missing");
    return *pMember;
}

std::int64_t JsonObject::Integer(const char* pszName, std::int64_t llLeast, std::int64_t llMost) {
    const Json& rMember = Need(pszName);
    const bool fInteger = rMember.is_number_integer();
    const bool fTooLarge = rMember.is_number_unsigned() && rMember.get<std::uint64_t>() > INT64_MAX;
    const std::int64_t llValue = fInteger && !fTooLarge ? rMember.get<std::int64_t>() : 0;
    if (!fInteger || fTooLarge || llValue < llLeast || llValue > llMost)
        RefuseInput(PathOf(pszName).Text() + ": not an integer from " + std::to_string(llLeast) + " to " +
                    std::to_string(llMost));
    return llValue;
}

bool JsonObject::Boolean(const char* pszName) {
    const Json& rMember = Need(pszName);
    if (!rMember.is_boolean()) RefuseInput(PathOf(pszName).Text() + ": not true or false");
    return rMember.get<bool>();
}

bool JsonObject::Boolean(const char* pszName, bool fDefault) {
    return Find(pszName) ? Boolean(pszName) : fDefault;
}

const Json& JsonObject::Array(const char* pszName) {
    const Json& rMember = Need(pszName);
    if (!rMember.is_array()) RefuseInput(PathOf(pszName).Text() + ": not an array");
    return rMember;
}

XText JsonObject::Units(const char* pszName) {
    const Json& rMember = Need(pszName);
    if (!rMember.is_string()) RefuseInput(PathOf(pszName).Text() + ": not a string");
    return JsonUnits(rMember);
}

std::string JsonObject::Text(const char* pszName) {
    const XText strUnits = Units(pszName);
    for (XStringView strRest = strUnits; !strRest.empty();)
        if (IsSurrogate(TakeCodePoint(strRest))) RefuseInput(PathOf(pszName).Text() + ": not well-formed Unicode");
    return ToUtf8(strUnits);
}

void JsonObject::RefuseUnknown() const {
    for (const auto& [strName, rMember] : m_rObject.items())
        if (!m_setKnown.contains(strName))
            RefuseInput(m_oPath.Member(Printable(XStringView(JsonUnits(Json(strName))))).Text() + ": unknown member");
}

}  // namespace vlm::tool
