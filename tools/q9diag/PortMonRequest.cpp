// portmon request: one request to the port monitor, or its bytes.
#include <algorithm>
#include <array>

#include "CommandLine.h"
#include "Commands.h"
#include "Failure.h"
#include "Output.h"
#include "Text.h"
#include "environment/PortMonitor.h"
#include "environment/PortMonitorReply.h"
#include "utilities/registry/RegistryHives.h"

namespace vlm::tool {

namespace {

struct Options {
    std::string strOperation;
    std::string strRoot;
    std::string strHandle;
    std::string strKey;
    std::string strValue;
    std::string strThird;
    std::optional<std::int64_t> ollMask;
    std::string strData;
    std::string strText;
    std::optional<std::int64_t> ollNumber;
    std::string strNames;
    bool fDryRun = false;
};

CXString Wide(const std::string& strText, const char* pszWhat) {
    return CXString(XStringView(FromUtf8(strText, pszWhat)));
}

/// The row of an operation named by its name, without case, or its code.
const RequestOperation& FindOperation(const std::string& strOperation) {
    const CXString csOperation = Wide(strOperation, "OPERATION");
    std::string strKnown;
    for (WORD wCode = 0; wCode <= 30; ++wCode) {
        const RequestOperation* const pOperation = FindRequestOperation(wCode);
        if (!pOperation) continue;
        if (csOperation.CompareNoCase(pOperation->m_pszName) == 0 || strOperation == std::to_string(wCode))
            return *pOperation;
        strKnown += (strKnown.empty() ? "" : ", ") + ToUtf8(pOperation->m_pszName);
    }
    throw UsageError("OPERATION: no operation is called " + Printable(std::string_view(strOperation)) + " (" +
                     strKnown + ")");
}

ByteBuffer FromHexText(const std::string& strHex, const char* pszWhat) {
    ByteBuffer bbData;
    if (strHex.size() % 2 != 0 || !ByteBuffer::ConvertHexBinaryStringToByteBuffer(Wide(strHex, pszWhat), bbData, false))
        RefuseInput(std::string(pszWhat) + ": not pairs of hexadecimal digits: " + Printable(std::string_view(strHex)));
    return bbData;
}

ByteBuffer ValueList(const std::string& strNames) {
    const CXString csNames = Wide(strNames, "--names");
    std::vector<CXString> vcsNames;
    for (int iPosition = 0; iPosition >= 0;) {
        CXString csName = csNames.Tokenize(VTEXT(","), iPosition);
        if (iPosition >= 0) vcsNames.push_back(csName);
    }
    std::vector<ValueEnt> voEntries(vcsNames.size());
    for (std::size_t i = 0; i < vcsNames.size(); ++i)
        voEntries[i].ve_valuename = vcsNames[i];
    ByteBuffer bbList;
    if (!VelomPortMonitor::MakeVALENTArraySpoolerCompatible(AsSystemEntries(voEntries.data()),
                                                            static_cast<DWORD>(voEntries.size()), bbList))
        RefuseInput("--names: not 1 to 4096 value names with commas between");
    return bbList;
}

ByteBuffer DataOf(const Options& rOptions, const RequestOperation& rOperation) {
    const int cGiven = static_cast<int>(!rOptions.strData.empty()) + static_cast<int>(!rOptions.strText.empty()) +
                       static_cast<int>(rOptions.ollNumber.has_value()) + static_cast<int>(!rOptions.strNames.empty());
    if (cGiven > 1) throw UsageError("--data, --text, --number and --names exclude each other");
    if (!rOptions.strData.empty()) return FromHexText(rOptions.strData, "--data");
    if (!rOptions.strNames.empty()) return ValueList(rOptions.strNames);
    if (rOptions.ollNumber) {
        const std::int64_t llNumber = *rOptions.ollNumber;
        const bool f1 = rOperation.m_eData == RequestData::Bytes1, f4 = rOperation.m_eData == RequestData::Bytes4;
        if ((f1 && (llNumber < 0 || llNumber > 0xFF)) || (f4 && (llNumber < INT32_MIN || llNumber > 0xFFFFFFFF)))
            throw UsageError("--number: " + std::to_string(llNumber) + " needs more than the " +
                             (f1 ? "1 byte" : "4 bytes") + " of this operation");
        ByteBuffer bbNumber = ByteBuffer::createFromLong64Value(llNumber);
        if (f1) bbNumber.resize(1);
        if (f4) bbNumber.resize(4);
        return bbNumber;
    }
    const bool fText = rOperation.m_eData == RequestData::Text || rOperation.m_eData == RequestData::ValueName;
    if (!fText) {
        if (!rOptions.strText.empty()) throw UsageError("--text: this operation takes no text");
        return {};
    }
    ByteBuffer bbText;
    bbText.append(Wide(rOptions.strText, "--text")).appendNullChar();
    return bbText;
}

DWORD MaskOf(const Options& rOptions, const RequestOperation& rOperation) {
    constexpr DWORD KEY_READ_MASK = 0x20019, KEY_WRITE_MASK = 0x20006, KEY_READ_WRITE_MASK = 0x2001F;
    if (rOptions.ollMask) return static_cast<DWORD>(*rOptions.ollMask);
    if (rOperation.m_dwMask == RequestOperation::ANY_MASK) return KEY_READ_MASK;
    if (rOperation.m_dwMask == RequestOperation::BY_ADDRESS)
        return rOptions.strHandle.empty() ? KEY_READ_WRITE_MASK : KEY_WRITE_MASK;
    return rOperation.m_dwMask;
}

/// The key handle that the option names; only good for looking at bytes.
HKEY HandleOf(const Options& rOptions) {
    if (rOptions.strHandle.empty()) return nullptr;
    if (!rOptions.fDryRun) throw UsageError("--handle: key handles belong to one channel; use it with --dry-run");
    if (!rOptions.strRoot.empty()) throw UsageError("--root and --handle exclude each other");
    const std::string strDigits = std::string(16 - std::min<std::size_t>(16, rOptions.strHandle.size()), '0');
    ByteBuffer bbHandle = FromHexText(strDigits + rOptions.strHandle, "--handle");
    if (bbHandle.size() != 8) RefuseInput("--handle: more than 16 digits");
    std::reverse(bbHandle.data(), bbHandle.data() + bbHandle.size());
    return reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(bbHandle.getAsLong64Value()));
}

int PrintRecord(const ByteBuffer& rbbRecord, Output& rOutput) {
    constexpr std::size_t LINE_BYTES = 16;
    std::vector<std::vector<std::string>> vRows;
    for (std::size_t cOffset = 0; cOffset < rbbRecord.size(); cOffset += LINE_BYTES) {
        std::string strBytes;
        for (std::size_t i = cOffset; i < std::min(cOffset + LINE_BYTES, rbbRecord.size()); ++i)
            strBytes += (strBytes.empty() ? "" : " ") + Hex(rbbRecord[i], 2);
        vRows.push_back({Hex(cOffset, 4), strBytes});
    }
    rOutput.Table(vRows, 0, {Style::Name});
    rOutput.Document({{"bytes", rbbRecord.size()}, {"record", ToUtf8(rbbRecord.getAsHexBinaryString())}});
    return EXIT_DONE;
}

/// A reply for people; nothing for one that the layout does not fit.
std::optional<std::string> ReplyText(ReplyLayout eLayout, const ByteBuffer& rbbReply) {
    bool fValue = false;
    LONG lValue = 0;
    LONGLONG llValue = 0;
    DWORD dwCount = 0;
    CXString csText;
    std::vector<CXString> vcsNames;
    switch (eLayout) {
        case ReplyLayout::Empty:
            return "done";
        case ReplyLayout::Boolean:
            if (!PortMonitorReply::DecodeBoolean(rbbReply, fValue)) return std::nullopt;
            return fValue ? "true" : "false";
        case ReplyLayout::Long:
            if (!PortMonitorReply::DecodeLong(rbbReply, lValue)) return std::nullopt;
            return std::to_string(lValue);
        case ReplyLayout::Long64:
            if (!PortMonitorReply::DecodeLong64(rbbReply, llValue)) return std::nullopt;
            return std::to_string(llValue);
        case ReplyLayout::Count:
            if (!PortMonitorReply::DecodeCount(rbbReply, dwCount)) return std::nullopt;
            return std::to_string(dwCount);
        case ReplyLayout::Text:
            if (!PortMonitorReply::DecodeText(rbbReply, csText)) return std::nullopt;
            return Printable(csText.View());
        case ReplyLayout::Names: {
            if (!PortMonitorReply::DecodeNames(rbbReply, vcsNames)) return std::nullopt;
            std::string strNames;
            for (const CXString& kcsName : vcsNames)
                strNames += (strNames.empty() ? "" : "\n") + Printable(kcsName.View());
            return strNames;
        }
        case ReplyLayout::KeyToken:
        case ReplyLayout::Bytes:
        case ReplyLayout::Values:
            break;
    }
    return ToUtf8(rbbReply.getAsHexBinaryString());
}

int Run(const Options& rOptions, Output& rOutput) {
    const RequestOperation& rOperation = FindOperation(rOptions.strOperation);
    const HKEY hKey = HandleOf(rOptions);
    if (!hKey && rOptions.strRoot.empty()) throw UsageError("--root: a hive from 1 to 9 is needed");
    _HKEYREGISTRY_ eRoot = HKeyRegistry::Hkey_None;
    if (!hKey && !RegistryHives::TryParse(Wide(rOptions.strRoot, "--root").View(), eRoot))
        throw UsageError("--root: " + Printable(std::string_view(rOptions.strRoot)) + " is no hive");
    const CXString csKey = Wide(rOptions.strKey, "--key");
    const CXString csValue = Wide(rOptions.strValue, "--value");
    CXString csThird = Wide(rOptions.strThird, "--third");
    if (csThird.IsEmpty() && !hKey) csThird = VelomPortMonitor::GetUserSIDIfNeeded(eRoot, true);
    const ByteBuffer bbData = DataOf(rOptions, rOperation);
    const DWORD dwMask = MaskOf(rOptions, rOperation);
    if (rOptions.fDryRun) {
        ByteBuffer bbRecord;
        if (!VelomPortMonitor::FillInXPMRegistryObject(eRoot, hKey, rOperation.m_eFunction, dwMask, csKey, csValue,
                                                       csThird, bbData.getLpbyte(), bbData.GetLength(), bbRecord))
            RefuseMonitor("the request cannot be put together", Status::NotEnoughMemory);
        return PrintRecord(bbRecord, rOutput);
    }
    VelomPortMonitor oMonitor;
    ByteBuffer bbReply;
    DWORD dwStatus = 0;
    if (!oMonitor.CallVelomPortMonitor(eRoot, nullptr, rOperation.m_eFunction, dwMask, csKey, csValue, csThird, bbData,
                                       bbReply, nullptr, &dwStatus) &&
        dwStatus != ToDword(Status::FileNotFound))
        RefuseMonitor("the monitor did not do it", static_cast<Status>(dwStatus));
    Json oDocument = {{"operation", ToUtf8(rOperation.m_pszName)}, {"status", dwStatus}};
    if (dwStatus == 0) {
        const std::optional<std::string> ostrReply = ReplyText(rOperation.m_eReply, bbReply);
        if (!ostrReply) RefuseInput("the reply is none: " + ToUtf8(bbReply.getAsHexBinaryString()));
        if (!ostrReply->empty()) rOutput.Line(*ostrReply);
        oDocument["reply"] = ToUtf8(bbReply.getAsHexBinaryString());
        oDocument["text"] = *ostrReply;
    } else {
        rOutput.Remark("absent");
    }
    rOutput.Document(std::move(oDocument));
    return dwStatus == 0 ? EXIT_DONE : EXIT_ANSWER_NO;
}

}  // namespace

