#include "FileObjectStream.h"

#include <cstdint>
#include <new>
#include <string_view>
#include <utility>

#include "FileTools.h"

namespace MovrikCorelib {

namespace {

constexpr std::string_view SavingSuffix = ".saving";

}  // namespace

void FileObjectStream::setExternalFile(File& newFile, bool wide) {
    if (file)
        throwFailure<SetFile_AlreadySet>("SetFile_AlreadySet");
    if (!newFile.canRead() && !newFile.canWrite())
        throwFailure<SetFile_FileNotOpen>("SetFile_FileNotOpen");
    if (newFile.canRead() && newFile.canWrite())
        throwFailure<SetFile_FileBothRW>("SetFile_FileBothRW");
    if (newFile.canRead())
        forget();
    file = &newFile;
    externalForm = wide ? WideText : NarrowText;
}

template <class Text>
void FileObjectStream::openOutNamed(Text name) {
    if (file)
        throwFailure<OpenOut_AlreadyOpen>("OpenOut_AlreadyOpen");
    std::unique_ptr<File> opened;
    try {
        name.append(SavingSuffix.begin(), SavingSuffix.end());
        opened = std::make_unique<File>(name);
    } catch (const std::bad_alloc&) {
        throwFailure<OpenOut_OutOfMemory>("OpenOut_OutOfMemory");
    }
    if (!opened->openOut())
        throwFailure<OpenOut_Failed>(
            L"@file-object-stream.open-out.failed{Could not open \"%\" for writing};", ParamStream() << name);
    if (state == Parsing)
        state = holdsTree() ? Ready : Untouched;  // what is written now is no part of what was parsed
    own = std::move(opened);
    file = own.get();
    unsaved = holdsTree();  // or a tree that was read would leave an empty file
}

void FileObjectStream::openOut(const std::string& name) {
    openOutNamed(name);
}

void FileObjectStream::openOut(const std::wstring& name) {
    openOutNamed(name);
}

template <class Text>
void FileObjectStream::openInNamed(const Text& name) {
    if (file)
        throwFailure<OpenOut_AlreadyOpen>("OpenOut_AlreadyOpen");
    std::unique_ptr<File> opened;
    try {
        opened = std::make_unique<File>(name);
    } catch (const std::bad_alloc&) {
        throwFailure<OpenIn_OutOfMemory>("OpenIn_OutOfMemory");
    }
    if (!opened->openIn())
        throwFailure<OpenIn_Failed>(L"@file-object-stream.open-in.failed{Could not open \"%\" for reading};",
                                    ParamStream() << name);
    forget();
    own = std::move(opened);
    file = own.get();
}

void FileObjectStream::openIn(const std::string& name) {
    openInNamed(name);
}

void FileObjectStream::openIn(const std::wstring& name) {
    openInNamed(name);
}

void FileObjectStream::close() {
    if (!file)
        throwFailure<Close_NotOpen>("Close_NotOpen");
    if (!own)
        throwFailure<Close_CannotCloseExternalFile>("Close_CannotCloseExternalFile");
    const std::unique_ptr<File> closing = std::move(own);
    file = nullptr;
    const bool written = closing->canWrite();
    const bool stored = closing->close();
    if (!written)
        return;
    const std::string savingName = closing->getNameAlways();
    const std::string finalName = savingName.substr(0, savingName.size() - SavingSuffix.size());
    if (!stored || unsaved || !FileTools::move(savingName, finalName, true, 0, false))
        throwFailure<Close_FailedToFinalize>(
            L"@file-object-stream.close.failed-to-finalize{Failed to rename \"%\" to final \"%\"};",
            ParamStream() << savingName << finalName);
}

std::string FileObjectStream::getFileName() const {
    return file ? file->getNameAlways() : std::string();
}

std::wstring FileObjectStream::getFileNameW() const {
    return file ? file->getNameAlwaysW() : std::wstring();
}

/// Drops what an earlier file has given.
void FileObjectStream::forget() {
    clear();
    state = Untouched;
}

bool FileObjectStream::isWide() const {
    return (own ? textForm : externalForm) == WideText;
}

/// Behind a name, wide text has a line feed and then a bracket or white space: in bytes "\n", NUL, any, NUL.
/// Narrow text has a NUL at most in a name or a value.
bool FileObjectStream::holdsWideText() {
    if (!file->setPos(0))
        return false;
    bool wide = false;
    std::uint32_t latest = 0;
    for (char byte = ' '; !wide && file->read(byte);) {
        latest = latest << 8 | static_cast<unsigned char>(byte);
        wide = (latest & 0xFFFF00FF) == 0x0A000000;
    }
    file->setPos(0);
    return wide;
}

void FileObjectStream::saveStream() {
    if (!file)
        throwFailure<Save_HaveNoFile>("Save_HaveNoFile");
    if (!file->canWrite())
        throwFailure<Save_FileNotOpenForWriting>("Save_FileNotOpenForWriting");
    const bool taken = isWide() ? file->write(getWStringFormat()) : file->write(getStringFormat());
    if (!taken || !file->flush())
        throwFailure<Save_FailedToSave>(
            L"@file-object-stream.save.failed-to-save{Failed to save stream to \"%\"};",
            ParamStream() << file->getNameAlways());
    unsaved = false;
}

void FileObjectStream::loadStream() {
    if (!file)
        throwFailure<Load_HaveNoFile>("Load_HaveNoFile");
    if (!file->canRead())
        throwFailure<Load_FileNotOpenForReading>("Load_FileNotOpenForReading");
    if (own ? holdsWideText() : isWide())
        parseDefaultW();
    else
        parseDefault();
    state = Ready;
}

template <class Char>
bool FileObjectStream::readLine(ParserDef& parser, std::basic_string<Char>& line, Char lineEnd) {
    while (file->readUntil(line, lineEnd)) {
        ++parser.line;
        if (tidyLine(line))
            return true;
    }
    if (file->getPos() < file->size())
        throwFailure<Load_FailedToLoad>(
            L"@file-object-stream.load.failed-to-load{Failed to load data from \"%\"};",
            ParamStream() << file->getNameAlways());
    return false;
}

bool FileObjectStream::getNextLine(ParserDef& parser, String& line) {
    if (!file)
        throwFailure<Load_HaveNoFile>("Load_HaveNoFile");
    line.wide = parser.lineEnd.wide;
    return line.wide ? readLine(parser, line.nameW, L'\n') : readLine(parser, line.name, '\n');
}

}  // namespace MovrikCorelib
