#include "EnvTools.h"

#include <stdlib.h>

namespace MovrikCorelib {

bool EnvTools::set(const std::string& name, const std::string& value) {
    // A zero byte would cut the name or the value short without a word.
    if (name.find('\0') != std::string::npos || value.find('\0') != std::string::npos)
        return false;
    return setenv(name.c_str(), value.c_str(), 1) == 0;
}

bool EnvTools::remove(const std::string& name) {
    return set(name, "");
}

bool EnvTools::get(const std::string& name, std::string& value) {
    const char* const found = getenv(name.c_str());
    if (!found)
        return false;
    value = found;
    return true;
}

bool EnvTools::exists(const std::string& name) {
    return getenv(name.c_str()) != nullptr;
}

}  // namespace MovrikCorelib
