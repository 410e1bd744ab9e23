#include "Release.h"

namespace MovrikCorelib {

const std::string REL_VERSION = MOVRIK_VERSION;
const std::string REL_REVISION = MOVRIK_REVISION;

}  // namespace MovrikCorelib
