#include "ConfOldFile.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "ConfMessages.h"
#include "File.h"
#include "FileTools.h"
#include "StringStream.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

constexpr std::pair<std::string_view, int> NodeTypes[] = {
    {"String", ConfTypeString},         {"Bool", ConfTypeBool},
    {"Integer", ConfTypeInt},           {"Real", ConfTypeFloat},
    {"DirName", ConfTypeDir},           {"FileName", ConfTypeFile},
    {"DateTime", ConfTypeDateTime},     {"Date", ConfTypeDateTime},
    {"Time", ConfTypeTimeOfDay},        {"TimeSpan", ConfTypeTimeSpan},
    {"NetworkAddress", ConfTypeString}, {"NetworkIP", ConfTypeString},
    {"NetworkPort", ConfTypeInt}};

bool isWhite(char c) {
    return c == ' ' || c == '\t' || c == '\v' || c == '\r' || c == '\n';
}

/// Line and name for a failure at the present place.
ParamStream place(File& file) {
    return ParamStream() << file.getCurLine() << file.getNameAlways();
}

[[noreturn]] void failAtEnd(File& file, SourcePosition position = SourcePosition::here()) {
    throwFailure<ConfOldFile::Load_PrematureEndOfFile>(
        "@conf-old-file.load.premature-end-of-file{Premature end of file in line % in file \"%\"};",
        place(file), position);
}

[[noreturn]] void failInvalid(File& file, SourcePosition position = SourcePosition::here()) {
    throwFailure<ConfOldFile::Load_InvalidNode>(
        "@conf-old-file.load.invalid-node{Invalid configuration node definition in line % in file \"%\"};",
        place(file), position);
}

}  // namespace

ConfOldFile::ConfOldFile() : ImsAgent("conf-old-file") {}

void ConfOldFile::loadFileIntoBase(const std::string& fileName, bool clearOld) {
    loadFileIntoMemory(fileName);
    sendToBase(clearOld);
}

void ConfOldFile::loadFileIntoMemory(const std::string& fileName) {
    logger.debug("ConfOldFile::loadIntoMemory: Loading \"%\"", ParamStream() << fileName);
    try {
        if (!FileTools::exists(fileName))
            throwFailure<Load_FileNotFound>(
                "@conf-old-file.load.file-not-found{Configuration file \"%\" was not found};",
                ParamStream() << fileName);
        File file;
        // Directories open, too; a device may have no end, and a pipe may keep the opening waiting.
        if (std::error_code ignored;
            !std::filesystem::is_regular_file(fileName, ignored) || !file.openIn(fileName))
            throwFailure<Load_FileError>("@conf-old-file.load.file-error{Failed to load file \"%\"};",
                                         ParamStream() << fileName);
        oldRoot = ConfNode::newRoot();
        try {
            for (;;) {
                SmartPointer<ConfNode> node = ConfNode::newRoot();
                loadNode(node, file);
                readNodeBody(node, file);
                oldRoot->addChild(node);
            }
        } catch (const LoadNode_EndOfNodes&) {
        }
        converted.clear();
        referenceDepth = 0;
        insertedText = 0;
        newRoot = ConfNode::newRoot();
        convertFromOld(oldRoot, newRoot);
    } catch (Exception& e) {
        e.locations.push_back(sourceTag());
        throw;
    }
    logger.debug("ConfOldFile::loadIntoMemory: Successfully loaded");
}

void ConfOldFile::sendToBase(bool clearOld) {
    if (!newRoot)
        newRoot = ConfNode::newRoot();
    StringStream stream;
    newRoot->toStream(stream);
    sendToBase(stream, clearOld);
    newRoot->attributes.clear();
    newRoot->children.clear();
    newRoot->name.clear();
    newRoot->value.clear();
    newRoot->parent = nullptr;
    newRoot->type = ConfTypeNone;
}

void ConfOldFile::sendToBase(StringStream& stream, bool clearOld) {
    logger.debug("ConfOldFile::sendToBase: Sending to local configuration base");
    const auto param = std::make_unique<ConfDataParam>();
    param->stream = &stream;
    ImsMessage message("conf", "data", clearOld ? "clear-old" : "", param.get());
    if (!sendMessage(message))
        throwFailure<Load_FailedToSendToBase>(
            "@conf-old-file.load.failed-to-send-to-base{Failed to send configuration data to configuration "
            "base};");
    logger.debug("ConfFile::send: Successfully sent");
}

/// Reads a node up to its body.
void ConfOldFile::loadNode(SmartPointer<ConfNode>& node, File& file) {
    node->name = readNodeName(file);
    if (node->name.empty())
        throwFailure<LoadNode_EndOfNodes>();
    node->type = readNodeType(file);
    node->value = readNodeValue(file);
}

void ConfOldFile::skipWhiteCharacters(File& file) {
    unsigned long long before = file.getPos();
    for (char c = 0; file.read(c); before = file.getPos())
        if (!isWhite(c)) {
            file.setPos(before);
            return;
        }
}

std::string ConfOldFile::readNodeName(File& file) {
    skipWhiteCharacters(file);
    std::string text;
    file.readUntil(text, '(');
    return StringTools::trimRight(text, true);
}

int ConfOldFile::readNodeType(File& file) {
    std::string text;
    file.readUntil(text, ')');
    StringTools::trimRight(text, true);
    return mapNodeType(StringTools::trimLeft(text, true));
}

