/// @file
/// A program that stops with one value of every kind that the debugger views show.
#include "utilities/utilitiesdll/ByteBuffer.h"
#include "utilities/utilitiesdll/CXString.h"
#include "utilities/utilitiesdll/VlmSharedPtr.h"

namespace {

struct Point {
    int iX, iY;
    bool operator<(const Point& rOther) const { return iX < rOther.iX; }
};

volatile int giStops = 0;

}  // namespace

/// The debugger stops here and looks at the caller's values.
extern "C" __attribute__((noinline)) void StopHere() {
    giStops = giStops + 1;
}

int main() {
    const CXString csEmpty, csText(VTEXT("Gr\u00FC\u00DFe \U0001F600"));
    CXString csLocked(VTEXT("locked \"text\""));
    csLocked.LockBuffer();
    const BYTE abyBytes[] = {0x0A, 0xFF, 0x00};
    const ByteBuffer bbEmpty, bbBytes(abyBytes, sizeof abyBytes);
    const VlmSharedPtr<Point> shpoNull, shpoPoint = MakeVlmShared<Point>(Point{3, 4}), shpoCopy = shpoPoint;
    StopHere();
    return csEmpty.GetLength() + static_cast<int>(bbEmpty.size()) + (shpoNull ? 1 : 0) + csText.IsEmpty() +
           bbBytes.empty() + (shpoCopy ? 0 : 1);
}
