#include "FileSurgery.h"

#include <unistd.h>

#include <algorithm>
#include <vector>

#include "FileOps.h"
#include "FileScanner.h"
#include "FileStatus.h"
#include "PathForm.h"

namespace MovrikCorelib {

namespace {

constexpr std::size_t BlockSize = 256 * 1024;

/// Copies `count` bytes; false if not all of them could be read and written.
bool copyBytes(FILE* from, FILE* to, unsigned long long count) {
    std::vector<char> block(static_cast<std::size_t>(std::min<unsigned long long>(count, BlockSize)));
    while (count > 0) {
        const std::size_t wanted =
            static_cast<std::size_t>(std::min<unsigned long long>(count, block.size()));
        const std::size_t got = fread(block.data(), 1, wanted, from);
        if (got < wanted || !FileOps::writeFStr(to, std::string_view(block.data(), got)))
            return false;
        count -= got;
    }
    return true;
}

/// Files being made, deleted again unless all went well.
template <class Char>
class NewFiles {
    using String = std::basic_string<Char>;

public:
    NewFiles() = default;
    NewFiles(const NewFiles&) = delete;
    NewFiles& operator=(const NewFiles&) = delete;
    ~NewFiles() {
        stream.reset();
        for (const String& name : names)
            unlink(SystemPath(name));
    }

    bool open(const String& name) {
        stream = FileOps::openFOut(systemText(name), true);
        if (stream)
            names.push_back(name);
        return stream != nullptr;
    }
    FILE* out() const { return stream.get(); }
    bool close() { return FileOps::closeF(stream); }
    void keep() { names.clear(); }

    std::list<String> names;

private:
    FileOps::Stream stream;
};

template <class Char>
std::basic_string<Char> partName(const std::basic_string<Char>& target, std::size_t number) {
    return target + textOf<Char>("." + StringTools::toString(number));
}

/// Cuts the end of `source` off at `end` once all from `start` on stands in the new file `target`.
template <class Char>
bool moveEnd(const std::basic_string<Char>& source, const std::basic_string<Char>& target,
             unsigned long long start, unsigned long long end, const FileProgress<Char>& progress) {
    const unsigned long long size = FileStatus<Char>::size(source);
    const FileOps::Stream from = FileOps::openFIn(systemText(source));
    NewFiles<Char> made;
    if (!from || start > size || fseeko(from.get(), static_cast<off_t>(start), SEEK_SET) != 0 ||
        !made.open(target) || !copyBytes(from.get(), made.out(), size - start) || !made.close() ||
        truncate64(SystemPath(source), static_cast<off64_t>(end)) != 0)
        return false;
    made.keep();
    if (progress)
        progress(target, 1, size - start, size - start);
    return true;
}

template <class Char>
bool joinFiles(const std::list<std::basic_string<Char>>& parts, const std::basic_string<Char>& target,
               const std::string& delimiter, const FileProgress<Char>& progress) {
    unsigned long long all = 0;
    for (const auto& part : parts)
        all += FileStatus<Char>::size(part);
    NewFiles<Char> made;
    if (!made.open(target))
        return false;
    unsigned long long done = 0;
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        const unsigned long long size = FileStatus<Char>::size(*part);
        const FileOps::Stream from = FileOps::openFIn(systemText(*part));
        if (!from || (part != parts.begin() && !FileOps::writeFStr(made.out(), delimiter)) ||
            !copyBytes(from.get(), made.out(), size))
            return false;
        done += size;
        if (progress)
            progress(*part, 1, done, all);
    }
    if (!made.close())
        return false;
    made.keep();
    return true;
}

template <class Char>
bool appendFile(const std::basic_string<Char>& source, const std::basic_string<Char>& target,
                const std::string& delimiter, const FileProgress<Char>& progress) {
    const bool isNew = !FileStatus<Char>::exists(target);
    const unsigned long long before = FileStatus<Char>::size(target);
    const unsigned long long size = FileStatus<Char>::size(source);
    const FileOps::Stream from = FileOps::openFIn(systemText(source));
    if (!from)
        return false;
    FileOps::Stream to = FileOps::openFAppend(systemText(target));
    if (!to)
        return false;
    bool all =
        (before == 0 || FileOps::writeFStr(to.get(), delimiter)) && copyBytes(from.get(), to.get(), size);
    all = FileOps::closeF(to) && all;
    if (!all) {
        // A failure here leaves nothing to be done but to report the first one.
        if (isNew)
            unlink(SystemPath(target));
        else if (truncate64(SystemPath(target), static_cast<off64_t>(before)) != 0)
            return false;
    } else if (progress) {
        progress(target, 1, size, size);
    }
    return all;
}

}  // namespace

