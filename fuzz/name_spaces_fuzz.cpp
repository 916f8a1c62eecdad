/// @file
/// Fuzz target: name-space states.  What is taken is written back with the same version and reads back as the same.
#include "RecordMutator.h"
#include "utilities/attributebytes/AttributeBytesNameSpaces.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"

using vlm::test::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pby, std::size_t cBytes) {
    AttributeBytesNameSpaces oNameSpaces;
    try {
        const DriverVersion oVersion = oNameSpaces.ImportAttributeBytesNameSpacesState(ByteBuffer(pby, cBytes));
        const ByteBuffer bbWritten = oNameSpaces.GetAttributeBytesNameSpacesState(oVersion);
        AttributeBytesNameSpaces oAgain;
        Require(oAgain.ImportAttributeBytesNameSpacesState(bbWritten) == oVersion);
        Require(oAgain.GetAttributeBytesNameSpacesState(oVersion) == bbWritten);
        const auto lCount = static_cast<LONG>(oNameSpaces.GetNumberOfNameSpaces());
        for (LONG l = 0; l < lCount; ++l) {
            const LONG lNameSpace = oNameSpaces.GetNameSpaceByIndex(l);
            Require(oNameSpaces.Exists(lNameSpace));
            try {
                oNameSpaces.GetNameSpaceAttributes(lNameSpace);
            } catch (const ExceptionDuplicateAttributeId&) {
            } catch (const ExceptionNotEnoughBytesForDesiredDataType&) {
            } catch (const ExceptionUnhandledSyntax&) {
            } catch (const ExceptionMissingOrBadAttributeBytesFormat&) {
            }
        }
    } catch (const ExceptionNotEnoughBytesForDesiredDataType&) {
        Require(oNameSpaces.IsEmpty());
    } catch (const ExceptionUnhandledSyntax&) {
        Require(oNameSpaces.IsEmpty());
    } catch (const ExceptionMissingOrBadAttributeBytesFormat&) {
        Require(oNameSpaces.IsEmpty());
    } catch (const ExceptionDuplicateAttributeId&) {
        Require(oNameSpaces.IsEmpty());
    }
    return 0;
}

/// Keeps signatures and version, most of the time, and changes the name spaces behind them.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pby, std::size_t cBytes, std::size_t cMost,
                                               unsigned int uSeed) {
    constexpr std::size_t HEAD = 4 + 8 + 4 + 4;
    vlm::test::RecordMutator oMutator(uSeed);
    vlm::test::RecordBytes state(pby, pby + cBytes);
    if (cBytes < HEAD || oMutator.Below(16) == 0) {
        oMutator.MutateBytes(state);
        return vlm::test::GiveBack(state, pby, cMost);
    }
    vlm::test::RecordBytes records(state.begin() + HEAD, state.end());
    oMutator.MutateRecords(records);
    state.resize(HEAD);
    state.insert(state.end(), records.begin(), records.end());
    return vlm::test::GiveBack(state, pby, cMost);
}
