#include "SystemTools.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <grp.h>
#include <netdb.h>
#include <pwd.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <functional>
#include <limits>
#include <vector>

#include "DateTime.h"
#include "EnvTools.h"
#include "FileTools.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

const std::string Unknown = "[unknown]";
constexpr mode_t DaemonMask = 022;

/// The account database and its cursor belong to one thread at a time.
ThreadLock AccountLock;

utsname machine() {
    utsname info{};
    uname(&info);
    return info;
}

std::string orUnknown(const std::string& text) {
    return text.empty() ? Unknown : text;
}

/// A variable that is defined but empty counts as unset: that is how the system's own programs remove one.
std::string environment(const std::string& name, const std::string& fallback) {
    std::string value;
    return EnvTools::get(name, value) && !value.empty() ? value : fallback;
}

void forEachGroup(const std::function<void(const group&)>& use) {
    ThreadLockHolder held(AccountLock);
    setgrent();
    while (const group* entry = getgrent())
        use(*entry);
    endgrent();
}

std::set<std::string> members(const group& entry) {
    std::set<std::string> names;
    for (char** name = entry.gr_mem; name && *name; ++name)
        names.insert(*name);
    return names;
}

bool isAccountID(long long id) {
    return id >= 0 && id <= std::numeric_limits<uid_t>::max();
}

std::string cachedName(std::map<long long, SystemTools::IDDef>& cache, const TimeSpan& timeout, long long id,
                       std::string (*lookup)(long long)) {
    const unsigned long long now = DateTime::getCurrentTime();
    const auto known = cache.find(id);
    if (known != cache.end() &&
        now <= known->second.time + static_cast<unsigned long long>(timeout.countMilliseconds(true)))
        return known->second.name;
    return (cache[id] = {lookup(id), now}).name;
}

void closeAll() {
#ifdef CLOSE_RANGE_UNSHARE
    if (close_range(0, std::numeric_limits<unsigned int>::max(), 0) == 0)
        return;
#endif
    for (int fd = getdtablesize(); fd >= 0; --fd)
        close(fd);
}

}  // namespace

std::map<SystemTools::DetailCode, std::string> SystemTools::Details;
std::map<long long, SystemTools::IDDef> SystemTools::UserIDMap;
std::map<long long, SystemTools::IDDef> SystemTools::GroupIDMap;
ThreadLock SystemTools::IDMapLock;
TimeSpan SystemTools::IDTimeout(0, 0, 0, 0, 5, 0, 0);

std::string SystemTools::obtain(DetailCode code) {
    if (!Details.contains(code))
        obtainDetails();
    const auto detail = Details.find(code);
    return detail == Details.end() ? std::string() : detail->second;
}

void SystemTools::obtainDetails() {
    obtainSystemInfo();
    obtainOsBits();
    obtainPlatform();
    obtainOsLanguage();
    obtainKeyboardLanguage();
    obtainKeyboardType();
    obtainUser();
    obtainDisplay();
    obtainEndian();
}

void SystemTools::obtainSystemInfo() {
    utsname info = machine();
    Details[Architecture] = info.machine;
    Details[MachineName] = info.nodename;
    obtainOs(info);
    obtainOsVersion(info);
    obtainDomain();
    obtainHostName(info);
    obtainSession(0);
}

void SystemTools::obtainMachineName() {
    std::string name = obtain(HostName);
    const std::string ending = "." + obtain(Domain);
    if (name.size() > ending.size() && StringTools::subCompare(name, name.size() - ending.size(), ending))
        name.resize(name.size() - ending.size());
    Details[MachineName] = name;
}

void SystemTools::obtainPlatform() {
    std::string platform = "linux";
    if (const unsigned int bits = StringTools::toUInt32(obtain(OsBits)); bits != 0)
        platform += "-" + StringTools::toString(bits);
    Details[Platform] = platform;
}

// Programs in the field choose their files by the platform "linux-32", on 64-bit machines too.
void SystemTools::obtainOsBits() {
    Details[OsBits] = "32";
}

void SystemTools::obtainEndian() {
    Details[Endian] = std::endian::native == std::endian::little ? "little" : "big";
}

void SystemTools::obtainOsLanguage() {
    const std::string preset = "en_US.UTF-8";
    const std::string language = environment("LANG", preset);
    Details[OsLanguage] = language == "C" ? preset : language;
}

void SystemTools::obtainKeyboardLanguage() {
    const std::string language = obtain(OsLanguage);
    const std::string country = language.size() > 3 ? language.substr(3, 2) : std::string();
    Details[KeyboardLanguage] = country + ":" + language.substr(0, 2);
}

void SystemTools::obtainKeyboardType() {
    Details[KeyboardType] = "[undef]";
}

void SystemTools::obtainOs(utsname& info) {
    std::string name = info.sysname;
    Details[Os] = orUnknown(StringTools::lower(name));
}

