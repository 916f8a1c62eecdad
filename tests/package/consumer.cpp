// A user's first program: includes everything the package installs, and uses one class of the library.
#include <cstdio>

#include "q9util.h"
#include "q9version.h"

int main() {
    CXString csText;
    csText = VTEXT("installed");
    const int iLength = static_cast<int>(csText.GetLength());
    std::printf("q9util %s: %d characters\n", Q9_VERSION_TEXT, iLength);
    return iLength == 9 ? 0 : 1;
}
