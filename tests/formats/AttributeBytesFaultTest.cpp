/// @file
/// Every call and allocation behind the attribute classes fails once: nothing leaks, and what failed changed nothing.
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "formats/AttributeSamples.h"
#include "support/FaultLoop.h"
#include "utilities/attributebytes/PersistentAttributes.h"
#include "utilities/debuggingandexceptions/VelomExceptions.h"
#include "utilities/utilitiesdll/MemoryPool.h"

namespace vlm::test {
namespace {

/// The corpus with every identifier once, as an indexed-list state.
ByteBuffer CorpusState() {
    ByteBuffer bbState = BufferOf("4142494C 4142524C");
    const std::vector<BYTE> corpus = RecordCorpusTable().Bytes();
    return bbState.appendLpbyte(corpus.data(), corpus.size());
}

ByteBuffer CorpusBlock() {
    AttributeBytesIndexedList oList;
    oList.ImportAttributeBytesIndexedListState(CorpusState());
    AttributeBytesNameSpaces oNameSpaces;
    oNameSpaces.SetNameSpaceAttributes(1, oList);
    return PersistentAttributes(oNameSpaces).GetPersistentAttributesState();
}

template <class Operation>
FaultOutcome Attempt(const Operation& rOperation) {
    try {
        rOperation();
        return FaultOutcome::Succeeded;
    } catch (const ExceptionOutOfMemory&) {
    } catch (const ExceptionCompression&) {
    } catch (const ExceptionFileOperationCompression&) {
    } catch (const ExceptionCabinetLibraryConstructionFailure&) {
    } catch (const std::bad_alloc&) {  // no memory was left for the exception itself
    }
    return FaultOutcome::Failed;
}

/// The states that the scenarios start from, made before anything fails.
struct Samples {
    ByteBuffer bbIndexed = CorpusState();
    ByteBuffer bbBlock = CorpusBlock();
    AttributeBytesIndexedList oList;
    AttributeBytesRawList oRawList;
    AttributeBytes oDeep{NestedListRecord(10)};
    Samples() {
        for (LONG l = 0; l < 200; ++l)
            oList.AddAttributeBytes(IntegerRecord(2 * l));
        oRawList.ImportFromIndexedList(oList);
    }
};

/// An operation on objects of its own: `run` may throw, and `check` says whether what it worked on is as it was or as
/// it should be.
struct Scenario {
    const char* pszName;
    std::function<FaultOutcome(const Samples&)> run;
};

void Demand(bool fHolds) {
    if (!fHolds) throw std::logic_error("a failed operation changed its object");
}

const Scenario SCENARIOS[] = {
    {"import of an indexed list",
     [](const Samples& r) {
         AttributeBytesIndexedList oTarget;
         const FaultOutcome eOutcome = Attempt([&] { oTarget.ImportAttributeBytesIndexedListState(r.bbIndexed); });
         Demand(eOutcome == FaultOutcome::Succeeded || oTarget.IsEmpty());
         return eOutcome;
     }},
    {"adding in the middle of a full leaf",
     [](const Samples& r) {
         FaultOutcome eOutcome = FaultOutcome::Failed;
         Attempt([&] {
             AttributeBytesIndexedList oTarget(r.oList);
             eOutcome = Attempt([&] {
                 for (LONG l = 1; l < 40; l += 2)
                     oTarget.AddAttributeBytes(IntegerRecord(l));
             });
             DWORD dwWalked = 0;
             for (const AttributeBytesSharedPtr& rshpoRecord : oTarget)
                 dwWalked += rshpoRecord != nullptr;
             Demand(dwWalked == oTarget.GetNumberOfAttributeBytes());
             Demand(eOutcome == FaultOutcome::Failed ||
                    oTarget.GetNumberOfAttributeBytes() == r.oList.GetNumberOfAttributeBytes() + 20);
             for (const AttributeBytesSharedPtr& rshpoRecord : r.oList) {
                 Demand(oTarget.GetAttributeBytesPtr(rshpoRecord->GetAttributeBytesId()) == rshpoRecord.get());
             }
         });
         return eOutcome;
     }},
    {"setting a record",
     [](const Samples& r) {
         FaultOutcome eOutcome = FaultOutcome::Failed;
         Attempt([&] {
             AttributeBytesIndexedList oTarget(r.oList);
             const AttributeBytes* const pFormer = oTarget.GetAttributeBytesPtr(AttributeBytesFeatureId(8));
             eOutcome = Attempt(
                 [&] { oTarget.SetAttributeBytes(AttributeBytesFeatureId(8), r.oDeep.GetAttributeBytesValue()); });
             Demand(eOutcome == FaultOutcome::Succeeded ||
                    oTarget.GetAttributeBytesPtr(AttributeBytesFeatureId(8)) == pFormer);
         });
         return eOutcome;
     }},
    {"raw list",
     [](const Samples& r) {
         AttributeBytesRawList oTarget;
         return Attempt([&] {
             oTarget.AddAttributeBytes(r.oDeep);
             const ByteBuffer bbFormer = oTarget.GetRecordBytes();
             const FaultOutcome eOutcome = Attempt([&] { oTarget.ImportFromOtherList(r.oRawList); });
             Demand(eOutcome == FaultOutcome::Succeeded || oTarget.GetRecordBytes() == bbFormer);
             oTarget.ImportFromIndexedList(r.oList);
             oTarget.GetAttributeBytesRawListState();
             if (eOutcome == FaultOutcome::Failed) throw std::bad_alloc();
         });
     }},
    {"copies and collections",
     [](const Samples& r) {
         return Attempt([&] {
             AttributeBytes oCopy(r.oDeep);
             oCopy = AttributeBytes(AttributeBytesNewFeatureId(VTEXT("A long enough name")),
                                    r.oDeep.GetAttributeBytesValue());
             AttributeBytesReader::GetCollectionFromAttributeBytes(oCopy);
             AttributeBytesReader::GetListOfValuesFromAttributeBytes(oCopy);
             AttributeBytesIndexedList oIndexed;
             oIndexed.ImportFromOtherList(r.oRawList);
             oIndexed.GetAttributeBytesIndexedListState();
         });
     }},
    {"persistent block",
     [](const Samples& r) {
         PersistentAttributes oTarget;
         DriverVersion oVersion(9, 9, 9, 9);
         FaultOutcome eOutcome =
             Attempt([&] { oTarget.ImportPersistentAttributesState(r.bbBlock, oVersion, false, false); });
         Demand(eOutcome == FaultOutcome::Succeeded ||
                (oTarget.GetStateData().empty() && oTarget.GetAttributeBytesNameSpaces().IsEmpty() &&
                 oVersion == DriverVersion(9, 9, 9, 9)));
         if (eOutcome == FaultOutcome::Succeeded) {
             eOutcome = Attempt([&] { oTarget.SetAttributeBytesNameSpaces(AttributeBytesNameSpaces()); });
             Demand(eOutcome == FaultOutcome::Succeeded || oTarget.GetStateData() == r.bbBlock);
         }
         return eOutcome;
     }},
};

TEST(AttributeBytesFaultTest, EveryCallAndAllocationThatFailsLeavesThingsAsTheyWere) {
    const Samples oSamples;
    for (const Scenario& rScenario : SCENARIOS) {
        SCOPED_TRACE(rScenario.pszName);
        FaultLoop oLoop;
        oLoop.fnRun = [&] { return rScenario.run(oSamples); };
        oLoop.fnOutstanding = [] { return static_cast<std::size_t>(MemoryPool::GetOutstandingBlocks()); };
        oLoop.vModes = {FaultMode::FailOnce};
        EXPECT_GT(RunFaultLoop(oLoop).ullFaults, 0U);
    }
}

/// Takes every free block of one size, so that the pool can give exactly as many as are handed back to it.
class DrainedPool {
public:
    DrainedPool(std::size_t cbBlock, std::size_t cLeft) : m_cbBlock(cbBlock) {
        // The pool carves its blocks from large chunks; smaller requests are for what is no pool's size.
        m_pfnFormer = MemoryPool::ExchangeRawAllocator(
            [](std::size_t cb) noexcept -> void* { return cb > 4096 ? nullptr : std::malloc(cb); });
        while (void* const pBlock = MemoryPool::TryAllocate(cbBlock)) {
            *static_cast<void**>(pBlock) = m_pTaken;  // the blocks themselves keep the list
            m_pTaken = pBlock;
        }
        for (; cLeft > 0 && m_pTaken; --cLeft)
            ReleaseOne();
    }
    ~DrainedPool() {
        while (m_pTaken)
            ReleaseOne();
        MemoryPool::ExchangeRawAllocator(m_pfnFormer);
    }
    DrainedPool(const DrainedPool&) = delete;
    DrainedPool& operator=(const DrainedPool&) = delete;

private:
    void ReleaseOne() {
        void* const pBlock = m_pTaken;
        m_pTaken = *static_cast<void**>(pBlock);
        MemoryPool::Release(pBlock, m_cbBlock);
    }

