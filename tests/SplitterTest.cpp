#include <array>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "GlobMatcher.h"
#include "Splitter.h"
#include "StringTools.h"
#include "TestSupport.h"
#include "TimeZone.h"

using namespace TestSupport;
using namespace MovrikCorelib;
using Movrik::Splitter;

namespace {

using Line = Splitter::LineData;

/// "FFFF:level:vendor:feature:version:..." with the count in position 6 and a user in position 8.
std::string longRecord(int level, const std::string& feature, const std::string& count,
                       const std::string& user) {
    return "h:" + std::to_string(level) + ":v:" + feature + ":1:9:" + count + ":0:" + user +
           ":ws:x:1:2:h1:p:0:";
}

class SplitterTest : public testing::Test {
protected:
    SplitterTest() { TimeZone::setDefault(TimeZone("+00:00")); }

    Splitter::FileData read(const std::string& text) {
        writeFile(dir / "a-b.in", text);
        Splitter::FileData data;
        EXPECT_TRUE(splitter.readFile(dir / "a-b.in", data));
        return data;
    }

    Line record(const std::string& text) { return read(text + "\n").lines.at(0); }

    TempDir dir;
    Splitter splitter;
};

}  // namespace

TEST_F(SplitterTest, EachLineGetsItsKindAndItsBytesBack) {
    const std::string sixteen = "h:0:c:d:e:f:g:h:i:j:k:l:m:n:o:p";
    const std::pair<std::string, unsigned int> cases[] = {
        {"@quorvel.log.time=12", Splitter::LogTime},
        {"@polling.start=12", Splitter::PollStart},
        {"@polling.starts", Splitter::Header},
        {"@", Splitter::Header},
        {"10:", Splitter::Version},
        {"9:1:a:b:c", Splitter::Version},
        {"9:1:aa:b:c", Splitter::ShortRecord},
        {sixteen + ":", Splitter::LongRecord},
        {sixteen + ":q:r:s", Splitter::LongRecord},
        {sixteen, Splitter::ShortRecord},
        {"h:0:c:d:", Splitter::OtherLine},
        {"h:3:c:d:e", Splitter::OtherLine},
        {":0:c:d:e", Splitter::OtherLine},
        {"h:x:1:d:e:f", Splitter::ShortRecord},  // the globs let the first position hold a colon
        {"h:0::c::d:e", Splitter::ShortRecord},
        {"h:0::c::f:g:h:i:j:k:l:m:n:o:p:q:r:", Splitter::LongRecord},  // empty positions, and more of them
        {"0", Splitter::ZeroLine},
        {"00", Splitter::OtherLine},
        {"", Splitter::OtherLine},
        {"0123456789abcdef0123456789abcdef", Splitter::HexLine},
        {"0123456789abcdef0123456789abcdeF", Splitter::OtherLine},
        {"0123456789abcdef0123456789abcdef0", Splitter::OtherLine},
        {std::string("\0\xff\r", 3), Splitter::OtherLine},
    };
    for (const auto& [text, type] : cases) {
        const Line line = record(text);
        EXPECT_EQ(line.type, type) << text;
        EXPECT_EQ(line.getString(), text);
    }
}

TEST_F(SplitterTest, ARecordIsJustWhatItsPatternMatches) {
    const auto match = [](const std::string& line) -> std::pair<unsigned int, int> {
        const std::string tail = ":?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:?*:*";
        for (const int level : {0, 1, 2})
            if (GlobMatcher::match(line, "?*:" + std::to_string(level) + tail))
                return {Splitter::LongRecord, level};
        for (const int level : {0, 1, 2})
            if (GlobMatcher::match(line, "?*:" + std::to_string(level) + ":?*:?*:?*"))
                return {Splitter::ShortRecord, level};
        return {Splitter::OtherLine, -1};
    };
    // Positions at random, most of them filled, about as many as a form has, behind a parent for all
    // children.
    std::mt19937 random(1);
    const char* const parts[] = {"", "0", "1", "2", "3", "00", "x", "xy", "x y", "zz", "u", "w"};
    std::string text = "\nh:1:a:b:c\n";
    for (int i = 0; i < 20000; ++i) {
        const unsigned int colons = std::array{3u, 4u, 4u, 5u, 15u, 16u, 16u, 16u, 17u, 18u}[random() % 10];
        text += random() % 8 ? "h" : "";
        for (unsigned int colon = 0; colon < colons; ++colon)
            text += std::string(":") + (colon == 0 && random() % 4
                                            ? parts[1 + random() % 3]
                                            : parts[random() % 60 ? 1 + random() % 11 : 0]);
        text += '\n';
    }
    const auto data = read(text);
    std::map<std::pair<unsigned int, int>, int> seen;
    std::set<std::size_t> parents;
    std::size_t parent = 0;
    for (std::size_t index = 0; index < data.lines.size(); ++index) {
        const Line& line = data.lines[index];
        const auto [type, level] = match(line.text);
        ++seen[{type, level}];
        if (level == 1)
            parent = index;
        if (level == 2)
            parents.insert(parent);
        ASSERT_EQ(line.type, level == 2 ? unsigned{Splitter::ChildRecord} : type) << line.text;
        if (level >= 0) {
            const auto fields = StringTools::splitVector(line.text, ':', std::string::npos, true);
            ASSERT_EQ(line.fields, fields) << line.text;
        }
    }
    for (std::size_t index = 0; index < data.lines.size(); ++index)
        ASSERT_EQ(!data.lines[index].children.empty(), parents.contains(index)) << data.lines[index].text;
    for (const auto type : {Splitter::LongRecord, Splitter::ShortRecord})
        for (const int level : {0, 1, 2})
            EXPECT_GT((seen[{type, level}]), 500) << type << " " << level;
}

