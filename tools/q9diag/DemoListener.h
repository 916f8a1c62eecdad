/// @file
/// What the demo listens with: a sink that keeps messages, and printer data that grows while it is read.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/PrinterDataPort.h"
#include "utilities/debuggingandexceptions/ReportSink.h"

namespace vlm::tool {

/// Keeps the messages of some categories while it lives, and hands those that the former sink wants on to it.
/// **Threads**: messages of any thread, one at a time.
class MessageKeeper : public ReportSink {
public:
    explicit MessageKeeper(DebugMessageCategories categories);
    ~MessageKeeper() override;
    MessageKeeper(const MessageKeeper&) = delete;
    MessageKeeper& operator=(const MessageKeeper&) = delete;

    bool Allows(DebugMessageCategories categories) const noexcept override;
    void Write(bool fError, DebugMessageCategories categories, const VelomDebugMessage& rMessage) noexcept override;
    int Ask(HWND hwndOwner, const XCHAR* pszText, const XCHAR* pszCaption, DWORD dwStyle) noexcept override;

    /// The first lines of the messages so far, as UTF-8.
    std::vector<std::string> Lines() const;
    /// Is there a message with this text in its first line?
    bool HasHeard(std::string_view strPart) const;

private:
    bool IsWanted(DebugMessageCategories categories) const noexcept;
    bool FormerWants(DebugMessageCategories categories) const noexcept;

    const DebugMessageCategories m_ullCategories;
    mutable std::mutex m_scLines;
    std::vector<std::string> m_vLines;
    ReportSink* m_pFormer = nullptr;
    DebugMessageCategories m_ullFormerMask = 0;
};

/// The printer data of the platform in force, but that one value grows once, between the question for its size and its
/// reading: what happens when somebody writes it meanwhile.  In force while it lives.
class GrowingValue : public PrinterDataPort {
public:
    /// @param pszValue borrowed.
    explicit GrowingValue(const XCHAR* pszValue);
    ~GrowingValue() override;
    GrowingValue(const GrowingValue&) = delete;
    GrowingValue& operator=(const GrowingValue&) = delete;

    Status GetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD& rdwType, void* pData,
                   DWORD cbData, DWORD& rcbNeeded) noexcept override;
    Status SetData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue, DWORD dwType, const void* pData,
                   DWORD cbData) noexcept override;
    Status EnumerateData(HANDLE hPrinter, const XCHAR* pszKey, void* pValues, DWORD cbValues, DWORD& rcbNeeded,
                         DWORD& rcReturned) noexcept override;
    Status DeleteData(HANDLE hPrinter, const XCHAR* pszKey, const XCHAR* pszValue) noexcept override;
    Status EnumerateDataKeys(HANDLE hPrinter, const XCHAR* pszKey, XCHAR* pszzKeys, DWORD cbKeys,
                             DWORD& rcbNeeded) noexcept override;
    Status DeleteDataKey(HANDLE hPrinter, const XCHAR* pszKey) noexcept override;

    /// Calls that asked for the value.
    int Reads() const noexcept { return m_iReads; }

private:
    const XStringView m_svValue;
    PrinterDataPort& m_rBelow;
    Platform m_oPlatform;
    const Platform* m_pFormer;
    int m_iReads = 0;
    bool m_fGrown = false;
};

}  // namespace vlm::tool
