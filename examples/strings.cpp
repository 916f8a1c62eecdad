/// @file
/// Strings: sharing, formatting, tokens, conversion.
#include <cstdio>

#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/TextCodec.h"

namespace {

void Print(const CXString& kcsText) {
    std::printf("%s\n", TextCodec::Utf16ToUtf8(kcsText).c_str());
}

}  // namespace

int main() {
    // A copy shares the text until one of the two is changed.
    const CXString csQueue(VTEXT("Front Desk"));
    CXString csCopy = csQueue;
    std::printf("shared: %s\n", csCopy.GetLpcwstr() == csQueue.GetLpcwstr() ? "yes" : "no");
    csCopy.MakeUpper();
    Print(csQueue + VTEXT(" / ") + csCopy);

    // The wide printf language, the same on every system: "%s" wide, "%S" narrow, "%I64" 64 bits, "l" 32 bits.
    CXString csLine;
    csLine.Format(VTEXT("%-12s|%05d|%#x|%I64u|%S"), csQueue, 42, 0x1Fu, 1ull << 40, "narrow");
    Print(csLine);

    // Arguments that do not fit are shown as what they are, and the result tells.
    const vlm::FormatResult result = csLine.Format(VTEXT("%d and %s"), VTEXT("a text"));
    Print(csLine);
    std::printf("missing argument: %s\n", result.m_dwFlags & vlm::FMTF_MISSING_ARGUMENT ? "yes" : "no");

    // Tokens: the position moves on and is -1 at the end.
    int iPosition = 0;
    const CXString csPath(VTEXT("Software\\Velom\\Queues"));
    for (CXString csPart = csPath.Tokenize(VTEXT("\\"), iPosition); iPosition >= 0;
         csPart = csPath.Tokenize(VTEXT("\\"), iPosition)) {
        Print(VTEXT("- ") + csPart);
    }

    // Characters outside ASCII, and the same text in the ANSI code page, where what it lacks becomes "?".
    const CXString csEuro(VTEXT("12 \u20AC \u4E2D"));
    Print(csEuro);
    std::printf("%zu bytes of UTF-8, %zu of ANSI\n", TextCodec::Utf16ToUtf8(csEuro).size(),
                csEuro.GetAsMultiByte(0).size() - 1);
    std::printf("found at %d, hash %llu\n", csEuro.Find(VTEXT("\u20AC")),
                static_cast<unsigned long long>(csQueue.GetHashValue()));
}
