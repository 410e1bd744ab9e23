#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "DateTimeDetails.h"
#include "File.h"
#include "Logger.h"

namespace Movrik {

/// The splitting engine. Walks the day directories of an archive, recognises poll files whose polls lie on
/// both sides of a whole hour of the server's zone, and replaces each by its renamed source and two files cut
/// at that hour. Keeps nothing between calls and locks nothing: one walk at a time on one archive.
///
/// Failures of single files are logged and leave the file as it was; only an `Exception` ends a walk.
class Splitter {
public:
    /// Kinds of lines. `LineData::compare` orders by these numbers.
    enum LineType : unsigned int {
        Header = 0,       ///< begins with "@"
        LogTime = 1,      ///< "@quorvel.log.time="
        PollStart = 2,    ///< "@polling.start="
        Version = 3,      ///< "10:*", or "9*" of at most 9 characters
        ShortRecord = 4,  ///< five colon-separated positions
        LongRecord = 5,   ///< seventeen colon-separated positions
        ZeroLine = 6,     ///< "0"
        OtherLine = 7,    ///< anything else, the empty line included
        HexLine = 8,      ///< 32 lower-case hexadecimal digits
        ChildRecord = 9   ///< level-2 record that hangs below a parent
    };

    /// One line of a poll file, without its line feed.
    class LineData {
    public:
        /// The line as it goes into a file. It has the bytes that were read, except where `text` of a time
        /// line was replaced.
        std::string getString() const;

        /// As `getString`, without a copy where the line is stored in that form; the result is either
        /// `text` or `scratch`.
        const std::string& getString(std::string& scratch) const;

        /// Negative, zero or positive. Records compare by their identifying fields, so two samples of one
        /// entry are equal whatever they count; a missing field counts as an empty one.
        int compare(const LineData& other) const;

        /// The field at `index`, empty if the record has fewer.
        const std::string& field(std::size_t index) const;

        friend bool operator<(const LineData& a, const LineData& b) { return a.compare(b) < 0; }

        unsigned int type = Header;
        std::string text;                 ///< as read; for `LogTime` and `PollStart` only the value
        std::vector<std::string> fields;  ///< of a record, less its empty positions; the last may be empty
        std::set<LineData> children;      ///< level-2 records below this record
    };

    /// A whole poll file.
    struct FileData {
        std::vector<LineData> lines;
        unsigned long long splitIndex = 0;  ///< first `PollStart` of a later hour than the log; 0: none
        unsigned int splitTime = 0;         ///< its value, seconds since 1970 GMT; 0: none
    };

    /// Key of the state table. `key` alone decides the order; the rest changes while a table is filled.
    struct FeatureDef {
        FeatureDef() = default;
        /// Takes the key of a record; `line` and `usage` stay empty.
        explicit FeatureDef(const LineData& record) { setKey(record); }

        /// Assigns `key` for a record, empty for a line that is none.
        void setKey(const LineData& record);

        friend bool operator<(const FeatureDef& a, const FeatureDef& b) { return a.key < b.key; }

        std::string key;
        mutable LineData line;             ///< first short record of the feature, or empty
        mutable std::set<LineData> usage;  ///< child records, accumulated
    };

    using FeatureMap = std::map<FeatureDef, std::set<LineData>>;

    Splitter();
    virtual ~Splitter() = default;

    /// The whole walk, both days included. False only if an `Exception` ended it, which is logged.
    bool run(const MovrikCorelib::DateTimeDetails& start, const MovrikCorelib::DateTimeDetails& end);

    /// The archive's root from the configuration; throws the failures of `ConfAgent::getDir`.
    std::string getArchiveDir();

    /// The directory of a day, with a separator at its end.
    std::string getArchivePath(const std::string& archiveDir, const MovrikCorelib::DateTimeDetails& day);

    void scan(const std::string& archiveDir, const MovrikCorelib::DateTimeDetails& start,
              const MovrikCorelib::DateTimeDetails& end);

    /// Handles the poll files of one day directory, which ends in a separator.
    void scan(const std::string& dir);

    /// True for what an earlier run has written.
    bool isSplitFile(const std::string& path);

    /// Examines one file and splits it if it is a half-hour file.
    void processFile(const std::string& path);

    /// Opens for reading; a failure is logged.
    bool open(MovrikCorelib::File& file);

    /// Reads an open file to its end and tells whether its polls lie on both sides of the whole hour nearest
    /// to the first of them.
    bool isHalfHourOffset(MovrikCorelib::File& file);

    /// Reads and classifies a file, replacing `data`. False, with a log entry, if it cannot be opened.
    bool readFile(const std::string& path, FileData& data);

    /// The parts joined with ":".
    static std::string getString(const std::vector<std::string>& fields);

    /// Renames one half-hour file to its source name and writes both split files. What fails is logged; the
    /// source is never changed.
    void splitFile(const std::string& path);

    /// Renames base.fromSuffix to base.toSuffix; false if that is impossible or the target exists.
    bool renameFile(const std::string& base, const std::string& fromSuffix, const std::string& toSuffix);

    void createSplit1(const std::string& dir, const std::string& name, const std::string& suffix,
                      FileData& data);
    void createSplit2(const std::string& dir, const std::string& name, const std::string& suffix,
                      FileData& data);

    /// The three stages of the second file share `index`, the first line not consumed yet.
    /// Replaces the values of the time lines in `data` by the split time.
    void writeHeader(MovrikCorelib::File& file, FileData& data, unsigned long& index);
    /// Moves the records that it replays out of `data`: their lines are empty afterwards.
    void writeFirstPoll(MovrikCorelib::File& file, FileData& data, unsigned long& index);
    void writeRemainder(MovrikCorelib::File& file, FileData& data, unsigned long& index);

    /// Merges a later sample into a set: it replaces an equal one, or removes it if its count is zero.
    void processUsage(std::set<LineData>& usage, const LineData& line);
    void processUsage(std::set<LineData>& usage, LineData&& line);

    /// Writes the state table and the empty line that ends a poll. Each entry leaves the table once written.
    void writeStatus(MovrikCorelib::File& file, FileData& data, unsigned long& index, FeatureMap& features);

private:
    /// With `forSplit`, less the fields and children that the writers of a split have no use for. Its long
    /// records may lack fields, so they are to be written from their text.
    bool readFile(const std::string& path, FileData& data, bool forSplit);
    /// Moves the records of one feature, in the order of the file, into its entry of the state table.
    void foldRecords(const std::vector<LineData*>& records, FeatureMap::value_type& entry);
    bool write(MovrikCorelib::File& file, const std::string& text);
    void writeLine(MovrikCorelib::File& file, const LineData& line);
    void writeLines(MovrikCorelib::File& file, const std::set<LineData>& lines);
    bool openOut(MovrikCorelib::File& file);

    MovrikCorelib::Logger logger_;
    std::string scratch_;    ///< text of the line being written
    bool fromText_ = false;  ///< long records are written from `text`; set while a split writes what it read
};

}  // namespace Movrik
