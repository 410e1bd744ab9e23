#pragma once

#include <string>

namespace MovrikCorelib {

/// The part of `FileTools` that brings paths into a normal form, for one character type. Operations that take
/// the path by reference change it in place and, unless told otherwise, return it.
template <class Char>
class PathForm {
    using String = std::basic_string<Char>;

public:
    /// Every "\" becomes "/".
    static String& correctSeparation(String& path);
    /// Appends "/" unless the path is empty or ends in a separator.
    static String& completeDir(String& path);
    /// Resolves "." and ".." in the text alone and drops empty components. A leading ".." that leads nowhere
    /// stays, as do "/" and "//" at the start and "/" at the end. "a/.." gives the empty string, "a/../"
    /// "./".
    static String& contractPath(String& path);
    /// Puts a relative path below `base`, which is a directory.
    static String& makeComplete(String& path, const String& base);
    /// Makes a path relative to the directory `base`, with ".." where need be; "." for `base` itself. False,
    /// and nothing changed, if only one of the two is complete or ".." parts of `base` hide where it lies.
    static bool makeRelative(String& path, const String& base);
    /// Begins with a separator, or with a drive and a separator.
    static bool isComplete(const String& path);
    /// `processPath`, then `completeDir`: ready to have a name appended.
    static String& prepDir(String& path);
    /// Replaces "%NAME%", and "$NAME" ahead of a "/", by defined environment variables; others stay as
    /// written. After each, the search goes on where the reference ended before it was replaced, so one that
    /// a shorter value draws ahead of that place stays too. Stops at 65536 characters, which only a variable
    /// that leads back to itself reaches.
    static String& mapSymbolic(String& path);
    /// A symbolic link becomes its target, one level; a relative target is put into the link's directory.
    /// Anything else becomes the empty string, so test `FileTools::isLink` first. Targets are cut at 1024
    /// bytes.
    static String& expand(String& path);
    /// `mapSymbolic`, then `contractPath`.
    static String& processPath(String& path);
};

}  // namespace MovrikCorelib