template <class Char>
bool FileSurgery<Char>::split(const String& source, const String& target, unsigned long long partSize,
                              std::list<String>& parts, const Progress& progress) {
    const FileOps::Stream from = FileOps::openFIn(systemText(source));
    if (!from || partSize == 0)
        return false;
    const unsigned long long all = FileStatus<Char>::size(source);
    NewFiles<Char> made;
    unsigned long long done = 0;
    do {
        const unsigned long long size = std::min(partSize, all - done);
        if (!made.open(partName(target, made.names.size() + 1)) || !copyBytes(from.get(), made.out(), size) ||
            !made.close())
            return false;
        done += size;
        if (progress)
            progress(made.names.back(), 1, done, all);
    } while (done < all);
    parts.insert(parts.end(), made.names.begin(), made.names.end());
    made.keep();
    return true;
}

template <class Char>
bool FileSurgery<Char>::splitDelim(const String& source, const String& target, const String& delimiter,
                                   std::list<String>& parts, const Progress& progress) {
    const std::string mark = systemText(delimiter);
    const FileOps::Stream from = FileOps::openFIn(systemText(source));
    if (!from || mark.empty())
        return false;
    const unsigned long long all = FileStatus<Char>::size(source);
    NewFiles<Char> made;
    FileScanner scanner(from.get(), mark);
    for (bool more = true; more;) {
        if (!made.open(partName(target, made.names.size() + 1)))
            return false;
        more = scanner.next([&](std::string_view bytes) { return FileOps::writeFStr(made.out(), bytes); });
        if (scanner.failed() || !made.close())
            return false;
        if (progress)
            progress(made.names.back(), 1, more ? scanner.position() : all, all);
    }
    parts.insert(parts.end(), made.names.begin(), made.names.end());
    made.keep();
    return true;
}

template <class Char>
bool FileSurgery<Char>::join(const std::list<String>& parts, const String& target, const Progress& progress) {
    return joinFiles<Char>(parts, target, std::string(), progress);
}

template <class Char>
bool FileSurgery<Char>::joinDelim(const std::list<String>& parts, const String& target,
                                  const String& delimiter, const Progress& progress) {
    return !delimiter.empty() && joinFiles<Char>(parts, target, systemText(delimiter), progress);
}

template <class Char>
bool FileSurgery<Char>::append(const String& source, const String& target, const Progress& progress) {
    return appendFile<Char>(source, target, std::string(), progress);
}

template <class Char>
bool FileSurgery<Char>::appendDelim(const String& source, const String& target, const String& delimiter,
                                    const Progress& progress) {
    return !delimiter.empty() && appendFile<Char>(source, target, systemText(delimiter), progress);
}

template <class Char>
bool FileSurgery<Char>::detach(const String& source, const String& target, unsigned long long position,
                               const Progress& progress) {
    return moveEnd<Char>(source, target, position, position, progress);
}

template <class Char>
bool FileSurgery<Char>::detachDelim(const String& source, const String& target, const String& delimiter,
                                    const Progress& progress) {
    const std::string mark = systemText(delimiter);
    FileOps::Stream from = FileOps::openFIn(systemText(source));
    if (!from || mark.empty())
        return false;
    FileScanner scanner(from.get(), mark);
    bool found = false;
    while (scanner.next())
        found = true;
    const bool usable = found && !scanner.failed();
    from.reset();
    return usable &&
           moveEnd<Char>(source, target, scanner.position() + mark.size(), scanner.position(), progress);
}

template class FileSurgery<char>;
template class FileSurgery<wchar_t>;

}  // namespace MovrikCorelib
