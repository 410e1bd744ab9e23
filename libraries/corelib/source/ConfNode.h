#pragma once

#include <list>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "ConfTypes.h"
#include "Exception.h"
#include "SmartPointer.h"

namespace MovrikCorelib {

class DateTime;
class DateTimeDetails;
class ObjectStream;
class StreamBase;
class TimeSpan;
class TimeZone;

/// One node of the configuration tree: a name, a type, a value kept as text, attributes and ordered children.
/// Typed access converts on each call and is refused unless the node bears exactly that type. Nodes are held
/// through `SmartPointer`; a tree belongs to one thread at a time.
///
/// A path is node names joined by ".", relative to the node that is asked.
class ConfNode {
public:
    /// No tree that is read from a file or a stream, or made along a path, goes deeper than this.
    static constexpr unsigned int MaxDepth = 1000;

    MOVRIK_FAILURE(Factory_OutOfMemory);
    MOVRIK_FAILURE(GetAttribute_NotFound);
    MOVRIK_FAILURE(Get_WrongType);
    MOVRIK_FAILURE(GetParent_NoParent);
    MOVRIK_FAILURE(GetChild_NotFound);
    MOVRIK_FAILURE(Rename_NewNameAlreadyExists);
    MOVRIK_FAILURE(Set_WrongType);
    MOVRIK_FAILURE(AddChild_NameAlreadyInUse);
    MOVRIK_FAILURE(RemoveChild_NotFound);
    MOVRIK_FAILURE(EnsureNodePath_OutOfMemory);

    ConfNode() = default;
    explicit ConfNode(const std::string& nodeName) : name(nodeName) {}
    ConfNode(const std::string& nodeName, int nodeType) : name(nodeName), type(nodeType) {}
    /// A detached deep copy.
    ConfNode(const ConfNode& other) { copy(other); }
    ConfNode& operator=(const ConfNode&) = delete;
    virtual ~ConfNode() { clearChildren(); }

    /// Factories; `Factory_OutOfMemory` if there is no memory. A root is a branch named "root".
    static SmartPointer<ConfNode> newRoot() { return newBranchNode("root"); }
    static SmartPointer<ConfNode> newBranchNode(const std::string& name) {
        return newNode(name, ConfTypeNone);
    }
    static SmartPointer<ConfNode> newNode(const std::string& name, int type);
    static SmartPointer<ConfNode> newCopy(const ConfNode& other);

    /// Names from the topmost node down, so that of a node in a whole tree begins with "root".
    std::string getPath() const;
    /// `GetAttribute_NotFound` if there is none.
    std::string getAttribute(const std::string& attribute) const;

    /// Typed reading; `Get_WrongType` unless the node bears the type. A malformed value gives what the
    /// converter of its type makes of it.
    bool getBool() const;  ///< true for "true", "yes", "on", "active" and "ok" alone
    long long getInt() const;
    unsigned long long getUInt() const;
    double getDouble() const;
    /// As written, references and all.
    std::string getString() const { return valueAs(ConfTypeString, "string"); }
    DateTime getDateTime() const;
    DateTimeDetails getTimeOfDay() const;  ///< on the fixed date 2000-01-01
    TimeZone getTimeZone() const;
    TimeSpan getTimeSpan() const;
    std::string getDir() const;   ///< "/" as the only separator, none at the end
    std::string getFile() const;  ///< "/" as the only separator
    const std::list<std::string>& getList() const {
        valueAs(ConfTypeList, "list");
        return elements;
    }
    /// Text form of any node, empty for a branch.
    std::string getAsString() const;

    /// `GetParent_NoParent` on a node without one.
    ConfNode* getParent() const;
    /// Sorted; `childOrder` has the order of insertion.
    std::set<std::string> getChildren() const { return {childOrder.begin(), childOrder.end()}; }
    /// `GetChild_NotFound` if there is none.
    SmartPointer<ConfNode> getChild(const std::string& child) const;

