#include "ObjectStream.h"

#include <new>
#include <utility>

#include "ObjectText.h"
#include "StringTools.h"

namespace MovrikCorelib {

namespace {

using Key = ObjectStream::Key;
using Object = ObjectStream::Object;
using ElementDef = PrimitiveStream::ElementDef;

template <class Text>
bool tidy(Text& line) {
    StringTools::trimRight(line, true);
    StringTools::trimLeft(line, true);
    return !line.empty() && line[0] != '#';
}

ObjectStream::ParserDef parserFor(bool wide) {
    const auto token = [&](const char* text) {
        return wide ? Key(StringTools::convert(std::string(text))) : Key(std::string(text));
    };
    ObjectStream::ParserDef parser;
    parser.lineEnd = token("\n");
    parser.openParenthesis = token("(");
    parser.closeParenthesis = token(")");
    parser.openBracket = token("{");
    parser.closeBracket = token("}");
    parser.assignment = token("=");
    return parser;
}

ParamStream lineNumber(const ObjectStream::ParserDef& parser) {
    return ParamStream() << parser.line;
}

}  // namespace

bool ObjectStream::read(ElementDef&) {
    return false;
}

bool ObjectStream::write(ElementDef&) {
    return false;
}

void ObjectStream::escape(std::string& text) {
    StringTools::escape(text, "=\n", "?n", '\\');
}

void ObjectStream::escape(std::wstring& text) {
    StringTools::escape(text, L"=\n", L"?n", L'\\');
}

void ObjectStream::unescape(std::string& text) {
    StringTools::unescape(text, "?n", "=\n", '\\');
}

void ObjectStream::unescape(std::wstring& text) {
    StringTools::unescape(text, L"?n", L"=\n", L'\\');
}

void ObjectStream::addStream(ObjectStream& other) {
    if (&other == this || other.state != Ready)
        throwFailure<AddStream_CannotReadFromStream>(
            L"@object-stream.add-stream.cannot-read-from-stream"
            L"{Attempting to add another stream that is not ready for reading};");
    other.prepareReading();
    if (!other.root)
        return;
    for (const auto& [key, object] : other.root->subObjects) {
        if (object)
            addObjectToStream(key, *object);
    }
}

void ObjectStream::addObjectToStream(const Key& key, const Object& object) {
    const auto enter = [this](const Key& name, const Object& entered) {
        startObject(name);
        current->attributes = entered.attributes;
    };
    walkObjects(key, object, enter, [this] { endObject(); });
}

void ObjectStream::clear() {
    current = nullptr;
    root.clear();
    unsaved = false;
}

void ObjectStream::startObject(const Key& key) {
    if (state != Parsing) {
        state = Writing;
        unsaved = true;
    }
    try {
        if (!root) {
            root = SmartPointer<Object>(new Object(key));
            textForm = key.wide ? WideText : NarrowText;
        }
        if (!current)
            current = root.get();
        const SmartPointer<Object> object(new Object(key));
        current->setSubObject(key, object);
        current = object.get();
    } catch (const std::bad_alloc&) {
        throwFailure<Write_OutOfMemory>(L"@out-of-memory{Out of memory};");
    }
}

Object& ObjectStream::writable() {
    if (!entered())
        throwFailure<Write_ObjectNotStarted>(
            L"@object-stream.write.object-not-started{Attempting to write to an object not started};");
    unsaved = state != Parsing;
    return *current;
}

void ObjectStream::setAttribute(const Key& key, const ElementDef& element) {
    writable().setAttribute(key, element);
}

void ObjectStream::setSubObject(const Key& key, const SmartPointer<Object>& object) {
    writable().setSubObject(key, object);
}

void ObjectStream::endObject() {
    if (!current)
        throwFailure<Write_ObjectNotStarted>(
            L"@object-stream.write.object-not-started{Attempting to write to an object not started};");
    if (current != root.get()) {
        current = current->parent;
        return;
    }
    saveStream();
    clear();
    state = Ready;
    saved = true;
}

void ObjectStream::prepareReading() {
    if (state == Untouched)
        loadStream();
    if (state != Ready)
        throwFailure<Read_ReadingNotAllowed>(
            L"@object-stream.read.reading-not-allowed"
            L"{Attempting to read from a stream that is not ready for reading};");
    if (!root && saved) {
        loadStream();
        saved = false;
    }
}

/// The object to look into.
Object& ObjectStream::place() {
    prepareReading();
    if (!root)
        throwFailure<Read_StreamEmpty>(
            L"@object-stream.read.stream.empty{Attempting to read from an empty stream};");
    return current ? *current : *root;
}

/// Null on the root, which has no attributes.
Object* ObjectStream::entered() const {
    return current == root.get() ? nullptr : current;
}

std::set<Key> ObjectStream::getObjects() {
    std::set<Key> keys;
    for (const auto& [key, object] : place().subObjects)
        keys.insert(keys.end(), key);
    return keys;
}

bool ObjectStream::haveObject(const Key& key) {
    return place().haveSubObject(key);
}

void ObjectStream::verifyObjects(const String& names) {
    const Object& object = place();
    std::wstring missing;
    for (const std::wstring& name : StringTools::splitList(names.widened(), L',', ~0UL, true)) {
        if (!name.empty() && !object.haveSubObject(Key(name)))
            (missing += missing.empty() ? L"" : L", ") += name;
    }
    if (!missing.empty())
        throwFailure<Read_MissingObjects>(
            L"@object-stream.read.missing-objects{The following objects are missing: %};", ParamStream()
                                                                                               << missing);
}

void ObjectStream::enterObject(const Key& key) {
    const auto& objects = place().subObjects;
    const auto found = objects.find(key);
    if (found == objects.end())
        throwFailure<Read_ObjectNotFound>(
            L"@object-stream.read.object-not-found"
            L"{Attempted to enter object '%' but no such object exists};",
            ParamStream() << key.widened());
    current = found->second.get();
}

namespace {

[[noreturn]] void throwNotEntered(SourcePosition position = SourcePosition::here()) {
    throwFailure<ObjectStream::Read_ObjectNotEntered>(
        L"@object-stream.read.object-not-entered"
        L"{Attempting to read from a stream without entering an object first};",
        ParamStream(), position);
}

}  // namespace

void ObjectStream::leaveObject() {
    prepareReading();
    if (!current)
        throwNotEntered();
    if (current == root.get())
        clear();
    else
        current = current->parent;
}

std::set<Key> ObjectStream::getAttributes() {
    place();
    const Object* object = entered();
    if (!object)
        throwNotEntered();
    std::set<Key> keys;
    for (const auto& [key, element] : object->attributes)
        keys.insert(keys.end(), key);
    return keys;
}

bool ObjectStream::haveAttribute(const Key& key) {
    return findAttribute(key) != nullptr;
}

const ElementDef* ObjectStream::findAttribute(const Key& key) {
    const auto& attributes = place().attributes;
    const auto found = attributes.find(key);
    return found == attributes.end() ? nullptr : &found->second;
}

bool ObjectStream::haveTyped(const Key& key, ElementType type) {
    const ElementDef* element = findAttribute(key);
    return element && element->type == type;
}

ElementDef ObjectStream::getAttribute(const Key& key) {
    const ElementDef* element = findAttribute(key);
    if (!entered())
        throwNotEntered();
    if (!element)
        throwFailure<Read_AttributeNotFound>(
            L"@object-stream.read.attribute-not-found"
            L"{Trying to read attribute '%' of '%' but no such attribute exists};",
            ParamStream() << key.widened() << current->getFullName());
    return *element;
}

template <class Char>
std::basic_string<Char> ObjectStream::wholeText() {
    std::basic_string<Char> text;
    if (root) {
        for (const auto& [key, object] : root->subObjects)
            toStream(text, 0, key, object);
    }
    return text;
}

std::string ObjectStream::getStringFormat() {
    return wholeText<char>();
}

std::wstring ObjectStream::getWStringFormat() {
    return wholeText<wchar_t>();
}

void ObjectStream::toStream(std::string& text, unsigned int level, const Key& key,
                            const SmartPointer<Object>& object) {
    ObjectText<char>::appendObject(text, level, key, object.get());
}

void ObjectStream::toStream(std::wstring& text, unsigned int level, const Key& key,
                            const SmartPointer<Object>& object) {
    ObjectText<wchar_t>::appendObject(text, level, key, object.get());
}

std::string ObjectStream::formatAttribute(const std::string& indent, const std::string& name,
                                          const ElementDef& element) {
    return ObjectText<char>::attributeLine(indent, name, element);
}

std::wstring ObjectStream::formatAttribute(const std::wstring& indent, const std::wstring& name,
                                           const ElementDef& element) {
    return ObjectText<wchar_t>::attributeLine(indent, name, element);
}

void ObjectStream::parseDefault() {
    ParserDef parser = parserFor(false);
    parseDefault(parser);
}

void ObjectStream::parseDefaultW() {
    ParserDef parser = parserFor(true);
    parseDefault(parser);
}

void ObjectStream::parseDefault(ParserDef& parser) {
    clear();
    state = Parsing;
    try {
        if (parser.lineEnd.wide)
            parseText<wchar_t>(parser);
        else
            parseText<char>(parser);
    } catch (...) {
        clear();
        throw;
    }
    current = nullptr;
}

template <class Char>
void ObjectStream::parseText(ParserDef& parser) {
    String line;
    while (getNextLine(parser, line))
        parseObject<Char>(parser, line);
}

/// `line` is the object's name. Counts the open brackets instead of calling itself for sub-objects.
template <class Char>
void ObjectStream::parseObject(ParserDef& parser, String& line) {
    startObject(line);
    expectOpenBracket(parser);
    const auto assignment = ObjectText<Char>::textOf(parser.assignment);
    for (unsigned long depth = 1; depth > 0;) {
        if (!getNextLine(parser, line))
            throwFailure<Parse_PrematureEndOfStream>(
                L"@object-stream.parse.premature-end-of-stream{Unexpected end of data in line %};",
                lineNumber(parser));
        if (line == parser.closeBracket) {
            endObject();
            --depth;
        } else if (ObjectText<Char>::textOf(line).find(assignment) != std::string::npos) {
            extractAttribute<Char>(parser, line);
        } else {
            startObject(line);
            expectOpenBracket(parser);
            ++depth;
        }
    }
}

void ObjectStream::expectOpenBracket(ParserDef& parser) {
    String line;
    if (!getNextLine(parser, line) || !(line == parser.openBracket))
        throwFailure<Parse_MissingOpenBracket>(
            L"@object-stream.parse.missing-open-bracket{Expected '{' in line %};", lineNumber(parser));
}

/// The "=" that counts is the first one behind the ")": names and values may hold others.
template <class Char>
void ObjectStream::extractAttribute(const ParserDef& parser, const String& line) {
    const std::basic_string<Char> text = ObjectText<Char>::textOf(line);
    const auto open = ObjectText<Char>::textOf(parser.openParenthesis);
    const auto close = ObjectText<Char>::textOf(parser.closeParenthesis);
    const auto assignment = ObjectText<Char>::textOf(parser.assignment);
    const unsigned long openAt = text.find(open);
    const unsigned long closeAt = openAt == text.npos ? text.npos : text.find(close, openAt + open.size());
    const unsigned long assignAt =
        closeAt == text.npos ? text.npos : text.find(assignment, closeAt + close.size());
    if (openAt == text.npos ||
        (assignAt == text.npos && closeAt != text.npos && text.find(assignment) < openAt))
        throwFailure<Parse_MissingOpenParenthesis>(
            L"@object-stream.parse.missing-open-parenthesis{Missing '(' in line %};", lineNumber(parser));
    if (assignAt == text.npos)
        throwFailure<Parse_MissingCloseParenthesis>(
            L"@object-stream.parse.missing-close-parenthesis{Missing ')' in line %};", lineNumber(parser));

    std::basic_string<Char> name = text.substr(0, openAt);
    StringTools::trimRight(name, true);
    const unsigned long tagAt = openAt + open.size();
    setAttribute(Key(name), ObjectText<Char>::parseElement(text.substr(tagAt, closeAt - tagAt),
                                                           text.substr(assignAt + assignment.size())));
}

bool ObjectStream::tidyLine(std::string& line) {
    return tidy(line);
}

bool ObjectStream::tidyLine(std::wstring& line) {
    return tidy(line);
}

}  // namespace MovrikCorelib
