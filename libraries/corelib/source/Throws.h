#pragma once

namespace MovrikCorelib {

/// Marks a class whose operations throw failures; it adds nothing but the virtual destructor.
class Throws {
public:
    virtual ~Throws() = default;
};

}  // namespace MovrikCorelib