    std::size_t m_cbBlock;
    MemoryPool::RawAllocator m_pfnFormer = nullptr;
    void* m_pTaken = nullptr;
};

TEST(AttributeBytesFaultTest, APoolThatRunsDryLeavesThingsAsTheyWere) {
    const Samples oSamples;
    int iFailed = 0;
    for (const Scenario& rScenario : SCENARIOS) {
        ASSERT_EQ(rScenario.run(oSamples), FaultOutcome::Succeeded);  // the pool has blocks of all sizes from now on
        for (const std::size_t cbBlock : {16U, 32U, 48U, 64U, 256U}) {
            bool fFailedBefore = true;
            for (std::size_t cLeft = 0; fFailedBefore && cLeft < 1000; ++cLeft) {
                const std::int64_t llBefore = MemoryPool::GetOutstandingBlocks();
                {
                    const DrainedPool oDrained(cbBlock, cLeft);
                    fFailedBefore = rScenario.run(oSamples) == FaultOutcome::Failed;
                }
                iFailed += fFailedBefore;
                ASSERT_EQ(MemoryPool::GetOutstandingBlocks(), llBefore)
                    << rScenario.pszName << ", " << cLeft << " blocks of " << cbBlock;
            }
            EXPECT_FALSE(fFailedBefore) << rScenario.pszName << " needs too many blocks";
        }
    }
    EXPECT_GT(iFailed, 100);
}

}  // namespace
}  // namespace vlm::test
