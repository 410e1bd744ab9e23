#include <limits.h>
#include <time.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "DateTime.h"
#include "DateTimeDetails.h"
#include "TestSupport.h"
#include "TimeZone.h"

using namespace MovrikCorelib;

namespace {

using Texts = std::vector<std::tuple<std::string, std::string, std::string>>;

constexpr const char* Berlin = "+01:00 (+01:00 3M5W6D2H-10M5W6D3H)";
constexpr const char* NewYork = "-05:00 (+01:00 3M2W6D2H-11M1W6D2H)";
constexpr const char* Sydney = "+10:00 (+01:00 10M1W6D2H-4M1W6D3H)";
constexpr const char* Kolkata = "+05:30";

DateTime gmt(const std::string& text) {
    return DateTime(DateTimeDetails(text).getTimeType(), TimeZone());
}

std::string shown(const DateTime& value) {
    return value.getGmtString(false, false, false);
}

std::string currentZone(bool force) {
    TimeZone zone;
    zone.setCurrent(force);
    EXPECT_TRUE(zone.isSet);
    return zone.getString();
}

/// The current zone is GMT, and no default is left behind.
class TimeZoneTest : public ::testing::Test {
protected:
    TimeZoneTest() { TimeZone::setDefault(TimeZone()); }
    ~TimeZoneTest() override { TimeZone::resetDefault(); }
};

}  // namespace

TEST_F(TimeZoneTest, TheMachinesZoneIsFoundFromItsLocalTime) {
    const Texts table = {
        {"Europe/Berlin", "CET-1CEST,M3.5.0,M10.5.0/3", Berlin},
        {"America/New_York", "EST5EDT,M3.2.0,M11.1.0", NewYork},
        {"Australia/Sydney", "AEST-10AEDT,M10.1.0,M4.1.0/3", Sydney},
        {"Australia/Adelaide", "ACST-9:30ACDT,M10.1.0,M4.1.0/3", "+09:30 (+01:00 10M1W6D2H-4M1W6D3H)"},
        {"Asia/Kolkata", "IST-5:30", Kolkata},
        {"Pacific/Honolulu", "HST10", "-10:00"},
    };
    TimeZone::resetDefault();
    for (const auto& [name, rule, found] : table) {
        const TestSupport::ScopedEnv byRule("TZ", rule);
        EXPECT_EQ(currentZone(true), found) << rule;
        if (!std::filesystem::exists("/usr/share/zoneinfo/" + name))
            continue;
        const TestSupport::ScopedEnv byName("TZ", name);
        EXPECT_EQ(currentZone(true), found) << name;
    }
}

TEST_F(TimeZoneTest, ADefaultStandsForTheMachinesZone) {
    TimeZone::resetDefault();
    const TestSupport::ScopedEnv machine("TZ", "IST-5:30");
    EXPECT_EQ(currentZone(true), Kolkata);
    {
        const TestSupport::ScopedEnv variable("MOVRIK_TZ", Sydney);
        TimeZone::setTZ(false);
        EXPECT_EQ(currentZone(false), Kolkata) << "the environment is looked at once";
        TimeZone::setTZ(true);
        EXPECT_EQ(currentZone(true), Sydney);
        EXPECT_EQ(DateTime().timeZone().getString(), Sydney);
    }
    TimeZone::resetDefault();
    const TestSupport::ScopedEnv changed("TZ", "HST10");
    EXPECT_EQ(currentZone(false), Kolkata) << "not cached";
    const TestSupport::ScopedEnv variable("MOVRIK_TZ", "");
    TimeZone::setTZ(true);
    EXPECT_EQ(currentZone(true), "-10:00");
}

