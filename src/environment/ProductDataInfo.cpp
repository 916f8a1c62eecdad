/// @file
/// The answers that a model's record gives.
#include <algorithm>
#include <array>
#include <cmath>

#include "environment/detail/product/ProductDataImpl.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/Number.h"
#include "utilities/utilitiesdll/VelomUtilities_Text.h"

namespace {

using tagValueEnum = DataModelIds::tagValueEnum;

struct NamedType {
    InfoType eType;
    const XCHAR* pszKey;
};
constexpr NamedType INFO_TYPES[] = {
#define VLM_INFO_TYPE(constant, key, number) {constant, VTEXT(key)},
#include "environment/ProductDataInfoTypes.inl"
#undef VLM_INFO_TYPE
};

/// Null for what is no type.
const XCHAR* KeyOf(InfoType eType) noexcept {
    const auto it = std::find_if(std::begin(INFO_TYPES), std::end(INFO_TYPES),
                                 [&](const NamedType& r) { return r.eType == eType; });
    return it == std::end(INFO_TYPES) ? nullptr : it->pszKey;
}

struct NamedValue {
    XStringView name;
    tagValueEnum eValue;
};
constexpr NamedValue CONTROLLERS[] = {{VTEXT("KESTRIX"), DataModelIds::VAL_CONTROLLER_KESTRIX},
                                      {VTEXT("EMBEDDED"), DataModelIds::VAL_CONTROLLER_EMBEDDED},
                                      {VTEXT("EXTERNAL"), DataModelIds::VAL_CONTROLLER_EXTERNAL},
                                      {VTEXT("SERVER"), DataModelIds::VAL_CONTROLLER_SERVER}};
constexpr NamedValue COMPANIES[] = {{VTEXT("VX"), DataModelIds::VAL_COMPANY_VX},
                                    {VTEXT("VG"), DataModelIds::VAL_COMPANY_VG},
                                    {VTEXT("VD"), DataModelIds::VAL_COMPANY_VD},
                                    {VTEXT("VS"), DataModelIds::VAL_COMPANY_VS}};

template <std::size_t N>
tagValueEnum ValueOf(const NamedValue (&raoValues)[N], const CXString& kcsName) noexcept {
    const auto it = std::find_if(std::begin(raoValues), std::end(raoValues),
                                 [&](const NamedValue& r) { return kcsName == r.name; });
    return it == std::end(raoValues) ? DataModelIds::VAL_UNSPECIFIED : it->eValue;
}

constexpr std::pair<XStringView, PrintXcptAttributesEnum> XCPT_LEVELS[] = {
    {VTEXT("inserts-exceptions"), PRINT_XCPT_INSERTS},
    {VTEXT("covers-inserts-exceptions"), PRINT_XCPT_COVERS_INSERTS},
    {VTEXT("covers-inserts-exceptions-jobordercount"), PRINT_XCPT_COVERS_INSERTS_JOBORDERCOUNT},
    {VTEXT("inserts-exceptions-jobordercount"), PRINT_XCPT_INSERTS_JOBORDERCOUNT},
    {VTEXT("covers-inserts-exceptions-cac"), PRINT_XCPT_COVERS_INSERTS_CAC},
    {VTEXT("full-support"), PRINT_XCPT_FULL_SUPPORT}};

PrintXcptAttributesEnum XcptLevel(const CXString& kcsText) noexcept {
    for (const auto& [text, eLevel] : XCPT_LEVELS) {
        if (kcsText == text) return eLevel;
    }
    return PRINT_XCPT_NONE;
}

constexpr std::pair<XStringView, DWORD> LANGUAGES[] = {{VTEXT("pscript"), PDL_BIT_PSCRIPT},
                                                       {VTEXT("pcl5"), PDL_BIT_PCL5},
                                                       {VTEXT("pcl6"), PDL_BIT_PCL6},
                                                       {VTEXT("xraster"), PDL_BIT_XRASTER}};

DWORD LanguagesOf(const CXString& kcsList) {
    DWORD dwBits = 0;
    for (const auto& [word, dwBit] : LANGUAGES) {
        if (vlm::NamesLanguage(kcsList, word)) dwBits |= dwBit;
    }
    return dwBits;
}

/// The rules of the switches.
bool Exact(const CXString& kcsValue) noexcept {
    return kcsValue == VTEXT("YES");
}
bool Lower(const CXString& kcsValue) {
    return CXString(kcsValue).MakeLower() == VTEXT("yes");
}
bool Either(const CXString& kcsValue) noexcept {
    return Exact(kcsValue) || kcsValue == VTEXT("yes");
}

}  // namespace

namespace vlm {

bool NamesLanguage(const CXString& kcsList, XStringView word) {
    return CXString(kcsList).MakeLower().Find(word) >= 0;
}

}  // namespace vlm

