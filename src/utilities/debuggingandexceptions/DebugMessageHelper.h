/// @file
/// Closes and clears the log file, for those who do not write to it.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/debuggingandexceptions/DebugMessageHelperInterface.h"

/// Works on somebody else's handle variable.
/// **Ownership**: borrows the variable, which holds `ClosedFile()` while the file is closed.
/// **Threads**: any; the variable is only touched under `StaticLibCriticalResource`.
class VLM_API DebugMessageHelper : public DebugMessageHelperInterface {
public:
    explicit DebugMessageHelper(HANDLE& rhLogFile) noexcept : m_rhLogFile(rhLogFile) {}
    ~DebugMessageHelper() override;

    void ClearTheLog() noexcept override;
    void CloseLogFile() noexcept override;

    /// What stands for no file: the system's invalid handle.
    static HANDLE ClosedFile() noexcept;

private:
    HANDLE& m_rhLogFile;
};

/// Does nothing: for tests of the settings updater.
class VLM_API TestDebugMessageHelper : public DebugMessageHelperInterface {
public:
    ~TestDebugMessageHelper() override;
    void ClearTheLog() noexcept override;
    void CloseLogFile() noexcept override;
};