TEST_F(SplitterTest, LongRecordsAreRebuiltFromTheirFields) {
    Line line;
    line.type = Splitter::LongRecord;
    line.text = "what was read";
    line.fields = {"a", "b", ""};
    EXPECT_EQ(line.getString(), "a:b:");

    // Also in what a caller of the writers has changed after reading, whatever was split before.
    auto data = read(longRecord(0, "f", "1", "u") + "\n\n@polling.start=5\n");
    splitter.splitFile(dir / "a-b.in");
    data.lines[0].fields[6] = "7";
    data.splitIndex = 2;
    splitter.createSplit1(dir.path(), "a-b", "in", data);
    EXPECT_EQ(readFile(dir / "a-b.split1.in"), "@quorvel.split=1\n" + longRecord(0, "f", "7", "u") + "\n");
}

TEST_F(SplitterTest, ShortLinesAheadOfLongOnesAskForNoMoreMemoryThanTheFileTakes) {
    for (const std::size_t shortLines : {1025u, 20000u}) {
        std::string text(shortLines, '\n');
        for (int i = 0; i < 10; ++i)
            text += std::string(200000, 'x') + "\n";
        const auto data = read(text);
        EXPECT_EQ(data.lines.size(), shortLines + 10);
        EXPECT_LT((data.lines.capacity() - data.lines.size()) * sizeof(Line), text.size()) << shortLines;
    }
}

TEST_F(SplitterTest, ChildrenHangBelowTheLatestParentAlsoOfAnEarlierPoll) {
    const std::string orphan = longRecord(2, "orphan", "1", "u"), child = longRecord(2, "f", "1", "u");
    const auto data = read(orphan + "\nh:2:s:s:s\n" + longRecord(1, "f", "1", "u") + "\n" + child +
                           "\n\n@polling.start=5\n" + child + "x\nh:2:v:f:1\nh:0:v:f:1\n");
    EXPECT_EQ(data.lines[0].type, Splitter::LongRecord);
    EXPECT_EQ(data.lines[1].type, Splitter::ShortRecord);
    const Line& parent = data.lines[2];
    for (std::size_t index : {3u, 6u, 7u})
        EXPECT_EQ(data.lines[index].type, Splitter::ChildRecord) << index;
    // The second long child equals the first in what identifies it, so the older one stays.
    ASSERT_EQ(parent.children.size(), 2u);
    EXPECT_EQ(parent.children.begin()->getString(), "h:2:v:f:1");
    EXPECT_EQ(parent.children.rbegin()->getString(), child);
    EXPECT_EQ(parent.children.rbegin()->type, Splitter::LongRecord);

    // A parent on line 0 takes long children only.
    const auto first = read("h:1:v:f:1\nh:2:v:f:1\n" + child + "\n");
    EXPECT_EQ(first.lines[1].type, Splitter::ShortRecord);
    EXPECT_EQ(first.lines[2].type, Splitter::ChildRecord);
    EXPECT_EQ(first.lines[0].children.size(), 1u);
}

TEST_F(SplitterTest, TheSplitPointIsTheFirstPollOfALaterHourThanTheLog) {
    // 36000 is 10:00, 39600 is 11:00.
    const struct {
        const char* text;
        unsigned long long index;
        unsigned int time;
    } cases[] = {
        {"@quorvel.log.time=37800\n@polling.start=39599\n@polling.start=39600\n@polling.start=43200\n", 2,
         39600},
        {"@quorvel.log.time=37800\n@polling.start=39599\n@polling.start=100\n", 0, 0},
        {"@polling.start=39600\n@polling.start=39601\n", 1, 39601},  // line 0 cannot be told from "none"
        {"\n@polling.start=7\n@quorvel.log.time=37800\n@polling.start=39600\n", 1, 7},
        {"@quorvel.log.time=x\n@polling.start=3600junk\n", 1, 3600},
    };
    for (const auto& c : cases) {
        const auto data = read(c.text);
        EXPECT_EQ(data.splitIndex, c.index) << c.text;
        EXPECT_EQ(data.splitTime, c.time) << c.text;
    }
}