void SystemTools::obtainOsVersion(utsname& info) {
    std::string release = info.release;
    std::string version;
    for (std::string& number : StringTools::splitVector(StringTools::split(release, '-'), '.'))
        version += StringTools::padLeft(number, 2, '0');
    Details[OsVersion] = orUnknown(version);
}

void SystemTools::obtainHostName(utsname& info) {
    std::string name = info.nodename;
    if (!name.empty() && name.find('.') == name.npos) {
        obtainDomain();
        if (Details[Domain] != Unknown)
            name += "." + Details[Domain];
    }
    Details[HostName] = orUnknown(name);
}

void SystemTools::obtainDomain() {
    if (!Details.contains(MachineName))
        Details[MachineName] = machine().nodename;
    std::string domain;
    if (const hostent* host = gethostbyname(Details[MachineName].c_str())) {
        const std::string name = host->h_name;
        if (const size_t dot = name.find('.'); dot != name.npos)
            domain = name.substr(dot + 1);
    }
    Details[Domain] = orUnknown(domain);
}

void SystemTools::obtainUser() {
    Details[User] = lookupUserName(getuid());
}

void SystemTools::obtainSession(int) {
    Details[Session].clear();
}

void SystemTools::obtainDisplay() {
    Details[Display] = environment("DISPLAY", "0.0");
}

std::set<std::string> SystemTools::obtainGroups() {
    std::set<std::string> groups;
    forEachGroup([&](const ::group& entry) { groups.insert(entry.gr_name); });
    return groups;
}

std::set<std::string> SystemTools::obtainGroupUsers(const std::string& group) {
    std::set<std::string> users;
    bool found = false;
    forEachGroup([&](const ::group& entry) {
        if (!found && group == entry.gr_name) {
            users = members(entry);
            found = true;
        }
    });
    return users;
}

std::set<std::string> SystemTools::obtainUserGroups(const std::string& user) {
    std::set<std::string> groups;
    forEachGroup([&](const ::group& entry) {
        if (members(entry).contains(user))
            groups.insert(entry.gr_name);
    });
    return groups;
}

std::vector<std::string> SystemTools::obtainIP() {
    std::vector<std::string> addresses;
    utsname info{};
    if (uname(&info) != 0)
        return addresses;
    const hostent* host = gethostbyname(info.nodename);
    if (!host || host->h_addrtype != AF_INET)
        return addresses;
    for (char** entry = host->h_addr_list; *entry; ++entry) {
        in_addr address{};
        memcpy(&address, *entry, sizeof address);
        addresses.push_back(inet_ntoa(address));
    }
    return addresses;
}

std::string SystemTools::obtainDiskSerial(const std::string&) {
    return Unknown;
}

std::string SystemTools::getUserFromID(long long id) {
    ThreadLockHolder held(IDMapLock);
    return cachedName(UserIDMap, IDTimeout, id, lookupUserName);
}

std::string SystemTools::getGroupFromID(long long id) {
    ThreadLockHolder held(IDMapLock);
    return cachedName(GroupIDMap, IDTimeout, id, lookupGroupName);
}

std::string SystemTools::lookupUserName(long long id) {
    ThreadLockHolder held(AccountLock);
    const passwd* entry = isAccountID(id) ? getpwuid(static_cast<uid_t>(id)) : nullptr;
    return entry ? entry->pw_name : "";
}

std::string SystemTools::lookupGroupName(long long id) {
    ThreadLockHolder held(AccountLock);
    const ::group* entry = isAccountID(id) ? getgrgid(static_cast<gid_t>(id)) : nullptr;
    return entry ? entry->gr_name : "";
}

bool SystemTools::hasTimedOut(const TimeSpan& span, unsigned long long time) {
    return DateTime::getCurrentTime() + static_cast<unsigned long long>(span.countMilliseconds(true)) < time;
}

std::string SystemTools::obtainDir(DirCode code) {
    std::string home = environment("HOME", "");
    if (code == HomeDir || (code >= UserDataDir && code <= UserVideoDir))
        return home;
    if (code >= UserTempDir && code <= UserRecentDir) {
        if (!FileTools::isDir(home))
            return "/tmp";
        const std::string temp = home + "/tmp";
        return FileTools::isDir(temp) ? temp : home;
    }
    switch (code) {
        case RootDir:
        case SharedDataDir:
        case SharedDocumentDir:
            return "/";
        case SystemDir:
            return "/sbin";
        case ProgramDir:
            return "/bin";
        case TempDir:
            return "/tmp";
        default:
            return std::string();
    }
}

bool SystemTools::detachFromParent(int argc, char** argv) {
    // Start scripts shorten the argument; a program that is started with an empty one stays attached as well.
    if (argc > 1 && argv[1] && strstr("--nodetach", argv[1])) {
        umask(DaemonMask);
        return true;
    }
    if (fork() != 0)
        return false;
    setsid();
    closeAll();
    int fd = open("/dev/null", O_RDWR);
    while (fd >= 0 && fd < STDERR_FILENO)
        fd = dup(fd);
    umask(DaemonMask);
    return true;
}

void SystemTools::openURL(const std::string&) {}

}  // namespace MovrikCorelib
