/// @file
/// Closes and clears the log file.
#include "utilities/debuggingandexceptions/DebugMessageHelper.h"

#include <cstdint>

#include "platform/FilePort.h"
#include "platform/Platform.h"
#include "utilities/debuggingandexceptions/StaticLibCriticalResource.h"

DebugMessageHelper::~DebugMessageHelper() = default;

HANDLE DebugMessageHelper::ClosedFile() noexcept {
    return reinterpret_cast<HANDLE>(~std::uintptr_t{0});
}

void DebugMessageHelper::ClearTheLog() noexcept {
    const CriticalResourceLock lock(StaticLibCriticalResource::Get());
    if (m_rhLogFile == ClosedFile()) return;
    vlm::FilePort& rFiles = *vlm::GetPlatform().pFiles;
    if (rFiles.Seek(m_rhLogFile, 0) == vlm::Status::Success) rFiles.SetEnd(m_rhLogFile);
}

void DebugMessageHelper::CloseLogFile() noexcept {
    const CriticalResourceLock lock(StaticLibCriticalResource::Get());
    if (m_rhLogFile == ClosedFile()) return;
    vlm::GetPlatform().pFiles->Close(m_rhLogFile);
    m_rhLogFile = ClosedFile();
}

TestDebugMessageHelper::~TestDebugMessageHelper() = default;

void TestDebugMessageHelper::ClearTheLog() noexcept {}

void TestDebugMessageHelper::CloseLogFile() noexcept {}
