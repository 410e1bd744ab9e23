#include "FileTools.h"

#include <mntent.h>
#include <stdio.h>

#include <array>
#include <memory>

namespace MovrikCorelib {

const std::string& FileTools::dirSepStr() {
    static const std::string separator(1, dirSep());
    return separator;
}

const std::wstring& FileTools::dirSepStrW() {
    static const std::wstring separator(1, dirSepW());
    return separator;
}

const std::string& FileTools::fileDelimiter() {
    static const std::string delimiter(1, '\x1C');
    return delimiter;
}

const std::wstring& FileTools::fileDelimiterW() {
    static const std::wstring delimiter(1, L'\x1C');
    return delimiter;
}

bool FileTools::getFileSystems(std::list<FileSystem>& systems) {
    const std::unique_ptr<FILE, int (*)(FILE*)> table(setmntent("/proc/self/mounts", "r"), endmntent);
    if (!table)
        return false;
    std::array<char, 16384> buffer;
    for (mntent entry; getmntent_r(table.get(), &entry, buffer.data(), static_cast<int>(buffer.size()));)
        systems.push_back({entry.mnt_fsname, entry.mnt_dir, entry.mnt_type, entry.mnt_opts});
    return true;
}

}  // namespace MovrikCorelib
