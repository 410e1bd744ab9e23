#include "Splitter.h"

#include <algorithm>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

#include "ConfAgent.h"
#include "DateTime.h"
#include "Exception.h"
#include "FileTools.h"
#include "GlobMatcher.h"
#include "StringTools.h"
#include "TimeSpan.h"
#include "TimeZone.h"

using namespace MovrikCorelib;

namespace Movrik {

namespace {

constexpr std::string_view LogTimePrefix = "@quorvel.log.time=";
constexpr std::string_view PollStartPrefix = "@polling.start=";
constexpr std::string_view PollIntervalPrefix = "@polling.interval=";

constexpr unsigned long long Hour = 3600000;
constexpr long long HalfHour = 1800000;
const std::string NoField;
constexpr unsigned long Everything = std::numeric_limits<unsigned long>::max();

/// Distance of the origin of `DateTime` from the Unix epoch, in milliseconds.
constexpr unsigned long long EpochOffset = 2209075200000;

DateTime fromUnixTime(unsigned long long seconds, const TimeZone& zone) {
    return DateTime(seconds * 1000 + EpochOffset, zone);
}

TimeZone currentZone() {
    TimeZone zone;
    zone.setCurrent(false);
    return zone;
}

/// Record patterns by level, in the order in which they are tried.
struct RecordForm {
    Splitter::LineType type;
    std::size_t colons;  ///< a line with fewer cannot match
    bool endsFilled;     ///< whether the last position must have something in it
    std::string globs[3];
};

const RecordForm& longForm() {
    static const std::string tail = ":?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:*";
    static const RecordForm form{
        Splitter::LongRecord, 16, false, {"?*:0" + tail, "?*:1" + tail, "?*:2" + tail}};
    return form;
}

const RecordForm& shortForm() {
    static const std::string tail = ":?*:?*:?*";
    static const RecordForm form{
        Splitter::ShortRecord, 4, true, {"?*:0" + tail, "?*:1" + tail, "?*:2" + tail}};
    return form;
}

/// A line cut at its colons, as far as the forms of records go.
struct Positions {
    explicit Positions(std::string_view line) {
        std::size_t begin = 0;
        for (std::size_t colon; colons < Most && (colon = line.find(':', begin)) != line.npos;
             begin = colon + 1) {
            parts[colons++] = line.substr(begin, colon - begin);
            filled = filled && colon > begin;
        }
        parts[colons] = line.substr(begin);
    }