TEST_F(SplitterTest, RecordsOrderByWhatIdentifiesThem) {
    // Rising order; what stands in one row is equal.
    const std::vector<std::vector<std::string>> rows = {
        {"h:0:v:a:9", "other:2:v:a:9"},
        {"h:0:v:f:1", "g:1:v:f:1"},
        {longRecord(0, "f", "3", "u"), longRecord(1, "f", "0", "u")},
        {longRecord(0, "f", "3", "v")},
        {"h:0:v:ff:0"},
    };
    for (std::size_t a = 0; a < rows.size(); ++a)
        for (std::size_t b = 0; b < rows.size(); ++b)
            for (const std::string& left : rows[a])
                for (const std::string& right : rows[b]) {
                    const int expected = a < b ? -1 : a > b ? 1 : 0;
                    const int got = record(left).compare(record(right));
                    EXPECT_EQ((got > 0) - (got < 0), expected) << left << " " << right;
                }
    const std::set<std::size_t> identity = {2, 3, 4, 8, 9, 13, 14};
    const Line sample = record(longRecord(0, "f", "3", "u"));
    for (std::size_t position = 0; position < 17; ++position) {
        Line other = sample;
        other.fields.at(position) += 'x';
        EXPECT_EQ(sample < other, identity.contains(position)) << position;
    }
    EXPECT_LT(record("h:0:v:f:1").compare(record("zzz")), 0);  // by kind: 4 before 7
    EXPECT_LT(record("a").compare(record("b")), 0);
}

TEST_F(SplitterTest, AZeroCountRemovesAnEntryAndALaterSampleBringsItBack) {
    std::set<Line> usage;
    const auto add = [&](const std::string& count) {
        splitter.processUsage(usage, record(longRecord(0, "f", count, "u")));
        return usage.empty() ? "gone" : usage.begin()->field(6);
    };
    EXPECT_EQ(add("0"), "0");  // the first appearance counts whatever it says
    EXPECT_EQ(add("5"), "5");
    EXPECT_EQ(add("none"), "gone");
    EXPECT_EQ(add("2"), "2");
    splitter.processUsage(usage, record(longRecord(0, "f", "1", "w")));
    EXPECT_EQ(usage.size(), 2u);
}

TEST_F(SplitterTest, SplitFilesOfUnusualSources) {
    const std::string hex = "0123456789abcdef0123456789abcdef";
    const struct {
        const char* what;
        std::string source, first, second;
    } cases[] = {
        {"no split point",
         "@quorvel.log.time=36000\n@polling.start=36001\nh:0:v:f:1\n" + hex +
             "\n@polling.start=36002\nh:0:v:g:1\n",
         hex + "\n", "@quorvel.log.time=0\n@polling.start=0\nh:0:v:f:1\n\n@polling.start=36002\nh:0:v:g:1\n"},
        {"the split poll is the last",
         "@quorvel.log.time=36000\n@polling.start=36001\nh:0:v:f:1\n\n@polling.start=39600\nh:0:v:g:1\n",
         "@quorvel.log.time=36000\n@polling.start=36001\nh:0:v:f:1\n",
         "@quorvel.log.time=39600\n@polling.start=39600\n"},
        {"the first short record of a feature stays, and features order by the bytes of v:f:1",
         "@quorvel.log.time=36000\n@polling.start=36001\nh:0:v:f:1:old\nh:0:v:f5:1\n\n@polling.start=39600\n"
         "h:0:v:f:1:new\n\n@polling.start=39700\n",
         "@quorvel.log.time=36000\n@polling.start=36001\nh:0:v:f:1:old\nh:0:v:f5:1\n",
         "@quorvel.log.time=39600\n@polling.start=39600\nh:0:v:f5:1\nh:0:v:f:1:old\n\n@polling.start="
         "39700\n"},
        {"a line that is no blank stands before the split",
         "@quorvel.log.time=36000\n@polling.start=36001\n0\n@polling.start=39600\n0\n@polling.start="
         "39700\n0\n",
         "@quorvel.log.time=36000\n@polling.start=36001\n0\n",
         "@quorvel.log.time=39600\n@polling.start=39600\n\n@polling.start=39700\n0\n"},
        {"a child of a later poll hangs below a replayed parent, those below a later one do not count",
         "@quorvel.log.time=36000\n@polling.start=36001\nh:1:v:f:1\n\n@polling.start=39600\nh:0:v:g:1\n\n"
         "@polling.start=39700\nh:2:v:f:1:late\nh:1:v:f:1\nh:2:v:f:1:own\n",
         "@quorvel.log.time=36000\n@polling.start=36001\nh:1:v:f:1\n",
         "@quorvel.log.time=39600\n@polling.start=39600\nh:1:v:f:1\nh:2:v:f:1:late\nh:0:v:g:1\n\n"
         "@polling.start=39700\nh:2:v:f:1:late\nh:1:v:f:1\nh:2:v:f:1:own\n"},
        {"every time line ahead of the first record is rewritten",
         "@quorvel.log.time=36000\n@polling.start=36001\nnoise\n@polling.start=39600\nh:0:v:f:1\n@polling."
         "start=39700\n",
         "@quorvel.log.time=36000\n@polling.start=36001\n",
         "@quorvel.log.time=39600\n@polling.start=39600\nnoise\n@polling.start=39600\nh:0:v:f:1\n\n@polling."
         "start=39700\n"},
    };
    for (const auto& c : cases) {
        writeFile(dir / "a-b.splitsrc", c.source);
        splitter.splitFile(dir / "a-b.splitsrc");
        EXPECT_EQ(readFile(dir / "a-b.split1.in"), "@quorvel.split=1\n" + c.first) << c.what;
        EXPECT_EQ(readFile(dir / "a-b.split2.in"), "@quorvel.split=2\n" + c.second) << c.what;
        EXPECT_EQ(readFile(dir / "a-b.splitsrc"), c.source) << c.what;
    }
}

