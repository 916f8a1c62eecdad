/// @file
/// Makes objects from the bytes of records.
#pragma once

#include <memory>

#include "utilities/attributebytes/AttributeBytes.h"

namespace vlm {

/// The readers behind the public ones.  They throw as AttributeBytes::WalkBufferToCreateAttributeBytes says.
/// `fNestingChecked`: the bytes lie in a list whose nesting was measured as a whole, so that no list in it is measured
/// again.
class RecordReader {
public:
    static std::unique_ptr<AttributeBytesId> ReadIdentifier(const BYTE*& rpbyCursor, DWORD& rdwRemaining);
    static std::unique_ptr<AttributeBytesValue> ReadValue(const BYTE*& rpbyCursor, DWORD& rdwRemaining,
                                                          bool fNestingChecked);
    static AttributeBytes ReadRecord(const BYTE*& rpbyCursor, DWORD& rdwRemaining, bool fNestingChecked);
    static AttributeBytesSharedPtr ReadSharedRecord(const BYTE*& rpbyCursor, DWORD& rdwRemaining, bool fNestingChecked);

private:
    template <class Value>
    static std::unique_ptr<AttributeBytesValue> ReadValueOf(const BYTE*& rpbyCursor, DWORD& rdwRemaining,
                                                            bool fNestingChecked);
};

/// Calls a reader that takes a pointer to constant bytes with a cursor that points to writable ones.
template <class Read>
auto WalkWritable(BYTE*& rpbyCursor, DWORD& rdwRemaining, Read read) {
    struct Follow {
        BYTE*& rpbyWritable;
        const BYTE* pbyStart;
        const BYTE* pbyNow;
        ~Follow() { rpbyWritable += pbyNow - pbyStart; }
    } oFollow{rpbyCursor, rpbyCursor, rpbyCursor};
    return read(oFollow.pbyNow, rdwRemaining);
}

}  // namespace vlm
