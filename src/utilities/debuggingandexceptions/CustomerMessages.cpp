/// @file
/// The texts that customers read when an exception is caught.
#include "utilities/debuggingandexceptions/CustomerMessages.h"

#include "platform/Platform.h"
#include "platform/TextPort.h"
#include "utilities/debuggingandexceptions/VelomException.h"
#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace {

struct CompiledText {
    UINT uId;
    const XCHAR* pszText;
};
constexpr CompiledText COMPILED_TEXTS[] = {
#define VLM_CUSTOMER_MESSAGE(constant, id, text) {id, VTEXT(text)},
#include "utilities/debuggingandexceptions/CustomerMessages.inl"
#undef VLM_CUSTOMER_MESSAGE
};

/// Type codes, group times 1000 plus sub-code, and what is said about them.
struct Kind {
    int iFirst;
    int iLast;
    CustomerMessageIDs ids;
};
constexpr Kind KINDS[] = {
    {1000, 1000, {IDS_STORED_SETTING, IDS_STORED_SETTING_ADVICE}},
    {1001, 1999, {IDS_INSTALLATION, IDS_INSTALLATION_ADVICE}},  // parsing a file of the product's
    {7000, 8000, {IDS_PRINTING_SYSTEM, IDS_PRINTING_SYSTEM_ADVICE}},
    {12000, 13000, {IDS_PRINTING_SYSTEM, IDS_PRINTING_SYSTEM_ADVICE}},
    {18000, 18000, {IDS_INSTALLATION, IDS_INSTALLATION_ADVICE}},
    {24000, 24010, {IDS_COMMUNICATION, IDS_COMMUNICATION_ADVICE}},
    {25000, 37000, {IDS_PRINT_SETTINGS, IDS_PRINT_SETTINGS_ADVICE}},
    {53000, 53000, {IDS_PRINT_SETTINGS, IDS_PRINT_SETTINGS_ADVICE}},
    {54000, 54000, {IDS_INPUT, IDS_INPUT_ADVICE}},  // a password that does not fit
    {57000, 60000, {IDS_INPUT, IDS_INPUT_ADVICE}},
    {61000, 61000, {IDS_PRINTING_SYSTEM, IDS_PRINTING_SYSTEM_ADVICE}},
    {62000, 64000, {IDS_INPUT, IDS_INPUT_ADVICE}},
    {65000, 65004, {IDS_FILE, IDS_FILE_ADVICE}},
    {72000, 72000, {IDS_NO_MEMORY, IDS_NO_MEMORY_ADVICE}},
    {76000, 78000, {IDS_INSTALLATION, IDS_INSTALLATION_ADVICE}},
    {79000, 79000, {IDS_STORED_SETTING, IDS_STORED_SETTING_ADVICE}},
};

/// "024:003" as 24003; -1 for anything else.
int NumberOf(XStringView code) noexcept {
    constexpr std::size_t COLON = 3;
    if (code.size() != 7 || code[COLON] != VTEXT(':')) return -1;
    int iNumber = 0;
    for (std::size_t i = 0; i < code.size(); ++i) {
        if (i == COLON) continue;
        if (code[i] < VTEXT('0') || code[i] > VTEXT('9')) return -1;
        iNumber = iNumber * 10 + (code[i] - VTEXT('0'));
    }
    return iNumber;
}

}  // namespace

CustomerMessageIDs GetCustomerMessageIDsForException(const std::exception* pException) noexcept {
    const auto* const pVelom = dynamic_cast<const VelomException*>(pException);
    if (!pVelom) return {};
    try {
        const int iNumber = NumberOf(pVelom->GetExceptionTypeByNumericCode().View());
        for (const Kind& rKind : KINDS) {
            if (iNumber >= rKind.iFirst && iNumber <= rKind.iLast) return rKind.ids;
        }
    } catch (...) {
        // Without memory for the code the fallback text says enough.
    }
    return {};
}

CXString LoadTextResource(UINT uId) noexcept {
    const XStringView resource = vlm::GetPlatform().pText->StringResource(nullptr, uId);
    if (!resource.empty()) return std::move(vlm::SafeText().Append(resource).Get());
    for (const CompiledText& rText : COMPILED_TEXTS) {
        if (rText.uId == uId) return vlm::TextOrEmpty(rText.pszText);
    }
    return {};
}
