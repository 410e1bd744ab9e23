#include "ConfNode.h"

#include <algorithm>
#include <new>
#include <utility>

#include "DateTime.h"
#include "DateTimeDetails.h"
#include "FileTools.h"
#include "ObjectStream.h"
#include "StreamBase.h"
#include "StringObjectStream.h"
#include "StringTools.h"
#include "TimeSpan.h"
#include "TimeZone.h"

namespace MovrikCorelib {

namespace {

template <class... Arguments>
SmartPointer<ConfNode> make(const Arguments&... arguments) {
    try {
        return SmartPointer<ConfNode>(new ConfNode(arguments...));
    } catch (const std::bad_alloc&) {
        throwFailure<ConfNode::Factory_OutOfMemory>("@out-of-memory{Out of memory};");
    }
}

/// Cuts the first step off a path. Nothing is left behind the last one, whether or not it ends in ".".
std::string cutStep(std::string_view& path) {
    const std::size_t end = path.find('.');
    std::string step(path.substr(0, end));
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
    return step;
}

/// Reads a count and so many parts; false if the stream ends before them.
template <class Part>
bool readEach(StreamBase& stream, const Part& readPart) {
    unsigned int count = 0;
    if (!stream.pull(count))
        return false;
    for (; count > 0; --count)
        if (!readPart())
            return false;
    return true;
}

std::string wrongType(std::string_view intro, std::string_view word, std::string_view link,
                      const ConfNode& node) {
    std::string text(intro);
    text.append(word).append(link).append(node.getPath());
    return text.append(" but this node is of type ").append(mapConfType(node.type)).append("};");
}

}  // namespace

SmartPointer<ConfNode> ConfNode::newNode(const std::string& name, int type) {
    return make(name, type);
}

SmartPointer<ConfNode> ConfNode::newCopy(const ConfNode& other) {
    return make(other);
}

std::string ConfNode::getPath() const {
    std::string path = name;
    for (const ConfNode* node = parent; node; node = node->parent)
        path.insert(0, node->name + ".");
    return path;
}

std::string ConfNode::getAttribute(const std::string& attribute) const {
    const auto found = attributes.find(attribute);
    if (found == attributes.end())
        throwFailure<GetAttribute_NotFound>();
    return found->second;
}

const std::string& ConfNode::valueAs(int wanted, std::string_view word) const {
    if (type != wanted)
        throwFailure<Get_WrongType>(
            wrongType("@conf-node.get.wrong-type{Trying to get ", word, " value from node ", *this));
    return value;
}

void ConfNode::requireSet(int wanted, std::string_view word, std::string_view link) const {
    if (type != wanted)
        throwFailure<Set_WrongType>(wrongType("@conf-node.set.wrong-type{Trying to set ", word, link, *this));
}

bool ConfNode::getBool() const {
    const std::string& text = valueAs(ConfTypeBool, "bool");
    return text == "true" || text == "yes" || text == "on" || text == "active" || text == "ok";
}

long long ConfNode::getInt() const {
    return StringTools::toInt64(valueAs(ConfTypeInt, "int"));
}

unsigned long long ConfNode::getUInt() const {
    return StringTools::toUInt64(valueAs(ConfTypeUInt, "uint"));
}

double ConfNode::getDouble() const {
    return StringTools::toDouble(valueAs(ConfTypeFloat, "float"));
}

DateTime ConfNode::getDateTime() const {
    return DateTimeDetails(valueAs(ConfTypeDateTime, "datetime")).getDateTime();
}

DateTimeDetails ConfNode::getTimeOfDay() const {
    return DateTimeDetails(
        DateTimeDetails("2000-01-01T" + valueAs(ConfTypeTimeOfDay, "time-of-day")).getDateTime());
}

TimeZone ConfNode::getTimeZone() const {
    return TimeZone(valueAs(ConfTypeTimeZone, "timezone"));
}

TimeSpan ConfNode::getTimeSpan() const {
    return TimeSpan(valueAs(ConfTypeTimeSpan, "timespan"));
}

std::string ConfNode::getDir() const {
    std::string dir = valueAs(ConfTypeDir, "dir");
    FileTools::correctSeparation(dir);
    FileTools::trimDir(dir);
    return dir;
}

std::string ConfNode::getFile() const {
    std::string file = valueAs(ConfTypeFile, "file");
    FileTools::correctSeparation(file);
    return file;
}

std::string ConfNode::getAsString() const {
    switch (type) {
        case ConfTypeBool:
            return getBool() ? "true" : "false";
        case ConfTypeInt:
            return StringTools::toString(getInt());
        case ConfTypeUInt:
            return StringTools::toString(getUInt());
        case ConfTypeFloat:
            return StringTools::toString(getDouble());
        case ConfTypeString:
            return getString();
        case ConfTypeDateTime:
            return getDateTime().getLocalString(true, false, false);
        case ConfTypeTimeOfDay: {
            constexpr std::size_t DateSize = 11;  // "2000-01-01T"
            const std::string text = getTimeOfDay().getString(false, false, false);
            return text.size() > DateSize ? text.substr(DateSize, 8) : std::string();
        }
        case ConfTypeTimeZone:
            return getTimeZone().getString();
        case ConfTypeTimeSpan:
            return static_cast<std::string>(getTimeSpan());
        case ConfTypeDir:
            return getDir();
        case ConfTypeFile:
            return getFile();
        case ConfTypeList:
            return StringTools::join(elements, separator);
        default:
            return std::string();
    }
}

ConfNode* ConfNode::getParent() const {
    if (!parent)
        throwFailure<GetParent_NoParent>();
    return parent;
}

SmartPointer<ConfNode> ConfNode::getChild(const std::string& child) const {
    SmartPointer<ConfNode> found = findChild(child);
    if (!found)
        throwFailure<GetChild_NotFound>();
    return found;
}

void ConfNode::set(long long number) {
    store(ConfTypeInt, "int", StringTools::toString(number));
}

void ConfNode::set(unsigned long long number) {
    store(ConfTypeUInt, "uint", StringTools::toString(number));
}

void ConfNode::set(double number) {
    store(ConfTypeFloat, "float", StringTools::toString(number));
}

void ConfNode::set(const DateTime& dateTime) {
    store(ConfTypeDateTime, "datetime", DateTimeDetails(dateTime).getString(true, false, false));
}

void ConfNode::set(const DateTimeDetails& timeOfDay) {
    std::string text = timeOfDay.getString(true, false, false);
    StringTools::split(text, 'T');
    store(ConfTypeTimeOfDay, "time-of-day", text);
}

void ConfNode::set(const TimeZone& timeZone) {
    store(ConfTypeTimeZone, "timezone", timeZone.getString());
}

void ConfNode::set(const TimeSpan& timeSpan) {
    store(ConfTypeTimeSpan, "timespan", static_cast<std::string>(timeSpan));
}

void ConfNode::setList(const std::string& text, char listSeparator) {
    std::list<std::string> items;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(listSeparator, start)) != std::string::npos; start = end + 1)
        items.push_back(text.substr(start, end - start));
    if (start < text.size())
        items.push_back(text.substr(start));
    setList(items, listSeparator);
}

