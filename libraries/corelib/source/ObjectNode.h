#pragma once

#include <map>
#include <string>
#include <vector>

#include "Exception.h"
#include "PrimitiveStream.h"
#include "SmartPointer.h"

namespace MovrikCorelib {

/// A name in narrow or wide form; known as `ObjectStream::Key`. Both forms of one name are the same key.
struct ObjectKey {
    std::string name;    ///< in use unless `wide`
    std::wstring nameW;  ///< in use if `wide`
    bool wide = false;

    ObjectKey() = default;
    ObjectKey(const std::string& text) : name(text) {}
    ObjectKey(const std::wstring& text) : nameW(text), wide(true) {}

    /// The name, converted if it is of the other form.
    std::string narrow() const;
    std::wstring widened() const;

    bool operator<(const ObjectKey& other) const;
    bool operator==(const ObjectKey& other) const;
};

/// A node of a tree of objects; known as `ObjectStream::Object`. It owns its sub-objects together with
/// whoever else holds them. Trees may be nested to any depth. One thread at a time.
struct ObjectNode {
    using ElementDef = PrimitiveStream::ElementDef;
    using Key = ObjectKey;

    MOVRIK_FAILURE(GetAttribute_NotFound);
    MOVRIK_FAILURE(GetSubObject_NotFound);

    ObjectNode() = default;
    explicit ObjectNode(const Key& key) : name(key.widened()) {}
    ObjectNode(const ObjectNode&) = delete;
    ObjectNode& operator=(const ObjectNode&) = delete;
    ~ObjectNode();

    bool haveAttribute(const Key& key) const { return attributes.contains(key); }
    /// Throws `GetAttribute_NotFound`.
    const ElementDef& getAttribute(const Key& key) const;
    void setAttribute(const Key& key, const ElementDef& element) { attributes[key] = element; }

    bool haveSubObject(const Key& key) const { return subObjects.contains(key); }
    /// Throws `GetSubObject_NotFound`.
    SmartPointer<ObjectNode> getSubObject(const Key& key) const;
    /// Takes the place of a sub-object of that name. A null pointer attaches nothing.
    void setSubObject(const Key& key, const SmartPointer<ObjectNode>& object);

    /// The names from the root down to this object, joined by ".".
    std::wstring getFullName() const;

    std::wstring name;
    ObjectNode* parent = nullptr;  ///< null at the root
    std::map<Key, ElementDef> attributes;
    std::map<Key, SmartPointer<ObjectNode>> subObjects;
};

/// Calls `enter(key, object)` and, behind its sub-objects, `leave()` for each object of a tree in the order
/// of the keys. Keeps a list of its own, so that no depth of a tree can exhaust the stack.
template <class Enter, class Leave>
void walkObjects(const ObjectKey& key, const ObjectNode& top, Enter enter, Leave leave) {
    struct Step {
        const ObjectNode* object;
        std::map<ObjectKey, SmartPointer<ObjectNode>>::const_iterator next;
    };
    std::vector<Step> steps;
    enter(key, top);
    steps.push_back({&top, top.subObjects.begin()});
    while (!steps.empty()) {
        Step& step = steps.back();
        if (step.next == step.object->subObjects.end()) {
            leave();
            steps.pop_back();
            continue;
        }
        const auto& [childKey, child] = *step.next++;
        if (!child)
            continue;
        enter(childKey, *child);
        steps.push_back({child.get(), child->subObjects.begin()});
    }
}

}  // namespace MovrikCorelib
