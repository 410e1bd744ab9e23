#pragma once

#include "FileKind.h"

struct gzFile_s;

namespace MovrikCorelib {

/// A gzip file, on zlib. See `FileKind` for the operations; those for plain files only give false or 0.
///
/// Reading ends at a damaged place like at the end of the file; a cut file gives all that can be unpacked.
/// Writing packs at zlib's default level; an output with nothing in it is a gzip file of nothing.
class ZFile : public FileKind {
public:
    ZFile() = default;
    ~ZFile() override;

protected:
    bool openAs(Mode wanted) override;
    bool closeStream() override;
    unsigned int take(char* bytes, unsigned int count, unsigned long long position) override;
    bool put(const char* bytes, unsigned int count) override;
    bool sync() override;
    bool storedSize(unsigned long long&) const override { return false; }
    bool place(unsigned long long position) override;
    bool moveOut(unsigned long long position) override;
    /// The call that runs into the end still delivers a line, be it empty: readers of compressed files rely
    /// on one line more than the plain file has.
    bool deliversRest(bool) const override { return true; }

private:
    bool reopen();

    gzFile_s* handle = nullptr;
    int descriptor = -1;  ///< of the file being read, to start again with
    bool broken = false;  ///< nothing more can be unpacked, or packed
};

}  // namespace MovrikCorelib
