// Arguments and standard streams of a console program on Windows.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <memory>

#include "platform/ProgramImpl.h"

namespace vlm {

namespace {

/// UTF-16 to UTF-8.  A lone surrogate becomes its three-byte form, which no UTF-8 reader accepts.
std::string ToUtf8(const wchar_t* pszText) {
    std::string strResult;
    for (; *pszText != L'\0'; ++pszText) {
        char32_t codePoint = *pszText;
        if (codePoint >= 0xD800 && codePoint < 0xDC00 && pszText[1] >= 0xDC00 && pszText[1] < 0xE000) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (pszText[1] - 0xDC00u);
            ++pszText;
        }
        if (codePoint < 0x80) {
            strResult += static_cast<char>(codePoint);
            continue;
        }
        if (codePoint < 0x800) {
            strResult += static_cast<char>(0xC0 | (codePoint >> 6));
        } else {
            if (codePoint < 0x10000) {
                strResult += static_cast<char>(0xE0 | (codePoint >> 12));
            } else {
                strResult += static_cast<char>(0xF0 | (codePoint >> 18));
                strResult += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
            }
            strResult += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        }
        strResult += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
    return strResult;
}

HANDLE HandleOf(StandardStream eStream) noexcept {
    switch (eStream) {
        case StandardStream::Input:
            return ::GetStdHandle(STD_INPUT_HANDLE);
        case StandardStream::Output:
            return ::GetStdHandle(STD_OUTPUT_HANDLE);
        case StandardStream::Error:
            break;
    }
    return ::GetStdHandle(STD_ERROR_HANDLE);
}

struct LocalFreeDeleter {
    void operator()(wchar_t** ppsz) const noexcept { ::LocalFree(ppsz); }
};

}  // namespace

std::vector<std::string> ProgramArguments(int, const char* const*) {
    std::vector<std::string> vArguments;
    int cArguments = 0;
    const std::unique_ptr<wchar_t*, LocalFreeDeleter> apoArguments(
        ::CommandLineToArgvW(::GetCommandLineW(), &cArguments));
    for (int i = 1; apoArguments && i < cArguments; ++i)
        vArguments.push_back(ToUtf8(apoArguments.get()[i]));
    return vArguments;
}

bool IsTerminal(StandardStream eStream) noexcept {
    DWORD dwMode = 0;
    return ::GetConsoleMode(HandleOf(eStream), &dwMode) != FALSE;
}

namespace {

constexpr std::size_t LONGEST_SECRET = 4096;

/// A console handle that closes itself.
struct HandleCloser {
    using pointer = HANDLE;
    void operator()(HANDLE h) const noexcept {
        if (h != INVALID_HANDLE_VALUE) ::CloseHandle(h);
    }
};
using Console = std::unique_ptr<HANDLE, HandleCloser>;

Console OpenConsole(const wchar_t* pszName) noexcept {
    return Console(::CreateFileW(pszName, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                 OPEN_EXISTING, 0, nullptr));
}

}  // namespace

bool ReadSecretLine(int iDescriptor, std::string& rstrLine) {
    rstrLine.clear();
    rstrLine.reserve(LONGEST_SECRET);  // no copy of a part stays anywhere
    for (char ch = 0;;) {
        const int cRead = ::_read(iDescriptor, &ch, 1);
        if (cRead < 0) return false;
        if (cRead == 0 || ch == '\n') break;
        if (rstrLine.size() == LONGEST_SECRET) return false;
        rstrLine += ch;
    }
    if (!rstrLine.empty() && rstrLine.back() == '\r') rstrLine.pop_back();
    return true;
}

bool AskSecret(const char* pszPrompt, std::string& rstrLine) {
    const Console ahInput = OpenConsole(L"CONIN$"), ahOutput = OpenConsole(L"CONOUT$");
    DWORD dwMode = 0, cUnits = 0;
    if (ahInput.get() == INVALID_HANDLE_VALUE || !::GetConsoleMode(ahInput.get(), &dwMode)) return false;
    for (const char* pch = pszPrompt; *pch; ++pch) {
        const wchar_t ch = static_cast<unsigned char>(*pch);
        ::WriteConsoleW(ahOutput.get(), &ch, 1, &cUnits, nullptr);
    }
    // Line by line, without echo; control C ends the program and the system restores the console.
    ::SetConsoleMode(ahInput.get(), (dwMode & ~DWORD{ENABLE_ECHO_INPUT}) | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT);
    wchar_t achLine[LONGEST_SECRET / 4 + 1] = {};
    const bool fRead = ::ReadConsoleW(ahInput.get(), achLine, LONGEST_SECRET / 4, &cUnits, nullptr) != FALSE;
    ::SetConsoleMode(ahInput.get(), dwMode);
    const wchar_t chEnd = L'\n';
    DWORD cWritten = 0;
    ::WriteConsoleW(ahOutput.get(), &chEnd, 1, &cWritten, nullptr);
    while (fRead && cUnits > 0 && (achLine[cUnits - 1] == L'\n' || achLine[cUnits - 1] == L'\r'))
        --cUnits;
    achLine[fRead ? cUnits : 0] = L'\0';
    rstrLine = ToUtf8(achLine);
    ::SecureZeroMemory(achLine, sizeof achLine);
    return fRead;
}

bool HasEmbeddedStore() noexcept {
    return false;
}

StandardStreams::StandardStreams() noexcept {
    for (std::FILE* pStream : {stdin, stdout, stderr})
        ::_setmode(::_fileno(pStream), _O_BINARY);
    m_uFormerCodePage = ::GetConsoleOutputCP();
    if (m_uFormerCodePage != 0) ::SetConsoleOutputCP(CP_UTF8);
    for (const StandardStream eStream : {StandardStream::Output, StandardStream::Error}) {
        DWORD dwMode = 0;
        if (::GetConsoleMode(HandleOf(eStream), &dwMode))
            ::SetConsoleMode(HandleOf(eStream), dwMode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
}

StandardStreams::~StandardStreams() {
    std::fflush(nullptr);
    if (m_uFormerCodePage != 0) ::SetConsoleOutputCP(m_uFormerCodePage);
}

}  // namespace vlm
