/// @file
/// What the fault loops of printing share: operations that tell what became of them, and what a fault must not break.
#pragma once

#include <exception>

#include "printing/PrintDriverFixture.h"
#include "support/FaultLoop.h"

namespace vlm::test {

/// An operation did what it must not do even in the face of a fault.  No exception of the library: it ends the test.
class BrokenPromise : public std::exception {
public:
    explicit BrokenPromise(const char* pszWhat) noexcept : m_pszWhat(pszWhat) {}
    const char* what() const noexcept override { return m_pszWhat; }

private:
    const char* m_pszWhat;
};

/// Inside an operation, where the framework's macros would take memory.
inline void Must(bool fHolds, const char* pszWhat) {
    if (!fHolds) throw BrokenPromise(pszWhat);
}

/// An operation that tells whether it did what it is for, and may throw its own exception.
template <class Exception, class Operation>
auto Doing(Operation operation) {
    return [operation] {
        bool fDone = false;
        const FaultOutcome eOutcome = Attempt<Exception, ExceptionOutOfMemory>([&] { fDone = operation(); });
        return fDone ? eOutcome : FaultOutcome::Failed;
    };
}

template <class Operation>
auto OnQueue(Operation operation, const XCHAR* pszQueue = QUEUE) {
    return Doing<ExceptionPrinterFailure>([operation, pszQueue] {
        Printer oPrinter;
        oPrinter.CreateAllAccessHandle(pszQueue);
        return operation(oPrinter);
    });
}

}  // namespace vlm::test