void ConfNode::setList(const std::list<std::string>& items, char listSeparator) {
    requireSet(ConfTypeList, "list");
    elements = items;
    separator = listSeparator;
}

void ConfNode::addListElement(const std::string& element) {
    requireSet(ConfTypeList, "add list value element", " in node ");
    elements.push_back(element);
}

void ConfNode::copy(const ConfNode& other) {
    name = other.name;
    type = other.type;
    attributes = other.attributes;
    value = other.value;
    elements = other.elements;
    separator = other.separator;
    for (const std::string& child : other.childOrder)
        addChild(newCopy(*other.getChild(child)));
}

bool ConfNode::merge(const ConfNode& other) {
    if (name != other.name)
        return false;
    type = other.type;
    value = other.value;
    // The list of a node stays: settings added to a list at run time survive a reload.
    for (const auto& [attribute, text] : other.attributes)
        attributes[attribute] = text;
    for (const std::string& child : other.childOrder) {
        const SmartPointer<ConfNode> added = other.getChild(child);
        if (const SmartPointer<ConfNode> present = findChild(child))
            present->merge(*added);
        else
            addChild(newCopy(*added));
    }
    return true;
}

void ConfNode::rename(const std::string& newName) {
    if (!parent) {
        name = newName;
        return;
    }
    if (parent->children.contains(newName))
        throwFailure<Rename_NewNameAlreadyExists>(
            "@conf-node.rename.new-name-already-exists{Cannot rename \"" + getPath() + "\" to \"" + newName +
            "\" because a sibling node already has that name};");
    ConfNode* holder = parent;
    const SmartPointer<ConfNode> self = holder->getChild(name);
    holder->removeChild(name);
    name = newName;
    holder->addChild(self);
}

void ConfNode::addChild(SmartPointer<ConfNode> child) {
    if (!children.try_emplace(child->name, child).second)
        throwFailure<AddChild_NameAlreadyInUse>(
            "@conf-node.add-child.name-already-in-use{Cannot add child node \"" + child->name + "\" to \"" +
            getPath() + "\" because another child with that name already exists};");
    childOrder.push_back(child->name);
    child->parent = this;
}

void ConfNode::removeChild(std::string child) {
    const auto found = children.find(child);
    if (found == children.end())
        throwFailure<RemoveChild_NotFound>("@conf-node.remove-child.not-found{Cannot remove child node \"" +
                                           child + "\" from \"" + getPath() +
                                           "\" because no such child exists};");
    found->second->parent = nullptr;
    children.erase(found);
    const auto ordered = std::find(childOrder.begin(), childOrder.end(), child);
    if (ordered != childOrder.end())
        childOrder.erase(ordered);
}