bool ProductData::RequireValidated() {
    VLM_ASSERT(m_bModelNameValidated, VTEXT("ProductData::GetInfo(): Failed - Must have model name validated"));
    return m_bModelNameValidated;
}

bool ProductData::GetInfo(InfoType eType, CXString& rcsInfo) {
    if (eType == PD_PRODUCT_UNIQUE_ID) {
        VLM_ASSERT(
            m_bInitialized,
            VTEXT("Must initialize the Product Data object prior to calling GetInfo() with PD_PRODUCT_UNIQUE_ID"));
        if (!m_bInitialized) return false;
        rcsInfo = m_csProductUniqueId;
        return !rcsInfo.IsEmpty();
    }
    const XCHAR* const pszKey = KeyOf(eType);
    VLM_ASSERT(pszKey, VTEXT("Invalid pameter eType (%d) in call to ProductData::GetInfo()"), static_cast<int>(eType));
    if (!pszKey || !RequireValidated()) return false;
    rcsInfo = GetInfo(pszKey);
    return !rcsInfo.IsEmpty();
}

CXString ProductData::GetInfo(const CXString& kcsKey) {
    return RequireValidated() ? m_oMappingData.GetData(kcsKey.View()) : CXString();
}

bool ProductData::GetPath(InfoType eType, CXString& rcsPath) {
    const bool fFile = eType == PD_AUTO || eType == PD_FAMPATH || eType == PD_PSCOUT || eType == PD_JCAP ||
                       eType == PD_MARG || eType == PD_HALFTONES || eType == PD_XMLCONSTRAINT;
    VLM_ASSERT(fFile, VTEXT("Invalid pameter eType (%d) in call to ProductData::GetPath()"), static_cast<int>(eType));
    if (!fFile) return false;
    if (eType != PD_FAMPATH) return GetPath(CXString(KeyOf(eType)), rcsPath);
    if (!RequireValidated()) return false;
    rcsPath = GetPrinterModelProductDataFolder();
    return !rcsPath.IsEmpty();
}

bool ProductData::GetPath(const CXString& kcsKey, CXString& rcsPath) {
    if (!RequireValidated()) return false;
    const CXString csName = m_oMappingData.GetData(kcsKey.View(), kcsKey == VTEXT("JCAP"));
    if (csName.IsBlank()) return false;
    const CXString csPath = ResolveDataFile(csName);
    if (csPath.IsEmpty()) return false;
    rcsPath = csPath;
    return true;
}

CXString ProductData::GetModelName() {
    VLM_ASSERT(m_bModelNameValidated, VTEXT("ProductData::GetModelName(): Failed - Must have model name validated"));
    return m_oMappingData.GetModel();
}

tagValueEnum ProductData::GetControllerFamily(bool fAlternative) {
    const CXString csAlternative = fAlternative ? GetInfo(VTEXT("CONTROLLERFAMILY_ALT")) : CXString();
    const tagValueEnum eController =
        GetControllerFamilyValue(csAlternative.IsEmpty() ? GetInfo(VTEXT("CONTROLLERFAMILY")) : csAlternative);
    constexpr tagValueEnum VAL_UNSPECIFIED = DataModelIds::VAL_UNSPECIFIED;
    VLM_ASSERT(eController != VAL_UNSPECIFIED, VTEXT("Invalid controller family in call to GetControllerFamily"));
    return eController;
}

tagValueEnum ProductData::GetControllerFamilyValue(const CXString& kcsName) {
    return ValueOf(CONTROLLERS, kcsName);
}

tagValueEnum ProductData::GetCompanyName() {
    const tagValueEnum eCompanyNameValue = ValueOf(COMPANIES, GetInfo(VTEXT("COMPANYNAME")));
    constexpr tagValueEnum VAL_UNSPECIFIED = DataModelIds::VAL_UNSPECIFIED;
    VLM_ASSERT(eCompanyNameValue != VAL_UNSPECIFIED, VTEXT("Invalid Company Name in call to GetCompanyName"));
    return eCompanyNameValue;
}

double ProductData::GetPlatformVersion() {
    const CXString csVersion = GetInfo(VTEXT("PLATFORMVERSION"));
    return csVersion.IsBlank() ? 0.0 : Number(csVersion).GetDoubleValue();
}

int ProductData::GetRatedSpeed() {
    const CXString csSpeed = GetInfo(VTEXT("RATEDSPEED"));
    const double dblSpeed = csSpeed.IsBlank() ? 0.0 : Number(csSpeed).GetDoubleValue();
    return std::abs(dblSpeed) < 1e9 ? static_cast<int>(dblSpeed) : 0;
}

