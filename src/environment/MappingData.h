/// @file
/// One printer model as a line of a map file describes it.
#pragma once

#include <vector>

#include "platform/Export.h"
#include "utilities/utilitiesdll/CXString.h"

/// A model's name, the sysObjectIds that its devices answer to SNMP, and its properties.
///
/// The line that a record comes from (docs/product-data.md has the whole file):
///
///     model name,sysObjectId,sysObjectId,...:KEY=value;KEY=value;...
///
/// **Ownership**: a value; texts are shared until changed.  **Threads**: as CXString.  **Failure**: no memory raises
/// ExceptionOutOfMemory.
class VLM_API MappingData {
public:
    /// Names for the switch of GetData.
    static constexpr bool OPTIONAL_VALUE = false, REQUIRED_VALUE = true;
    /// The key of the families' configuration, below the machine's version key; each family has one below it.
    static constexpr const XCHAR* FAMILIES_KEY = VTEXT("Families");

    MappingData() = default;
    /// @param left the line's left side.  The name is its first field as it stands; ids lose blanks and tabs at both
    ///        ends.  An id without any component (blank, or of dots alone) would match every device: it is left out.
    /// @param right the line's right side, as it stands.
    MappingData(XStringView left, XStringView right);
    MappingData(const MappingData& rOther);
    MappingData(MappingData&& rOther) noexcept = default;
    MappingData& operator=(const MappingData& rOther);
    MappingData& operator=(MappingData&& rOther) noexcept = default;
    ~MappingData() = default;

    void Clear() noexcept;
    void SetMapData(const CXString& kcsMapData) { m_csMapData = kcsMapData; }
    const CXString& GetMapData() const noexcept { return m_csMapData; }
    const CXString& GetModel() const noexcept { return m_csModel; }
    const std::vector<CXString>& GetSysObjectIds() const noexcept { return m_vcsSysObjectIds; }
    /// The left side again: name and ids between commas.
    CXString GetLeftSide() const;

    /// Do the names mean one model?  They do when they have the same words between blanks in the same order, letter
    /// case included, wherever the maker's name, "Velom", stands in either: "Velom 1234", "1234" and "1234 Velom" are
    /// one.
    bool MatchesModel(XStringView name) const noexcept;
    /// Does the id lie at or below one of the record's?  It does when it contains that id as text and begins with its
    /// components between dots; dots at the ends, and doubled ones, separate nothing.
    bool MatchesSysObjectId(XStringView oid) const noexcept;
    /// MatchesSysObjectId for one of the record's ids.  @param uIndex an index of GetSysObjectIds().
    bool MatchesOneSysObjectId(std::size_t uIndex, XStringView oid) const noexcept;

    /// The value of a key.
    ///
    /// It is what stands between the first "=" behind the first occurrence of the key's text and the next ";", or the
    /// end; it may be empty.  Deliberate: the search knows nothing of pairs, so that a key which is a part of an
    /// earlier one, or of an earlier value, finds that; map files are written to avoid it.  An empty key finds nothing.
    ///
    /// "XMLCONSTRAINT" has a default: the registry value "XMLConstraint" of the family's key, FAMILIES_KEY and FAMPATH;
    /// failing that PRODUCTNAME followed by ".xcf", which is then written there (a refused write is reported and
    /// changes nothing).  What the registry holds is used only if it is the bare name of a file, and FAMPATH only if it
    /// is a path that leads downwards: both could have been written by others.
    /// @param fRequired REQUIRED_VALUE: an empty result is a failed assertion; the answer is empty then, too.
    CXString GetData(XStringView key, bool fRequired = OPTIONAL_VALUE) const;

private:
    XStringView FindValue(XStringView key) const noexcept;
    CXString GetConstraintFileName() const;

    CXString m_csModel;
    std::vector<CXString> m_vcsSysObjectIds;
    CXString m_csMapData;
};
