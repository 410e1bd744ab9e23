#pragma once

#include <sys/stat.h>

#include <set>
#include <string>
#include <utility>

#include "FileText.h"

namespace MovrikCorelib {

/// Remembers the directories that a walk has been to, so that links which lead back end it.
class VisitedDirs {
public:
    /// False if the walk has been there, under whatever name, or if there is nothing.
    bool enter(const std::string& dir) {
        struct stat64 status;
        return stat64(SystemPath(dir), &status) == 0 && seen.insert({status.st_dev, status.st_ino}).second;
    }

private:
    std::set<std::pair<dev_t, ino64_t>> seen;
};

}  // namespace MovrikCorelib
