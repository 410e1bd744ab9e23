#pragma once

#include <sys/utsname.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "ThreadLock.h"
#include "TimeSpan.h"

namespace MovrikCorelib {

/// Facts about the machine and the user, as read from the operating system. Nothing here throws. A fact that
/// cannot be found is "[unknown]", or empty where the operation says so.
class SystemTools {
public:
    enum DetailCode : int {
        HostName = 0,          ///< with the domain if that is known
        MachineName = 1,       ///< the node name
        Platform = 2,          ///< "linux-32"
        Os = 3,                ///< "linux"
        OsVersion = 4,         ///< two digits for each number of the kernel's release, as "060100"
        OsLanguage = 5,        ///< "LANG", or "en_US.UTF-8" if that is unset, empty or "C"
        KeyboardLanguage = 6,  ///< country and language of the above, as "US:en"
        KeyboardType = 7,      ///< "[undef]"
        Architecture = 8,
        Domain = 9,
        User = 10,     ///< empty if the user's id has no name
        Session = 11,  ///< empty
        Display = 12,  ///< "DISPLAY", or "0.0" if that is unset or empty
        OsBits = 13,   ///< "32" on every machine
        Endian = 14,   ///< "little" or "big"
    };

    /// Directories that programs ask for; on this platform many of them are the same.
    enum DirCode : int {
        HomeDir = 0,
        UserTempDir,
        UserCacheDir,
        UserInternetDir,
        UserCookieDir,
        UserHistoryDir,
        UserRecentDir,
        UserDataDir,
        UserDocumentDir,
        UserDesktopDir,
        UserPictureDir,
        UserMusicDir,
        UserVideoDir,
        RootDir,
        SharedDataDir,
        SharedDocumentDir,
        SystemDir,
        ProgramDir,
        TempDir = 18,
    };

    struct IDDef {
        std::string name;
        unsigned long long time = 0;  ///< when it was looked up, milliseconds as `DateTime` counts them
    };

    /// One detail; empty for a code that is none. The first call finds out all of them, for the life of the
    /// process, and must not race with another first call. It may wait for the name service.
    static std::string obtain(DetailCode code);

    /// Find out all details, or the one named, anew, and keep them for `obtain`.
    static void obtainDetails();
    static void obtainMachineName();
    static void obtainPlatform();
    static void obtainOsBits();
    static void obtainEndian();
    static void obtainOsLanguage();
    static void obtainKeyboardLanguage();
    static void obtainKeyboardType();
    static void obtainSystemInfo();
    static void obtainOs(utsname& info);
    static void obtainOsVersion(utsname& info);
    static void obtainHostName(utsname& info);
    static void obtainDomain();
    static void obtainUser();
    static void obtainSession(int number);
    static void obtainDisplay();

    /// All groups; the users that the group database lists as members of a group; the groups that list a
    /// user. A user's primary group counts only if it lists the user.
    static std::set<std::string> obtainGroups();
    static std::set<std::string> obtainGroupUsers(const std::string& group);
    static std::set<std::string> obtainUserGroups(const std::string& user);

    /// The addresses that the machine's node name resolves to, in dotted form; empty if it does not.
    static std::vector<std::string> obtainIP();

    /// "[unknown]" for every device.
    static std::string obtainDiskSerial(const std::string& device);

    /// The name of an id, empty if it has none. The first two keep answers for `IDTimeout` and may be called
    /// from any thread.
    static std::string getUserFromID(long long id);
    static std::string getGroupFromID(long long id);
    static std::string lookupUserName(long long id);
    static std::string lookupGroupName(long long id);

    /// True if now plus `span` lies before `time`, in milliseconds as `DateTime` counts them.
    static bool hasTimedOut(const TimeSpan& span, unsigned long long time);

    /// Without a separator at the end, empty for a code that is none. `HomeDir` and the user's document kinds
    /// are "HOME", empty if that is unset. The user's temporary kinds are "HOME"/tmp, or "HOME", or "/tmp",
    /// whichever is the first directory.
    static std::string obtainDir(DirCode code);

    /// Makes the program a daemon: a process of its own session, with descriptors 0 to 2 on "/dev/null", all
    /// others closed, and a file creation mask of 022. True in the daemon; false in the caller, which is to
    /// end, also if there could be no child. With an argument that is part of "--nodetach" the process
    /// stays as it is, but for the mask, and gets true.
    static bool detachFromParent(int argc, char** argv);

    /// Does nothing on this platform.
    static void openURL(const std::string& url);

private:
    static std::map<DetailCode, std::string> Details;
    static std::map<long long, IDDef> UserIDMap;
    static std::map<long long, IDDef> GroupIDMap;
    static ThreadLock IDMapLock;
    static TimeSpan IDTimeout;
};

}  // namespace MovrikCorelib
