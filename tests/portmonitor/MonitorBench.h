/// @file
/// The monitor on a bench: a platform in memory, callers of every kind, and requests in one line.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "environment/PortMonitorReply.h"
#include "platform/Platform.h"
#include "portmonitor/MonitorChannels.h"
#include "support/Bytes.h"
#include "support/FakePlatform.h"
#include "support/Narrow.h"
#include "utilities/Bounds.h"

namespace vlm {

inline void PrintTo(Status eStatus, std::ostream* pStream) {
    *pStream << "status " << ToDword(eStatus);
}

}  // namespace vlm

namespace vlm::test {

using Function = _XPMRegistryFunction;

inline constexpr const XCHAR* OWN_SID = VTEXT("S-1-5-21-1-2-3-1001");
inline constexpr const XCHAR* OTHER_SID = VTEXT("S-1-5-21-1-2-3-1002");
inline constexpr const XCHAR* VERSION_PATH = VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\PrinterDriver\\V5.0");
inline constexpr const XCHAR* STORAGE_PATH =
    VTEXT("HKEY_LOCAL_MACHINE\\Software\\Velom\\PrinterDriver\\V5.0\\LowRightsStorage");

/// A request with the mask that belongs to its operation.
inline PortMonitorRequest MakeRequest(Function eFunction, _HKEYREGISTRY_ eRoot, const CXString& kcsPath,
                                      const CXString& kcsName = CXString(), const ByteBuffer& kbbData = ByteBuffer()) {
    PortMonitorRequest oRequest;
    oRequest.m_eFunction = eFunction;
    oRequest.m_eRoot = eRoot;
    oRequest.m_csKeyPath = kcsPath;
    oRequest.m_csValueName = kcsName;
    oRequest.m_bbData = kbbData;
    oRequest.m_dwAccessMask = FindRequestOperation(static_cast<WORD>(eFunction))->m_dwMask;
    if (oRequest.m_dwAccessMask == RequestOperation::BY_ADDRESS) oRequest.m_dwAccessMask = 0x2001F;
    if (oRequest.m_dwAccessMask == RequestOperation::ANY_MASK) oRequest.m_dwAccessMask = 0xF003F;
    return oRequest;
}

/// The same on a key handle.
inline PortMonitorRequest MakeRequest(Function eFunction, ULONGLONG ullToken, const CXString& kcsPath = CXString(),
                                      const CXString& kcsName = CXString(), const ByteBuffer& kbbData = ByteBuffer()) {
    PortMonitorRequest oRequest = MakeRequest(eFunction, HKeyRegistry::Hkey_None, kcsPath, kcsName, kbbData);
    oRequest.m_ullKeyHandle = ullToken;
    if (eFunction == Function::DeleteKeyAndSubkeys) oRequest.m_dwAccessMask = 0x20006;
    return oRequest;
}

inline ByteBuffer TextData(const CXString& kcsText) {
    ByteBuffer bbData;
    return bbData.append(kcsText).appendNullChar();
}

/// The data of a QueryMultipleValues.
inline ByteBuffer ValueListData(const std::vector<CXString>& kvcsNames) {
    ByteBuffer bbEntries, bbNames;
    for (const CXString& kcsName : kvcsNames) {
        bbEntries.appendLong64Value(static_cast<LONGLONG>(kvcsNames.size() * 32 + bbNames.size()));
        bbEntries.resize(bbEntries.size() + 24);
        bbNames.append(kcsName).appendNullChar();
    }
    return bbEntries.append(bbNames);
}

struct Answer {
    Status eStatus = Status::GeneralFailure;
    std::vector<BYTE> vbyReply;
    DWORD cbNeeded = 0;

