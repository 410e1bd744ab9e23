#include "File.h"

#include "BasicFile.h"
#include "FileText.h"
#include "ZFile.h"

namespace MovrikCorelib {

File::File(const std::string& name) {
    setName(name);
}

File::File(const std::wstring& name) {
    setName(name);
}

File::~File() = default;

File::FileType File::getFileType(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos)
        return PlainFile;
    std::string suffix = name.substr(dot + 1);
    return StringTools::lower(suffix) == "gz" ? GzipFile : PlainFile;
}

File::FileType File::getFileType(const std::wstring& name) {
    return getFileType(StringTools::convert(name));
}

bool File::haveKind(FileType wanted) {
    if (!kind) {
        if (wanted == GzipFile)
            kind = std::make_unique<ZFile>();
        else
            kind = std::make_unique<BasicFile>();
        type = wanted;
    }
    return type == wanted;
}

bool File::setName(const std::string& name) {
    return haveKind(getFileType(name)) && kind->setName(name);
}

bool File::setName(const std::wstring& name) {
    return haveKind(getFileType(name)) && kind->setName(name);
}

const std::string* File::getName() const {
    return kind ? kind->getName() : nullptr;
}

const std::wstring* File::getNameW() const {
    return kind ? kind->getNameW() : nullptr;
}

std::string File::getNameAlways() const {
    return kind ? kind->getNameAlways() : std::string();
}

std::wstring File::getNameAlwaysW() const {
    return kind ? kind->getNameAlwaysW() : std::wstring();
}

bool File::openIn() {
    return kind && kind->openIn();
}

bool File::openIn(const std::string& name) {
    return haveKind(getFileType(name)) && kind->openIn(name);
}

bool File::openIn(const std::wstring& name) {
    return haveKind(getFileType(name)) && kind->openIn(name);
}

bool File::openOut() {
    return kind && kind->openOut();
}

bool File::openOut(const std::string& name) {
    return haveKind(getFileType(name)) && kind->openOut(name);
}

bool File::openOut(const std::wstring& name) {
    return haveKind(getFileType(name)) && kind->openOut(name);
}

bool File::openAppend() {
    return kind && kind->openAppend();
}

bool File::openAppend(const std::string& name) {
    return haveKind(getFileType(name)) && kind->openAppend(name);
}

bool File::openAppend(const std::wstring& name) {
    return haveKind(getFileType(name)) && kind->openAppend(name);
}

bool File::openIO(bool create, bool append) {
    return kind && kind->openIO(create, append);
}

bool File::close() {
    return kind && kind->close();
}

bool File::canRead() const {
    return kind && kind->canRead();
}

bool File::canWrite() const {
    return kind && kind->canWrite();
}

bool File::setPos(unsigned long long position) {
    return kind && kind->setPos(position);
}

bool File::seekFromBeg(unsigned long long offset) {
    return kind && kind->seekFromBeg(offset);
}

bool File::seekFromEnd(long long offset) {
    return kind && kind->seekFromEnd(offset);
}

bool File::seekFromCur(long long offset) {
    return kind && kind->seekFromCur(offset);
}

unsigned long long File::getPos() const {
    return kind ? kind->getPos() : 0;
}

unsigned long long File::size() const {
    return kind ? kind->size() : 0;
}

unsigned long File::getCurLine() {
    return kind ? kind->getCurLine() : 0;
}

unsigned long File::getPrevLine() const {
    return kind ? kind->getPrevLine() : 0;
}

bool File::read(char& character) {
    return kind && kind->read(character);
}

bool File::read(wchar_t& character) {
    return kind && kind->read(character);
}

bool File::read(std::string& text, unsigned int count) {
    return kind && kind->read(text, count);
}

bool File::read(std::wstring& text, unsigned int count) {
    return kind && kind->read(text, count);
}

bool File::readUntil(std::string& text, char delimiter) {
    return kind && kind->readUntil(text, delimiter);
}

bool File::readUntil(std::wstring& text, wchar_t delimiter) {
    return kind && kind->readUntil(text, delimiter);
}

bool File::atEof() const {
    return kind && kind->atEof();
}

bool File::write(const std::string& text) {
    return kind && kind->write(text);
}

bool File::write(const std::wstring& text) {
    return kind && kind->write(text);
}

bool File::write(char character) {
    return kind && kind->write(character);
}

bool File::write(wchar_t character) {
    return kind && kind->write(character);
}

bool File::flush() {
    return kind && kind->flush();
}

}  // namespace MovrikCorelib