TEST_F(TimeZoneTest, LocalTimeFollowsTheRulesBothWays) {
    const Texts table = {
        {Berlin, "2019-03-24T00:59:59Z", "2019-03-24T01:59:59+01:00"},
        {Berlin, "2019-03-24T01:00:00Z", "2019-03-24T03:00:00+02:00"},
        {Berlin, "2019-10-27T00:59:59Z", "2019-10-27T02:59:59+02:00"},
        {Berlin, "2019-12-31T23:30:00Z", "2020-01-01T00:30:00+01:00"},
        {NewYork, "2010-03-14T06:59:59Z", "2010-03-14T01:59:59-05:00"},
        {NewYork, "2010-03-14T07:00:00Z", "2010-03-14T03:00:00-04:00"},
        {Sydney, "2019-04-06T15:59:59Z", "2019-04-07T02:59:59+11:00"},
        {Sydney, "2019-10-05T16:00:00Z", "2019-10-06T03:00:00+11:00"},
        {Sydney, "2019-12-31T23:30:00Z", "2020-01-01T10:30:00+11:00"},
        {Kolkata, "2010-03-07T20:00:00Z", "2010-03-08T01:30:00+05:30"},
        {"+01:00 (+01:00 0M0W0D0H-10M5W6D3H)", "2010-07-01T00:00:00Z", "2010-07-01T01:00:00+01:00"},
    };
    for (const auto& [zone, moment, local] : table) {
        DateTimeDetails details = gmt(moment).getTZ(TimeZone(zone));
        EXPECT_EQ(details.getString(false, false, true), local);
        details.makeGmt();
        EXPECT_EQ(details.getString(false, false, false), moment);
    }
    // The hour that comes twice is read as its first, in daylight saving.
    for (const auto& [zone, moment, first] : Texts{
             {Berlin, "2019-10-27T01:00:00Z", "2019-10-27T02:00:00+02:00"},
             {NewYork, "2010-11-07T06:00:00Z", "2010-11-07T01:00:00-04:00"},
             {Sydney, "2019-04-06T16:00:00Z", "2019-04-07T02:00:00+11:00"},
         })
        EXPECT_EQ(gmt(moment).getTZ(TimeZone(zone)).getString(false, false, true), first);
}

TEST_F(TimeZoneTest, LocalAndGmtFieldsCompareAsMoments) {
    DateTime moment;
    moment.setTZ(TimeZone(Berlin), 2010, 7, 1, 14, 0, 0, 0);
    EXPECT_EQ(shown(moment), "2010-07-01T12:00:00Z");
    const DateTimeDetails local = moment.getTZ(TimeZone(Berlin));
    EXPECT_EQ(local.compare(moment.getGmt()), 0);
    EXPECT_EQ(DateTimeDetails(moment() + 1).compare(local), 1);
    EXPECT_EQ(local.compare(DateTimeDetails(moment() + 1)), -1);

    TimeZone::setDefault(TimeZone(NewYork));
    moment.setLocal(2010, 7, 1, 14, 0, 0, 0);
    EXPECT_EQ(moment.getGmtString(false, true, true), "20100701T180000Z-0400");
    moment.setTZ(TimeZone("+48:00"), 1900, 1, 1, 0, 0, 0, 0);
    EXPECT_EQ(moment, 0u);
    EXPECT_EQ(DateTime(1).getLocalString(true, false, false), "1900-01-01T00:00:00.000");
    const std::string firstMidnight = std::string("1900-01-01T00:00 ") + Berlin;
    EXPECT_EQ(DateTimeDetails(firstMidnight).getTimeType(), 82800000u) << "GMT is in 1899";
}

TEST_F(TimeZoneTest, ChangesFallWhereTheSundayCountPutsThem) {
    // In March 2019 the first Sunday is the third, so the fifth of a week day means the fourth.
    const std::vector<std::tuple<long long, long long, long long, long long, std::string>> table = {
        {2019, 3, 5, 6, "2019-03-24"}, {2010, 3, 5, 6, "2010-03-28"},  {2010, 8, 2, 0, "2010-08-09"},
        {2010, 8, 5, 5, "2010-09-04"}, {2010, 8, 0, 5, "2010-08-01"},  {2010, 8, 0, 6, "2010-09-12"},
        {2010, 8, 1, 7, "2010-09-12"}, {2010, 8, -1, 0, "2010-09-12"}, {2009, 12, 9, 6, "2009-12-27"}};
    for (const auto& [year, month, week, day, change] : table)
        EXPECT_EQ(DateTimeDetails(TimeZone("+01:00").getDstChangeTime(year, month, week, day, 3))
                      .getString(false, false, false),
                  change + "T02:00:00Z");
}

