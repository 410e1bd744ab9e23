#include "ConfBase.h"

#include <list>
#include <utility>

#include "DateTime.h"
#include "DateTimeDetails.h"
#include "StringStream.h"
#include "TimeSpan.h"
#include "TimeZone.h"

namespace MovrikCorelib {

namespace {

/// The payload of a message, or null if it is not of the kind that the message's type tells.
template <class Parameter>
Parameter* payload(const ImsMessage& message) {
    return dynamic_cast<Parameter*>(message.parameter);
}

template <class Value>
Value& valueOf(const ConfQueryParam& param) {
    return *static_cast<Value*>(param.value);
}

bool isText(int type) {
    return type == ConfTypeString || type == ConfTypeDir || type == ConfTypeFile;
}

}  // namespace

/// One reading of a value.
struct ConfBase::Expansion {
    std::set<std::string>& visited;
    std::string result{};
    unsigned int depth = 0;
    unsigned long textLeft = MaxExpandedText;
};

ConfBase::ConfBase() : ImsAgent("conf-base") {
    setHooks();
}

ConfBase::ConfBase(Ims& ims) : ImsAgent("conf-base", ims) {
    setHooks();
}

ConfBase::~ConfBase() {
    removeHooks();
}

void ConfBase::setHooks() {
    try {
        hookQuery = setMessageHook(false, "conf", "query", "", HookNormal);
        hookData = setMessageHook(false, "conf", "data", "", HookNormal);
        hookKeyword = setMessageHook(false, "conf", "keyword", "", HookNormal);
        hookRawPath = setMessageHook(false, "conf", "rawpath", "", HookNormal);
    } catch (const Exception& e) {
        removeHooks();
        throwWrapped<ConfBase_FailedToSetHooks>(e);
    }
}

void ConfBase::removeHooks() {
    for (const unsigned long long id : {hookQuery, hookData, hookKeyword, hookRawPath}) {
        if (id == 0)
            continue;
        if (system == Ims::DefaultMessageSystem)
            removeMessageHook(id);
        else
            removeMessageHook(*system, id);
    }
}

MessageHandleCode ConfBase::handleMessage(const ImsMessage& message) {
    if (message.generalType != "conf")
        return MessageNotHandled;
    if (message.groupType == "query")
        return query(message);
    if (message.groupType == "data")
        return cache(message);
    if (message.groupType == "keyword")
        return registerKeyword(message);
    if (message.groupType == "rawpath")
        return processPath(message);
    return MessageNotHandled;
}

MessageHandleCode ConfBase::hookMessage(unsigned long long id, const ImsMessage& message) {
    if (id != hookQuery && id != hookData && id != hookKeyword && id != hookRawPath)
        return MessageNotHandled;
    return handleMessage(message);
}

MessageHandleCode ConfBase::query(const ImsMessage& message) {
    logger.trace("ConfBase::query: Handling incoming message");
    logger.trace("ConfBase::query: Extacting query details from message");
    auto* param = payload<ConfQueryParam>(message);
    if (!param || (!param->value && param->type < ConfTypeMakeNode))
        return MessageNotHandled;
    return param->isSet ? set(*param) : get(*param);
}

MessageHandleCode ConfBase::get(ConfQueryParam& param) {
    if (logger.isOn(7))
        logger.trace("ConfBase::get: Path=\"%\"", ParamStream() << param.path);
    SmartPointer<ConfNode> node = find(param.path);
    if (!node)
        param.status = ConfStatusNotFound;
    else if (param.type < ConfTypeBool || param.type > ConfTypeSubEntries)
        param.status = ConfStatusUnknownType;
    else if (param.type != ConfTypeSubEntries && param.type != node->type)
        param.status = ConfStatusWrongType;
    else
        setValue(param, node);
    if (param.status != ConfStatusPending)
        return MessageHandled;
    param.status = ConfStatusDone;
    return MessageConsumed;
}

void ConfBase::setValue(ConfQueryParam& param, SmartPointer<ConfNode>& node) {
    switch (param.type) {
        case ConfTypeBool:
            valueOf<bool>(param) = node->getBool();
            break;
        case ConfTypeInt:
            valueOf<long long>(param) = node->getInt();
            break;
        case ConfTypeUInt:
            valueOf<unsigned long long>(param) = node->getUInt();
            break;
        case ConfTypeFloat:
            valueOf<double>(param) = node->getDouble();
            break;
        case ConfTypeString:
        case ConfTypeDir:
        case ConfTypeFile: {
            std::string path = node->getPath();
            path.erase(0, path.find('.'));
            std::set<std::string> visited{path.substr(path.empty() ? 0 : 1)};
            try {
                valueOf<std::string>(param) = processString(node->getAsString(), visited);
            } catch (const ProcessString_CircularReference&) {
                valueOf<std::string>(param) = "[ERROR:CIRCULAR-REFERENCE]";
            }
            break;
        }
        case ConfTypeDateTime:
            valueOf<unsigned long long>(param) = node->getDateTime().time();
            break;
        case ConfTypeTimeOfDay:
            valueOf<unsigned long long>(param) = node->getTimeOfDay().getTimeType();
            break;
        case ConfTypeTimeZone:
            valueOf<TimeZone>(param).set(node->getTimeZone());
            break;
        case ConfTypeTimeSpan:
            valueOf<TimeSpan>(param) = node->getTimeSpan();
            break;
        case ConfTypeList:
            valueOf<std::list<std::string>>(param) = node->getList();
            break;
        case ConfTypeSubEntries:
            valueOf<std::list<std::string>>(param) = node->childOrder;
            break;
        default:
            break;
    }
}

MessageHandleCode ConfBase::set(ConfQueryParam& param) {
    if (logger.isOn(7))
        logger.trace("ConfBase::set: Path=\"%\"", ParamStream() << param.path);
    ensureRoot();
    if (param.type == ConfTypeMakeNode)
        setNode(param);
    else if (param.type == ConfTypeRemoveNode)
        removeNode(param);
    else
        setValue(param);
    return MessageHandled;
}

void ConfBase::setValue(ConfQueryParam& param) {
    const SmartPointer<ConfNode> node = find(param.path);
    if (!node)
        param.status = ConfStatusNotFound;
    else if (param.type < ConfTypeBool || param.type > ConfTypeList)
        param.status = ConfStatusUnknownType;
    else if (param.type != node->type)
        param.status = ConfStatusWrongType;
    else
        writeValue(param, *node);
    if (param.status == ConfStatusPending)
        param.status = ConfStatusDone;
}

void ConfBase::writeValue(ConfQueryParam& param, ConfNode& node) {
    switch (param.type) {
        case ConfTypeBool:
            return node.set(valueOf<bool>(param));
        case ConfTypeInt:
            return node.set(valueOf<long long>(param));
        case ConfTypeUInt:
        // Times go the way of numbers, and the node refuses them: callers rely on that failure.
        case ConfTypeDateTime:
        case ConfTypeTimeOfDay:
            return node.set(valueOf<unsigned long long>(param));
        case ConfTypeFloat:
            return node.set(valueOf<double>(param));
        case ConfTypeString:
            return node.set(valueOf<std::string>(param));
        case ConfTypeTimeZone:
            return node.set(valueOf<TimeZone>(param));
        case ConfTypeTimeSpan:
            return node.set(valueOf<TimeSpan>(param));
        case ConfTypeDir:
            return node.setDir(valueOf<std::string>(param));
        case ConfTypeFile:
            return node.setFile(valueOf<std::string>(param));
        default:
            break;
    }
    const std::string& form = param.attributes["ltype"];
    if (form == "str")
        node.setList(valueOf<std::string>(param), param.separator);
    else if (form == "list")
        node.setList(valueOf<std::list<std::string>>(param), param.separator);
    else
        param.status = ConfStatusBadListType;
}

void ConfBase::setNode(ConfQueryParam& param) {
    const SmartPointer<ConfNode> node = root->ensureNodes(processPath(param.path), param.nodeType);
    if (!node) {
        param.status = ConfStatusInvalidPath;
        return;
    }
    if (param.description && !param.description->empty())
        node->setAttribute("description", *param.description);
    param.status = ConfStatusDone;
}

void ConfBase::removeNode(ConfQueryParam& param) {
    const SmartPointer<ConfNode> node = find(param.path);
    if (!node || node == root) {
        param.status = ConfStatusInvalidPath;
        return;
    }
    try {
        node->getParent()->removeChild(node->name);
        param.status = ConfStatusDone;
    } catch (const Exception&) {
        param.status = ConfStatusFailedToRemove;
    }
}

MessageHandleCode ConfBase::cache(const ImsMessage& message) {
    logger.debug("ConfBase::cache: Handling incoming message");
    logger.trace("ConfBase::cache: Unstreaming cache message data");
    const auto* param = payload<ConfDataParam>(message);
    if (!param || !param->stream)
        return MessageNotHandled;
    const SmartPointer<ConfNode> fresh = ConfNode::newRoot();
    const bool isWhole = fresh->readWhole(*param->stream);
    if (isWhole && (message.messageType == "clear-old" || (root && root->name.empty()))) {
        root = fresh;
        logger.debug("ConfBase::cache: Replaced old configuration data");
        return MessageHandled;
    }
    if (!isWhole || !merge(fresh)) {
        logger.warning(
            "@config.cache.merge{Failed to merge new configuration data with old}; (New data stream: %)",
            ParamStream() << param->stream->getStream());
        return MessageNotHandled;
    }
    logger.debug("ConfBase::cache: Merged new configuration data with old");
    return MessageHandled;
}

MessageHandleCode ConfBase::registerKeyword(const ImsMessage& message) {
    logger.trace("ConfBase::registerKeyword: Handling incoming message");
    logger.trace("ConfBase::registerKeyword: Extacting keyword details from message");
    const auto* param = payload<ConfKeywordParam>(message);
    if (!param)
        return MessageNotHandled;
    if (logger.isOn(7))
        logger.trace("ConfBase::registerKeyword: Keyword=\"%\", Path=\"%\"",
                     ParamStream() << param->keyword << param->path);
    keywords[param->keyword] = param->path;
    return MessageHandled;
}

MessageHandleCode ConfBase::processPath(const ImsMessage& message) {
    logger.trace("ConfBase::processPath: Handling incoming message");
    logger.trace("ConfBase::processPath: Extacting path details from message");
    auto* param = payload<ConfPathParam>(message);
    if (!param)
        return MessageNotHandled;
    if (logger.isOn(7))
        logger.trace("ConfBase::processPath: Raw path=\"%\"", ParamStream() << param->rawPath);
    param->processedPath = processPath(param->rawPath);
    return MessageHandled;
}

void ConfBase::ensureRoot() {
    if (!root)
        root = ConfNode::newRoot();
}

bool ConfBase::merge(SmartPointer<ConfNode> tree) {
    ensureRoot();
    return root->merge(*tree);
}

std::string ConfBase::processPath(const std::string& path) const {
    std::string result;
    std::string keyword;
    bool inKeyword = false;
    for (const char c : path) {
        if (c != '%') {
            (inKeyword ? keyword : result) += c;
            continue;
        }
        // The keyword is not emptied here: paths in use rely on a second one being looked up under both
        // names.
        if (inKeyword) {
            const auto found = keywords.find(keyword);
            result += found != keywords.end() ? found->second : "%" + keyword + "%";
        }
        inKeyword = !inKeyword;
    }
    return result;
}

SmartPointer<ConfNode> ConfBase::find(const std::string& path) {
    return !root || path.empty() ? root : root->find(processPath(path));
}

std::string ConfBase::processString(const std::string& text, std::set<std::string>& visited) {
    Expansion expansion{visited};
    expand(text, expansion);
    return expansion.result;
}

void ConfBase::expand(const std::string& text, Expansion& expansion) {
    std::size_t last = 0;
    for (std::size_t start; (start = text.find("${", last)) != std::string::npos;) {
        const std::size_t end = text.find('}', start + 2);
        if (end == std::string::npos)
            break;
        expansion.result.append(text, last, start - last);
        const std::string path = text.substr(start + 2, end - start - 2);
        last = end + 1;
        const SmartPointer<ConfNode> node = find(path);
        // Files in the field show the reference without its brace where a setting is missing.
        if (!node)
            expansion.result.append(text, start, end - start);
        else if (!expandNode(*node, path, expansion))
            expansion.result.append(text, start, last - start);
    }
    expansion.result.append(text, last);
}

bool ConfBase::expandNode(const ConfNode& node, const std::string& path, Expansion& expansion) {
    if (isText(node.type) && expansion.visited.contains(path))
        throwFailure<ProcessString_CircularReference>();
    const std::string text = node.getAsString();
    if (expansion.depth >= MaxReferenceDepth || text.size() >= expansion.textLeft)
        return false;
    expansion.textLeft -= text.size() + 1;
    if (!isText(node.type)) {
        expansion.result += text;
        return true;
    }
    const auto entry = expansion.visited.insert(path).first;
    ++expansion.depth;
    expand(text, expansion);
    --expansion.depth;
    expansion.visited.erase(entry);
    return true;
}

}  // namespace MovrikCorelib