    bool operator==(Status eOther) const { return eStatus == eOther && vbyReply.empty(); }
    friend void PrintTo(const Answer& rAnswer, std::ostream* pStream) {
        *pStream << "status " << ToDword(rAnswer.eStatus) << ", " << ToHex(rAnswer.vbyReply);
    }
};

/// Sends over a channel into `cbRoom` bytes.  What is not part of a successful reply must not be touched.
inline Answer SendBytes(MonitorChannels& rChannels, HANDLE hChannel, XStringView svCommand, std::span<const BYTE> input,
                        std::size_t cbRoom) {
    constexpr BYTE UNTOUCHED = 0xCC;
    Answer oAnswer;
    oAnswer.vbyReply.assign(cbRoom, UNTOUCHED);
    oAnswer.eStatus = rChannels.Transceive(hChannel, svCommand, input, oAnswer.vbyReply, oAnswer.cbNeeded);
    const std::size_t cbWritten = oAnswer.eStatus == Status::Success ? oAnswer.cbNeeded : 0;
    EXPECT_LE(cbWritten, cbRoom);
    for (std::size_t i = cbWritten; i < cbRoom; ++i)
        EXPECT_EQ(oAnswer.vbyReply[i], UNTOUCHED) << "byte " << i << " beyond the reply";
    oAnswer.vbyReply.resize(cbWritten);
    return oAnswer;
}

inline Answer SendRequest(MonitorChannels& rChannels, HANDLE hChannel, const PortMonitorRequest& rRequest,
                          std::size_t cbRoom = 4096) {
    ByteBuffer bbRecord;
    rRequest.AppendTo(bbRecord);
    return SendBytes(rChannels, hChannel, VTEXT("xregistry"), bbRecord, cbRoom);
}

inline ULONGLONG TokenIn(const Answer& rAnswer) {
    ULONGLONG ullToken = 0;
    EXPECT_TRUE(PortMonitorReply::DecodeKeyToken(rAnswer.vbyReply, ullToken)) << ToDword(rAnswer.eStatus);
    return ullToken;
}

/// Everything below a key, one line for each key and value; links are named and not followed.
inline std::string Dump(RegistryPort& rRegistry, HKEY hKey, const std::string& rIndent = "") {
    std::string text;
    std::vector<XCHAR> vchName(512);
    std::vector<BYTE> vbyData(1024);
    for (DWORD i = 0;; ++i) {
        DWORD cName = 0, dwType = 0, cbData = 0;
        const auto read = [&] {
            cName = static_cast<DWORD>(vchName.size());
            cbData = static_cast<DWORD>(vbyData.size());
            return rRegistry.EnumerateValue(hKey, i, vchName.data(), cName, dwType, vbyData.data(), cbData);
        };
        Status eStatus = read();
        if (eStatus == Status::MoreData) {
            vchName.resize(RegistryPort::MAX_VALUE_NAME + 1);
            vbyData.resize(1024 * 1024);
            eStatus = read();
        }
        if (eStatus != Status::Success) break;
        text += rIndent + Narrow(XStringView(vchName.data(), cName)) + "=" + std::to_string(dwType) + ":" +
                ToHex(vbyData.data(), cbData) + "\n";
    }
    for (DWORD i = 0;; ++i) {
        DWORD cName = static_cast<DWORD>(vchName.size());
        if (rRegistry.EnumerateKey(hKey, i, vchName.data(), cName) != Status::Success) break;
        HKEY hChild = nullptr;
        bool fLink = false;
        text += rIndent + "[" + Narrow(XStringView(vchName.data(), cName)) + "]";
        if (rRegistry.OpenLink(hKey, vchName.data(), RegistryPort::RIGHTS_READ, hChild, fLink) != Status::Success) {
            text += " ?\n";
            continue;
        }
        text += fLink ? " -> ?\n" : "\n" + Dump(rRegistry, hChild, rIndent + "  ");
        rRegistry.Close(hChild);
    }
    return text;
}

/// The platform in memory with the monitor on it, by channels of its own and behind the spooler.  At the beginning a
/// standard user is impersonated.
class MonitorBench {
public:
    MonitorBench() : m_oScope(oFake.Get()) {
        oFake.spooler.AddMonitor(VTEXT("Velom Virtualization Port"), VTEXT("q7lrsl.dll"));
        oFake.registry.AddKey(STORAGE_PATH);
        oFake.registry.AddKey(CXString(VTEXT("HKEY_USERS\\")) + OWN_SID + VTEXT("\\Software\\Velom"));
        ActAs(OWN_SID);
    }

    void ActAs(XStringView svSid, DWORD dwIntegrity = IdentityPort::INTEGRITY_MEDIUM, bool fAdministrator = false) {
        oFake.identity.Impersonate(FakeIdentityPort::MakeIdentity(svSid, dwIntegrity, fAdministrator));
    }
    void ActAsAdministrator() { ActAs(OTHER_SID, IdentityPort::INTEGRITY_HIGH, true); }

    HANDLE Open(DWORD dwGranted = 0) {
        HANDLE hOpened = nullptr;
        EXPECT_EQ(oChannels.Open(dwGranted, hOpened), Status::Success);
        return hOpened;
    }
    Answer Send(const PortMonitorRequest& rRequest, std::size_t cbRoom = 4096) {
        if (!hChannel) hChannel = Open();
        return SendRequest(oChannels, hChannel, rRequest, cbRoom);
    }
    Answer Command(XStringView svCommand, std::span<const BYTE> input = {}, DWORD dwGranted = 0) {
        const HANDLE hOwn = Open(dwGranted);
        const Answer oAnswer = SendBytes(oChannels, hOwn, svCommand, input, 16);
        EXPECT_EQ(oChannels.Close(hOwn), Status::Success);
        return oAnswer;
    }
    ULONGLONG OpenToken(Function eFunction, const CXString& kcsPath, DWORD dwMask = 0xF003F) {
        PortMonitorRequest oRequest = MakeRequest(eFunction, HKeyRegistry::Hkey_Machine_Version, kcsPath);
        oRequest.m_dwAccessMask = dwMask;
        return TokenIn(Send(oRequest));
    }
    std::string Everything() {
        return Dump(oFake.registry, oFake.registry.RootKey(RegistryPort::Root::LocalMachine)) +
               Dump(oFake.registry, oFake.registry.RootKey(RegistryPort::Root::Users));
    }

    FakePlatform oFake;

private:
    PlatformScope m_oScope;

public:
    MonitorChannels oChannels;  // goes before the platform that its keys are open on
    HANDLE hChannel = nullptr;
};

}  // namespace vlm::test