TEST_F(TimeZoneTest, TextsOfZones) {
    const Texts table = {{"+01:00", "+01:00", "+00:00"},
                         {"+05:30", "+05:30", "+04:30"},
                         {"-0530", "-05:30", "-06:30"},
                         {"+0100 extra", "+00:00", "-01:00"},
                         {"60", "+01:00", "+00:00"},
                         {"-60", "-01:00", "-02:00"},
                         {"1000000", "+16666:40", "+16666:40"},
                         {"1000001", "+00:16", "-00:43"},
                         {"-1000001", "+00:00", "-01:00"},
                         {"abc", "+00:00", "-01:00"},
                         {"", "+00:00", "-01:00"}};
    const TimeZone current(Berlin);
    const std::string rules = std::string(Berlin).substr(6);
    for (const auto& [input, winter, summer] : table) {
        TimeZone zone;
        zone.set(input, DateTime(gmt("2010-01-15T12:00Z"), current));
        EXPECT_EQ(zone.getString(), winter + rules) << input;
        zone.set(input, DateTime(gmt("2010-07-15T12:00Z"), current));
        EXPECT_EQ(zone.getString(), summer + rules) << input;
        EXPECT_TRUE(zone.isSet) << input;
    }
    const std::string full = "-03:30 (+00:30 10M1W0D2H-4M12W6D3H)";
    EXPECT_EQ(TimeZone(full).getString(), full);
    EXPECT_EQ(TimeZone::toString(LLONG_MIN), "-2562047788015:12");
}

TEST_F(TimeZoneTest, AlignsDownOnTheWallClock) {
    constexpr unsigned long long hour = 3600000, day = 86400000, week = 604800000;
    const std::vector<std::tuple<std::string, std::string, unsigned long long, std::string>> table = {
        {Kolkata, "2010-03-07T12:10:00Z", hour, "2010-03-07T11:30:00Z"},
        {Berlin, "2010-03-28T10:20:00Z", day, "2010-03-27T23:00:00Z"},
        {Berlin, "2010-10-24T10:20:00Z", day, "2010-10-23T22:00:00Z"},
        {Berlin, "2010-03-28T10:20:00Z", week, "2010-03-21T23:00:00Z"},
        {NewYork, "2010-03-08T02:00:00Z", week, "2010-03-01T05:00:00Z"},
        // A change in the middle of the week.
        {"+00:00 (+01:00 6M1W2D2H-9M1W2D3H)", "2010-06-03T12:00:00Z", week, "2010-05-31T00:00:00Z"},
    };
    for (const auto& [zone, moment, unit, aligned] : table) {
        DateTime value = gmt(moment);
        value.alignTZ(unit, TimeZone(zone));
        EXPECT_EQ(shown(value), aligned) << zone << ' ' << moment << ' ' << unit;
    }
    DateTime value = gmt("2010-03-07T12:30:45Z");
    value.alignGmt(hour);
    EXPECT_EQ(shown(value), "2010-03-07T12:00:00Z");
    value.alignGmt(week);
    EXPECT_EQ(shown(value), "2010-03-01T00:00:00Z");
    for (const char* zone : {NewYork, Sydney, Kolkata}) {
        DateTime unset;
        unset.alignTZ(day, TimeZone(zone));
        EXPECT_EQ(unset, 0u) << zone;
    }
}

TEST_F(TimeZoneTest, SecondsOfBrokenDownTimeEndWith2038) {
    tm fields{};
    const auto seconds = [&](int year, int month) {
        fields.tm_year = year;
        fields.tm_mon = month;
        fields.tm_mday = 31;
        fields.tm_hour = 23;
        return toTime(fields);
    };
    EXPECT_EQ(seconds(110, 11), 1293836400);
    EXPECT_EQ(seconds(110, -2), 1264978800);
    EXPECT_EQ(seconds(138, 11), 2177449200);
    EXPECT_EQ(seconds(69, 11), -1);
    EXPECT_EQ(seconds(139, 0), -1);
}
