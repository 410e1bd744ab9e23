#pragma once

#include <string>

#include "FileText.h"

namespace MovrikCorelib {

/// How a single file is copied or moved; the terms are those of `FileChange`.
template <class Char>
class FileTransfer {
    using String = std::basic_string<Char>;

public:
    enum Outcome { Done, Failed, CheckFailed };

    FileTransfer(bool mayOverwrite, unsigned long bytesAtATime, bool check,
                 const FileProgress<Char>& callback)
        : overwrite(mayOverwrite), blockSize(bytesAtATime), verify(check), progress(callback) {}

    Outcome copy(const String& source, const String& target) const;
    Outcome move(const String& source, const String& target) const;

    /// Renames; with `replace` false never over something that exists.
    static bool rename(const String& from, const String& to, bool replace);
    /// Makes `target` the link that `source` is.
    static bool copyLink(const String& source, const String& target);
    /// As `FileChange::remove`.
    static bool remove(const String& path, bool force);

private:
    Outcome moveAcross(const String& source, const String& target) const;
    bool copyBytes(const String& source, const String& target) const;

    bool overwrite;
    unsigned long blockSize;
    bool verify;
    const FileProgress<Char>& progress;
};

}  // namespace MovrikCorelib
