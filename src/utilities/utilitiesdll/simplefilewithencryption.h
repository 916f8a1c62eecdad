/// @file
/// A file that cannot be read at a glance.
#pragma once

#include "utilities/utilitiesdll/SimpleFile.h"

/// A file encrypted as KestrixEncryption does it ("Salted__", salt, ciphertext), under a key of the library's own that
/// is put together when it is needed.  The bytes are the same on every system.
///
/// Every copy of the library has that key: the file is kept from the eyes of people and from other programs, not from
/// somebody who takes the library apart, and nothing tells whether it was changed.  Whole files only.
///
/// **Ownership**, **Threads**: as SimpleFile.  **Failure**: as SimpleFile; a file that does not decrypt is an
/// ExceptionReadFile, whatever is wrong with it.
class VLM_API SimpleFileWithEncryption : public SimpleFile {
public:
    /// How the key is derived; reader and writer must agree.
    enum _SimpleFileWithEncryptionEnum {
        SFE_OPENSSL = 0,   ///< in 10,000 rounds, the default of the openssl command
        SFE_WINCRYPT = 1,  ///< in one round: a key that nobody has chosen gains nothing by more, and files open faster
    };

    SimpleFileWithEncryption(const CXString& kcsFileName, _SimpleFileWithEncryptionEnum eMethod);
    ~SimpleFileWithEncryption() override;

    /// @param dwSizeLimit of the file, which is 17 to 32 bytes larger than the data.
    void ReadTheFile(ByteBuffer& rbbData, DWORD dwSizeLimit = 0) const override;
    /// A coding error: throws ExceptionReadFile.
    void ReadFromTheFile(ULONGLONG ullPosition, DWORD dwSize, ReadSharingEnum eSharing,
                         ByteBuffer& rbbData) const override;
    void WriteTheFile(const ByteBuffer& kbbData, FileAttributeActionEnum eAction) const override;
    /// A coding error: throws ExceptionWriteFile.
    void WriteToTheFile(ULONGLONG ullPosition, DWORD dwSize, MissingFileEnum eMissing, const BYTE* pbyData,
                        FileAttributeActionEnum eAction) const override;
    template <class... Arguments>
    void WriteToTheEndOfFile(Arguments&&...) const = delete;

    /// The bytes of a file that holds the data, for callers that write them in a way of their own.
    ByteBuffer EncodeContents(const ByteBuffer& kbbData) const;
    /// The converse, in place; a failure leaves the bytes as they are.
    void DecodeContents(ByteBuffer& rbbContents) const;

private:
    static CXString GenerateKey();
    int Rounds() const noexcept;

    _SimpleFileWithEncryptionEnum m_eMethod;
};
