/// @file
/// Fuzz target: a program of string operations, run on shared strings and on standard strings as the model, always
/// agrees.
#include <algorithm>
#include <string>

#include "Fuzz.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/MemoryPool.h"

using vlm::test::Require;

namespace {

using Text = std::basic_string<XCHAR>;

constexpr std::size_t SLOTS = 4;
constexpr std::size_t MAX_MODEL_UNITS = 4000;

std::size_t ReplaceAll(Text& rstrText, const Text& kstrOld, const Text& kstrNew) {
    std::size_t cReplaced = 0;
    if (kstrOld.empty()) return 0;
    for (std::size_t u = rstrText.find(kstrOld); u != Text::npos; u = rstrText.find(kstrOld, u + kstrNew.size())) {
        rstrText.replace(u, kstrOld.size(), kstrNew);
        ++cReplaced;
    }
    return cReplaced;
}

Text Folded(Text strText, XCHAR chFirst, int iShift) {
    for (XCHAR& rch : strText) {
        if (rch >= chFirst && rch < chFirst + 26) rch = static_cast<XCHAR>(rch + iShift);
    }
    return strText;
}

class Machine {
public:
    void Step(vlm::test::Choices& roInput) {
        const std::uint8_t byOperation = roInput.Byte();
        const std::size_t uTarget = roInput.Byte() % SLOTS;
        CXString& rcs = m_acs[uTarget];
        Text& rstr = m_astr[uTarget];
        // The second operand is another string or a part of any, the target itself included.
        const std::size_t uOther = roInput.Byte() % SLOTS;
        const int iPlace = static_cast<std::int8_t>(roInput.Byte());
        const int iCount = static_cast<std::int8_t>(roInput.Byte());
        const XCHAR ch = static_cast<XCHAR>("abAB zZ\t"[iCount & 7]);
        const std::size_t uFirst =
            std::min<std::size_t>(static_cast<std::size_t>(std::max(iPlace, 0)), m_astr[uOther].size());
        const XStringView part = m_acs[uOther].View().substr(uFirst, static_cast<std::size_t>(iCount & 15));
        const Text strPart(part);
        const std::size_t uPlace = std::min<std::size_t>(static_cast<std::size_t>(std::max(iPlace, 0)), rstr.size());
        if (rstr.size() + strPart.size() > MAX_MODEL_UNITS) {
            rcs.Empty();
            rstr.clear();
        }
        switch (byOperation % 20) {
            case 0:
                rcs = m_acs[uOther], rstr = Text(m_astr[uOther]);
                break;
            case 1:
                rcs += ch, rstr += ch;
                break;
            case 2:
                rcs += part, rstr += strPart;
                break;
            case 3:
                rcs = part, rstr = strPart;
                break;
            case 4:
                rcs.Insert(iPlace, part), rstr.insert(uPlace, strPart);
                break;
            case 5:
                rcs.Delete(iPlace, iCount);
                if (iCount > 0) rstr.erase(uPlace, static_cast<std::size_t>(iCount));
                break;
            case 6:
                Replace(rcs, rstr, part, strPart, m_acs[(uOther + 1) % SLOTS].Left(3));
                break;
            case 7:
                Require(rcs.Remove(ch) == static_cast<int>(std::erase(rstr, ch)));
                break;
            case 8:
                rcs.MakeUpper(), rstr = Folded(rstr, 'a', -32);
                break;
            case 9:
                rcs.MakeLower(), rstr = Folded(rstr, 'A', 32);
                break;
            case 10:
                rcs.TrimLeft(), rstr.erase(0, rstr.find_first_not_of(VTEXT(" \t")));
                break;
            case 11:
                rcs.TrimRight(part), rstr.erase(rstr.find_last_not_of(strPart) + 1);
                break;
            case 12:
                rcs = rcs.Mid(iPlace, iCount),
                rstr = rstr.substr(uPlace, static_cast<std::size_t>(std::max(iCount, 0)));
                break;
            case 13:
                Require(rcs.Find(part, iPlace) ==
                        (iPlace > static_cast<int>(rstr.size()) ? -1 : static_cast<int>(rstr.find(strPart, uPlace))));
                break;
            case 14:
                rcs.Format(VTEXT("%s%d"), part, iCount), rstr = strPart + FromNarrow(std::to_string(iCount));
                break;
            case 15:
                Buffer(rcs, rstr, iCount, ch);
                break;
            case 16:
                rcs.LockBuffer();
                break;
            case 17:
                rcs.UnlockBuffer();
                break;
            case 18:
                rcs.MakeReverse(), std::reverse(rstr.begin(), rstr.end());
                break;
            default:
                rcs = std::move(m_acs[uOther]), Move(uTarget, uOther);
                break;
        }
    }

    void Check() const {
        for (std::size_t u = 0; u < SLOTS; ++u) {
            Require(m_acs[u].View() == m_astr[u]);
            Require(m_acs[u].GetLpcwstr()[m_astr[u].size()] == 0);
            Require(m_acs[u].GetAllocLength() >= m_acs[u].GetLength());
        }
    }

private:
    static Text FromNarrow(const std::string& kstrText) { return Text(kstrText.begin(), kstrText.end()); }

    static void Replace(CXString& rcs, Text& rstr, XStringView part, const Text& kstrPart, const CXString& kcsNew) {
        if (kstrPart.empty() || kcsNew.View().size() > kstrPart.size()) return;  // or the text grows beyond the bound
        const std::size_t cReplaced = ReplaceAll(rstr, kstrPart, Text(kcsNew.View()));
        Require(rcs.Replace(part, kcsNew) == static_cast<int>(cReplaced));
    }
    static void Buffer(CXString& rcs, Text& rstr, int iCount, XCHAR ch) {
        const std::size_t cUnits = static_cast<std::size_t>(std::max(iCount, 0));
        XCHAR* const pchBuffer = rcs.GetBufferSetLength(iCount);
        std::fill_n(pchBuffer, cUnits, ch);
        rcs.ReleaseBuffer(iCount < 0 ? 0 : iCount);
        rstr.assign(cUnits, ch);
    }
    void Move(std::size_t uTarget, std::size_t uOther) {
        if (uTarget == uOther) return;
        m_astr[uTarget] = m_astr[uOther];
        m_astr[uOther].clear();
    }

    CXString m_acs[SLOTS];
    Text m_astr[SLOTS];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
    {
        Machine oMachine;
        vlm::test::Choices oInput(pby, std::min<std::size_t>(cBytes, 4096));
        while (!oInput.IsEmpty()) {
            oMachine.Step(oInput);
            oMachine.Check();
        }
    }
    Require(MemoryPool::GetOutstandingBlocks() == llBefore);
    return 0;
}
