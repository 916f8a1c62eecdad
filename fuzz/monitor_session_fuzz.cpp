/// @file
/// Fuzz target: what several callers make of several channels.  The input's bytes choose callers, channels, requests
/// and handles; a watcher beside the registry knows on its own account who may touch what, and a model knows which
/// handles are whose.
#include <map>

#include "Fuzz.h"
#include "portmonitor/MonitorBench.h"
#include "portmonitor/WatchedRegistry.h"

namespace {

using namespace vlm;
using namespace vlm::test;
using Access = WatchedRegistry::Access;

const XCHAR* const PATHS[] = {VTEXT(""),
                              VTEXT("a"),
                              VTEXT("a\\b"),
                              VTEXT("a\\b\\c\\d"),
                              VTEXT("link"),
                              VTEXT("link\\x"),
                              VTEXT("a\\link\\x"),
                              VTEXT("a\\Mirrored\\b"),
                              VTEXT("KestrixDebugConfig\\x"),
                              VTEXT("LowRightsStorage\\a\\b"),
                              VTEXT("LowRightsStorage\\S-1-5-21-1-2-3-1001\\a"),
                              VTEXT("LowRightsStorage\\S-1-5-21-1-2-3-1002\\a"),
                              VTEXT("LowRightsStorage\\s-1-5-21-1-2-3-1002\\a"),
                              VTEXT("S-1-5-21-1-2-3-1002\\a"),
                              VTEXT("Software\\Velom"),
                              VTEXT("Software\\Velom\\PrinterDriver\\V5.0"),
                              VTEXT("SYSTEM\\x\\Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage\\y"),
                              VTEXT("Software\\VelomEvil"),
                              VTEXT("software\\VELOM\\kestrixdebugconfig"),
                              VTEXT("..\\..\\x")};
const XCHAR* const NAMES[] = {VTEXT(""),        VTEXT("v"),    VTEXT("V"), VTEXT("XMLConstraint"),
                              VTEXT("VRCheck"), VTEXT("tpath")};
const XCHAR* const SIDS[] = {OWN_SID, OTHER_SID, VTEXT(".DEFAULT")};

struct Person {
    const XCHAR* pszSid;
    DWORD dwIntegrity;
    bool fAdministrator, fRemote;
};
constexpr Person PEOPLE[] = {{OWN_SID, IdentityPort::INTEGRITY_MEDIUM, false, false},
                             {OTHER_SID, IdentityPort::INTEGRITY_MEDIUM, false, false},
                             {OWN_SID, IdentityPort::INTEGRITY_LOW, false, false},
                             {VTEXT("S-1-5-21-1-2-3-500"), IdentityPort::INTEGRITY_HIGH, true, false},
                             {OWN_SID, IdentityPort::INTEGRITY_HIGH, true, true}};

bool Under(const std::string& rPath, const std::string& rBase) {
    return rPath == rBase || rPath.rfind(rBase + "\\", 0) == 0;
}

/// Who may touch what, read from the rules once more; paths in lower case.
bool MayTouch(const Person& rPerson, Access eAccess, const std::string& rPath, const XCHAR* pszValue) {
    const std::string family = "hklm\\software\\velom", storage = family + "\\printerdriver\\v5.0\\lowrightsstorage";
    std::string own = "s";
    own += Narrow(rPerson.pszSid).substr(1);
    const bool fChange = eAccess == Access::Create || eAccess == Access::Write || eAccess == Access::Delete;
    if (rPerson.fRemote) return false;
    // On the way down keys are only passed through.
    if (eAccess == Access::Open && (Under(family, rPath) || Under(rPath, family) || Under(rPath, "hku"))) return true;
    const bool fLow = rPerson.dwIntegrity < IdentityPort::INTEGRITY_MEDIUM;
    // The way to a caller's own storage is made for him.
    if (eAccess == Access::Create && Under(rPath, family) && Under(storage + "\\" + own, rPath)) return true;
    if (Under(rPath, storage)) {
        const std::string rest = rPath.size() > storage.size() ? rPath.substr(storage.size() + 1) : "";
        const std::string first = rest.substr(0, rest.find('\\'));
        if (rPerson.fAdministrator || first == own) return true;
        if (first.rfind("s-1-", 0) == 0) return false;
        return !fChange || !fLow;
    }
    if (Under(rPath, family)) {
        const std::string value = pszValue ? Narrow(pszValue) : "";
        const bool fTrusted = Under(rPath, family + "\\kestrixdebugconfig") ||
                              ("\\" + rPath + "\\").find("\\mirrored\\") != std::string::npos ||
                              value == "XMLConstraint" || value == "tpath";
        if (rPerson.fAdministrator) return true;
        return fTrusted ? !fChange && !fLow : !fChange || !fLow;
    }
    if (rPerson.fAdministrator || Under(rPath, "hku\\" + own)) return Under(rPath, "hku");
    // The default user's family tree; of the values there only those made for everybody.
    const bool fForAll = pszValue && Narrow(pszValue) == "VRCheck";
    const bool fWay = eAccess == Access::Create && Under("hku\\.default\\software\\velom\\printerdriver\\v5.0", rPath);
    return Under(rPath, "hku\\.default\\software\\velom") && !fLow && (!fChange || fWay || fForAll);
}

class Session {
public:
    Session() {
        m_oBench.oFake.registry.AddDword(VTEXT("HKEY_LOCAL_MACHINE\\SYSTEM\\victim\\x"), VTEXT("v"), 1);
        for (const XCHAR* pszPath : {VTEXT("\\link"), VTEXT("\\a\\link"), VTEXT("\\LowRightsStorage\\link")})
            m_oBench.oFake.registry.AddLink(XString(VERSION_PATH) + pszPath,
                                            VTEXT("HKEY_LOCAL_MACHINE\\SYSTEM\\victim"));
        for (const XCHAR* pszPath : {VTEXT("\\a\\b\\c"), VTEXT("\\a\\Mirrored\\b"), VTEXT("\\LowRightsStorage\\a\\b"),
                                     VTEXT("\\LowRightsStorage\\S-1-5-21-1-2-3-1002\\a")})
            m_oBench.oFake.registry.AddDword(XString(VERSION_PATH) + pszPath, VTEXT("v"), 7);
        m_oBench.oFake.registry.AddKey(VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\KestrixDebugConfig\\x"));
        m_oBench.oFake.registry.AddKey(VTEXT("HKEY_USERS\\.DEFAULT\\Software\\Velom"));
        m_victim = Victim();
        m_oPlatform = m_oBench.oFake.Get();
        m_oPlatform.pRegistry = &m_oWatched;
        m_oWatched.SetWatcher([this](Access eAccess, const std::string& rPath, const XCHAR* pszValue) {
            Require(m_pPerson && MayTouch(*m_pPerson, eAccess, rPath, pszValue));
            IdentityPort::Identity oIdentity;
            m_oBench.oFake.identity.CurrentIdentity(oIdentity);
            Require(rPath.rfind("hklm", 0) != 0 || !oIdentity.fImpersonating);
        });
    }

    void Run(Choices& roChoices) {
        const PlatformScope oScope(m_oPlatform);
        MonitorChannels oChannels;
        m_pChannels = &oChannels;
        while (!roChoices.IsEmpty())
            Step(roChoices);
        oChannels.CloseAll();
        Require(m_oBench.oFake.registry.OpenHandles() == 0 && m_oBench.oFake.identity.OpenTokens() == 0);
        Require(!m_oBench.oFake.identity.EndedWith() && Victim() == m_victim);
    }

private:
    struct Token {
        HANDLE hChannel;
        CXString csSid;
    };

    std::string Victim() {
        HKEY hKey = nullptr;
        FakeRegistryPort& rRegistry = m_oBench.oFake.registry;
        Require(rRegistry.Open(rRegistry.RootKey(RegistryPort::Root::LocalMachine), VTEXT("SYSTEM"),
                               RegistryPort::RIGHTS_READ, hKey) == Status::Success);
        const std::string text = Dump(rRegistry, hKey);
        rRegistry.Close(hKey);
        return text;
    }

    void Step(Choices& roChoices) {
        m_pPerson = &PEOPLE[roChoices.Next(std::size(PEOPLE))];
        IdentityPort::Identity oIdentity =
            FakeIdentityPort::MakeIdentity(m_pPerson->pszSid, m_pPerson->dwIntegrity, m_pPerson->fAdministrator);
        oIdentity.fRemote = m_pPerson->fRemote;
        m_oBench.oFake.identity.Impersonate(oIdentity);
        HANDLE& rhChannel = m_ahChannels[roChoices.Next(std::size(m_ahChannels))];
        if (!rhChannel && m_pChannels->Open(roChoices.Next(2), rhChannel) != Status::Success) rhChannel = nullptr;
        switch (roChoices.Next(12)) {
            case 0:
                Require(m_pChannels->Close(rhChannel) == Status::Success);
                std::erase_if(m_mapTokens, [&](const auto& rPair) { return rPair.second.hChannel == rhChannel; });
                rhChannel = nullptr;
                break;
            case 1:
                Command(rhChannel, roChoices);
                break;
            default:
                Request(rhChannel, roChoices);
        }
        m_oBench.oFake.identity.CurrentIdentity(oIdentity);
        Require(oIdentity.fImpersonating && XStringView(oIdentity.szSid) == m_pPerson->pszSid);
    }

    void Command(HANDLE hChannel, Choices& roChoices) {
        const XCHAR* const apszCommands[] = {VTEXT("isready"), VTEXT("upgrade"), VTEXT("XRemoveSID"),
                                             VTEXT("XRemoveLRS")};
        const unsigned uCommand = roChoices.Next(4);
        const ByteBuffer bbInput = uCommand == 2 ? TextData(SIDS[roChoices.Next(3)]) : ByteBuffer();
        DWORD cbNeeded = 0;
        const Status eStatus = m_pChannels->Transceive(hChannel, apszCommands[uCommand], bbInput, {}, cbNeeded);
        Require(uCommand == 0 ? eStatus == Status::Success : !m_pPerson->fRemote || eStatus != Status::Success);
    }

    void Request(HANDLE hChannel, Choices& roChoices) {
        const RequestOperation* const pOperation = FindRequestOperation(static_cast<WORD>(roChoices.Next(31)));
        if (!pOperation) return;
        PortMonitorRequest oRequest =
            MakeRequest(pOperation->m_eFunction, HKeyRegistry::Hkey_None, PATHS[roChoices.Next(std::size(PATHS))]);
        const unsigned uRoot = roChoices.Next(14);
        oRequest.m_eRoot = static_cast<_HKEYREGISTRY_>(uRoot < 10 ? uRoot : 0);
        if (oRequest.m_eRoot == 0) oRequest.m_ullKeyHandle = Handle(roChoices);
        if (pOperation->m_dwMask == RequestOperation::BY_ADDRESS && oRequest.m_ullKeyHandle != 0)
            oRequest.m_dwAccessMask = 0x20006;
        if (pOperation->m_dwMask == RequestOperation::ANY_MASK) {
            constexpr DWORD MASKS[] = {0x20019, 0x20006, 0xF003F, 0x2000000, 0x10000000, 0x80000000, 0};
            oRequest.m_dwAccessMask = MASKS[roChoices.Next(std::size(MASKS))];
        }
        if (oRequest.m_eRoot == 2 || oRequest.m_eRoot >= 6) oRequest.m_csThird = SIDS[roChoices.Next(3)];
        if (pOperation->m_eEffect == RequestEffect::Copy) oRequest.m_csThird = PATHS[roChoices.Next(std::size(PATHS))];
        if (pOperation->m_eName != RequestName::No) oRequest.m_csValueName = NAMES[roChoices.Next(std::size(NAMES))];
        oRequest.m_bbData = Data(pOperation->m_eData, roChoices);

        ByteBuffer bbRecord;
        oRequest.AppendTo(bbRecord);
        BYTE abyReply[512];
        DWORD cbNeeded = 0;
        const std::size_t cbRoom = roChoices.Next(4) == 0 ? roChoices.Next(9) : sizeof(abyReply);
        const Status eStatus =
            m_pChannels->Transceive(hChannel, VTEXT("xregistry"), bbRecord, {abyReply, cbRoom}, cbNeeded);
        CheckHandles(hChannel, oRequest, eStatus);
        if (eStatus == Status::Success && pOperation->m_eReply == ReplyLayout::KeyToken) {
            ULONGLONG ullToken = 0;
            Require(PortMonitorReply::DecodeKeyToken({abyReply, cbNeeded}, ullToken));
            Require(m_mapTokens.emplace(ullToken, Token{hChannel, m_pPerson->pszSid}).second);
        }
    }

    /// A handle is answered 6 exactly when it is not this caller's on this channel.
    void CheckHandles(HANDLE hChannel, const PortMonitorRequest& rRequest, Status eStatus) {
        if (rRequest.m_ullKeyHandle == 0 || eStatus == Status::InvalidParameter) return;
        const auto it = m_mapTokens.find(rRequest.m_ullKeyHandle);
        const bool fLive =
            it != m_mapTokens.end() && it->second.hChannel == hChannel && it->second.csSid == m_pPerson->pszSid;
        Require(fLive == (eStatus != Status::InvalidHandle));
        if (fLive && rRequest.m_eFunction == Function::CloseKey) {
            Require(eStatus == Status::Success);
            m_mapTokens.erase(it);
        }
    }

    ULONGLONG Handle(Choices& roChoices) {
        const unsigned uWhich = roChoices.Next(32);
        if (uWhich == 0 || m_mapTokens.empty()) return 0xFFFFFFFF80000002;
        const auto it = std::next(m_mapTokens.begin(), uWhich % m_mapTokens.size());
        return roChoices.Next(8) == 0 ? it->first ^ 1ULL << roChoices.Next(62) : it->first;
    }

    static ByteBuffer Data(RequestData eData, Choices& roChoices) {
        switch (eData) {
            case RequestData::Bytes1:
                return ByteBuffer(FromHex("01"));
            case RequestData::Bytes4:
                return ByteBuffer::createFromLongValue(static_cast<LONG>(roChoices.Next(5)) - 1);
            case RequestData::Bytes8:
                return ByteBuffer::createFromLong64Value(static_cast<LONGLONG>(roChoices.Next(5)) - 1);
            case RequestData::Text:
            case RequestData::ValueName:
                return TextData(NAMES[roChoices.Next(std::size(NAMES))]);
            case RequestData::Bytes:
                return TextData(VTEXT("bytes"));
            case RequestData::ValueList:
                return ValueListData({NAMES[1 + roChoices.Next(5)], NAMES[1 + roChoices.Next(5)]});
            case RequestData::None:
                break;
        }
        return {};
    }

    MonitorBench m_oBench;
    WatchedRegistry m_oWatched{m_oBench.oFake.registry};
    Platform m_oPlatform{};
    MonitorChannels* m_pChannels = nullptr;
    const Person* m_pPerson = nullptr;
    HANDLE m_ahChannels[4] = {};
    std::map<ULONGLONG, Token> m_mapTokens;
    std::string m_victim;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    constexpr std::size_t MOST_BYTES = 2000;
    Choices oChoices(pby, std::min(cBytes, MOST_BYTES));
    Session().Run(oChoices);
    return 0;
}
