/// @file
/// UTF-8 by hand: the library's rules for malformed text are its own and must not change with the locale.
#include "platform/host/HostNames.h"

#include <cerrno>

namespace vlm::host {

namespace {

constexpr std::uint32_t ESCAPE_BASE = 0xDC00;

/// Shared by the two reversible decoders; `pfnMalformed` answers the unit for one byte that is not UTF-8.
template <typename OnMalformed>
std::basic_string<XCHAR> Decode(std::string_view svBytes, bool fSurrogates, OnMalformed onMalformed) {
    std::basic_string<XCHAR> units;
    units.reserve(svBytes.size());
    while (!svBytes.empty()) {
        const Utf8Step step = DecodeUtf8(svBytes, fSurrogates);
        if (step.cLength == 0) {
            units.push_back(onMalformed(static_cast<unsigned char>(svBytes.front())));
            svBytes.remove_prefix(1);
            continue;
        }
        if (step.uiCodePoint >= 0x10000) {
            units.push_back(static_cast<XCHAR>(0xD800 + ((step.uiCodePoint - 0x10000) >> 10)));
            units.push_back(static_cast<XCHAR>(0xDC00 + ((step.uiCodePoint - 0x10000) & 0x3FF)));
        } else {
            units.push_back(static_cast<XCHAR>(step.uiCodePoint));
        }
        svBytes.remove_prefix(step.cLength);
    }
    return units;
}

}  // namespace

Utf8Step DecodeUtf8(std::string_view svBytes, bool fSurrogates) noexcept {
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(svBytes[i]); };
    const unsigned uiLead = at(0);
    if (uiLead < 0x80) return {uiLead, 1, 0};
    // The second byte's range depends on the lead: it keeps out over-long forms, surrogates and what is beyond
    // U+10FFFF.
    unsigned cLength = 0, uiLow = 0x80, uiHigh = 0xBF;
    std::uint32_t uiCodePoint = 0;
    if (uiLead >= 0xC2 && uiLead <= 0xDF) {
        cLength = 2;
        uiCodePoint = uiLead & 0x1F;
    } else if (uiLead >= 0xE0 && uiLead <= 0xEF) {
        cLength = 3;
        uiCodePoint = uiLead & 0x0F;
        if (uiLead == 0xE0) uiLow = 0xA0;
        if (uiLead == 0xED && !fSurrogates) uiHigh = 0x9F;
    } else if (uiLead >= 0xF0 && uiLead <= 0xF4) {
        cLength = 4;
        uiCodePoint = uiLead & 0x07;
        if (uiLead == 0xF0) uiLow = 0x90;
        if (uiLead == 0xF4) uiHigh = 0x8F;
    } else {
        return {0, 0, 1};
    }
    for (unsigned i = 1; i < cLength; ++i) {
        if (i >= svBytes.size() || at(i) < uiLow || at(i) > uiHigh) return {0, 0, i};
        uiCodePoint = (uiCodePoint << 6) | (at(i) & 0x3Fu);
        uiLow = 0x80;
        uiHigh = 0xBF;
    }
    return {uiCodePoint, cLength, 0};
}

unsigned EncodeUtf8(std::uint32_t uiCodePoint, char (&rBytes)[4]) noexcept {
    const auto tail = [&](unsigned uiShift) { return static_cast<char>(0x80 | ((uiCodePoint >> uiShift) & 0x3F)); };
    if (uiCodePoint < 0x80) {
        rBytes[0] = static_cast<char>(uiCodePoint);
        return 1;
    }
    if (uiCodePoint < 0x800) {
        rBytes[0] = static_cast<char>(0xC0 | (uiCodePoint >> 6));
        rBytes[1] = tail(0);
        return 2;
    }
    if (uiCodePoint < 0x10000) {
        rBytes[0] = static_cast<char>(0xE0 | (uiCodePoint >> 12));
        rBytes[1] = tail(6);
        rBytes[2] = tail(0);
        return 3;
    }
    rBytes[0] = static_cast<char>(0xF0 | (uiCodePoint >> 18));
    rBytes[1] = tail(12);
    rBytes[2] = tail(6);
    rBytes[3] = tail(0);
    return 4;
}

