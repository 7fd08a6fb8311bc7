// The walk compiled for AVX2, on any x86-64. Nothing of this file may be called before the processor was asked.
#include "markup/TagScannerPaths.h"

#if defined(__x86_64__)

#include "markup/TagWalk.h"

namespace halden {

void scanTagsAvx2(const TagScan& scan) {
    TagWalk<avx2::UnitBlock>(scan).run();
}

}  // namespace halden

#endif
