#pragma once

#include "FileKind.h"
#include "FileOps.h"

namespace MovrikCorelib {

/// A plain file, on a C stream. See `FileKind` for the operations.
///
/// Line numbers follow the position: after a move out of the buffer, the next read or `getCurLine` counts the
/// line feeds between the old position and the new one. A move there and back costs nothing.
class BasicFile : public FileKind {
public:
    BasicFile() = default;
    ~BasicFile() override;

protected:
    bool openAs(Mode wanted) override;
    bool closeStream() override;
    unsigned int take(char* bytes, unsigned int count, unsigned long long position) override;
    bool put(const char* bytes, unsigned int count) override;
    bool sync() override;
    bool storedSize(unsigned long long& bytes) const override;
    bool place(unsigned long long position) override;
    bool moveOut(unsigned long long position) override;
    void syncLine() override;
    bool deliversRest(bool nothingLeft) const override { return !nothingLeft; }

private:
    unsigned long countLines(unsigned long long from, unsigned long long to);

    FileOps::Stream stream;
};

}  // namespace MovrikCorelib
