#pragma once

#include <string>

namespace MovrikCorelib {

/// Version and revision of the build, as the options "version" and "revision" show them. Set by the build,
/// not by the application; an empty text takes the option out of the command line.
extern const std::string REL_VERSION;
extern const std::string REL_REVISION;

}  // namespace MovrikCorelib
