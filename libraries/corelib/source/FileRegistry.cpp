#include "FileRegistry.h"

#include <string_view>
#include <vector>

#include "FileObjectStream.h"
#include "FileTools.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

constexpr char Separator = '\\';
const std::string RootName = "root";
const std::string TypeAttribute = "type";
const std::string ValueAttribute = "value";

bool isType(int type) {
    return type >= FileRegistry::Int && type <= FileRegistry::List;
}

bool isName(const std::string& component) {
    std::string trimmed = component;
    StringTools::trimRight(StringTools::trimLeft(trimmed, true), true);
    return !component.empty() && trimmed == component && component != "}" && component.front() != '#' &&
           component.find_first_of(std::string_view("=\n\r\0", 4)) == component.npos;
}

/// Whether the file can give the key back.
bool isStorable(const std::string& key) {
    const std::vector<std::string> components = StringTools::splitVector(key, Separator);
    if (components.empty() || components.size() > FileRegistry::MaxDepth)
        return false;
    for (const std::string& component : components)
        if (!isName(component))
            return false;
    return true;
}

/// Cuts the last component off a key and returns it; what remains is the path of its parent.
std::string cutName(std::string& key) {
    const size_t at = key.rfind(Separator);
    std::string name = at == key.npos ? key : key.substr(at + 1);
    key.erase(at == key.npos ? 0 : at);
    return name;
}

void readNode(FileRegistry::NodeDef& node, const std::string& name, ObjectStream& stream, unsigned long depth,
              int (*mapType)(const std::string&)) {
    if (depth > FileRegistry::MaxDepth)
        throwFailure<FileRegistry::NodeDef::FromStream_NestedTooDeep>(
            "@file-registry.from-stream.nested-too-deep{Registry node \"%\" is nested too deep};",
            ParamStream() << name);
    stream.enterObject(name);
    node.name = name;
    std::string type;
    stream.getAttribute(TypeAttribute, type, std::string());
    node.type = mapType(type);
    stream.getAttribute(ValueAttribute, node.value, std::string());
    for (const ObjectStream::Key& child : stream.getObjects()) {
        const std::string childName = child.narrow();
        readNode(node.children[childName], childName, stream, depth + 1, mapType);
    }
    stream.leaveObject();
}

template <class Number>
int getNumber(const std::string& key, int type, Number& value, Number (*convert)(std::string_view)) {
    std::string text;
    const int status = FileRegistry::getRaw(key, type, text);
    if (status == FileRegistry::Done)
        value = convert(text);
    return status;
}

}  // namespace

std::string FileRegistry::FName = "/var/opt/movrik/etc/movrik.freg";
ThreadLock FileRegistry::FnameLock;
std::unique_ptr<ProcessTools::Lock> FileRegistry::FLock;

/// Holds the registry for one operation, from the reading to the writing. It is held also while there is no
/// file yet, so that two first writers do not lose each other's keys, and let go whatever comes of it.
class FileRegistry::Access {
public:
    Access() : held(lock()) {}
    ~Access() {
        if (held)
            unlock();
    }
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;

    explicit operator bool() const { return held; }

private:
    bool held;
};

void FileRegistry::NodeDef::toStream(ObjectStream& stream) const {
    stream.startObject(name);
    stream.setAttribute(TypeAttribute, mapType(type));
    stream.setAttribute(ValueAttribute, value);
    for (const auto& [childName, child] : children)
        child.toStream(stream);
    stream.endObject();
}

void FileRegistry::NodeDef::fromStream(const std::string& objectName, ObjectStream& stream) {
    readNode(*this, objectName, stream, 0, mapType);
}

void FileRegistry::setFName(const std::string& name) {
    ThreadLockHolder held(FnameLock);
    FLock.reset();
    FName = name;
    FileTools::processPath(FName);
}

bool FileRegistry::lock() {
    FnameLock.lock(true);
    if (!FLock)
        FLock = std::make_unique<ProcessTools::Lock>(FName);
    if (FLock->lock(true))
        return true;
    FnameLock.unlock();
    return false;
}

void FileRegistry::unlock() {
    if (!FLock)
        return;
    FLock->unlock();
    FnameLock.unlock();
}

/// Both are called with the registry held. A file that cannot be read is never taken for an empty one.
bool FileRegistry::load(NodeDef& node) {
    node = NodeDef();
    node.name = RootName;
    if (!FileTools::exists(FName) || FileTools::size(FName) == 0)
        return true;
    try {
        FileObjectStream stream;
        stream.openIn(FName);
        node.fromStream(RootName, stream);
        stream.close();
        return true;
    } catch (const Exception&) {
        return false;
    }
}

