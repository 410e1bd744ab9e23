#include "ObjectNode.h"

#include <utility>

#include "StringTools.h"

namespace MovrikCorelib {

std::string ObjectKey::narrow() const {
    return wide ? StringTools::convert(nameW) : name;
}

std::wstring ObjectKey::widened() const {
    return wide ? nameW : StringTools::convert(name);
}

bool ObjectKey::operator<(const ObjectKey& other) const {
    if (wide != other.wide)
        return widened() < other.widened();
    return wide ? nameW < other.nameW : name < other.name;
}

bool ObjectKey::operator==(const ObjectKey& other) const {
    if (wide != other.wide)
        return widened() == other.widened();
    return wide ? nameW == other.nameW : name == other.name;
}

/// The outermost destructor deletes the tree object by object: the inner ones only hand over what they hold.
ObjectNode::~ObjectNode() {
    static thread_local std::vector<SmartPointer<ObjectNode>>* doomed = nullptr;
    std::vector<SmartPointer<ObjectNode>> mine;
    const bool outermost = !doomed;
    if (outermost)
        doomed = &mine;
    for (auto& [key, child] : subObjects) {
        if (!child)
            continue;
        if (child->parent == this)
            child->parent = nullptr;
        doomed->push_back(std::move(child));
    }
    if (!outermost)
        return;
    while (!mine.empty()) {
        SmartPointer<ObjectNode> last = std::move(mine.back());
        mine.pop_back();
        last.clear();
    }
    doomed = nullptr;
}

const PrimitiveStream::ElementDef& ObjectNode::getAttribute(const Key& key) const {
    const auto found = attributes.find(key);
    if (found == attributes.end())
        throwFailure<GetAttribute_NotFound>(
            L"@object-stream.get-attribute.not-found{Could not find attribute '%' of '%'};",
            ParamStream() << key.widened() << getFullName());
    return found->second;
}

SmartPointer<ObjectNode> ObjectNode::getSubObject(const Key& key) const {
    const auto found = subObjects.find(key);
    if (found == subObjects.end())
        throwFailure<GetSubObject_NotFound>(
            L"@object-stream.get-sub-object.not-found{Could not find sub-object '%' of '%'};",
            ParamStream() << key.widened() << getFullName());
    return found->second;
}

void ObjectNode::setSubObject(const Key& key, const SmartPointer<ObjectNode>& object) {
    if (!object)
        return;
    object->parent = this;
    subObjects[key] = object;
}

std::wstring ObjectNode::getFullName() const {
    std::vector<const std::wstring*> names;
    for (const ObjectNode* object = this; object; object = object->parent)
        names.push_back(&object->name);
    std::wstring fullName = *names.back();
    for (auto inner = names.rbegin() + 1; inner != names.rend(); ++inner)
        (fullName += L'.') += **inner;
    return fullName;
}

}  // namespace MovrikCorelib
