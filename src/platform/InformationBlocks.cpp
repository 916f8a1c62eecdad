/// @file
/// The pointers of each block, and where they may lead.
#include "platform/InformationBlocks.h"

#include <cstdint>
#include <cstring>
#include <iterator>

namespace vlm {

namespace {

enum class FieldKind : BYTE {
    Text,
    TextList,
    DeviceMode,
    Opaque,  ///< looked at by nobody
    Bytes,   ///< as many as the number behind the pointer says
};

struct Field {
    WORD wOffset;
    FieldKind eKind;
};

struct Layout {
    BlockKind eKind;
    DWORD dwLevel;
    std::size_t cbRecord;
    const Field* pFields;
    std::size_t cFields;
};

constexpr FieldKind TEXT = FieldKind::Text, LIST = FieldKind::TextList, MODE = FieldKind::DeviceMode;

constexpr Field PRINTER_1[] = {{8, TEXT}, {16, TEXT}, {24, TEXT}};
constexpr Field PRINTER_2[] = {{0, TEXT},
                               {8, TEXT},
                               {16, TEXT},
                               {24, TEXT},
                               {32, TEXT},
                               {40, TEXT},
                               {48, TEXT},
                               {56, MODE},
                               {64, TEXT},
                               {72, TEXT},
                               {80, TEXT},
                               {88, TEXT},
                               {96, FieldKind::Opaque}};
constexpr Field PRINTER_3[] = {{0, FieldKind::Opaque}};
constexpr Field PRINTER_4[] = {{0, TEXT}, {8, TEXT}};
constexpr Field PRINTER_7[] = {{0, TEXT}};
constexpr Field PRINTER_8[] = {{0, MODE}};
constexpr Field DRIVER_8[] = {{8, TEXT},   {16, TEXT},  {24, TEXT},  {32, TEXT},  {40, TEXT},  {48, TEXT},  {56, LIST},
                              {64, TEXT},  {72, TEXT},  {80, LIST},  {104, TEXT}, {112, TEXT}, {120, TEXT}, {128, TEXT},
                              {136, TEXT}, {144, TEXT}, {152, LIST}, {160, TEXT}, {176, LIST}};
constexpr Field PORT_2[] = {{0, TEXT}, {8, TEXT}, {16, TEXT}};
constexpr Field VALUES[] = {{0, TEXT}, {16, FieldKind::Bytes}};

// The levels of a driver are beginnings of each other, as far as their pointers go.
constexpr Layout LAYOUTS[] = {
    {BlockKind::Printer, 1, sizeof(PrinterInfo1), PRINTER_1, std::size(PRINTER_1)},
    {BlockKind::Printer, 2, sizeof(PrinterInfo2), PRINTER_2, std::size(PRINTER_2)},
    {BlockKind::Printer, 3, sizeof(PrinterInfo3), PRINTER_3, std::size(PRINTER_3)},
    {BlockKind::Printer, 4, sizeof(PrinterInfo4), PRINTER_4, std::size(PRINTER_4)},
    {BlockKind::Printer, 5, sizeof(PrinterInfo5), PRINTER_4, std::size(PRINTER_4)},
    {BlockKind::Printer, 6, sizeof(PrinterInfo6), nullptr, 0},
    {BlockKind::Printer, 7, sizeof(PrinterInfo7), PRINTER_7, std::size(PRINTER_7)},
    {BlockKind::Printer, 8, sizeof(PrinterInfo8), PRINTER_8, std::size(PRINTER_8)},
    {BlockKind::Printer, 9, sizeof(PrinterInfo9), PRINTER_8, std::size(PRINTER_8)},
    {BlockKind::Driver, 1, sizeof(DriverInfo1), PRINTER_7, std::size(PRINTER_7)},
    {BlockKind::Driver, 2, sizeof(DriverInfo2), DRIVER_8, 5},
    {BlockKind::Driver, 3, sizeof(DriverInfo3), DRIVER_8, 9},
    {BlockKind::Driver, 4, sizeof(DriverInfo4), DRIVER_8, 10},
    {BlockKind::Driver, 5, sizeof(DriverInfo5), DRIVER_8, 5},
    {BlockKind::Driver, 6, sizeof(DriverInfo6), DRIVER_8, 14},
    {BlockKind::Driver, 8, sizeof(DriverInfo8), DRIVER_8, std::size(DRIVER_8)},
    {BlockKind::Port, 1, sizeof(PortInfo1), PRINTER_7, std::size(PRINTER_7)},
    {BlockKind::Port, 2, sizeof(PortInfo2), PORT_2, std::size(PORT_2)},
    {BlockKind::Processor, 1, sizeof(PrintProcessorInfo1), PRINTER_7, std::size(PRINTER_7)},
    {BlockKind::Values, 0, sizeof(PrinterEnumValues), VALUES, std::size(VALUES)},
};
static_assert(offsetof(PrinterInfo2, pDevMode) == 56 && offsetof(PrinterInfo2, pSecurityDescriptor) == 96);
static_assert(offsetof(DriverInfo8, pDependentFiles) == 56 && offsetof(DriverInfo8, pszzPreviousNames) == 80 &&
              offsetof(DriverInfo8, pszMfgName) == 104 && offsetof(DriverInfo8, pszzColorProfiles) == 152 &&
              offsetof(DriverInfo8, pszzCoreDriverDependencies) == 176);
static_assert(offsetof(PrinterEnumValues, pData) == 16 && offsetof(PrinterEnumValues, cbData) == 24);

constexpr std::size_t POINTER_ALIGNMENT = 8, UNIT = sizeof(XCHAR);
/// Of a device mode: where its two lengths stand, and what must be there to read them.
constexpr std::size_t MODE_SIZE_OFFSET = 68, MODE_EXTRA_OFFSET = 70, MODE_HEAD = 72;

const Layout* FindLayout(BlockKind eKind, DWORD dwLevel) noexcept {
    for (const Layout& rLayout : LAYOUTS) {
        if (rLayout.eKind == eKind && rLayout.dwLevel == dwLevel) return &rLayout;
    }
    return nullptr;
}

template <typename T>
T ReadAt(const BYTE* pby) noexcept {
    T value;
    std::memcpy(&value, pby, sizeof(T));
    return value;
}

/// A block, with what is needed to say at once whether a text that begins somewhere in it ends in it.
class Block {
public:
    Block(const BYTE* pbyBlock, std::size_t cbBlock) noexcept : m_pby(pbyBlock), m_cb(cbBlock) {
        bool bNextIsZero = false;
        for (std::size_t i = cbBlock / UNIT; i-- > 0 && (m_cbTexts == 0 || m_cbLists == 0);) {
            const bool bIsZero = ReadAt<WORD>(pbyBlock + i * UNIT) == 0;
            if (bIsZero && m_cbTexts == 0) m_cbTexts = (i + 1) * UNIT;
            if (bIsZero && bNextIsZero && m_cbLists == 0) m_cbLists = (i + 1) * UNIT;
            bNextIsZero = bIsZero;
        }
    }

