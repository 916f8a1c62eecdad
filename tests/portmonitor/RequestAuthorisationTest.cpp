/// @file
/// The whole authorisation matrix against an oracle that knows nothing of the server's tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "environment/PortMonitorRequestRules.h"
#include "platform/SpoolerPort.h"
#include "portmonitor/RequestDecision.h"
#include "support/Narrow.h"

namespace {

using vlm::CallerClass;
using vlm::RequestRights;
using vlm::Status;
using Function = _XPMRegistryFunction;

constexpr const XCHAR* OWN_SID = VTEXT("S-1-5-21-1-2-3-1001");
constexpr const XCHAR* OTHER_SID = VTEXT("S-1-5-21-1-2-3-1002");

enum class Sid { Own, Other, Default, Count };

#define Q9_STORAGE "Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage"

/// One path of each class.
const XCHAR* const PATHS[] = {
    VTEXT(""),
    VTEXT("alpha"),
    VTEXT("alpha\\beta"),
    VTEXT("SYSTEM\\x\\" Q9_STORAGE "\\y"),
    VTEXT(Q9_STORAGE "Evil"),
    VTEXT(Q9_STORAGE "\\S-1-5-21-1-2-3-1001\\a\\b"),
    VTEXT(Q9_STORAGE "\\S-1-5-21-1-2-3-1002\\a\\b"),
    VTEXT(Q9_STORAGE "\\s-1-5-21-1-2-3-1002\\a\\b"),
    VTEXT("Software\\Velom\\KestrixDebugConfig\\a\\b"),
    VTEXT("Software\\Velom\\PrinterDriver\\V5.0\\a\\mirrored\\b"),
};

struct Expected {
    bool fAllowed;
    bool fAsCaller;
};

bool Contains(const std::string& text, const char* pszPart) {
    return text.find(pszPart) != std::string::npos;
}

std::string Lower(std::string text) {
    for (char& c : text)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return text;
}

/// What the rules of the monitor say, read row by row; paths as lower-case narrow text.
Expected Oracle(int iRoot, char chOperation, CallerClass eCaller, const std::string& rSubKey, Sid eSid,
                bool fTrustedValue) {
    const bool fAdmin = eCaller == CallerClass::Administrator || eCaller == CallerClass::System;
    const bool fLow = eCaller == CallerClass::LowIntegrity;
    if (eCaller == CallerClass::Remote) return {false, false};
    const std::string own = Lower(vlm::test::Narrow(OWN_SID)), other = Lower(vlm::test::Narrow(OTHER_SID));
    const std::string bases[] = {"",
                                 "software\\velom\\printerdriver\\v5.0\\lowrightsstorage",
                                 "",
                                 "software\\velom",
                                 "software\\velom\\printerdriver",
                                 "software\\velom\\printerdriver\\v5.0",
                                 "software\\velom",
                                 "software\\velom\\printerdriver",
                                 "software\\velom\\printerdriver\\v5.0",
                                 ""};
    std::string base = bases[iRoot];
    if (iRoot == 2) base = bases[1] + "\\" + (eSid == Sid::Own ? own : eSid == Sid::Other ? other : ".default");
    std::string path = rSubKey;
    if (!base.empty() && !Contains(path, base.c_str())) path = path.empty() ? base : base + "\\" + path;
    if (!base.empty() && path != base && path.rfind(base + "\\", 0) != 0) return {false, false};
    const auto Depth = [](const std::string& p) {
        return p.empty() ? 0 : 1 + static_cast<int>(std::count(p.begin(), p.end(), '\\'));
    };
    const std::string below = path == base ? "" : base.empty() ? path : path.substr(base.size() + 1);
    const bool fRead = chOperation == 'R', fWrite = chOperation == 'W', fDelete = chOperation == 'D';

    if (iRoot >= 6) {
        if (eSid == Sid::Other || (iRoot == 9 && eSid == Sid::Default))
            return {fAdmin && (!fDelete || Depth(below) > 0), true};
        if (eSid == Sid::Default) {
            if (fAdmin) return {!fDelete || Depth(below) > 0, false};
            return {!fLow && fRead, false};
        }
        const bool fAncestor = iRoot == 9 && std::string("software\\velom\\").rfind(path + "\\", 0) == 0;
        if (iRoot == 9 || !fLow) return {!fDelete || (Depth(below) > 0 && !fAncestor), true};
        return {fRead || fWrite, false};
    }
    const std::string lrs = bases[1];
    // Whole trees of the family are nobody's to delete.
    const bool fWholeTree = fDelete && (lrs + "\\").rfind(path + "\\", 0) == 0;
    if (fWholeTree) return {false, false};
    if (path == lrs || path.rfind(lrs + "\\", 0) == 0) {
        const std::string rest = path == lrs ? "" : path.substr(lrs.size() + 1);
        const std::string first = rest.substr(0, rest.find('\\'));
        if (fAdmin) return {!fDelete || !rest.empty(), false};
        if (first == own) return {true, false};
        if (first == other || first == ".default") return {false, false};
        if (fLow) return {fRead, false};
        return {!fDelete || Depth(rest) >= 2, false};
    }
    if (fAdmin) return {!fDelete || !below.empty(), false};
    const bool fTrusted = fTrustedValue || path.rfind("software\\velom\\kestrixdebugconfig", 0) == 0 ||
                          Contains("\\" + path + "\\", "\\mirrored\\");
    if (fTrusted) return {fRead && !fLow, false};
    if (fLow) return {fRead, false};
    return {!fDelete || Depth(below) >= 2, false};
}

/// R, W or D as the operation list has it; 0 for codes that are no operation, 'C' for the copy, 'X' for CloseKey.
char Kind(int iCode, DWORD dwMask) {
    switch (iCode) {
        case 0:
            return 'C';
        case 3:
            return 'X';
        case 21:
        case 22:
            return 'D';
        case 2:
        case 25:
            return (dwMask & 0x10006) ? 'W' : 'R';
        case 1:
            return 'W';
        case 9:
        case 12:
        case 23:
            return 0;
        default:
            return iCode > 30 ? 0 : (iCode >= 4 && iCode <= 13) || (iCode >= 24 && iCode <= 27) ? 'R' : 'W';
    }
}

vlm::RequestCaller Caller(CallerClass eClass) {
    return {eClass, OWN_SID, 0};
}

/// One request by all callers; counts cells and permissions.
void CompareWithOracle(const vlm::PortMonitorRequest& rRequest, Sid eSid, int& riCells, int& riAllowed) {
    const int iRoot = rRequest.m_eRoot, iCode = static_cast<int>(rRequest.m_eFunction);
    const std::string path = Lower(vlm::test::Narrow(rRequest.m_csKeyPath.View()));
    for (int iCaller = 0; iCaller < static_cast<int>(CallerClass::Count); ++iCaller) {
        const auto eCaller = static_cast<CallerClass>(iCaller);
        vlm::RequestDecision oDecision;
        const bool fAllowed = vlm::DecideRequest(rRequest, Caller(eCaller), nullptr, oDecision) == Status::Success;
        const Expected oExpected = Oracle(iRoot, Kind(iCode, rRequest.m_dwAccessMask), eCaller, path, eSid,
                                          rRequest.m_csValueName == VTEXT("XMLConstraint"));
        ++riCells;
        riAllowed += fAllowed;
        const bool fSame = fAllowed == oExpected.fAllowed &&
                           (!fAllowed || (oDecision.m_eRights == RequestRights::AsCaller) == oExpected.fAsCaller);
        ASSERT_TRUE(fSame) << "root " << iRoot << ", operation " << iCode << ", path " << path << ", SID "
                           << static_cast<int>(eSid) << ", caller " << iCaller << ", mask " << std::hex
                           << rRequest.m_dwAccessMask << ", value " << vlm::test::Narrow(rRequest.m_csValueName);
    }
}

TEST(RequestAuthorisation, TheWholeMatrixEqualsTheOracle) {
    int iCells = 0, iAllowed = 0;
    const XCHAR* const apszSids[] = {OWN_SID, OTHER_SID, VTEXT(".DEFAULT")};
    for (int iCode = 0; iCode <= 32; ++iCode) {
        const vlm::RequestOperation* const pOperation = vlm::FindRequestOperation(static_cast<WORD>(iCode));
        EXPECT_EQ(pOperation != nullptr, Kind(iCode, 0) != 0) << iCode;
        if (!pOperation || Kind(iCode, 0) == 'C' || Kind(iCode, 0) == 'X') continue;
        const bool fName = pOperation->m_eName != vlm::RequestName::No;
        vlm::PortMonitorRequest oRequest;
        oRequest.m_eFunction = static_cast<Function>(iCode);
        if (iCode == 20) oRequest.m_bbData = ByteBuffer::createFromIntValue('n');
        for (int iRoot = 1; iRoot <= 9; ++iRoot) {
            oRequest.m_eRoot = static_cast<_HKEYREGISTRY_>(iRoot);
            const bool fSid = vlm::DoesRootNeedSid(oRequest.m_eRoot);
            for (int iSid = 0; iSid < (fSid ? static_cast<int>(Sid::Count) : 1); ++iSid) {
                oRequest.m_csThird = fSid ? apszSids[iSid] : VTEXT("");
                for (const XCHAR* const pszPath : PATHS) {
                    oRequest.m_csKeyPath = pszPath;
                    for (const DWORD dwMask : {0x20019u, 0x20006u}) {
                        oRequest.m_dwAccessMask = dwMask;
                        for (const XCHAR* pszValue : {VTEXT("plain"), VTEXT("XMLConstraint")}) {
                            oRequest.m_csValueName = fName ? pszValue : VTEXT("");
                            CompareWithOracle(oRequest, static_cast<Sid>(iSid), iCells, iAllowed);
                        }
                    }
                }
            }
        }
    }
    EXPECT_GT(iCells, 40000);
    EXPECT_GT(iAllowed, iCells / 10);
}

TEST(RequestAuthorisation, CopiesStayInOneTreeAndNeverGoBelowTheirSource) {
    const auto Copy = [](CallerClass eCaller, _HKEYREGISTRY_ eRoot, const XCHAR* pszTarget, const XCHAR* pszSource) {
        vlm::PortMonitorRequest oRequest;
        oRequest.m_eRoot = eRoot;
        oRequest.m_eFunction = Function::CopyKeyAndSubkeysFrom;
        oRequest.m_csKeyPath = pszTarget;
        oRequest.m_csThird = pszSource;
        vlm::RequestDecision oDecision;
        return vlm::DecideRequest(oRequest, Caller(eCaller), nullptr, oDecision);
    };
    using enum CallerClass;
    constexpr auto VERSION = HKeyRegistry::Hkey_Machine_Version;
    EXPECT_EQ(Copy(Standard, VERSION, VTEXT("a"), VTEXT("b")), Status::Success);
    EXPECT_EQ(Copy(LowIntegrity, VERSION, VTEXT("a"), VTEXT("b")), Status::AccessDenied);
    EXPECT_EQ(Copy(Remote, VERSION, VTEXT("a"), VTEXT("b")), Status::AccessDenied);
    EXPECT_EQ(Copy(Administrator, VERSION, VTEXT("b\\c"), VTEXT("b")), Status::AccessDenied);
    EXPECT_EQ(Copy(Administrator, VERSION, VTEXT("B"), VTEXT("b")), Status::AccessDenied);
    EXPECT_EQ(Copy(Standard, VERSION, VTEXT("Mirrored\\a"), VTEXT("b")), Status::AccessDenied);
    EXPECT_EQ(Copy(Standard, VERSION, VTEXT("LowRightsStorage\\x\\y"), VTEXT("b")), Status::AccessDenied);
    EXPECT_EQ(Copy(Administrator, VERSION, VTEXT("LowRightsStorage\\x\\y"), VTEXT("b")), Status::Success);
}

Status Set(_HKEYREGISTRY_ eRoot, const XCHAR* pszPath, const XCHAR* pszValue, const XCHAR* pszSid = VTEXT("")) {
    vlm::PortMonitorRequest oRequest;
    oRequest.m_eRoot = eRoot;
    oRequest.m_eFunction = Function::SetLongValue;
    oRequest.m_csKeyPath = pszPath;
    oRequest.m_csValueName = pszValue;
    oRequest.m_csThird = pszSid;
    vlm::RequestDecision oDecision;
    return vlm::DecideRequest(oRequest, Caller(CallerClass::Standard), nullptr, oDecision);
}

TEST(RequestAuthorisation, DefaultUserTakesOnlyTheValuesMadeForIt) {
    for (const XCHAR* const pszValue : {VTEXT("VRCheck"), VTEXT("vrcheck"), VTEXT("Other")}) {
        EXPECT_EQ(Set(HKeyRegistry::Hkey_User_Velom, VTEXT("a"), pszValue, VTEXT(".DEFAULT")),
                  CXString(pszValue) == VTEXT("Other") ? Status::AccessDenied : Status::Success);
    }
}

TEST(RequestAuthorisation, NoSpellingOfAProtectedNameIsOverlooked) {
    constexpr auto FAMILY = HKeyRegistry::Hkey_Machine_Velom, VERSION = HKeyRegistry::Hkey_Machine_Version;
    const struct {
        _HKEYREGISTRY_ eRoot;
        const XCHAR* pszPath;
        const XCHAR* pszValue;
    } aRows[] = {
        {FAMILY, VTEXT("KESTRIXDEBUGCONFIG"), VTEXT("v")},
        {FAMILY, VTEXT("\u212AestrixDebugConfig"), VTEXT("v")},     // a Kelvin sign
        {FAMILY, VTEXT("KestrixDebugConf\u0131g"), VTEXT("v")},     // an i without a dot
        {FAMILY, VTEXT("Ke\u017FtrixDebugConfig\\x"), VTEXT("v")},  // a long s
        {VERSION, VTEXT("a\\M\u0130RRORED\\b"), VTEXT("v")},
        {VERSION, VTEXT("a"), VTEXT("xmlcon\u017Ftraint")},
        {VERSION, VTEXT("LowRight\u017FStorage\\S-1-5-21-1-2-3-1002\\a"), VTEXT("v")},
        {VERSION, VTEXT("LowRightsStorage\\\u017F-1-5-21-1-2-3-1002\\a"), VTEXT("v")},
        {VERSION, VTEXT("LowRightsStorage\\.default\\a"), VTEXT("v")},
    };
    for (const auto& rRow : aRows)
        EXPECT_EQ(Set(rRow.eRoot, rRow.pszPath, rRow.pszValue), Status::AccessDenied)
            << vlm::test::Narrow(rRow.pszPath);
    EXPECT_EQ(Set(VERSION, VTEXT("LowRightsStorage\\s-1-5-21-1-2-3-1001\\a"), VTEXT("v")), Status::Success);
    // What leads out of the base is judged by the letter.
    EXPECT_EQ(Set(VERSION, VTEXT("\u017Foftware\\Velom\\PrinterDriver\\V5.0\\x"), VTEXT("v")), Status::Success);
}

TEST(RequestAuthorisation, CallersAreClassifiedByTheWorstThatIsKnownOfThem) {
    vlm::IdentityPort::Identity oIdentity;
    EXPECT_EQ(vlm::ClassifyCaller(oIdentity, false), CallerClass::Standard);
    EXPECT_EQ(vlm::ClassifyCaller(oIdentity, true), CallerClass::System);
    oIdentity.fAdministrator = true;
    EXPECT_EQ(vlm::ClassifyCaller(oIdentity, false), CallerClass::Administrator);
    oIdentity.dwIntegrity = vlm::IdentityPort::INTEGRITY_LOW;
    EXPECT_EQ(vlm::ClassifyCaller(oIdentity, false), CallerClass::LowIntegrity);
    oIdentity.dwIntegrity = vlm::IdentityPort::INTEGRITY_SYSTEM;
    oIdentity.fAppContainer = true;
    EXPECT_EQ(vlm::ClassifyCaller(oIdentity, false), CallerClass::LowIntegrity);
    oIdentity.fRemote = true;
    EXPECT_EQ(vlm::ClassifyCaller(oIdentity, false), CallerClass::Remote);
}

TEST(RequestAuthorisation, CommandsNeedTheirRights) {
    using enum CallerClass;
    using vlm::ChannelCommand;
    const auto Allowed = [](CallerClass eClass, DWORD dwGranted, ChannelCommand eCommand,
                            const XCHAR* pszSid = VTEXT("")) {
        return vlm::AuthoriseCommand({eClass, OWN_SID, dwGranted}, eCommand, pszSid);
    };
    constexpr DWORD ADMINISTER = vlm::SpoolerPort::ACCESS_ADMINISTER;
    for (const CallerClass eClass : {Remote, LowIntegrity, Standard, Administrator, System}) {
        EXPECT_TRUE(Allowed(eClass, 0, ChannelCommand::IsReady));
        EXPECT_FALSE(Allowed(eClass, 0, ChannelCommand::Upgrade));
        EXPECT_EQ(Allowed(eClass, ADMINISTER, ChannelCommand::RemoveLrs), eClass == Administrator || eClass == System);
        EXPECT_EQ(Allowed(eClass, 0, ChannelCommand::RemoveSid, OWN_SID), eClass >= Standard);
        EXPECT_EQ(Allowed(eClass, 0, ChannelCommand::RemoveSid, OTHER_SID), eClass >= Administrator);
    }
}

TEST(RequestAuthorisation, NobodyGetsTheRightsToPlantLinksOrChangeOwners) {
    EXPECT_EQ(vlm::MaskRights(0xF003F), 0x3001Fu);
    EXPECT_EQ(vlm::MaskRights(0x2000000), 0u);
    EXPECT_EQ(vlm::MaskRights(0x20019), 0x20019u);
}

}  // namespace
