/// @file
/// What every kind of execution context holds.
#pragma once

#include <compare>

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/debuggingandexceptions/ExecutionContextText.h"
#include "utilities/utilitiesdll/CXString.h"

namespace vlm {

/// "%s line %ld" (function, line) for a qualified function name, else "%s, %s line %ld" (file, function, line).
VLM_API CXString GetContextLocationString(XStringView file, XStringView function, DWORD dwLine);

/// The fields of an execution context of one family.
template <class IdType>
struct ExecutionContextFields {
    IdType m_eContext;
    DWORD m_dwLine;
    ExecutionContextText m_oMessage;
    ExecutionContextText m_oFile;
    ExecutionContextText m_oFunction;
    bool m_fLocationEmbeddedInMsg;

    /// By id, file, function, line, location flag and message, in that order.
    std::strong_ordering Compare(const ExecutionContextFields& rOther) const noexcept {
        const auto byId = m_eContext <=> rOther.m_eContext;
        if (byId != 0) return byId;
        const auto byFile = m_oFile.View() <=> rOther.m_oFile.View();
        if (byFile != 0) return byFile;
        const auto byFunction = m_oFunction.View() <=> rOther.m_oFunction.View();
        if (byFunction != 0) return byFunction;
        const auto byLine = m_dwLine <=> rOther.m_dwLine;
        if (byLine != 0) return byLine;
        const auto byFlag = m_fLocationEmbeddedInMsg <=> rOther.m_fLocationEmbeddedInMsg;
        return byFlag != 0 ? byFlag : m_oMessage.View() <=> rOther.m_oMessage.View();
    }

    CXString GetLocationString() const {
        return GetContextLocationString(m_oFile.View(), m_oFunction.View(), m_dwLine);
    }
};

}  // namespace vlm