    bool IsSound(const Layout& rLayout, const BYTE* pbyRecord) const noexcept {
        for (std::size_t i = 0; i < rLayout.cFields; ++i) {
            if (!IsSound(rLayout.pFields[i].eKind, pbyRecord + rLayout.pFields[i].wOffset)) return false;
        }
        return true;
    }

private:
    bool IsSound(FieldKind eKind, const BYTE* pbyField) const noexcept {
        const std::uintptr_t uiPointer = ReadAt<std::uintptr_t>(pbyField);
        const DWORD cbData = eKind == FieldKind::Bytes ? ReadAt<DWORD>(pbyField + sizeof(void*)) : 0;
        if (uiPointer == 0) return cbData == 0;
        const std::uintptr_t uiBlock = reinterpret_cast<std::uintptr_t>(m_pby);
        if (uiPointer < uiBlock || uiPointer - uiBlock > m_cb) return false;
        const std::size_t ofs = uiPointer - uiBlock;
        switch (eKind) {
            case FieldKind::Text:
                return ofs % UNIT == 0 && ofs < m_cbTexts;
            case FieldKind::TextList:
                return ofs % UNIT == 0 && (ofs < m_cbLists || (m_cb - ofs >= UNIT && ReadAt<WORD>(m_pby + ofs) == 0));
            case FieldKind::DeviceMode:
                return ofs % UNIT == 0 && m_cb - ofs >= MODE_HEAD &&
                       m_cb - ofs >= std::size_t{ReadAt<WORD>(m_pby + ofs + MODE_SIZE_OFFSET)} +
                                         ReadAt<WORD>(m_pby + ofs + MODE_EXTRA_OFFSET);
            case FieldKind::Bytes:
                return cbData <= m_cb - ofs;
            default:
                return ofs < m_cb;
        }
    }

    const BYTE* m_pby;
    std::size_t m_cb;
    std::size_t m_cbTexts = 0;  ///< a text that begins before this offset ends in the block
    std::size_t m_cbLists = 0;  ///< the same for a list of texts that is not empty
};

}  // namespace

std::size_t BlockRecordSize(BlockKind eKind, DWORD dwLevel) noexcept {
    const Layout* const pLayout = FindLayout(eKind, dwLevel);
    return pLayout ? pLayout->cbRecord : 0;
}

bool IsSoundBlock(BlockKind eKind, DWORD dwLevel, DWORD cRecords, const void* pBlock, std::size_t cbBlock) noexcept {
    const Layout* const pLayout = FindLayout(eKind, dwLevel);
    if (pLayout == nullptr) return false;
    if (cRecords == 0) return true;
    if (pBlock == nullptr || reinterpret_cast<std::uintptr_t>(pBlock) % POINTER_ALIGNMENT != 0) return false;
    if (cRecords > cbBlock / pLayout->cbRecord) return false;
    const BYTE* const pbyBlock = static_cast<const BYTE*>(pBlock);
    const Block oBlock(pbyBlock, cbBlock);
    for (std::size_t i = 0; i < cRecords; ++i) {
        if (!oBlock.IsSound(*pLayout, pbyBlock + i * pLayout->cbRecord)) return false;
    }
    return true;
}

std::size_t CheckedDeviceModeSize(const void* pDevMode, std::size_t cbAvailable) noexcept {
    if (pDevMode == nullptr || cbAvailable < MODE_HEAD) return 0;
    const BYTE* const pby = static_cast<const BYTE*>(pDevMode);
    const std::size_t cb = std::size_t{ReadAt<WORD>(pby + MODE_SIZE_OFFSET)} + ReadAt<WORD>(pby + MODE_EXTRA_OFFSET);
    return cb <= cbAvailable ? cb : 0;
}

std::size_t DeviceModeSize(const DEVMODEW* pDevMode) noexcept {
    return CheckedDeviceModeSize(pDevMode, SIZE_MAX);
}

bool IsSoundTextList(const XCHAR* pszzList, std::size_t cbList) noexcept {
    const std::size_t cUnits = cbList / UNIT;
    if (pszzList == nullptr || cUnits == 0) return false;
    if (pszzList[0] == 0) return true;
    for (std::size_t i = 1; i < cUnits; ++i) {
        if (pszzList[i] == 0 && pszzList[i - 1] == 0) return true;
    }
    return false;
}

}  // namespace vlm
