#pragma once

#include <string>

namespace MovrikCorelib {

/// The part of `FileTools` that takes paths apart, for one character type. Both "/" and "\" separate
/// components; what is returned or changed in place has "/" only. No system calls.
///
/// A path is a directory, a separator and a base. The directory is all ahead of the last separator, with the
/// drive ("C:", from other systems) in it; the base is all behind it, with the suffix in it; the suffix is
/// all behind the last "." of the base. "/a.b/c.d.e" has the directory "/a.b", the base "c.d.e", the suffix
/// "e".
template <class Char>
class PathParts {
    using String = std::basic_string<Char>;

public:
    /// Offsets of a part's first character and behind its last; `String::npos` if the path has no such part.
    /// A path without a separator has no directory, one that ends in a separator no base.
    static unsigned long findDriveStart(const String& path);
    static unsigned long findDriveEnd(const String& path);
    static unsigned long findDirStart(const String& path);
    static unsigned long findDirEnd(const String& path);
    static unsigned long findBaseStart(const String& path);
    static unsigned long findBaseEnd(const String& path);
    static unsigned long findSuffixStart(const String& path);
    static unsigned long findSuffixEnd(const String& path);

    /// Empty if the path has no such part; no separator and no "." included.
    static String getDrive(const String& path);
    static String getDir(String path);
    /// With `trim`, separators at the end are cut first, so that the name of a directory is found.
    static String getBase(String path, bool trim = false);
    static String getSuffix(const String& path);
    /// As `getDir`, but one separator at the very end does not count: "a/b/" has the parent "a".
    static String getParent(String path);

    /// In place, returning the path. The base goes and the separator ahead of it stays; the suffix goes with
    /// its ".".
    static String& removeBase(String& path);
    static String& removeSuffix(String& path);
    /// Removes all separators at the end; "/" becomes empty.
    static String& trimDir(String& path);

    /// Cut a part off and return it. The directory goes with the separator behind it, the suffix with its
    /// "."; the base leaves the directory with its separator.
    static String splitDrive(String& path);
    static String splitDir(String& path);
    static String splitBase(String& path);
    static String splitSuffix(String& path);
};

}  // namespace MovrikCorelib