bool FileRegistry::save(NodeDef& node) {
    // Programs that may not write below "/var" rely on a write without a directory to count as done.
    if (!FileTools::ensurePath(FName))
        return true;
    try {
        FileObjectStream stream;
        stream.openOut(FName);
        node.toStream(stream);
        stream.endObject();
        stream.close();
        return true;
    } catch (const Exception&) {
        return false;
    }
}

FileRegistry::NodeDef* FileRegistry::findNode(NodeDef& node, const std::string& key) {
    NodeDef* found = &node;
    std::string rest = key;
    while (found && !rest.empty()) {
        const bool isLast = rest.find(Separator) == rest.npos;
        const auto child = found->children.find(StringTools::split(rest, Separator));
        found = child == found->children.end() ? nullptr : &child->second;
        if (isLast)
            rest.clear();
    }
    return found;
}

int FileRegistry::setNode(NodeDef& root, const std::string& path, NodeDef& node) {
    NodeDef* parent = &root;
    for (const std::string& component : StringTools::splitVector(path, Separator)) {
        parent = &parent->children[component];
        parent->name = component;
    }
    parent->children[node.name] = node;
    return Done;
}

int FileRegistry::setRaw(std::string key, int type, const std::string& value) {
    if (!isType(type) || !isStorable(key))
        return BadArguments;
    const Access access;
    NodeDef root;
    if (!access || !load(root))
        return NoAccess;
    NodeDef node;
    node.name = cutName(key);
    node.type = type;
    node.value = value;
    if (const int status = setNode(root, key, node); status != Done)
        return status;
    return save(root) ? Done : NoAccess;
}

int FileRegistry::getRaw(const std::string& key, int type, std::string& value) {
    if (!isType(type) || key.empty())
        return BadArguments;
    const Access access;
    NodeDef root;
    if (!access || !load(root))
        return NoAccess;
    const NodeDef* node = findNode(root, key);
    if (!node)
        return NoSuchKey;
    if (node->type != type)
        return WrongType;
    value = node->value;
    return Done;
}

int FileRegistry::getSubKeys(const std::string& key, std::set<std::string>& keys) {
    if (key.empty())
        return BadArguments;
    const Access access;
    NodeDef root;
    if (!access || !load(root))
        return NoAccess;
    const NodeDef* node = findNode(root, key);
    if (!node)
        return NoSuchKey;
    keys.clear();
    for (const auto& [name, child] : node->children)
        keys.insert(name);
    return Done;
}

int FileRegistry::removeKey(std::string key) {
    if (key.empty())
        return BadArguments;
    const Access access;
    NodeDef root;
    if (!access || !load(root))
        return NoAccess;
    const std::string name = cutName(key);
    NodeDef* parent = findNode(root, key);
    if (!parent || parent->children.erase(name) == 0)
        return NoSuchKey;
    return save(root) ? Done : NoAccess;
}

int FileRegistry::get(const std::string& key, int& value) {
    return getNumber(key, Int, value, StringTools::toInt32);
}

int FileRegistry::get(const std::string& key, unsigned int& value) {
    return getNumber(key, UInt, value, StringTools::toUInt32);
}

int FileRegistry::get(const std::string& key, long long& value) {
    return getNumber(key, Int, value, StringTools::toInt64);
}

int FileRegistry::get(const std::string& key, unsigned long long& value) {
    return getNumber(key, UInt, value, StringTools::toUInt64);
}

int FileRegistry::get(const std::string& key, double& value) {
    return getNumber(key, Double, value, StringTools::toDouble);
}

int FileRegistry::get(const std::string& key, std::list<std::string>& value) {
    std::string text;
    const int status = getRaw(key, List, text);
    if (status != Done)
        return status;
    value.clear();
    std::string element;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\0') {
            element += text[i];
            continue;
        }
        if (i > 0 && text[i - 1] == '\0')
            break;
        value.push_back(element);
        element.clear();
    }
    return Done;
}

int FileRegistry::set(const std::string& key, const std::list<std::string>& value) {
    std::string text;
    for (const std::string& element : value)
        text.append(element).push_back('\0');
    text.push_back('\0');
    return setRaw(key, List, text);
}

std::string FileRegistry::mapType(int type) {
    constexpr const char* names[] = {"int", "uint", "dbl", "str", "lst"};
    return isType(type) ? names[type] : "[undef]";
}

int FileRegistry::mapType(const std::string& type) {
    for (int number = Int; number <= List; ++number)
        if (mapType(number) == type)
            return number;
    return Undefined;
}

}  // namespace MovrikCorelib
