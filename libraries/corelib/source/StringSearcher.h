#pragma once

#include <string>

namespace MovrikCorelib {

/// Finds something in a range of a text. Known to callers as `StringTools::StringSearcher`, and the classes
/// below likewise.
class StringSearcher {
public:
    virtual ~StringSearcher() = default;

    /// Looks at `length` characters from `start`, fewer if the text ends before. True if something was found,
    /// with `position` (counted from the start of the text) and `size` set; false leaves both alone.
    virtual bool operator()(unsigned long& position, unsigned long& size, const std::string& text,
                            unsigned long start, unsigned long length) const = 0;
    virtual bool operator()(unsigned long& position, unsigned long& size, const std::wstring& text,
                            unsigned long start, unsigned long length) const = 0;

    /// False if `start` is at or past the end of the text; otherwise clips `length` to what remains.
    static bool validateParameters(const std::string& text, unsigned long start, unsigned long& length);
    static bool validateParameters(const std::wstring& text, unsigned long start, unsigned long& length);
};

/// Finds the first character that is one of a set.
class CharSearcher : public StringSearcher {
public:
    explicit CharSearcher(const std::string& characters);
    explicit CharSearcher(const std::wstring& characters);

    bool operator()(unsigned long& position, unsigned long& size, const std::string& text,
                    unsigned long start, unsigned long length) const override;
    bool operator()(unsigned long& position, unsigned long& size, const std::wstring& text,
                    unsigned long start, unsigned long length) const override;

private:
    std::string characters_;
    std::wstring charactersW_;
};

/// Finds the first match of a glob, with the rules of `GlobMatcher::find`; an empty glob finds nothing.
class GlobSearcher : public StringSearcher {
public:
    explicit GlobSearcher(const std::string& glob);
    explicit GlobSearcher(const std::wstring& glob);

    bool operator()(unsigned long& position, unsigned long& size, const std::string& text,
                    unsigned long start, unsigned long length) const override;
    bool operator()(unsigned long& position, unsigned long& size, const std::wstring& text,
                    unsigned long start, unsigned long length) const override;

private:
    std::string glob_;
    std::wstring globW_;
};

/// Finds where the line that begins at `start` ends, so that `StringTools::splitSearcherVector` wraps a text.
/// A line ends ahead of a line feed, which is dropped; otherwise, if the range does not fit into one line,
/// at the last place that keeps the line within `lineSize` characters: ahead of a run of whitespace, which
/// is dropped with a line feed that ends it, or behind one of `breakAfter`, which stays on the line. A word
/// longer than a line is cut. Not found means that the rest of the range is the last line; whitespace at its
/// end may stick out.
class LineSizeSearcher : public StringSearcher {
public:
    /// A `lineSize` of 0 counts as 1.
    explicit LineSizeSearcher(unsigned long lineSize, const std::string& breakAfter = "-");
    LineSizeSearcher(unsigned long lineSize, const std::wstring& breakAfter);

    bool operator()(unsigned long& position, unsigned long& size, const std::string& text,
                    unsigned long start, unsigned long length) const override;
    bool operator()(unsigned long& position, unsigned long& size, const std::wstring& text,
                    unsigned long start, unsigned long length) const override;

private:
    unsigned long lineSize_;
    std::string breakAfter_;
    std::wstring breakAfterW_;
};

}  // namespace MovrikCorelib
