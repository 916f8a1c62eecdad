// What the demo listens with.
#include "DemoListener.h"

#include <algorithm>

#include "Text.h"
#include "utilities/debuggingandexceptions/VelomDebugMessage.h"

namespace vlm::tool {

MessageKeeper::MessageKeeper(DebugMessageCategories categories) : m_ullCategories(categories) {
    m_pFormer = ExchangeReportSink(this);
    m_ullFormerMask = SetReportMask(DebugCategory::None);
    SetReportMask(m_ullFormerMask | m_ullCategories);
}

MessageKeeper::~MessageKeeper() {
    SetReportMask(m_ullFormerMask);
    ExchangeReportSink(m_pFormer);
}

bool MessageKeeper::IsWanted(DebugMessageCategories categories) const noexcept {
    return (categories & m_ullCategories) != 0;
}

bool MessageKeeper::FormerWants(DebugMessageCategories categories) const noexcept {
    return m_pFormer && (categories == DebugCategory::None || (categories & m_ullFormerMask) != 0) &&
           m_pFormer->Allows(categories);
}

bool MessageKeeper::Allows(DebugMessageCategories categories) const noexcept {
    return IsWanted(categories) || FormerWants(categories);
}

void MessageKeeper::Write(bool fError, DebugMessageCategories categories, const VelomDebugMessage& rMessage) noexcept {
    if (FormerWants(categories)) m_pFormer->Write(fError, categories, rMessage);
    if (!IsWanted(categories)) return;
    try {
        const XStringView strText = rMessage.GetMessageText().View();
        std::string strLine = Printable(strText.substr(0, strText.find_first_of(VTEXT("\r\n"))));
        const std::lock_guard oLock(m_scLines);
        m_vLines.push_back(std::move(strLine));
    } catch (const std::bad_alloc&) {
        return;  // one message less is told
    }
}

int MessageKeeper::Ask(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept {
    return m_pFormer ? m_pFormer->Ask(hwndOwner, pszText, pszCaption, dwStyle) : 0;
}

std::vector<std::string> MessageKeeper::Lines() const {
    const std::lock_guard oLock(m_scLines);
    return m_vLines;
}

bool MessageKeeper::HasHeard(std::string_view strPart) const {
    const std::lock_guard oLock(m_scLines);
    return std::any_of(m_vLines.begin(), m_vLines.end(),
                       [strPart](const std::string& rstrLine) { return rstrLine.find(strPart) != std::string::npos; });
}

GrowingValue::GrowingValue(const XCHAR* pszValue)
    : m_svValue(pszValue), m_rBelow(*GetPlatform().pPrinterData), m_oPlatform(GetPlatform()) {
    m_oPlatform.pPrinterData = this;
    m_pFormer = ExchangePlatform(&m_oPlatform);
}

GrowingValue::~GrowingValue() {
    ExchangePlatform(m_pFormer);
}

Status GrowingValue::GetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD& rdwType, void* pData,
                             DWORD cbData, DWORD& rcbNeeded) noexcept {
    const Status status = m_rBelow.GetData(hPrinter, pszKey, pszValue, rdwType, pData, cbData, rcbNeeded);
    if (pszValue == nullptr || m_svValue != pszValue) return status;
    ++m_iReads;
    if (status != Status::Success || m_fGrown) return status;
    m_fGrown = true;
    rcbNeeded = cbData + 2;
    return Status::MoreData;
}

Status GrowingValue::SetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD dwType,
                             const void* pData, DWORD cbData) noexcept {
    return m_rBelow.SetData(hPrinter, pszKey, pszValue, dwType, pData, cbData);
}

Status GrowingValue::EnumerateData(HANDLE hPrinter, const XCHAR* pszKey, void* pValues, DWORD cbValues,
                                   DWORD& rcbNeeded, DWORD& rcReturned) noexcept {
    return m_rBelow.EnumerateData(hPrinter, pszKey, pValues, cbValues, rcbNeeded, rcReturned);
}

Status GrowingValue::DeleteData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue) noexcept {
    return m_rBelow.DeleteData(hPrinter, pszKey, pszValue);
}

Status GrowingValue::EnumerateDataKeys(HANDLE hPrinter, const XCHAR* pszKey, XCHAR* pszzKeys, DWORD cbKeys,
                                       DWORD& rcbNeeded) noexcept {
    return m_rBelow.EnumerateDataKeys(hPrinter, pszKey, pszzKeys, cbKeys, rcbNeeded);
}

Status GrowingValue::DeleteDataKey(HANDLE hPrinter, const XCHAR* pszKey) noexcept {
    return m_rBelow.DeleteDataKey(hPrinter, pszKey);
}

}  // namespace vlm::tool