    /// Typed writing; `Set_WrongType` unless the node bears the type, which no setter changes.
    void set(bool flag) { store(ConfTypeBool, "bool", flag ? "true" : "false"); }
    void set(long long number);
    void set(unsigned long long number);
    void set(double number);
    /// Fails with "int" for its type: readers of logs know that text.
    void set(const std::string& text) { store(ConfTypeString, "int", text); }
    /// Keeps a literal from being taken for a bool.
    void set(const char* text) { set(std::string(text)); }
    void set(const DateTime& dateTime);
    void set(const DateTimeDetails& timeOfDay);  ///< stores the time alone
    void set(const TimeZone& timeZone);
    void set(const TimeSpan& timeSpan);
    void setDir(const std::string& dir) { store(ConfTypeDir, "dir", dir); }
    void setFile(const std::string& file) { store(ConfTypeFile, "file", file); }
    /// Cuts `text` at each separator. Empty pieces count, but not one behind the last separator.
    void setList(const std::string& text, char listSeparator);
    void setList(const std::list<std::string>& items, char listSeparator);
    void addListElement(const std::string& element);
    void setAttribute(const std::string& attribute, const std::string& text) { attributes[attribute] = text; }

    /// Takes over all fields of `other` but its parent, and adds deep copies of its children. Children that
    /// are there stay, and one of the same name ends the copy with `AddChild_NameAlreadyInUse`.
    void copy(const ConfNode& other);
    /// Joins `other` into this node. False, and nothing changed, if the names differ. Values, types and
    /// attributes of `other` win; nodes and attributes that only this tree has stay; so do list elements.
    bool merge(const ConfNode& other);
    /// The node moves to the end of its siblings. `Rename_NewNameAlreadyExists`, also for the present name.
    void rename(const std::string& newName);

    /// `child` must not be null. `AddChild_NameAlreadyInUse` if there is one of its name.
    void addChild(SmartPointer<ConfNode> child);
    /// Detaches the child. `RemoveChild_NotFound` if there is none.
    void removeChild(std::string child);
    /// Makes what is missing along the path, branches on the way. An existing last node of another type is
    /// replaced, with its subtree. Null for an empty step, for a path longer than `MaxDepth` steps, and if
    /// there is no memory.
    SmartPointer<ConfNode> ensureNodes(std::string path, int lastType);
    /// The same, but an existing last node is left alone, and no memory is `EnsureNodePath_OutOfMemory`.
    SmartPointer<ConfNode> ensureNodePath(std::string path, int lastType);

    /// Null if there is no such node. An empty step is never found.
    SmartPointer<ConfNode> findChild(const std::string& child) const;
    SmartPointer<ConfNode> find(std::string path) const;
    /// The deepest existing node along the path; `self` must point to this node.
    SmartPointer<ConfNode> findClosest(const SmartPointer<ConfNode>& self, std::string path) const;

    /// The text of the tree as an object stream, for logs.
    std::string format() const;
    /// The form in which a tree travels: name, type, value, list, attributes and children, depth first.
    StreamBase& toStream(StreamBase& stream) const;
    /// Replaces this node, children included, by what the stream holds. A missing element, and a node deeper
    /// than `MaxDepth`, end the reading; what has been read so far stays. Two siblings of one name give
    /// `AddChild_NameAlreadyInUse`.
    StreamBase& fromStream(StreamBase& stream) {
        readWhole(stream);
        return stream;
    }
    /// The same, and whether the stream held the whole tree.
    bool readWhole(StreamBase& stream) { return read(stream, 0); }
    void toStream(ObjectStream& stream) const;

    std::string name;
    int type = ConfTypeNone;
    std::map<std::string, std::string> attributes;
    std::string value;                ///< as text; unused by a list
    std::list<std::string> elements;  ///< lists only
    char separator = '\n';            ///< of a list's text form
    ConfNode* parent = nullptr;       ///< not owned; null for a root or a detached node
    std::map<std::string, SmartPointer<ConfNode>> children;
    std::list<std::string> childOrder;  ///< names of the children in order of insertion

private:
    /// The text of the value, after the test of the type. The word names the operation in the failure.
    const std::string& valueAs(int wanted, std::string_view word) const;
    void requireSet(int wanted, std::string_view word, std::string_view link = " value in node ") const;
    void store(int wanted, std::string_view word, const std::string& text) {
        requireSet(wanted, word);
        value = text;
    }
    SmartPointer<ConfNode> findStep(const std::string& step) const {
        return step.empty() ? SmartPointer<ConfNode>() : findChild(step);
    }
    SmartPointer<ConfNode> ensure(std::string_view path, int lastType, bool replace);
    void clearChildren();
    bool read(StreamBase& stream, unsigned int depth);
};

}  // namespace MovrikCorelib
