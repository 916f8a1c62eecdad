/// @file
/// Reads map files line by line, without copying more than the records keep.
#include "environment/MapFile.h"

#include <algorithm>

#include "utilities/Bounds.h"
#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"
#include "utilities/utilitiesdll/detail/text/TextKernels.h"

namespace {

namespace bounds = vlm::bounds;

constexpr XStringView WHITE_SPACE = VTEXT(" \t\n\v\f\r");
constexpr XStringView COMMENT = VTEXT("comment;");

[[noreturn]] void Refuse(const XCHAR* pszWhat, std::size_t uLine, std::size_t uMost) {
    VLM_THROW(ExceptionInvalidArgument, VTEXT("The map file is refused: %s in line %I64u, where %I64u are allowed."),
              pszWhat, static_cast<ULONGLONG>(uLine), static_cast<ULONGLONG>(uMost));
}

std::size_t Find(XStringView text, XCHAR ch) noexcept {
    return vlm::text::FindUnit(text.data(), text.size(), ch);
}
static_assert(vlm::text::NOT_FOUND == XStringView::npos);

/// Gathers the records of one file.
class Reader {
public:
    /// About as many records as a text of that length has.
    explicit Reader(std::size_t cUnits) {
        constexpr std::size_t SHORT_LINE = 100;
        m_voRecords.reserve(std::min(cUnits / SHORT_LINE + 1, bounds::MAX_MAP_RECORDS));
    }

    void Line(XStringView line) {
        ++m_uLine;
        line = line.substr(0, line.find_last_not_of(WHITE_SPACE) + 1);
        if (line.empty() || line.starts_with(COMMENT)) return;
        if (line.size() > bounds::MAX_MAP_LINE_UNITS) {
            Refuse(VTEXT("there are too many characters"), m_uLine, bounds::MAX_MAP_LINE_UNITS);
        }
        const std::size_t uColon = Find(line, VTEXT(':'));
        if (uColon == XStringView::npos || Find(line, XCHAR{0}) != XStringView::npos) return;
        Record(line.substr(0, uColon), line.substr(uColon + 1));
    }

    std::vector<MappingData> Finish() {
        if (!m_csCommon.IsEmpty()) {
            m_uData += m_voRecords.size() * static_cast<std::size_t>(m_csCommon.GetLength() + 1);
            if (m_uData > bounds::MAX_MAP_DATA_UNITS) {
                Refuse(VTEXT("the values for all models make too many characters"), m_uLine,
                       bounds::MAX_MAP_DATA_UNITS);
            }
            for (MappingData& rRecord : m_voRecords)
                rRecord.SetMapData(rRecord.GetMapData() + VTEXT(";") + m_csCommon);
        }
        return std::move(m_voRecords);
    }

private:
    void Record(XStringView left, XStringView right) {
        const XStringView name = left.substr(0, left.find(VTEXT(',')));
        if (name.find_first_not_of(WHITE_SPACE) == XStringView::npos) return;
        if (name == MapFile::ALL_MODELS) {
            if (!m_csCommon.IsEmpty()) m_csCommon += VTEXT(';');
            m_csCommon += right;
            return;
        }
        if (m_voRecords.size() == bounds::MAX_MAP_RECORDS) {
            Refuse(VTEXT("there are too many models"), m_uLine, bounds::MAX_MAP_RECORDS);
        }
        m_voRecords.emplace_back(left, right);
        if (m_voRecords.back().GetSysObjectIds().size() > bounds::MAX_MAP_OBJECT_IDS) {
            Refuse(VTEXT("there are too many sysObjectIds"), m_uLine, bounds::MAX_MAP_OBJECT_IDS);
        }
        m_uData += right.size();
    }

    std::vector<MappingData> m_voRecords;
    CXString m_csCommon;
    std::size_t m_uLine = 0;
    std::size_t m_uData = 0;
};

}  // namespace

std::vector<MappingData> MapFile::Parse(const ByteBuffer& kbbContents) {
    if (kbbContents.size() > bounds::MAX_MAP_FILE_BYTES) {
        Refuse(VTEXT("there are too many bytes"), 1, bounds::MAX_MAP_FILE_BYTES);
    }
    return ParseText(kbbContents.getAsStringValueFromAnsiBuffer().View());
}

std::vector<MappingData> MapFile::ParseText(XStringView text) {
    return vlm::TranslateOutOfMemory([&] {
        Reader oReader(text.size());
        while (!text.empty()) {
            const std::size_t uEnd = std::min(Find(text, VTEXT('\n')), text.size());
            oReader.Line(text.substr(0, uEnd));
            text.remove_prefix(std::min(uEnd + 1, text.size()));
        }
        return oReader.Finish();
    });
}
