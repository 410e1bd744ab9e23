#pragma once

#include <string>

namespace MovrikCorelib {

/// The process environment; the library reads and changes it through these operations alone.
/// The environment is shared by all threads and has no lock: change it while only one thread runs.
class EnvTools {
public:
    /// Defines or overwrites a variable. False if the name is empty or holds "=", or if one of the two holds
    /// a zero byte.
    static bool set(const std::string& name, const std::string& value);

    /// Empties a variable. It stays defined, so `exists` is true for it afterwards. Result as for `set`.
    static bool remove(const std::string& name);

    /// False for an undefined variable; `value` is then left alone.
    static bool get(const std::string& name, std::string& value);

    static bool exists(const std::string& name);
};

}  // namespace MovrikCorelib
