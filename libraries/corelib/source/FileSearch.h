#pragma once

#include <set>
#include <string>

#include "FileText.h"

namespace MovrikCorelib {

/// One hit of `FileTools::find`: a file and where in it the text begins.
struct FileHit {
    std::string path;                 ///< contracted; bytes
    std::wstring pathW;               ///< the same
    unsigned long long position = 0;  ///< offset in bytes; 0 if no text was looked for

    bool operator<(const FileHit& other) const {
        return path != other.path ? path < other.path : position < other.position;
    }
};

/// The part of `FileTools` that looks for files, for one character type. A search looks at the files of a
/// directory first, sorted by name, and if `recursive` then at the directories in it; each directory once,
/// whatever links lead to it. The callback gets 1 for each directory. Only regular files are searched
/// for a text, as bytes, wide texts converted for it.
template <class Char>
class FileSearch {
    using String = std::basic_string<Char>;
    using Progress = FileProgress<Char>;

public:
    /// Looks a name up in the directories of `list` (separated by ":"), then in the current directory, then
    /// in those of the environment variable `variable` ("path" in any case stands for "PATH"). A complete
    /// name is looked up as it is. `result`: the path, with variables replaced, contracted, no "/" at its
    /// end; as it was if there is none. A directory or a link that leads nowhere is found too.
    static bool findPath(const String& name, String& result, const String& list, const String& variable);
    /// The same for a program: first under its name with "movrik_" in front, unless it begins so, then as it
    /// is.
    static bool findExe(const String& name, String& result, const String& list, const String& variable);

    /// The first file of that name, or whose name matches the glob; `result` is its contracted path, and as
    /// it was if there is none.
    static bool findName(const String& dir, const String& name, String& result, bool recursive,
                         const Progress& progress = nullptr);
    static bool findNameGlob(const String& dir, const String& pattern, String& result, bool recursive,
                             const Progress& progress = nullptr);
    /// The first file that holds the text, or that has a line with a stretch matching the glob.
    static bool findContents(const String& dir, const String& text, String& result, bool recursive,
                             const Progress& progress = nullptr);
    static bool findContentsGlob(const String& dir, const String& pattern, String& result, bool recursive,
                                 const Progress& progress = nullptr);

    /// Adds every place of `text` in every file whose name matches the glob; an empty text makes each such
    /// file one hit. Places do not overlap. False if `dir` is no directory.
    static bool find(const String& dir, const String& pattern, const String& text, bool recursive,
                     std::set<FileHit>& results, const Progress& progress = nullptr);
};

}  // namespace MovrikCorelib
