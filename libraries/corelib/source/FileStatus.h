#pragma once

#include <string>

#include "DateTime.h"

namespace MovrikCorelib {

/// Who permissions apply to, and which there are.
class FileRights {
public:
    enum FileAccessEntity { AccessOwner, AccessGroup, AccessOthers, AccessAll };
    /// To be combined with "|".
    enum FileRight { RightExecute = 1, RightWrite = 2, RightRead = 4 };
};

/// The part of `FileTools` that asks for and sets what the system knows about single files, for one character
/// type. Unless told otherwise links are followed.
template <class Char>
class FileStatus {
    using String = std::basic_string<Char>;

public:
    /// Anything that is there and is not a directory, links of every kind included.
    static bool isFile(const String& path);
    /// A directory, or a link to one. One separator at the end is allowed for.
    static bool isDir(String path);
    static bool isLink(const String& path);
    /// Anything, a link that leads nowhere too.
    static bool exists(const String& path);
    /// Bytes; 0 on failure.
    static unsigned long long size(const String& path);
    /// Whether all of these permission bits (as of chmod, such as 0640) are set.
    static bool checkStatus(const String& path, unsigned int bits);
    /// Whether the file's permission bits give all these rights; `AccessAll` asks for owner, group and
    /// others.
    static bool isAllowed(const String& path, FileRights::FileAccessEntity who, unsigned int rights);
    /// Bytes that an ordinary user may still write to the file system that holds `path`; 0 on failure.
    static unsigned long long freeSpace(const String& path);

    /// In milliseconds and the current zone; not set (0) on failure. A file system that does not know when a
    /// file was created gives the time of its last change of status.
    static DateTime firstCreated(const String& path);
    static DateTime lastAccessed(const String& path);
    static DateTime lastModified(const String& path);
    /// The system keeps this time for itself and gives no way to set it: true only if it is `time` already.
    static bool setFirstCreated(const String& path, const DateTime& time);
    /// False for a time that is not set, too.
    static bool setLastAccessed(const String& path, const DateTime& time);
    static bool setLastModified(const String& path, const DateTime& time);

    /// Adds the rights or, with `allow` false, takes them away; others stay as they are.
    static bool setPermissions(const String& path, FileRights::FileAccessEntity who, unsigned int rights,
                               bool allow = true);
    /// Sets the permission bits, as of chmod, such as 0640.
    static bool setStatus(const String& path, unsigned int bits);
    /// Makes `link` a symbolic link to `target`, which need not exist. False if `link` exists.
    static bool createLink(const String& target, const String& link);

    /// An empty file. With `overwrite` an old one is emptied, otherwise its presence gives false.
    static bool createFile(const String& path, bool overwrite = false);
    /// Sets the times of access and modification to now; creates a file that is not there.
    static bool touch(const String& path);

    /// Empty on failure, as for a path of 2048 bytes or more.
    static String getCurrentDir();
    static bool setCurrentDir(const String& path);
};

}  // namespace MovrikCorelib
