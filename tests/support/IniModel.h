/// @file
/// The rules of UTF-8 INI files, slow and obvious: what the editor is compared with.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vlm::test {

struct IniModel {
    struct Line {
        std::size_t cBegin, cEnd;
    };
    std::string text;

    explicit IniModel(std::string bytes) : text(std::move(bytes)) {
        while (!text.empty() && text.back() == '\0')
            text.pop_back();
    }

    static bool IsEnd(char ch) { return ch == '\r' || ch == '\n'; }
    /// All lines that are not empty.
    std::vector<Line> Lines() const {
        std::vector<Line> vLines;
        std::size_t i = text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
        while (i < text.size()) {
            std::size_t j = i;
            while (j < text.size() && !IsEnd(text[j]))
                ++j;
            if (j > i) vLines.push_back({i, j});
            i = j + 1;
        }
        return vLines;
    }
    bool Says(const Line& rLine) const { return rLine.cEnd - rLine.cBegin >= 2 && rLine.cEnd - rLine.cBegin <= 1024; }
    bool IsHeader(const Line& rLine) const {
        return Says(rLine) && text[rLine.cBegin] == '[' && text[rLine.cEnd - 1] == ']';
    }
    std::string At(const Line& rLine) const { return text.substr(rLine.cBegin, rLine.cEnd - rLine.cBegin); }

    /// The lines of a section, its header first; none when there is no such section.
    std::vector<Line> Section(const std::string& rSection) const {
        std::vector<Line> vFound;
        for (const Line& rLine : Lines()) {
            if (!vFound.empty() && IsHeader(rLine)) break;
            if (!vFound.empty() || (IsHeader(rLine) && At(rLine) == "[" + rSection + "]")) vFound.push_back(rLine);
        }
        return vFound;
    }
    /// The line of an entry.
    std::optional<Line> Entry(const std::string& rSection, const std::string& rKey) const {
        bool fFirst = true;
        for (const Line& rLine : Section(rSection)) {
            if (!fFirst && Says(rLine) && At(rLine).starts_with(rKey + "=")) return rLine;
            fFirst = false;
        }
        return std::nullopt;
    }
    std::optional<std::string> Get(const std::string& rSection, const std::string& rKey) const {
        const auto oLine = Entry(rSection, rKey);
        if (!oLine) return std::nullopt;
        return At(*oLine).substr(rKey.size() + 1);
    }
    static std::string Join(const std::vector<std::string>& rvNames) {
        std::string list;
        for (const std::string& rName : rvNames)
            if (!rName.empty()) list += rName + '\0';
        return list;
    }
    std::string Names() const {
        std::vector<std::string> vNames;
        for (const Line& rLine : Lines())
            if (IsHeader(rLine)) vNames.push_back(At(rLine).substr(1, rLine.cEnd - rLine.cBegin - 2));
        return Join(vNames);
    }
    std::string Keys(const std::string& rSection) const {
        std::vector<std::string> vKeys;
        for (const Line& rLine : Section(rSection)) {
            const std::string line = At(rLine);
            if (Says(rLine) && !IsHeader(rLine) && line[0] != ';' && line.find('=') != std::string::npos)
                vKeys.push_back(line.substr(0, line.find('=')));
        }
        return Join(vKeys);
    }

    /// @return whether it may be written at all.
    bool Write(const std::string& rSection, const std::string& rKey, const std::string& rValue) {
        for (const std::string& rPart : {rSection, rKey, rValue})
            for (const char ch : rPart)
                if (IsEnd(ch)) return false;
        if (rSection.find('[') != std::string::npos || rSection.find(']') != std::string::npos) return false;
        if (rKey.find('=') != std::string::npos || (!rKey.empty() && rKey[0] == '[')) return false;
        const std::string line = rKey + "=" + rValue;
        if (line.size() < 2 || line.size() > 1024 || rSection.size() + 2 >= 260) return false;
        const std::vector<Line> vSection = Section(rSection);
        if (const auto oLine = Entry(rSection, rKey)) {
            text = text.substr(0, oLine->cBegin) + line + text.substr(oLine->cEnd);
            return true;
        }
        std::size_t cAt = text.size();
        if (!vSection.empty()) {
            for (const Line& rLine : Lines())
                if (rLine.cBegin > vSection[0].cBegin && rLine.cBegin < cAt && text[rLine.cBegin] == '[')
                    cAt = rLine.cBegin;
        }
        std::string added = (vSection.empty() ? "[" + rSection + "]\r\n" : "") + line + "\r\n";
        if (cAt > 0 && !IsEnd(text[cAt - 1]) && text != "\xEF\xBB\xBF") added = "\r\n" + added;
        text = text.substr(0, cAt) + added + text.substr(cAt);
        return true;
    }
    void DeleteSection(const std::string& rSection) {
        const std::vector<Line> vSection = Section(rSection);
        if (vSection.empty()) return;
        std::size_t cEnd = text.size();
        for (const Line& rLine : Lines())
            if (rLine.cBegin > vSection[0].cBegin && rLine.cBegin < cEnd && IsHeader(rLine)) cEnd = rLine.cBegin;
        text = text.substr(0, vSection[0].cBegin) + text.substr(cEnd);
    }
    void DeleteKey(const std::string& rSection, const std::string& rKey) {
        const auto oLine = Entry(rSection, rKey);
        if (!oLine) return;
        std::string rest = text.substr(oLine->cEnd);
        if (rest.starts_with("\r\n")) {
            rest = rest.substr(2);
        } else if (!rest.empty()) {
            rest = rest.substr(1);
        }
        text = text.substr(0, oLine->cBegin) + rest;
    }
};

}  // namespace vlm::test
