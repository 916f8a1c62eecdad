/// @file
/// Protection of data for the current user or machine, and two ways to obscure it.
#pragma once

#include "platform/Export.h"
#include "platform/WinTypes.h"
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"

/// **Protection** (EncryptBytes, EncryptString) is the system's data protection with an entropy value of the library's
/// own: without any password, the same user on the same machine (or anybody on it) gets the data back, and no changed
/// byte goes unnoticed.  On Windows the system keeps the keys with the user's credentials.  On the host they are random
/// bytes in the library's store, one key for each user: what is protected is safe wherever it is copied without the
/// store, and from other users as far as they cannot read the store; it is not safe from whoever can.  Neither is it
/// safe from other programs of the same user, on any system.  Protected data cannot be moved to another machine.
///
/// **Obscuring** (ObfuscateData, EncryptStringWithVelomSimple1) only keeps data from being read at a glance: the key is
/// in every copy of the library.  Do not give it secrets that are not the family's own.
///
/// **Threads**: any.  **Failure**: ExceptionDataEncrypterFailure; targets are then as they were.  ExceptionOutOfMemory.
class VLM_API DataEncrypter {
public:
    /// Who can undo a protection.
    enum ScopeEnum {
        DES_CURRENT_USER,   ///< the user whom the calling thread acts for
        DES_LOCAL_MACHINE,  ///< everybody on this machine
    };

    /// Most code units that the short-string scheme takes.
    static constexpr int MAX_SIMPLE_UNITS = 30;

    DataEncrypter() = delete;

    /// Protects bytes; the same bytes never look the same twice.  `rbbEncrypted` may be the data itself.
    static void EncryptBytes(const ByteBuffer& kbbData, ByteBuffer& rbbEncrypted, ScopeEnum eScope = DES_CURRENT_USER);
    /// The converse, whatever the scope was.
    static void DecryptBytes(const ByteBuffer& kbbEncrypted, ByteBuffer& rbbData);
    /// The same for a text, by its UTF-16 units, little-endian.
    static ByteBuffer EncryptString(const CXString& kcsText, ScopeEnum eScope = DES_CURRENT_USER);
    static CXString DecryptString(const ByteBuffer& kbbEncrypted);

    /// Obscures bytes in place; their number stays.
    static void ObfuscateData(ByteBuffer& rbbData) noexcept;
    /// The converse; what was not obfuscated becomes noise.
    static void DeObfuscateData(ByteBuffer& rbbData) noexcept;

    /// Obscures a text of up to MAX_SIMPLE_UNITS code units, as hexadecimal digits that any settings file can hold.
    /// The same text always gives the same digits.  A longer one is a failed assertion and fails.
    static CXString EncryptStringWithVelomSimple1(const CXString& kcsText);
    /// The converse; fails for what the other did not make (a wrong digit is mostly noticed).
    static CXString DecryptStringWithVelomSimple1(const CXString& kcsDigits);

private:
    /// Bytes that the system's data protection mixes in.
    struct DataBlob {
        DWORD m_cbData;
        const BYTE* m_pbyData;
    };
    static const DataBlob m_dbEntropy;
};