std::string ConfOldFile::readNodeValue(File& file) {
    std::string value;
    for (const char wanted : {'=', '"'}) {
        skipWhiteCharacters(file);
        char c = 0;
        if (!file.read(c) || c != wanted)
            return value;
    }
    file.readUntil(value, '"');
    return value;
}

/// Children are read on a stack of open nodes, so that depth costs no recursion here.
void ConfOldFile::readNodeBody(SmartPointer<ConfNode>& node, File& file) {
    const auto openBody = [&] {
        skipWhiteCharacters(file);
        char c = 0;
        if (!file.read(c))
            failAtEnd(file);
        if (c != '{')
            failInvalid(file);
    };
    openBody();
    std::vector<SmartPointer<ConfNode>> open{node};
    for (;;) {
        skipWhiteCharacters(file);
        const unsigned long long before = file.getPos();
        char c = 0;
        if (!file.read(c))
            failAtEnd(file);
        if (c == '}') {
            const SmartPointer<ConfNode> closed = open.back();
            open.pop_back();
            if (open.empty())
                return;
            open.back()->addChild(closed);
            continue;
        }
        file.setPos(before);
        if (open.size() >= ConfNode::MaxDepth)
            failInvalid(file);
        SmartPointer<ConfNode> child = ConfNode::newRoot();
        loadNode(child, file);
        openBody();
        open.push_back(child);
    }
}

int ConfOldFile::mapNodeType(const std::string& typeName) {
    const auto* found = std::ranges::find(NodeTypes, typeName, &std::pair<std::string_view, int>::first);
    return found == std::end(NodeTypes) ? ConfTypeNone : found->second;
}

void ConfOldFile::convertFromOld(const SmartPointer<ConfNode>& from, SmartPointer<ConfNode>& to) {
    to->name = from->name;
    to->type = from->type;
    to->attributes = from->attributes;
    to->value = convertValueFromOld(from).text;
    for (const std::string& childName : from->childOrder) {
        SmartPointer<ConfNode> child = ConfNode::newRoot();
        convertFromOld(from->getChild(childName), child);
        to->addChild(child);
    }
}

/// Each value is converted once, however many references lead to it. One that is not `done` in the answer is
/// being converted at this moment.
const ConfOldFile::Converted& ConfOldFile::convertValueFromOld(const SmartPointer<ConfNode>& node) {
    const auto [entry, isNew] = converted.try_emplace(node.get());
    Converted& result = entry->second;
    if (!isNew)
        return result;
    ++referenceDepth;
    switch (node->type) {
        case ConfTypeString:
            result.text = expandValue(node->value, result.circular);
            break;
        case ConfTypeTimeSpan:
            result.text = correctTimeSpanValue(node->value);
            break;
        case ConfTypeDir:
            result.text = expandValue(node->value, result.circular);
            FileTools::completeDir(result.text);
            FileTools::processPath(result.text);
            break;
        case ConfTypeFile:
            result.text = expandValue(node->value, result.circular);
            FileTools::processPath(result.text);
            break;
        default:
            result.text = node->value;
            break;
    }
    --referenceDepth;
    result.done = true;
    return result;
}

std::string ConfOldFile::expandValue(const std::string& value, bool& circular) {
    std::string result;
    std::size_t rest = 0;  // what follows `result` in the value as it stands: the text from here on
    std::size_t start = value.find('$');
    while (start != std::string::npos && start + 3 < value.size()) {
        if (value[start + 1] != '{') {
            start = value.find('$', start + 1);
            continue;
        }
        const std::size_t end = value.find('}', start + 1);
        if (end == std::string::npos)
            break;
        const SmartPointer<ConfNode> node = findOldNode(value.substr(start + 2, end - start - 2));
        const Converted* target =
            node && referenceDepth < MaxReferenceDepth ? &convertValueFromOld(node) : nullptr;
        if (target && (!target->done || target->circular))
            circular = true;
        else if (target && target->text.size() <= MaxInsertedText - insertedText) {
            insertedText += target->text.size();
            result.append(value, rest, start - rest);
            // What goes is counted from the start of the value, so a reference takes as many characters
            // behind it as stand before it: files in the field are written around this.
            const std::size_t erased = result.size() + (end - start) + 1;
            rest = start + std::min(erased, value.size() - start);
            result += target->text;
            start = value.find('$', rest);
            continue;
        }
        start = value.find('$', end);
    }
    return result.append(value, rest);
}

std::string ConfOldFile::correctTimeSpanValue(const std::string& value) {
    std::string result;
    std::string pending;
    bool inTime = false;
    for (const char c : value) {
        const char unit = StringTools::upper(c);
        const bool isTimeUnit = unit == 'H' || unit == 'M' || unit == 'S';
        if (c == 'P') {
            result += c;
        } else if (isTimeUnit || unit == 'D') {
            if (isTimeUnit && !std::exchange(inTime, true))
                result += 'T';
            result += std::exchange(pending, {}) + unit;
        } else {
            pending += c;
        }
    }
    return result;
}

SmartPointer<ConfNode> ConfOldFile::findOldNode(std::string path) {
    return oldRoot->find(path);
}

/// For formats with attributes behind a node's name; nodes of this file have none.
void ConfOldFile::loadAttributeValue(File& file, std::string& value) {
    bool quoted = false;
    for (char c = 0;;) {
        if (!file.read(c))
            failAtEnd(file);
        if (c == ';' && !quoted)
            return;
        if (c == '"')
            quoted = !quoted;
        else
            value += c;
    }
}

}  // namespace MovrikCorelib
