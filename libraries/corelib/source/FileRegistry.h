#pragma once

#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "Exception.h"
#include "ProcessTools.h"
#include "ThreadLock.h"

namespace MovrikCorelib {

class ObjectStream;

/// A key-value store in one file, shared by all programs of a machine. Nothing is cached: a call reads the
/// whole file, a write replaces it as one step, and both hold a lock against other threads and processes.
///
/// A key is a path of components joined by a backslash, such as "Resources\ConfigurationDir". A key to be
/// stored has at most `MaxDepth` components; none of them is empty, is "}", begins with "#", begins or ends
/// with white space, or holds "=", NUL, a line feed or a carriage return: the file could not give it back.
///
/// All operations return a `Status` and leave their result alone unless it is 0. They may be called from any
/// thread. Nothing is thrown.
class FileRegistry {
public:
    enum Status {
        Done = 0,
        NoAccess = 1,      ///< the file could not be locked, read or written, or its text does not parse
        BadArguments = 2,  ///< an empty key, a type that is none, a key that cannot be stored
        NoSuchKey = 3,
        WrongType = 4,
    };

    enum ValueType { Int = 0, UInt = 1, Double = 2, String = 3, List = 4, Undefined = 5 };

    static constexpr unsigned long MaxDepth = 100;

    /// A node of the registry; one that was made on the way to another has no type and no value.
    struct NodeDef {
        std::string name;
        int type = Undefined;
        std::string value;
        std::map<std::string, NodeDef> children;

        MOVRIK_FAILURE(FromStream_NestedTooDeep);

        void toStream(ObjectStream& stream) const;

        /// Fills an empty node from the object `objectName` of the object that is entered; a missing
        /// attribute leaves its default. Throws what the stream throws, or `FromStream_NestedTooDeep`.
        void fromStream(const std::string& objectName, ObjectStream& stream);
    };

    /// The registry file from now on, "/var/opt/movrik/etc/movrik.freg" at first. "%NAME%" and "$NAME/" in it
    /// are replaced from the environment.
    static void setFName(const std::string& name);

    /// `type` is a `ValueType` other than `Undefined`; the value is text, decimal for the numbers. A write
    /// drops the sub-keys that the key had, and makes the keys above it. It is `Done` also if the directory
    /// of the file cannot be made, and nothing is written then.
    static int setRaw(std::string key, int type, const std::string& value);
    static int getRaw(const std::string& key, int type, std::string& value);

    /// The signed forms read "int" values, the unsigned ones "uint"; a narrow form gets the low bits.
    static int get(const std::string& key, int& value);
    static int get(const std::string& key, unsigned int& value);
    static int get(const std::string& key, long long& value);
    static int get(const std::string& key, unsigned long long& value);
    static int get(const std::string& key, double& value);

    /// Elements are stored with a NUL behind each and one more at the end. So an empty element ends the list
    /// unless it is the first, and an empty list is read back as one empty element.
    static int get(const std::string& key, std::list<std::string>& value);
    static int set(const std::string& key, const std::list<std::string>& value);

    static int getSubKeys(const std::string& key, std::set<std::string>& keys);

    /// Removes the key and all below it.
    static int removeKey(std::string key);

private:
    class Access;

    static bool lock();
    static void unlock();
    static bool load(NodeDef& node);
    static bool save(NodeDef& node);
    static NodeDef* findNode(NodeDef& node, const std::string& key);
    static int setNode(NodeDef& root, const std::string& path, NodeDef& node);
    static std::string mapType(int type);
    static int mapType(const std::string& type);

    static std::string FName;
    static ThreadLock FnameLock;
    static std::unique_ptr<ProcessTools::Lock> FLock;
};

}  // namespace MovrikCorelib