    static constexpr std::size_t Most = 17;  ///< more than any form has
    std::size_t colons = 0;
    bool filled = true;  ///< all positions but the last have something in them
    std::string_view parts[Most + 1];
};

/// The level of a record of this form, or -1. A line that has just the colons of the form spends each of them
/// on one of the glob's, so it matches if its positions are filled; for others the globs decide.
int matchLevel(const RecordForm& form, const std::string& line, const Positions& positions) {
    if (positions.colons < form.colons)
        return -1;
    if (positions.colons == form.colons) {
        const std::string_view level = positions.parts[1];
        const bool filled = positions.filled && !(form.endsFilled && positions.parts[form.colons].empty());
        return filled && level.size() == 1 && level >= "0" && level <= "2" ? level[0] - '0' : -1;
    }
    for (int level = 0; level < 3; ++level)
        if (GlobMatcher::match(line, form.globs[level], 0, Everything))
            return level;
    return -1;
}

bool isHexLine(std::string_view line) {
    return line.size() == 32 && line.find_first_not_of("0123456789abcdef") == line.npos;
}

/// Whether the header of a poll file is over with this line.
bool endsHeader(const Splitter::LineData& line) {
    return line.type == Splitter::ShortRecord || line.type == Splitter::LongRecord ||
           line.type == Splitter::ZeroLine;
}

std::string joinPath(const std::string& dir, const std::string& name, const std::string& suffix) {
    return dir + FileTools::dirSep() + name + "." + suffix;
}

/// Removes "." and the suffix from the end of a file name.
void cutSuffix(std::string& name, const std::string& suffix) {
    if (name.size() > suffix.size() && name.ends_with("." + suffix))
        name.erase(name.size() - suffix.size() - 1);
}

/// Makes room for the lines to come when there is none left, as many as the rest of a plain file promises and
/// an eighth more: growing by doubling would have up to twice the memory at a time. A file that begins with
/// lines of unusual size must not ask for more than it takes in the end, hence the two limits.
void makeRoom(std::vector<Splitter::LineData>& lines, const File& file) {
    constexpr std::size_t Sample = 1024, Growth = 16, LeastLine = 64;
    if (lines.size() < lines.capacity() || lines.size() < Sample)
        return;
    const auto size = static_cast<double>(file.size());
    const auto count = static_cast<double>(lines.size());
    const double promised = count * 1.125 * size / static_cast<double>(file.getPos());
    try {
        lines.reserve(static_cast<std::size_t>(std::min({promised, count * Growth, size / LeastLine})));
    } catch (const std::bad_alloc&) {
        return;  // it was only a guess
    }
}

/// Has the processor fetch what is about to be used.
template <class Element>
void prefetch(const Element* elements, std::size_t count) {
    constexpr std::size_t CacheLine = 64;
    const char* const bytes = reinterpret_cast<const char*>(elements);
    for (std::size_t at = 0; at < count * sizeof(Element); at += CacheLine)
        __builtin_prefetch(bytes + at);
}

/// Whether the fields, joined with ":", are the text.
bool joinsTo(const std::vector<std::string>& fields, std::string_view text) {
    bool first = true;
    for (const std::string& field : fields) {
        if (!first) {
            if (!text.starts_with(':'))
                return false;
            text.remove_prefix(1);
        }
        if (!text.starts_with(field))
            return false;
        text.remove_prefix(field.size());
        first = false;
    }
    return text.empty();
}

}  // namespace

const std::string& Splitter::LineData::getString(std::string& scratch) const {
    switch (type) {
        case LogTime:
            return scratch.assign(LogTimePrefix).append(text);
        case PollStart:
            return scratch.assign(PollStartPrefix).append(text);
        case LongRecord:
            // A record that was read with empty positions has lost them in its fields; its text has not.
            if (joinsTo(fields, text) || StringTools::splitVector(text, ':', Everything, true) == fields)
                return text;
            return scratch = Splitter::getString(fields);
        default:
            return text;
    }
}

std::string Splitter::LineData::getString() const {
    std::string scratch;
    return getString(scratch);
}

const std::string& Splitter::LineData::field(std::size_t index) const {
    return index < fields.size() ? fields[index] : NoField;
}

int Splitter::LineData::compare(const LineData& other) const {
    const auto isRecord = [](unsigned int kind) { return kind == ShortRecord || kind == LongRecord; };
    if (!isRecord(type) || !isRecord(other.type)) {
        if (type != other.type)
            return type < other.type ? -1 : 1;
        return text.compare(other.text);
    }
    for (const std::size_t index : {2u, 3u, 4u})
        if (int difference = field(index).compare(other.field(index)))
            return difference;
    if (type != other.type)
        return type < other.type ? -1 : 1;
    if (type == LongRecord)
        for (const std::size_t index : {8u, 9u, 13u, 14u})
            if (int difference = field(index).compare(other.field(index)))
                return difference;
    return 0;
}

void Splitter::FeatureDef::setKey(const LineData& record) {
    key.clear();
    if (!record.fields.empty())
        key.append(record.field(2))
            .append(1, ':')
            .append(record.field(3))
            .append(1, ':')
            .append(record.field(4));
}

Splitter::Splitter() : logger_("splitter", nullptr) {}

bool Splitter::run(const DateTimeDetails& start, const DateTimeDetails& end) {
    logger_.debug("Splitting files from % to %",
                  ParamStream() << start.getString(true, false, false) << end.getString(true, false, false));
    try {
        scan(getArchiveDir(), start, end);
    } catch (Exception& failure) {
        logger_.error(failure);
        return false;
    }
    return true;
}

std::string Splitter::getArchiveDir() {
    ConfAgent agent;
    return agent.getDir("%archive-dir%");
}

std::string Splitter::getArchivePath(const std::string& archiveDir, const DateTimeDetails& day) {
    const char separator = FileTools::dirSep();
    std::string path = archiveDir + separator + "quorvel2" + separator;
    for (long long part : {day.year, day.month, day.day})
        path += StringTools::toString(part) + separator;
    return path;
}

void Splitter::scan(const std::string& archiveDir, const DateTimeDetails& start, const DateTimeDetails& end) {
    const TimeSpan day(0, 0, 1, 0, 0, 0, 0);
    for (DateTimeDetails current = start; current.compare(end) <= 0; current += day) {
        const std::string dir = getArchivePath(archiveDir, current);
        if (FileTools::isDir(dir))
            scan(dir);
    }
}

void Splitter::scan(const std::string& dir) {
    logger_.trace("Splitter::scan: \"%\"", ParamStream() << dir);
    std::set<std::string> names;
    for (const char* pattern : {"*-*.in*", "*-*.splitsrc", "*-*.splitsrc.gz"})
        FileTools::readDir(dir, pattern, &names, nullptr);
    for (const std::string& name : names)
        if (!isSplitFile(dir + name))
            processFile(dir + name);
}

bool Splitter::isSplitFile(const std::string& path) {
    return GlobMatcher::match(FileTools::getBase(path, false), "*.split?.in*", 0, Everything);
}

void Splitter::processFile(const std::string& path) {
    logger_.trace("Splitter::processFile: \"%\"", ParamStream() << path);
    bool halfHour = false;
    {
        File file(path);
        if (!open(file))
            return;
        halfHour = isHalfHourOffset(file);
        file.close();
    }
    if (!halfHour) {
        logger_.trace("Splitter::processFile:    File is NOT half hour offset");
        return;
    }
    logger_.trace("Splitter::processFile:    File IS half hour offset");
    splitFile(path);
}

bool Splitter::open(File& file) {
    if (file.openIn())
        return true;
    // Shares its key with the message of readFile; log filters in the field rely on both texts.
    logger_.error("@vorz.splitter.open-in.failed{Failed to open file \"%\" for reading - skipping file};",
                  ParamStream() << file.getNameAlways());
    return false;
}

bool Splitter::isHalfHourOffset(File& file) {
    const TimeZone zone = currentZone();
    std::set<DateTime> polls;
    unsigned long long interval = 0;
    for (std::string line; file.readUntil(line, '\n');) {
        if (line.starts_with(PollIntervalPrefix)) {
            interval = StringTools::toUInt64(line.substr(PollIntervalPrefix.size())) * 1000;
        } else if (line.starts_with(PollStartPrefix)) {
            DateTime poll = fromUnixTime(StringTools::toUInt32(line.substr(PollStartPrefix.size())), zone);
            poll.alignTZ(interval, zone);
            polls.insert(poll);
        }
    }
    if (polls.empty())
        return false;

    const DateTime first = *polls.begin();
    DateTime boundary = first;
    boundary.alignTZ(Hour, zone);
    DateTime halfHourBefore = first;
    halfHourBefore -= TimeSpan(HalfHour);
    // Strict: a first poll at exactly half past keeps the hour before it, and whole-hour files stay whole.
    if (boundary.compare(halfHourBefore) < 0)
        boundary += TimeSpan(static_cast<long long>(Hour));

    return polls.begin()->compare(boundary) < 0 && polls.rbegin()->compare(boundary) > 0;
}

bool Splitter::readFile(const std::string& path, FileData& data) {
    return readFile(path, data, false);
}

bool Splitter::readFile(const std::string& path, FileData& data, bool forSplit) {
    File file(path);
    if (!file.openIn()) {
        logger_.error("@vorz.splitter.open-in.failed{Failed to open file \"%\" for reading};", ParamStream()
                                                                                                   << path);
        return false;
    }

    constexpr std::size_t Unset = std::numeric_limits<std::size_t>::max();
    const TimeZone zone = currentZone();
    const auto hourOf = [&zone](unsigned long long seconds) {
        DateTime hour = fromUnixTime(seconds, zone);
        hour.alignTZ(Hour, zone);
        return hour;
    };

    data.lines.clear();
    data.splitIndex = 0;
    data.splitTime = 0;
    DateTime logHour;
    // Not reset at poll boundaries: the parent of a record may lie in an earlier poll.
    std::size_t parent = Unset;
    bool headerOver = false;
    // For a split, the line at which `writeFirstPoll` will stop. From there on lines are written as they
    // stand, so their fields and children are not kept.
    std::size_t remainder = Unset;

    const auto takeRecord = [&](std::size_t index, const RecordForm& form, int level,
                                const Positions& positions) {
        LineData& line = data.lines[index];
        line.type = form.type;
        if (level == 1)
            parent = index;
        // A short record does not hang below a parent on line 0: poll files in the field are read so.
        const bool isChild = level == 2 && parent != Unset && !(form.type == ShortRecord && parent == 0);
        const bool isReplayed = (isChild ? parent : index) < remainder;
        if (isReplayed) {
            if (positions.colons == form.colons)
                line.fields.assign(positions.parts, positions.parts + form.colons + 1);
            else
                line.fields = StringTools::splitVector(line.text, ':', Everything, true);
        }
        if (!isChild)
            return;
        if (isReplayed) {
            std::set<LineData>& siblings = data.lines[parent].children;
            const auto place = siblings.lower_bound(line);
            if (place == siblings.end() || line < *place) {
                LineData own;  // what stays at its place in the file
                own.text = line.text;
                if (!forSplit)
                    own.fields = line.fields;
                siblings.insert(place, std::exchange(line, std::move(own)));
            }
        }
        line.type = ChildRecord;
    };

    for (std::string text; file.readUntil(text, '\n');) {
        makeRoom(data.lines, file);
        const std::size_t index = data.lines.size();
        LineData& line = data.lines.emplace_back();
        if (text.starts_with(LogTimePrefix)) {
            line.type = LogTime;
            line.text.assign(text, LogTimePrefix.size());
            logHour = hourOf(StringTools::toUInt64(line.text));
            continue;
        }
        if (text.starts_with(PollStartPrefix)) {
            line.type = PollStart;
            line.text.assign(text, PollStartPrefix.size());
            if (data.splitIndex == 0 && hourOf(StringTools::toUInt64(line.text)).compare(logHour) > 0) {
                data.splitIndex = index;
                data.splitTime = StringTools::toUInt32(line.text);
            } else if (forSplit && headerOver && data.splitIndex != 0 && remainder == Unset) {
                remainder = index;
            }
            continue;
        }
        line.text = text;
        if (text.starts_with('@'))
            continue;
        if (text.starts_with("10:") || (text.starts_with('9') && text.size() <= 9)) {
            line.type = Version;
            continue;
        }
        const Positions positions(text);
        if (int level = matchLevel(longForm(), text, positions); level >= 0)
            takeRecord(index, longForm(), level, positions);
        else if (level = matchLevel(shortForm(), text, positions); level >= 0)
            takeRecord(index, shortForm(), level, positions);
        else if (isHexLine(text))
            line.type = HexLine;
        else
            line.type = text == "0" ? ZeroLine : OtherLine;
        headerOver = headerOver || endsHeader(line);
    }
    file.close();
    return true;
}

std::string Splitter::getString(const std::vector<std::string>& fields) {
    std::string text;
    for (const std::string& field : fields) {
        if (&field != &fields.front())
            text += ':';
        text += field;
    }
    return text;
}

void Splitter::splitFile(const std::string& path) {
    logger_.trace("Splitter::splitFile: \"%\"", ParamStream() << path);
    std::string dir = FileTools::getParent(path);
    if (dir.empty())
        dir = path.starts_with(FileTools::dirSep()) ? "/" : ".";
    std::string name = FileTools::getBase(path, false);
    std::string suffix = FileTools::getSuffix(name);
    cutSuffix(name, suffix);
    std::string sourceSuffix = "splitsrc";

    std::string lowered = suffix;
    if (StringTools::lower(lowered) == "gz") {
        sourceSuffix += ".gz";
        suffix = FileTools::getSuffix(name);
        cutSuffix(name, suffix);
        suffix += ".gz";
    }
    if (suffix == sourceSuffix) {
        suffix = suffix == "splitsrc" ? "in" : "in.gz";
    } else if (!renameFile(dir + FileTools::dirSep() + name, suffix, sourceSuffix)) {
        logger_.error(
            "@vorz.splitter.rename.failed{Failed to rename half-hour time zone file in \"%\" from "
            "\"%\" to \"%\"};",
            ParamStream() << dir << name + "." + suffix << name + "." + sourceSuffix);
        return;
    }

    FileData data;
    if (!readFile(joinPath(dir, name, sourceSuffix), data, true))
        return;
    struct Restore {
        ~Restore() { flag = before; }
        bool& flag;
        bool before = flag;
    };
    const Restore atEnd{fromText_};
    fromText_ = true;
    createSplit1(dir, name, suffix, data);
    createSplit2(dir, name, suffix, data);
}

bool Splitter::renameFile(const std::string& base, const std::string& fromSuffix,
                          const std::string& toSuffix) {
    return FileTools::move(base + "." + fromSuffix, base + "." + toSuffix, false, 4096, false, nullptr);
}

void Splitter::createSplit1(const std::string& dir, const std::string& name, const std::string& suffix,
                            FileData& data) {
    File file(joinPath(dir, name, "split1." + suffix));
    if (!openOut(file))
        return;
    write(file, "@quorvel.split=1");
    const std::size_t split = std::min<std::size_t>(data.splitIndex, data.lines.size());
    for (std::size_t index = 0; index < data.lines.size(); ++index) {
        const LineData& line = data.lines[index];
        const bool isBlankBeforeSplit = index + 1 == split && line.type == OtherLine;
        // Checksum lines close a file wherever they stood.
        if (index < split ? !isBlankBeforeSplit : line.type == HexLine)
            writeLine(file, line);
    }
    file.close();
}

void Splitter::createSplit2(const std::string& dir, const std::string& name, const std::string& suffix,
                            FileData& data) {
    File file(joinPath(dir, name, "split2." + suffix));
    if (!openOut(file))
        return;
    unsigned long index = 0;
    writeHeader(file, data, index);
    writeFirstPoll(file, data, index);
    writeRemainder(file, data, index);
    file.close();
}

void Splitter::writeHeader(File& file, FileData& data, unsigned long& index) {
    write(file, "@quorvel.split=2");
    for (; index < data.lines.size(); ++index) {
        LineData& line = data.lines[index];
        if (line.type == LogTime || line.type == PollStart)
            line.text = StringTools::toString(data.splitTime);
        else if (endsHeader(line))
            return;
        writeLine(file, line);
    }
}

void Splitter::writeFirstPoll(File& file, FileData& data, unsigned long& index) {
    // The records of each feature, in the order of the file. They are folded in feature by feature: the sets
    // of one feature stay in the processor's cache, the table of a large file does not.
    std::map<std::string, std::vector<LineData*>> records;
    FeatureDef feature;
    for (; index < data.lines.size(); ++index) {
        LineData& line = data.lines[index];
        if (line.type == PollStart && index > data.splitIndex) {
            FeatureMap features;
            for (const auto& [key, lines] : records) {
                feature.key = key;
                foldRecords(lines, *features.emplace_hint(features.end(), feature, std::set<LineData>()));
            }
            writeStatus(file, data, index, features);
            return;
        }
        if (line.type == ShortRecord || line.type == LongRecord) {
            feature.setKey(line);
            records[feature.key].push_back(&line);
        }
    }
    // A split poll that is the last of the file leaves no status: there is no later poll to open.
}

void Splitter::foldRecords(const std::vector<LineData*>& records, FeatureMap::value_type& entry) {
    constexpr std::size_t Ahead = 4;
    for (std::size_t index = 0; index < records.size(); ++index) {
        if (index + 2 * Ahead < records.size())
            prefetch(records[index + 2 * Ahead], 1);
        if (index + Ahead < records.size())
            prefetch(records[index + Ahead]->fields.data(), records[index + Ahead]->fields.size());
        LineData* const record = records[index];
        std::set<LineData> children = std::move(record->children);
        if (record->type == LongRecord) {
            processUsage(entry.second, std::move(*record));
        } else if (record == records.front()) {
            entry.first.line = std::move(*record);
            entry.first.line.children = children;
        }
        while (!children.empty())
            processUsage(entry.first.usage, std::move(children.extract(children.begin()).value()));
    }
}

void Splitter::writeRemainder(File& file, FileData& data, unsigned long& index) {
    for (; index < data.lines.size(); ++index)
        writeLine(file, data.lines[index]);
}

void Splitter::processUsage(std::set<LineData>& usage, const LineData& line) {
    processUsage(usage, LineData(line));
}

void Splitter::processUsage(std::set<LineData>& usage, LineData&& line) {
    auto place = usage.lower_bound(line);
    if (place == usage.end() || line < *place) {
        usage.insert(place, std::move(line));
        return;
    }
    const auto next = std::next(place);
    auto node = usage.extract(place);
    if (line.fields.size() > 6 && StringTools::toUInt32(line.fields[6]) != 0) {
        node.value() = std::move(line);
        usage.insert(next, std::move(node));
    }
}

void Splitter::writeStatus(File& file, FileData&, unsigned long&, FeatureMap& features) {
    while (!features.empty()) {
        const auto entry = features.extract(features.begin());
        if (entry.mapped().empty())
            writeLine(file, entry.key().line);
        else
            writeLines(file, entry.mapped());
        writeLines(file, entry.key().usage);
    }
    write(file, "");
}

bool Splitter::write(File& file, const std::string& text) {
    return file.write(text) && file.write('\n');
}

void Splitter::writeLine(File& file, const LineData& line) {
    // The fields of a record that nobody has changed since it was read need not be joined again.
    const bool isText = fromText_ && line.type == LongRecord;
    write(file, isText ? line.text : line.getString(scratch_));
}

void Splitter::writeLines(File& file, const std::set<LineData>& lines) {
    for (const LineData& line : lines)
        writeLine(file, line);
}

bool Splitter::openOut(File& file) {
    if (file.openOut())
        return true;
    logger_.error("@vorz.splitter.open-out.failed{Failed to open file \"%\" for writing};",
                  ParamStream() << file.getNameAlways());
    return false;
}

}  // namespace Movrik
