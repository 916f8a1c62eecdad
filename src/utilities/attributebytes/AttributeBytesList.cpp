/// @file
/// What the two lists of attribute records have in common.
#include "utilities/attributebytes/AttributeBytesList.h"

#include "utilities/debuggingandexceptions/NoThrow.h"
#include "utilities/debuggingandexceptions/RaiseMacros.h"

AttributeBytesListIterator::~AttributeBytesListIterator() = default;
AttributeBytesList::~AttributeBytesList() = default;

void AttributeBytesList::Dump() const {
#ifndef NDEBUG
    for (const AttributeBytesSharedPtr& rshpoRecord : GetAllAttributeBytes())
        rshpoRecord->Dump();
#endif
}

std::vector<AttributeBytesSharedPtr> AttributeBytesList::GetAllAttributeBytes() const {
    return vlm::TranslateOutOfMemory([this] {
        std::vector<AttributeBytesSharedPtr> vshpoRecords;
        const std::unique_ptr<AttributeBytesListIterator> apoIterator = GetIterator();
        while (IsValid(*apoIterator))
            vshpoRecords.push_back(GetNextAttributeBytesSharedPtr(*apoIterator));
        return vshpoRecords;
    });
}

void AttributeBytesList::ImportFromOtherList(const AttributeBytesList& rOther) {
    if (this != &rOther) ReplaceAllAttributeBytes(rOther.GetAllAttributeBytes());
}

AttributeBytesSharedPtr AttributeBytesList::GetAttributeBytesByIndex(LONG lIndex) const {
    LONG lCount = 0;
    const std::unique_ptr<AttributeBytesListIterator> apoCounter = GetIterator();
    for (; IsValid(*apoCounter); ++lCount)
        GetNextAttributeBytesSharedPtr(*apoCounter);
    if (lIndex < 0 || lIndex >= lCount) {
        VLM_THROW(ExceptionIndexOutOfBounds, VTEXT("Invalid index (%ld) supplied! There are only %ld items."), lIndex,
                  lCount);
    }
    const std::unique_ptr<AttributeBytesListIterator> apoWalker = GetIterator();
    for (LONG lAt = 0; lAt < lIndex && IsValid(*apoWalker); ++lAt)
        GetNextAttributeBytesSharedPtr(*apoWalker);
    if (!IsValid(*apoWalker)) {
        VLM_THROW(ExceptionIndexOutOfBounds,
                  VTEXT("Somehow the iterator that resulted from walking the list by the specified number of elements "
                        "is invalid!"));
    }
    return GetNextAttributeBytesSharedPtr(*apoWalker);
}

void AttributeBytesList::ThrowWrongIterator() {
    VLM_THROW(ExceptionAttributeValueTypeMismatch,
              VTEXT("Incoming AttributeBytesListIterator is the wrong type for this class!"));
}

void AttributeBytesList::ThrowInvalidIterator() {
    VLM_THROW(ExceptionIndexOutOfBounds, VTEXT("Invalid iterator supplied!"));
}
