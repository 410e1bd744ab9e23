#pragma once

#include <functional>
#include <string>

namespace MovrikCorelib {

/// Deletes what is in a directory, never following a symbolic link, not even one that somebody puts in the
/// place of a directory meanwhile.
class FileRemoval {
public:
    /// Told each directory that has been emptied.
    using Emptied = std::function<void(const std::string& dir)>;

    /// Deletes all that is in `dir`, but not `dir`. With `force`, a directory that refuses is made writable
    /// by its owner. False if something could not be deleted, if directories are nested deeper than 2000
    /// levels, or if `dir` is a link; the rest is deleted nevertheless. `dir` has no "/" at its end.
    static bool clear(const std::string& dir, bool force, const Emptied& emptied);
};

}  // namespace MovrikCorelib