TEST_F(SplitterTest, SplittingWritesWhatTheStagesWriteOneByOne) {
    // Within a split some lines are kept without their fields and children.
    std::mt19937 random(2);
    const auto pick = [&random](std::initializer_list<const char*> of) {
        return std::string(of.begin()[random() % of.size()]);
    };
    std::size_t replayed = 0;
    for (int round = 0; round < 300; ++round) {
        std::string text = pick({"", "@quorvel.log.time=37800\n", "@quorvel.log.time=7\n", "x\n"});
        for (int line = 0; line < 40; ++line) {
            const int level = static_cast<int>(random() % 3);
            const std::string feature = pick({"f", "g", "h"}), user = pick({"u", "v", ""});
            switch (random() % 8) {
                case 0:
                    text += pick({"\n", "\n", "0\n", "10:7\n", "0123456789abcdef0123456789abcdef\n"});
                    [[fallthrough]];
                case 1:
                    text += "@polling.start=" + pick({"100", "37900", "39600", "39700"}) + "\n";
                    break;
                case 2:
                    text += "h:" + std::to_string(level) + ":v:" + feature + ":1\n";
                    break;
                default:
                    text += longRecord(level, feature, pick({"0", "1", "2"}), user) + pick({"", ":", "x:y"}) +
                            "\n";
            }
        }
        auto data = read(text);
        splitter.createSplit1(dir.path(), "a-b", "in", data);
        splitter.createSplit2(dir.path(), "a-b", "in", data);
        const std::string first = readFile(dir / "a-b.split1.in"), second = readFile(dir / "a-b.split2.in");
        replayed += second.find("\n\n@polling") != second.npos;
        writeFile(dir / "a-b.splitsrc", text);
        splitter.splitFile(dir / "a-b.splitsrc");
        ASSERT_EQ(readFile(dir / "a-b.split1.in"), first) << text;
        ASSERT_EQ(readFile(dir / "a-b.split2.in"), second) << text;
    }
    EXPECT_GT(replayed, 200u);
}

TEST_F(SplitterTest, PollsOnBothSidesOfTheNearestHourMakeAHalfHourFile) {
    const struct {
        const char* times;
        const char* interval;
        bool half;
    } cases[] = {
        {"37860 41340", "", true},            // 10:31 and 11:29
        {"37800 41100", "300", false},        // 10:30 to 11:25: exactly half past keeps 10:00
        {"36900 38700", "900", false},        // 10:15 and 10:45
        {"38100", "300", false},              // one poll
        {"39600 39601 39899", "300", false},  // all on the boundary once aligned
        {"38099 39900", "300", false},        // 10:34:59 snaps to 10:30
        {"38100 39899", "300", false},        // 11:04:59 snaps to 11:00
        {"41400 38100", "300", true},         // order in the file does not matter
        {"", "300", false},
    };
    for (const auto& c : cases) {
        std::string text = c.interval[0] ? std::string("@polling.interval=") + c.interval + "\n" : "";
        std::istringstream times(c.times);
        for (std::string time; times >> time;)
            text += "@polling.start=" + time + "\n";
        writeFile(dir / "a-b.in", text);
        File file(dir / "a-b.in");
        ASSERT_TRUE(splitter.open(file));
        EXPECT_EQ(splitter.isHalfHourOffset(file), c.half) << c.times;
    }
}
