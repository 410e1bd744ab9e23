#pragma once

#include <list>
#include <string>

#include "FileText.h"

namespace MovrikCorelib {

/// The part of `FileTools` that cuts files up and puts them together, byte by byte, for one character type.
/// Delimiters are texts, wide ones converted to bytes, and must not be empty. A target or part that exists is
/// refused; those made by an operation that fails are deleted again. The callback gets 1 with the bytes done
/// for each file completed.
template <class Char>
class FileSurgery {
    using String = std::basic_string<Char>;
    using Progress = FileProgress<Char>;

public:
    /// Copy the parts of `source` to `target`.1, `target`.2 and so on, and add those names to `parts`: parts
    /// of `partSize` bytes (not 0), the last one with the rest; or what stands between the delimiters, be it
    /// empty. An empty source has one empty part.
    static bool split(const String& source, const String& target, unsigned long long partSize,
                      std::list<String>& parts, const Progress& progress = nullptr);
    static bool splitDelim(const String& source, const String& target, const String& delimiter,
                           std::list<String>& parts, const Progress& progress = nullptr);
    /// Puts the parts together, in their order; `joinDelim` with the delimiter between them.
    static bool join(const std::list<String>& parts, const String& target,
                     const Progress& progress = nullptr);
    static bool joinDelim(const std::list<String>& parts, const String& target, const String& delimiter,
                          const Progress& progress = nullptr);

    /// Puts a copy of `source` at the end of `target`, which is made if need be; `appendDelim` with the
    /// delimiter ahead of it unless `target` is empty. A failure leaves `target` as it was.
    static bool append(const String& source, const String& target, const Progress& progress = nullptr);
    static bool appendDelim(const String& source, const String& target, const String& delimiter,
                            const Progress& progress = nullptr);
    /// Moves the end of `source` into the new file `target`: all from `position` on, or all behind the last
    /// delimiter, which goes. False if `source` is shorter than that or has no delimiter.
    static bool detach(const String& source, const String& target, unsigned long long position,
                       const Progress& progress = nullptr);
    static bool detachDelim(const String& source, const String& target, const String& delimiter,
                            const Progress& progress = nullptr);
};

}  // namespace MovrikCorelib
