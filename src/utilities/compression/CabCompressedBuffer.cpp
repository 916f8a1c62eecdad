/// @file
/// A compressed buffer that compresses with the cabinet library.
#include "utilities/compression/CabCompressedBuffer.h"

#include <algorithm>

#include "platform/Platform.h"
#include "utilities/compression/CabinetContext.h"
#include "utilities/compression/CabinetImage.h"
#include "utilities/compression/ZlibAsCabinet.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

namespace {

constexpr char MEMBER_NAME[] = "//Compressed-Data//";
constexpr char IMAGE_NAME[] = "//Cabinet-Image//";
constexpr char TARGET_NAME[] = "//Uncompressed-Data//";
constexpr LONG HIGHEST_LEVEL = 9;
constexpr std::size_t IMAGE_OVERHEAD = 128;  // header, folder, file and the first block's header and signature

/// Sends the single member to the target.
class SingleMember final : public vlm::CabinetMembers {
public:
    explicit SingleMember(vlm::CabinetFiles& rFiles) noexcept : m_rFiles(rFiles) {}
    std::intptr_t OnMember(const char*, DWORD, WORD) noexcept override {
        return m_rFiles.Open(TARGET_NAME, vlm::CabinetFiles::Mode::CreateReadWrite);
    }
    bool OnMemberDone(std::intptr_t hFile) noexcept override { return m_rFiles.Close(hFile) == 0; }

private:
    vlm::CabinetFiles& m_rFiles;
};

/// Refuses an image that is not wholly in order.  @return its original size.
DWORD CheckImage(const ByteBuffer& kbbImage) {
    const vlm::CabinetVerdict verdict =
        vlm::ValidateCabinetImage(kbbImage.data(), kbbImage.size(), vlm::SINGLE_MEMBER_CABINET);
    if (!verdict.IsAccepted()) {
        VLM_THROW(ExceptionCompression, VTEXT("The cabinet image (%lu bytes) is refused: %s, at offset %lu."),
                  kbbImage.GetLength(), vlm::DescribeCabinetDefect(verdict.eDefect),
                  static_cast<DWORD>(verdict.uOffset));
    }
    return verdict.dwOriginalBytes;
}

/// Refuses an original size that the compressed bytes cannot stand for, or that is above a limit.
void CheckOriginalSize(DWORD dwOriginalSize, const ByteBuffer& kbbCompressed, DWORD dwLimit) {
    const ULONGLONG ullMost = std::min<ULONGLONG>(dwLimit, vlm::bounds::MaxOriginalBytes(kbbCompressed.size()));
    if (dwOriginalSize <= ullMost) return;
    VLM_THROW(
        ExceptionCompression,
        VTEXT("The original size of %lu bytes is refused: %lu compressed bytes may expand to %I64u bytes at most."),
        dwOriginalSize, kbbCompressed.GetLength(), ullMost);
}

}  // namespace

constinit CriticalResource CabCompressedBuffer::m_scCabCompressedBufferResource;

CabCompressedBuffer::CabCompressedBuffer(CompressionFormatEnum eFormat, LONG lLevel)
    : CompressedBuffer(CF_MS_CABINET, lLevel) {
    VLM_ASSERT_IN(DebugCategory::Compress, CF_MS_CABINET == eFormat,
                  VTEXT("CabCompressedBuffer only compresses into cabinet images."));
}

CabCompressedBuffer::CabCompressedBuffer(const CabCompressedBuffer& rOther) = default;
CabCompressedBuffer& CabCompressedBuffer::operator=(const CabCompressedBuffer& rOther) = default;
CabCompressedBuffer::~CabCompressedBuffer() = default;

std::unique_ptr<CompressedBuffer> CabCompressedBuffer::Clone() const {
    return vlm::TranslateOutOfMemory([&] { return std::make_unique<CabCompressedBuffer>(*this); });
}

std::unique_ptr<CabCompressedBuffer> CabCompressedBuffer::CreateWithUncompressedData(const ByteBuffer& kbbData,
                                                                                     LONG lLevel) {
    auto apoBuffer =
        vlm::TranslateOutOfMemory([&] { return std::make_unique<CabCompressedBuffer>(CF_MS_CABINET, lLevel); });
    apoBuffer->Store(kbbData);
    return apoBuffer;
}

