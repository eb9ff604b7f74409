#include "frame/daxlib.h"

namespace {

constexpr DaxLibVersion version = {
    1, 3, 3, "daxlib.dll", "v1.0 Beta 3", "[1.03.03, 06/30/97]", "Jul  7 1997", "DLL",
};

} // namespace

const DaxLibVersion* daxGetLibVersion(void) { return &version; }
