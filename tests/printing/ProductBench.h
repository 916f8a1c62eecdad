/// @file
/// A queue with a driver, a product CAB and identities, on the fake platform.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "environment/ProductData.h"
#include "printing/ProductCabinets.h"
#include "support/FakePlatform.h"
#include "support/Narrow.h"
#include "support/RecordingSink.h"

namespace vlm::test {

inline constexpr const XCHAR* DRIVER_FOLDER = VTEXT("C:\\windows\\system32\\spool\\drivers\\x64\\3");
inline constexpr const XCHAR* ROOT = VTEXT("C:\\windows\\system32\\spool\\drivers\\x64\\3\\Velom\\Product Data");
inline constexpr const char* MODELS_MAP =
    "Velom KX 1,1.3.6.1.4.1.99999.8.62:FAMPATH=kx100;PRODUCTNAME=KX One;PRINTERLANG=PCL6 PScript;COLORCAPABLE=color;"
    "CONTROLLERFAMILY=KESTRIX;COMPANYNAME=VX;AUTO=a.aut;JCAP=sub\\j.jcp;PSCOUT=c.pdl;USB_PRODUCT_ID=1a2B\n"
    "KX 2,1.3.6.1.4.1.99999.8.63:FAMPATH=kx100;PRODUCTNAME=KX Two;PRINTERLANG=xps pdf;COLORCAPABLE=monochrome;"
    "CONTROLLERFAMILY=SERVER;AUTO=..\\evil\n"
    "KX Walk:FAMPATH=..\\kx;PRODUCTNAME=Velom Global Print;PRINTERLANG=pcl5\n";
inline constexpr const char* COMMANDS_FILE =
    "<FeatureSet><FeatureItem><Description>Sides</Description><PDLSet><PDL>PCL6</PDL><Qualifier>Long</Qualifier>"
    "<Instruction>&eDuplexVerticalBinding;&DuplexPageMode;&value1;</Instruction></PDLSet></FeatureItem></FeatureSet>";

inline CXString Path(const CXString& kcsParent, const CXString& kcsName) {
    return kcsParent + VTEXT("\\") + kcsName;
}

inline CabMembers ProductMembers() {
    return {{"velom.map", MODELS_MAP},
            {"kx100\\V5.0\\a.aut", "auto"},
            {"kx100\\V5.0\\c.pdl", COMMANDS_FILE},
            {"kx100\\V5.0\\n.CAB", StoredCabText({{"sub\\j.jcp", "capabilities"}, {"p.icm", "profile"}})}};
}

/// Puts the queue "Q" and its driver in order.
inline void AddProduct(FakePlatform& rFake, const CabMembers& rMembers = ProductMembers()) {
    rFake.printing.AddDriverNamed(VTEXT("Velom KX"), {VTEXT("q9_kx10.dll"), VTEXT("q9kx10073.cab")},
                                  VTEXT("unidrv.dll"), VTEXT("xkx100.gpd"));
    rFake.printing.AddQueueNamed(VTEXT("Q"), VTEXT("Velom KX"));
    rFake.printing.AddData(VTEXT("Q"), VTEXT("xProdUID"), VTEXT("kx10"));
    rFake.printing.AddData(VTEXT("Q"), VTEXT("xModelId"), VTEXT("KX 1"));
    rFake.files.AddFile(Path(DRIVER_FOLDER, "q9kx10073.cab").View(), StoredCab(rMembers));
}

/// The queue, opened with all rights.
class OpenQueue {
public:
    explicit OpenQueue(const XCHAR* pszName = VTEXT("Q")) { m_oPrinter.CreateAllAccessHandle(pszName); }
    operator HANDLE() const noexcept { return m_oPrinter.GetPrinterHandle(); }

private:
    Printer m_oPrinter;
};

/// The process's caches begin and end empty.
class EmptyCaches {
public:
    EmptyCaches() { ProductData::ClearCachedMapData(); }
    ~EmptyCaches() { ProductData::ClearCachedMapData(); }
    EmptyCaches(const EmptyCaches&) = delete;
    EmptyCaches& operator=(const EmptyCaches&) = delete;
};

/// The values that a map file's records become in the queue's data: for loops that cannot afford to make them each
/// time.
inline std::vector<std::pair<XString, std::vector<BYTE>>> RecordsOf(const char* pszMap) {
    FakePlatform oFake;
    const PlatformScope oScope(oFake.Get());
    const EmptyCaches oCaches;
    AddProduct(oFake);
    oFake.files.AddFile(Path(ROOT, "m.map").View(), BytesOf(pszMap));
    const OpenQueue oQueue;
    ProductData oProduct(oQueue, CXString(), MT_MODEL_NAME, CXString());
    EXPECT_TRUE(oProduct.UpdateRegistryMappings(CXString(), ProductData::OUTERMOST));
    std::vector<std::pair<XString, std::vector<BYTE>>> vValues;
    for (const XCHAR* pszName : {VTEXT("XProductData"), VTEXT("PDMap-0"), VTEXT("PDMap-1"), VTEXT("PDMap-2")}) {
        if (const auto bytes = oFake.printing.DataOf(VTEXT("Q"), pszName)) vValues.emplace_back(pszName, *bytes);
    }
    return vValues;
}
inline void AddRecordsOf(FakePlatform& rFake, const std::vector<std::pair<XString, std::vector<BYTE>>>& rvValues) {
    for (const auto& [name, bytes] : rvValues)
        rFake.registry.AddValue(FakePrintingPorts::QueueKey(VTEXT("Q")) + VTEXT("\\PrinterDriverData"), name, 1, bytes);
}

class ProductBench : public ::testing::Test {
protected:
    std::string Contents(const CXString& kcsPath) const {
        const auto contents = oFake.files.Contents(kcsPath.View());
        return contents ? std::string(contents->begin(), contents->end()) : "missing";
    }
    std::string Data(const XCHAR* pszValue) const {
        const auto bytes = oFake.printing.DataOf(VTEXT("Q"), pszValue);
        if (!bytes) return "missing";
        const CXString csText = ByteBuffer(bytes->data(), bytes->size()).getAsStringValue();
        return Narrow(csText.View());
    }

    FakePlatform oFake;
    const PlatformScope oScope{oFake.Get()};
    const EmptyCaches oCaches;
};

}  // namespace vlm::test