std::unique_ptr<CabCompressedBuffer> CabCompressedBuffer::CreateWithBufferState(const ByteBuffer& kbbState) {
    auto apoBuffer = vlm::TranslateOutOfMemory([] { return std::make_unique<CabCompressedBuffer>(); });
    apoBuffer->InitializeWithCompressedBufferState(kbbState);
    return apoBuffer;
}

std::unique_ptr<CabCompressedBuffer> CabCompressedBuffer::CreateWithCompressedData(const ByteBuffer& kbbCompressed) {
    const DWORD dwOriginalSize = CheckImage(kbbCompressed);
    auto apoBuffer = vlm::TranslateOutOfMemory([] { return std::make_unique<CabCompressedBuffer>(); });
    apoBuffer->SetCompressedData(kbbCompressed, dwOriginalSize);
    return apoBuffer;
}

bool CabCompressedBuffer::TryToUncompressStateData(ByteBuffer& rbbData) noexcept {
    return vlm::NoThrow(
        [&] {
            CabCompressedBuffer buffer;
            if (!buffer.TryToInitializeWithCompressedBufferState(rbbData)) return false;
            ByteBuffer bbOriginal;
            buffer.GetOriginalData(bbOriginal);
            if (bbOriginal.size() != buffer.GetOriginalDataSize()) return false;
            rbbData.swap(bbOriginal);
            return true;
        },
        false);
}

void CabCompressedBuffer::CompressBuffer(const BYTE* pbyData, DWORD dwSize, ByteBuffer& rbbOut, LONG lLevel) {
    const LONG lEngineLevel = lLevel >= 1 && lLevel <= HIGHEST_LEVEL ? lLevel : DEFAULT_COMPRESSION_LEVEL;
    vlm::CabinetContext context;
    vlm::TranslateOutOfMemory([&] {
        context.AddFile(MEMBER_NAME, pbyData, dwSize);
        context.AddTarget(IMAGE_NAME, dwSize / 4 + IMAGE_OVERHEAD);
    });
    vlm::CabinetStep eStep{};
    vlm::CabinetError error;
    bool fSucceeded = false;
    {
        const CriticalResourceLock lock(m_scCabCompressedBufferResource);
        fSucceeded = vlm::GetPlatform().pCabinet->Compress(context, MEMBER_NAME, MEMBER_NAME, IMAGE_NAME, lEngineLevel,
                                                           eStep, error);
    }
    context.ThrowIfCompressionFailed(fSucceeded, eStep, error);
    ByteBuffer bbImage(context.TakeFile(IMAGE_NAME));
    if (rbbOut.empty()) {
        rbbOut.swap(bbImage);
    } else {
        rbbOut.append(bbImage);
    }
}

void CabCompressedBuffer::UncompressBuffer(const ByteBuffer& kbbIn, ByteBuffer& rbbOut) {
    const DWORD dwOriginalSize = CheckImage(kbbIn);
    CheckOriginalSize(dwOriginalSize, kbbIn, vlm::bounds::MAX_STATE_ORIGINAL_BYTES);
    ExtractCheckedImage(kbbIn, dwOriginalSize, dwOriginalSize, rbbOut);
}

/// Extracts the single member of an image that the check has accepted.
/// @param dwOriginalSize the member's size.  @param dwMost what is beyond this is not extracted.
void CabCompressedBuffer::ExtractCheckedImage(const ByteBuffer& kbbImage, DWORD dwOriginalSize, DWORD dwMost,
                                              ByteBuffer& rbbOut) {
    const DWORD dwExpected = std::min(dwOriginalSize, dwMost);
    vlm::CabinetContext context;
    vlm::TranslateOutOfMemory([&] {
        context.AddFile(IMAGE_NAME, kbbImage.data(), kbbImage.size());
        context.AddTarget(TARGET_NAME, dwExpected, dwExpected);
    });
    SingleMember member(context);
    vlm::CabinetStep eStep{};
    vlm::CabinetError error;
    bool fSucceeded = false;
    {
        const CriticalResourceLock lock(m_scCabCompressedBufferResource);
        fSucceeded = vlm::GetPlatform().pCabinet->Extract(context, member, IMAGE_NAME, eStep, error);
    }
    const bool fCut = dwMost < dwOriginalSize && context.IsTargetFull();
    context.ThrowIfExtractionFailed(fSucceeded || fCut, eStep, error);
    ByteBuffer bbOriginal(context.TakeFile(TARGET_NAME));
    if (bbOriginal.size() != dwExpected) {
        VLM_THROW(ExceptionCompression,
                  VTEXT("The cabinet library extracted %lu bytes where the cabinet image holds %lu."),
                  bbOriginal.GetLength(), dwExpected);
    }
    rbbOut.swap(bbOriginal);
}

