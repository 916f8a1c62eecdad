/// @file
/// Storing a text into a record.
#include "utilities/attributebytes/detail/StoreBytes.h"

#include <bit>

namespace vlm {

BYTE* StoreRecordText(BYTE* pbyOut, const CXString& kcsText) {
    const std::size_t cLength = static_cast<std::size_t>(kcsText.GetLength());
    VLM_ASSERT_IN(DebugCategory::AttrBytes, cLength <= bounds::MAX_RECORD_TEXT_UNITS,
                  VTEXT("A text of %ld characters does not fit into an attribute record. Only its first %ld characters "
                        "are written!"),
                  static_cast<LONG>(cLength), static_cast<LONG>(bounds::MAX_RECORD_TEXT_UNITS));
    const std::size_t cUnits = cLength < bounds::MAX_RECORD_TEXT_UNITS ? cLength : bounds::MAX_RECORD_TEXT_UNITS;
    pbyOut = StoreLittleEndian(pbyOut, static_cast<std::uint16_t>(cUnits));
    const XCHAR* const pchText = kcsText.GetLpcwstr();
    if constexpr (std::endian::native == std::endian::little) {
        return StoreBytes(pbyOut, reinterpret_cast<const BYTE*>(pchText), 2 * cUnits);
    }
    for (std::size_t i = 0; i < cUnits; ++i)
        pbyOut = StoreLittleEndian(pbyOut, static_cast<std::uint16_t>(pchText[i]));
    return pbyOut;
}

}  // namespace vlm