std::basic_string<XCHAR> UnitsFromBytes(std::string_view svBytes) {
    return Decode(svBytes, false, [](unsigned char by) { return static_cast<XCHAR>(ESCAPE_BASE + by); });
}

bool BytesFromUnits(XStringView svUnits, std::string& rBytes) {
    std::string bytes;
    bytes.reserve(svUnits.size());
    bool fEscapes = false;
    for (std::size_t i = 0; i < svUnits.size(); ++i) {
        std::uint32_t ui = svUnits[i];
        if (IsHighSurrogate(ui) && i + 1 < svUnits.size() && IsLowSurrogate(svUnits[i + 1])) {
            ui = JoinSurrogates(ui, svUnits[++i]);
        } else if (ui >= ESCAPE_BASE + 0x80 && ui <= ESCAPE_BASE + 0xFF) {
            bytes.push_back(static_cast<char>(ui - ESCAPE_BASE));
            fEscapes = true;
            continue;
        } else if (IsHighSurrogate(ui) || IsLowSurrogate(ui)) {
            return false;
        }
        char encoded[4];
        bytes.append(encoded, EncodeUtf8(ui, encoded));
    }
    // Escaped bytes that together are UTF-8 would give one file a second name.
    if (fEscapes && UnitsFromBytes(bytes) != svUnits) return false;
    rBytes.swap(bytes);
    return true;
}

Status PathFromUnits(const XCHAR* pszPath, std::string& rPath) {
    if (pszPath == nullptr || *pszPath == 0) return Status::PathNotFound;
    if (!BytesFromUnits(pszPath, rPath)) return Status::InvalidName;
    for (char& rc : rPath) {
        if (rc == '\\') rc = '/';
    }
    return Status::Success;
}

std::string StoreTextFromUnits(XStringView svUnits) {
    std::string bytes;
    bytes.reserve(svUnits.size());
    for (std::size_t i = 0; i < svUnits.size(); ++i) {
        std::uint32_t ui = svUnits[i];
        if (IsHighSurrogate(ui) && i + 1 < svUnits.size() && IsLowSurrogate(svUnits[i + 1])) {
            ui = JoinSurrogates(ui, svUnits[++i]);
        }
        char encoded[4];
        bytes.append(encoded, EncodeUtf8(ui, encoded));
    }
    return bytes;
}

std::basic_string<XCHAR> UnitsFromStoreText(std::string_view svBytes) {
    return Decode(svBytes, true, [](unsigned char) { return static_cast<XCHAR>(0xFFFD); });
}

Status StatusFromErrno(int iError) noexcept {
    switch (iError) {
        case 0:
            return Status::Success;
        case ENOENT:
            return Status::FileNotFound;
        case ENOTDIR:
            return Status::PathNotFound;
        case EMFILE:
        case ENFILE:
            return Status::TooManyOpenFiles;
        case EACCES:
        case EPERM:
        case EISDIR:
            return Status::AccessDenied;
        case EBADF:
            return Status::InvalidHandle;
        case ENOMEM:
            return Status::NotEnoughMemory;
        case EXDEV:
            return Status::NotSameDevice;
        case EROFS:
            return Status::WriteProtect;
        case EBUSY:
        case ETXTBSY:
            return Status::SharingViolation;
        case EEXIST:
            return Status::AlreadyExists;
        case EINVAL:
            return Status::InvalidParameter;
        case ENOSPC:
        case EDQUOT:
            return Status::DiskFull;
        case ENAMETOOLONG:
            return Status::InvalidName;
        case ENOTEMPTY:
            return Status::DirectoryNotEmpty;
        case EFBIG:
            return Status::FileTooLarge;
        case ELOOP:
            return Status::CannotResolveFileName;
        case ENOTSUP:
        case ENOSYS:
            return Status::NotSupported;
        case ETIMEDOUT:
            return Status::TimeOut;
        default:
            return Status::GeneralFailure;
    }
}

}  // namespace vlm::host