void CabCompressedBuffer::CompressData(const BYTE* pbyData, DWORD dwSize, ByteBuffer& rbbCompressed,
                                       LONG lLevel) const {
    CompressBuffer(pbyData, dwSize, rbbCompressed, lLevel);
}

void CabCompressedBuffer::UncompressData(const ByteBuffer& kbbCompressed, DWORD dwOriginalSize,
                                         ByteBuffer& rbbOriginal) const {
    // What the footer claims is judged first, then what the image says itself.
    CheckOriginalSize(dwOriginalSize, kbbCompressed, GetMaximumOriginalDataSize());
    const DWORD dwInImage = CheckImage(kbbCompressed);
    CheckOriginalSize(dwInImage, kbbCompressed, GetMaximumOriginalDataSize());
    // One byte more than the footer says is enough to show that they differ.
    const DWORD dwMost = dwOriginalSize < dwInImage ? dwOriginalSize + 1 : dwInImage;
    ExtractCheckedImage(kbbCompressed, dwInImage, dwMost, rbbOriginal);
}

bool CabCompressedBuffer::ConvertCompressedDataToNativeFormat(CompressionFormatEnum eFormat, LONG lLevel,
                                                              DWORD dwOriginalSize, ByteBuffer& rbbData,
                                                              bool fThrow) const {
    if (eFormat == CF_MS_CABINET) return true;
    if (eFormat == CF_ZLIB) return ConvertZlibData(lLevel, dwOriginalSize, rbbData, fThrow);

    VLM_REPORT(DebugCategory::Compress, VTEXT("Compression data is in an unrecognized format (%d)!"),
               static_cast<int>(eFormat));
    if (fThrow) {
        VLM_THROW(ExceptionIncompatibleCompressionFormat, VTEXT("Compression data is in an unrecognized format (%d)!"),
                  static_cast<int>(eFormat));
    }
    return false;
}

bool CabCompressedBuffer::ConvertZlibData(LONG lLevel, DWORD dwOriginalSize, ByteBuffer& rbbData, bool fThrow) const {
    if (dwOriginalSize > LARGEST_ZLIB_ORIGINAL) {
        static constexpr const XCHAR* TEXT = VTEXT(
            "Compression data is in Zlib format and the original data size is %ld bytes. Original data > 32K "
            "(%ld) bytes cannot be uncompressed by this class.");
        VLM_REPORT(DebugCategory::Compress, TEXT, dwOriginalSize, LARGEST_ZLIB_ORIGINAL);
        if (fThrow) VLM_THROW(ExceptionIncompatibleCompressionFormat, TEXT, dwOriginalSize, LARGEST_ZLIB_ORIGINAL);
        return false;
    }
    try {
        VLM_REPORT(DebugCategory::Compress,
                   VTEXT("Uncompress the ZLIB data to get the original data (%ld bytes). Try to make it look like CAB "
                         "data, since ZlibCompressedBuffer is not supported."),
                   dwOriginalSize);
        ByteBuffer bbCabinet;
        vlm::MakeZlibDataLookLikeCabinetData(rbbData, dwOriginalSize, bbCabinet);
        ByteBuffer bbOriginal;
        UncompressData(bbCabinet, dwOriginalSize, bbOriginal);
        VLM_REPORT(DebugCategory::Compress, VTEXT("Compress the original data (%ld) into the native CAB format."),
                   bbOriginal.GetLength());
        ByteBuffer bbNative;
        CompressData(bbOriginal.data(), bbOriginal.GetLength(), bbNative, lLevel);
        rbbData.swap(bbNative);
        return true;
    } catch (const std::exception&) {
        VLM_REPORT_ERROR(
            DebugCategory::Compress,
            VTEXT("Exception thrown while trying to convert the ZLIB data into CAB format. Original data size was "
                  "%ld bytes. Note that original Zlib data > 32K (%ld) bytes will always fail when trying to use "
                  "CabCompressedBuffer."),
            dwOriginalSize, LARGEST_ZLIB_ORIGINAL);
    }
    VLM_REPORT(DebugCategory::Compress,
               VTEXT("Compression data is in Zlib format, which could not be converted by this class!"));
    if (fThrow) {
        VLM_THROW(ExceptionIncompatibleCompressionFormat,
                  VTEXT("Compression data is in Zlib format, which could not be converted by this class!"));
    }
    return false;
}