void ConfNode::clearChildren() {
    // A child that is held elsewhere goes on as a tree of its own.
    for (const auto& entry : children)
        entry.second->parent = nullptr;
    children.clear();
    childOrder.clear();
}

SmartPointer<ConfNode> ConfNode::ensure(std::string_view path, int lastType, bool replace) {
    if (std::count(path.begin(), path.end(), '.') >= MaxDepth)
        return {};
    ConfNode* node = this;
    for (;;) {
        const std::string step = cutStep(path);
        if (step.empty())
            return {};
        SmartPointer<ConfNode> child = node->findChild(step);
        if (child && replace && path.empty() && child->type != lastType) {
            node->removeChild(step);
            child.clear();
        }
        if (!child) {
            child = newNode(step, path.empty() ? lastType : ConfTypeNone);
            node->addChild(child);
        }
        if (path.empty())
            return child;
        node = child.get();
    }
}

SmartPointer<ConfNode> ConfNode::ensureNodes(std::string path, int lastType) {
    try {
        return ensure(path, lastType, true);
    } catch (const Factory_OutOfMemory&) {
        return {};
    }
}

SmartPointer<ConfNode> ConfNode::ensureNodePath(std::string path, int lastType) {
    try {
        return ensure(path, lastType, false);
    } catch (const Factory_OutOfMemory&) {
        throwFailure<EnsureNodePath_OutOfMemory>("@out-of-memory{Out of memory};");
    }
}

SmartPointer<ConfNode> ConfNode::findChild(const std::string& child) const {
    const auto found = children.find(child);
    return found == children.end() ? SmartPointer<ConfNode>() : found->second;
}

SmartPointer<ConfNode> ConfNode::find(std::string path) const {
    std::string_view rest = path;
    const ConfNode* node = this;
    for (;;) {
        SmartPointer<ConfNode> child = node->findStep(cutStep(rest));
        if (!child || rest.empty())
            return child;
        node = child.get();
    }
}

SmartPointer<ConfNode> ConfNode::findClosest(const SmartPointer<ConfNode>& self, std::string path) const {
    SmartPointer<ConfNode> closest = self;
    std::string_view rest = path;
    while (SmartPointer<ConfNode> next = closest->findStep(cutStep(rest)))
        closest = next;
    return closest;
}

std::string ConfNode::format() const {
    StringObjectStream stream;
    toStream(stream);
    stream.endObject();
    return stream.getStream();
}

void ConfNode::toStream(ObjectStream& stream) const {
    using Element = PrimitiveStream::ElementDef;
    stream.startObject(ObjectStream::Key(name));
    if (!value.empty()) {
        stream.setAttribute(ObjectStream::Key("type"), Element(type));
        stream.setAttribute(ObjectStream::Key("value"), Element(value));
    }
    for (const auto& [attribute, text] : attributes)
        stream.setAttribute(ObjectStream::Key(attribute), Element(text));
    for (const std::string& child : childOrder)
        getChild(child)->toStream(stream);
    stream.endObject();
}

StreamBase& ConfNode::toStream(StreamBase& stream) const {
    stream << name << type << value;
    if (type == ConfTypeList) {
        stream << separator << static_cast<unsigned int>(elements.size());
        for (const std::string& element : elements)
            stream << element;
    }
    stream << static_cast<unsigned int>(attributes.size());
    for (const auto& [attribute, text] : attributes)
        stream << attribute << text;
    stream << static_cast<unsigned int>(children.size());
    for (const std::string& child : childOrder)
        if (const SmartPointer<ConfNode> node = findChild(child))
            node->toStream(stream);
    return stream;
}

bool ConfNode::read(StreamBase& stream, unsigned int depth) {
    elements.clear();
    attributes.clear();
    clearChildren();
    std::string key;
    std::string text;
    const auto readElement = [&] {
        const bool whole = stream.pull(text);
        if (whole)
            elements.push_back(text);
        return whole;
    };
    const auto readAttribute = [&] {
        const bool whole = stream.pull(key) && stream.pull(text);
        if (whole)
            attributes[key] = text;
        return whole;
    };
    const auto readChild = [&] {
        if (depth >= MaxDepth)
            return false;
        const SmartPointer<ConfNode> child = newBranchNode("");
        const bool whole = child->read(stream, depth + 1);
        if (whole || !child->name.empty())
            addChild(child);
        return whole;
    };
    return stream.pull(name) && stream.pull(type) && stream.pull(value) &&
           (type != ConfTypeList || (stream.pull(separator) && readEach(stream, readElement))) &&
           readEach(stream, readAttribute) && readEach(stream, readChild);
}

}  // namespace MovrikCorelib
