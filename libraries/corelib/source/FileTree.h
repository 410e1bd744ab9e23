#pragma once

#include <list>
#include <set>
#include <string>

#include "FileText.h"

namespace MovrikCorelib {

/// The part of `FileTools` that lists and compares directories and files, for one character type.
template <class Char>
class FileTree {
    using String = std::basic_string<Char>;
    using Progress = FileProgress<Char>;

public:
    /// A directory tree: a node and what is below it, sorted by name.
    struct DirItem {
        String name;
        bool isDir = false;
        std::set<DirItem> items;

        bool operator<(const DirItem& other) const { return name < other.name; }
    };

    /// One difference between two directories.
    struct DiffDef {
        enum Difference { OnlyFirst, OnlySecond, Kind, Contents };

        String path;  ///< below the directories, without a separator in front
        Difference difference = Contents;
    };

    /// Adds to the sets the names (not paths) in `dir` that match the glob, without "." and "..":
    /// directories, and links to such, to `dirs`, all others to `files`. Either may be null. False if `dir`
    /// is no directory or cannot be read.
    static bool readDir(const String& dir, const String& pattern, std::set<String>* files,
                        std::set<String>* dirs);
    /// Counts matching files and directories in `dir` and, if `recursive`, in all matching directories below
    /// it, each directory once. False, and nothing counted, if `dir` is no directory.
    static bool count(const String& dir, const String& filePattern, const String& dirPattern,
                      unsigned long& files, unsigned long& dirs, bool recursive);
    /// Replaces `tree` by `dir` and all below it, down to links, which are not followed. The callback gets 1
    /// for each directory. False if `dir` or anything below it cannot be read; `tree` then holds the rest.
    static bool getDirTree(const String& dir, DirItem& tree, const Progress& progress = nullptr);

    /// Whether two files hold the same bytes; `iCompare` takes letters of either case, as `tolower` has it,
    /// for the same. False if one cannot be read.
    static bool compare(const String& first, const String& second, const Progress& progress = nullptr);
    static bool iCompare(const String& first, const String& second, const Progress& progress = nullptr);
    /// Adds what differs between two directories, and all below them, to the list, in the order of paths.
    /// Links are compared by their targets. A directory on one side only is one difference. True if both
    /// could be read, whether or not they are the same.
    static bool compareDirs(const String& first, const String& second, std::list<DiffDef>& differences,
                            const Progress& progress = nullptr);
};

}  // namespace MovrikCorelib
