#pragma once

#include <string>

#include "FileText.h"

namespace MovrikCorelib {

/// The part of `FileTools` that makes, deletes, copies and moves files and directories, for one character
/// type. `overwrite` allows an existing target to be replaced; `blockSize` is in bytes, 0 stands for 4096;
/// `verify` reads source and target again and compares them.
///
/// What is deleted or copied as a tree never leaves it: a symbolic link is taken as the link it is.
/// `copy` clears `FileOps::IgnoreCR` while it runs, so no other thread may read or copy then.
template <class Char>
class FileChange {
    using String = std::basic_string<Char>;
    using Progress = FileProgress<Char>;

public:
    /// A directory with mode 0755 less the umask. What is there already gives false; with `force` it is
    /// removed first, a directory with all in it.
    static bool makeDir(const String& path, bool force);
    /// Makes all missing directories of a path. Without a "/" at its end the last component is a file's name
    /// and is not made.
    static bool ensurePath(String path);
    /// Deletes a file or an empty directory. With `force`, a refused try is followed by granting the owner
    /// write access and, 25 milliseconds later, one more.
    static bool remove(const String& path, bool force);
    /// Deletes a directory with all in it; `force` makes directories writable that refuse. False for a link
    /// to a directory, directories nested deeper than 2000 levels or than descriptors are free, and when
    /// anything could not be deleted; the rest is deleted nevertheless.
    static bool removeDir(const String& dir, bool force, const Progress& progress = nullptr);
    /// Deletes all that is in a directory.
    static bool clearDir(const String& dir, bool force, const Progress& progress = nullptr);

    /// Copies the bytes of one file, those it has at the start. False if `source` is no file or is `target`
    /// itself, and when `target` exists without `overwrite`. A failed copy deletes what it wrote.
    static bool copy(const String& source, const String& target, bool overwrite, unsigned long blockSize,
                     bool verify, const Progress& progress = nullptr);
    /// All files in a directory whose names match. False if any could not be copied; the others are
    /// nevertheless. The callback also gets 1 for each file copied and 3 for each that failed its
    /// verification, with the count of files as amount.
    static bool copy(const String& dir, const String& target, const String& pattern, bool overwrite,
                     unsigned long blockSize, bool verify, const Progress& progress = nullptr);

    /// Renames; the target is replaced in one step or, without `overwrite`, never. Between file systems the
    /// file is copied, with its permissions and its time of modification, and then removed: a failed copy
    /// leaves the source and an old target as they were, a failed removal gives false with both in place.
    static bool move(const String& source, const String& target, bool overwrite, unsigned long blockSize,
                     bool verify, const Progress& progress = nullptr);
    static bool move(const String& dir, const String& target, const String& pattern, bool overwrite,
                     unsigned long blockSize, bool verify, const Progress& progress = nullptr);

    /// All that is in `source` into `target`, which is made if need be. `overwrite` concerns single files.
    /// False, with nothing copied, if `target` lies within `source` or has a link where `source` has a
    /// directory; false, too, if anything could not be copied; the rest is nevertheless.
    static bool copyDir(const String& source, const String& target, bool overwrite, unsigned long blockSize,
                        bool verify, const Progress& progress = nullptr);
    /// Renames the directory if `target` does not exist; otherwise, and between file systems, `copyDir` and,
    /// once all is copied, `removeDir`.
    static bool moveDir(const String& source, const String& target, bool overwrite, unsigned long blockSize,
                        bool verify, const Progress& progress = nullptr);
};

}  // namespace MovrikCorelib