DWORD ProductData::GetSupportedPDLS() {
    return RequireValidated() ? m_dwSupportedPDLs : 0;
}

DWORD ProductData::GetRecommendedPDL() {
    return LanguagesOf(GetInfo(VTEXT("RECOMMENDED")));
}

PrintXcptAttributesEnum ProductData::GetPrintXcptAttributesType() {
    return XcptLevel(GetInfo(VTEXT("XCPT_SUPPORT")));
}

bool ProductData::IsXCPTSupported() {
    const CXString csSupport = GetInfo(VTEXT("XCPT_SUPPORT"));
    return XcptLevel(csSupport) != PRINT_XCPT_NONE || Either(csSupport);
}

bool ProductData::IsAcceptableMinimumXCPTLevel(PrintXcptAttributesEnum eLevel) {
    PrintXcptAttributesEnum eHas = GetPrintXcptAttributesType();
    if (eHas == PRINT_XCPT_NONE) eHas = XcptLevel(GetInfo(VTEXT("XCPTPARTIALSUPPORT")));
    return eHas >= eLevel;
}

_SMART_USB_TYPE ProductData::SupportsSmartUsbPrinting() {
    const CXString csType = GetInfo(VTEXT("SMARTUSB")).MakeLower();
    if (csType == VTEXT("full")) return SMART_USB_FULL;
    return csType == VTEXT("yes") || csType == VTEXT("print") ? SMART_USB_PRINT : SMART_USB_NONE;
}

FinisherType ProductData::GetFinisherType() {
    return Exact(GetInfo(VTEXT("SUPPORTSPRODUCTIONFINISHER"))) ? FINISHER_PRODUCTION : FINISHER_OFFICE;
}

DWORD ProductData::DetermineFinishingCapabilities() {
    return (GetFinisherType() == FINISHER_PRODUCTION ? DWORD{FINISHING_PRODUCTION} : 0) |
           (IsMediaLefOnly() ? DWORD{FINISHING_LEF_ONLY_TWO_STAPLE} : 0) |
           (IsDriverCollationSupported() ? DWORD{FINISHING_DRIVER_COLLATION} : 0) |
           (IsModelRequireDriverCollation() ? DWORD{FINISHING_REQUIRES_COLLATION} : 0);
}

bool ProductData::IsColorCapable() {
    return RequireValidated() && GetColorModeFromMappingData(m_oMappingData) == DataModelIds::VAL_COLOR;
}

bool ProductData::AllowMonochromeDevmode() {
    return RequireValidated() && GetColorModeFromMappingData(m_oMappingData) != DataModelIds::VAL_UNSPECIFIED;
}

bool ProductData::DoesDriverSupportPCL5CustomHalftoning() {
    return IsColorCapable() && Either(GetInfo(VTEXT("CUSTOMHALFTONING")));
}

bool ProductData::IsAccountingPromptAllowed(const CXString& kcsPrompt) {
    // The tokens that are known; others in a list are for newer drivers.
    constexpr XStringView TOKENS[] = {VTEXT("CODE9"), VTEXT("color"), VTEXT("USERID"), VTEXT("ACCOUNTID"),
                                      VTEXT("JOBNAME")};
    if (std::find(std::begin(TOKENS), std::end(TOKENS), kcsPrompt.View()) == std::end(TOKENS)) return false;
    for (CXString csToken :
         VelomUtilities::parseCharacterSeparatedStrings(GetInfo(VTEXT("ACCOUNTINGPROMPTS")), VTEXT(','))) {
        if (csToken.TrimLeft().TrimRight() == kcsPrompt) return true;
    }
    return false;
}

tagValueEnum ProductData::GetColorModeFromMappingData(const MappingData& rRecord) {
    const CXString csMode = rRecord.GetData(VTEXT("COLORCAPABLE")).MakeLower();
    if (csMode == VTEXT("color")) return DataModelIds::VAL_COLOR;
    return csMode == VTEXT("monochrome") ? DataModelIds::VAL_MONOCHROME : DataModelIds::VAL_UNSPECIFIED;
}

tagValueEnum ProductData::GetControllerFromMappingData(const MappingData& rRecord) {
    return GetControllerFamilyValue(rRecord.GetData(VTEXT("CONTROLLERFAMILY")));
}

DWORD ProductData::GetPDLsFromMappingData(const MappingData& rRecord) {
    return LanguagesOf(rRecord.GetData(VTEXT("PRINTERLANG")));
}

#define VLM_PRODUCT_SWITCH(name, what, key, rule)   \
    bool ProductData::name() {                      \
        return rule(GetInfo(CXString(VTEXT(key)))); \
    }
#include "environment/ProductDataSwitches.inl"
#undef VLM_PRODUCT_SWITCH