void AddPortMonRequest(CommandLine& rLine) {
    const auto shpoOptions = std::make_shared<Options>();
    rLine
        .Add("portmon", "request",
             "Have the monitor do one registry operation, or print the request's "
             "bytes")
        .Argument("OPERATION", shpoOptions->strOperation, "As GetLongValue, or its code")
        .Option("--root", "HIVE", shpoOptions->strRoot, "The logical hive, 1 to 9, by number or name")
        .Option("--handle", "HEX", shpoOptions->strHandle, "A key handle instead of a root; with --dry-run")
        .Option("--key", "PATH", shpoOptions->strKey, "The key below the root's base path")
        .Option("--value", "NAME", shpoOptions->strValue, "The value; left out: the key's default value")
        .Option("--third", "TEXT", shpoOptions->strThird,
                "The user's SID where the root needs one (left out: one's own), "
                "or the source path of a copy")
        .Number("--mask", shpoOptions->ollMask, 0, 0xFFFFFFFF, "The access mask instead of the operation's own")
        .Option("--data", "HEX", shpoOptions->strData, "The data, two hexadecimal digits for each byte")
        .Option("--text", "TEXT", shpoOptions->strText, "The data as a text")
        .Number("--number", shpoOptions->ollNumber, INT64_MIN, INT64_MAX, "The data as a number of the right size")
        .Option("--names", "A,B,...", shpoOptions->strNames, "The data as the value names of QueryMultipleValues")
        .Flag("--dry-run", shpoOptions->fDryRun, "Print the request's bytes and send nothing")
        .Run([shpoOptions](Output& rOutput) { return Run(*shpoOptions, rOutput); });
}

}  // namespace vlm::tool
