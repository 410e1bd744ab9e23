#pragma once

#include <string>

#include "FileRegistry.h"
#include "TestSupport.h"

namespace TestSupport {

/// A registry of the test's own, in use from now on, not on the disk yet.
struct RegistryFile {
    explicit RegistryFile(const std::string& name = "etc/test.freg") : path(dir / name) {
        MovrikCorelib::FileRegistry::setFName(path);
    }

    const TempDir dir;
    const std::string path;
};

}  // namespace TestSupport
