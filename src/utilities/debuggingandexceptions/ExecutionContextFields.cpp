/// @file
/// What every kind of execution context holds.
#include "utilities/debuggingandexceptions/ExecutionContextFields.h"

#include <utility>

#include "utilities/debuggingandexceptions/detail/failure/SafeText.h"

namespace vlm {

CXString GetContextLocationString(XStringView file, XStringView function, DWORD dwLine) {
    SafeText text;
    if (function.find(VTEXT("::")) != XStringView::npos) {
        text.Format(VTEXT("%s line %ld"), function, dwLine);
    } else {
        text.Format(VTEXT("%s, %s line %ld"), file, function, dwLine);
    }
    return std::move(text.Get());
}

}  // namespace vlm
