/// @file
/// The name of an object's class, readable and the same on every platform.
#pragma once

#include <memory>
#include <typeinfo>

namespace vlm {

/// Narrow text from the C heap.
struct FreeNarrowText {
    void operator()(char* pszText) const noexcept;
};

/// A class name, for example "ExceptionFile" or "std::bad_alloc".
class ClassName {
public:
    explicit ClassName(const std::type_info& rType) noexcept;
    /// Null when there is no memory for it.
    const char* GetReadable() const noexcept { return m_apszReadable.get(); }
    /// Never null; the compiler's own form when there is no readable one.
    const char* Get() const noexcept { return m_apszReadable ? m_apszReadable.get() : m_pszRaw; }

private:
    const char* m_pszRaw;
    std::unique_ptr<char, FreeNarrowText> m_apszReadable;
};

}  // namespace vlm
