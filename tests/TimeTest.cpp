#include <limits.h>

#include <chrono>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "DateTime.h"
#include "DateTimeDetails.h"
#include "TimeSpan.h"
#include "TimeZone.h"

using namespace MovrikCorelib;

namespace {

constexpr unsigned long long Day = 86400000;
constexpr unsigned long long Moment = 3477040245250;  // 2010-03-07T12:30:45.250Z, a Sunday

using Pairs = std::vector<std::pair<std::string, std::string>>;

/// The current zone is GMT.
class TimeTest : public ::testing::Test {
protected:
    TimeTest() { TimeZone::setDefault(TimeZone()); }
    ~TimeTest() override { TimeZone::resetDefault(); }
};

std::string text(const DateTimeDetails& details) {
    return details.getString(true, false, false);
}

std::string text(const TimeSpan& span) {
    return span;
}

/// Date alone of a value at midnight.
std::string dateText(const DateTimeDetails& details) {
    const std::string whole = details.getString(false, false, false);
    EXPECT_NE(whole.find("T00:00:00"), std::string::npos) << whole;
    return whole.substr(0, whole.find('T'));
}

DateTimeDetails date(long long year, long long month, long long day) {
    return DateTimeDetails(year, month, day, 0, 0, 0, 0, false);
}

}  // namespace

TEST_F(TimeTest, CountsAndFieldsTurnIntoEachOther) {
    const std::vector<std::tuple<unsigned long long, std::string, long long, long long>> table = {
        {Day, "1900-01-01T00:00:00.000Z", 0, 1},
        {2209075200000, "1970-01-01T00:00:00.000Z", 3, 1},
        {3160943999999, "2000-02-29T23:59:59.999Z", 1, 60},
        {Moment, "2010-03-07T12:30:45.250Z", 6, 66},
        {5333040000000, "2068-12-29T00:00:00.000Z", 5, 364},
        {6316617600000, "2100-03-01T00:00:00.000Z", 0, 60},
        {17293305599000, "2447-12-31T23:59:59.000Z", 1, 365},
    };
    for (const auto& [count, written, weekDay, yearDay] : table) {
        const DateTimeDetails details(count);
        EXPECT_EQ(text(details), written);
        EXPECT_EQ(details.weekDay, weekDay) << written;
        EXPECT_EQ(details.yearDay, yearDay) << written;
        EXPECT_EQ(DateTimeDetails(written).getTimeType(), count);
    }
    EXPECT_TRUE(DateTimeDetails(0).isReset());
    EXPECT_EQ(text(DateTimeDetails(1)), "1899-12-31T00:00:00.001Z");
}

TEST_F(TimeTest, TheDayBeforeTheLastOfEightLeapYearsReadsAsADayOfTheNextYear) {
    unsigned long long count = 5333126400000;  // 2068-12-30
    for (long long year = 2069; year <= 2097; year += 4, count += 1461 * Day) {
        EXPECT_EQ(dateText(DateTimeDetails(count)), std::to_string(year) + "-01--1");
        EXPECT_EQ(DateTimeDetails(count).getTimeType(), count);
        EXPECT_EQ(dateText(DateTimeDetails(count + Day)), std::to_string(year - 1) + "-12-31");
    }
}

TEST_F(TimeTest, WeeksCountByTheSystemsOwnRule) {
    const long long table[][4] = {{1900, 1, 1, 1},  {2010, 1, 1, 53},  {2010, 1, 3, 1},   {2010, 1, 10, 2},
                                  {2010, 3, 7, 10}, {2013, 6, 15, 24}, {2015, 1, 28, 53}, {2015, 1, 29, 5}};
    for (const auto& [year, month, day, week] : table)
        EXPECT_EQ(date(year, month, day).week, week) << year << '-' << month << '-' << day;
}

TEST_F(TimeTest, FieldsOutOfRangeCarryAndBorrow) {
    const std::vector<std::tuple<long long, long long, long long, std::string>> table = {
        {1900, 2, 29, "1900-03-01"},
        {1900, 0, 1, "1900-01-01"},
        {2010, -12, 31, "2008-12-31"},
        {2010, 24, 1, "2012-00-01"},
        {2010, 24, 32, "2011-01-01"},
        {2000, 1, 146098, "2400-01-01"},
        {2400, 1, -146096, "2000-01-01"},
        {2000, 1, 9000000000000000000, "24641163062898568-09-18"},
        {2000, 9000000000000000000, -9000000000000000000, "725806451612905225-09-21"},
        {LLONG_MAX, LLONG_MIN, LLONG_MIN, "8429504965522444601-09-04"},
    };
    for (const auto& [year, month, day, normal] : table)
        EXPECT_EQ(dateText(date(year, month, day)), normal);
    EXPECT_EQ(text(DateTimeDetails(2010, 1, 1, 0, 0, 0, -1000, false)), "2009-12-31T23:59:59.000Z");
    EXPECT_EQ(text(DateTimeDetails(2010, 1, 1, 23, 59, 59, 1000, true)), "2010-01-02T00:00:00.000");
    EXPECT_EQ(text(DateTimeDetails(2010, 1, LLONG_MIN, LLONG_MIN, LLONG_MIN, LLONG_MIN, LLONG_MIN, true)),
              "1900-01-01T00:00:00.000");
}

TEST_F(TimeTest, SpansAreAddedInStepsAndByOperatorsAtOnce) {
    const struct {
        std::string date;
        long long years, months, days;
        std::string added, taken, sum;
    } table[] = {
        {"2010-01-31", 0, 1, 0, "2010-03-03", "2009-12-31", "2010-03-03"},
        {"2011-01-31", 1, 1, 0, "2012-03-03", "2009-12-31", "2012-03-02"},
        {"2013-03-31", 1, 1, 0, "2014-05-01", "2012-03-02", "2014-05-01"},
        {"2013-03-31", -1, -1, 0, "2012-03-02", "2014-05-01", "2012-03-02"},
        {"2010-03-31", 0, -1, -1, "2010-03-02", "2010-05-01", "2010-03-02"},
        {"1900-01-15", 0, -1, 1, "1900-01-02", "1900-02-14", "1900-01-01"},
        {"2010-03", 0, 0, 0, "2010-02-28", "2010-02-28", "2010-02-28"},
    };
    for (const auto& row : table) {
        const TimeSpan span(row.years, row.months, row.days, 0, 0, 0, 0);
        DateTimeDetails added(row.date), taken(row.date);
        EXPECT_EQ(dateText(added + span), row.sum) << row.date;
        EXPECT_EQ(dateText(added += span), row.added) << row.date;
        EXPECT_EQ(dateText(taken -= span), row.taken) << row.date;
    }
    DateTime value(Moment);
    EXPECT_EQ(text((value + TimeSpan(0, 1, 0, 0, 0, 0, 0)).getGmt()), "2010-04-07T12:30:45.250Z");
    EXPECT_EQ(value - TimeSpan(250), Moment - 250);
    EXPECT_EQ(value += TimeSpan(-250), Moment - 250);
    EXPECT_EQ(text((value -= TimeSpan(1, 0, 0, 0, 0, 0, 0)).getGmt()), "2009-03-07T12:30:45.000Z");
    EXPECT_EQ(value -= TimeSpan(-1), 0u);
}

TEST_F(TimeTest, DifferencesAreInCalendarUnits) {
    const std::vector<std::tuple<std::string, std::string, std::string>> table = {
        {"2010-03-07T01:00Z", "2010-03-05T00:00Z", "P2DT1H"},
        {"2010-03-01", "2010-01-31", "P1M1D"},
        {"2010-03-01T00:00Z", "2010-01-31T12:00Z", "P1MT12H"},
        {"2010-01-05", "2012-03-07", "P-2Y-2M-2D"},
    };
    for (const auto& [later, earlier, span] : table)
        EXPECT_EQ(text(DateTimeDetails(later) - DateTimeDetails(earlier)), span);
}

TEST_F(TimeTest, TextsOfDatesAreReadLeniently) {
    const Pairs table = {
        {"2010-03-07", "2010-03-07T00:00:00.000+00:00"},
        {"20100307", "2010-03-07T00:00:00.000+00:00"},
        {"2010-3-7", "2010-03-07T00:00:00.000+00:00"},
        {"2010-03", "2010-03-00T00:00:00.000+00:00"},
        {"2010-03-07 12:30:00", "2010-03-07T00:00:00.000+00:00"},
        {"20100307T123045Z", "2010-03-07T12:30:45.000Z+00:00"},
        {"2010-03-07T12.30.45.5Z", "2010-03-07T12:30:45.005Z+00:00"},
        {"2010-03-07T12:30:45 -05:30", "2010-03-07T12:30:45.000-05:30"},
        {"2010-03-07T12:30:45+01:00", "2010-03-07T12:30:45.000+00:01"},
        {"2010-13-99T99", "2010-13-99T99:00:00.000+00:00"},
        {"T12:30Z", "0000-00-00T12:30:00.000Z+00:00"},
        {"", "1900-01-01T00:00:00.000+00:00"},
    };
    for (const auto& [input, read] : table)
        EXPECT_EQ(DateTimeDetails(input).getString(true, false, true), read) << input;
    EXPECT_EQ(DateTime(std::string("2010-03-07T12:30:45.250 +01:00")), Moment - 3600000);
    DateTime elsewhere(0, TimeZone(std::string("-05:30")));
    elsewhere.set("2010-03-07T12:30:45.250");
    EXPECT_EQ(elsewhere, Moment + 19800000);
    EXPECT_EQ(DateTimeDetails(Moment).getString(false, true, false), "20100307T123045Z");
    EXPECT_EQ(DateTimeDetails(Moment).getString(true, true, true), "20100307T123045.250Z+0000");
    EXPECT_EQ(DateTimeDetails::format(-7, 4), "-007");
}

TEST_F(TimeTest, ADateTypedByAUserIsCheckedStrictly) {
    for (const char* good : {"2010-01-31", "1000-04-30", "1900-02-29", "2012-02-29", "2000-02-28"})
        EXPECT_TRUE(DateTime::isDate(good)) << good;
    for (const char* bad :
         {"", "2010-13-01", "2010-00-01", "2010-01-00", "2010-04-31", "2010-01-32", "2010-1-01", "2010/01/01",
          "0999-01-01", "2010-01-01-", "20100101", "2000-02-29", "2010-02-29"})
        EXPECT_FALSE(DateTime::isDate(bad)) << bad;
}

TEST_F(TimeTest, TheClockIsThatOfTheSystem) {
    const auto now = [] {
        const auto since = std::chrono::system_clock::now().time_since_epoch();
        return 2209075200000 + std::chrono::duration_cast<std::chrono::milliseconds>(since).count();
    };
    const auto before = now();
    const auto count = static_cast<long long>(DateTime::getCurrentTime());
    EXPECT_TRUE(before <= count && count <= now()) << count;
}

TEST_F(TimeTest, TextsOfSpans) {
    const std::vector<std::tuple<std::string, long long, long long, long long, std::string>> table = {
        {"P1Y2M3DT4H5M6.5S", 1, 2, 273906500, "P1Y2M3DT4H5M6.500S"},
        {"p1d", 0, 0, 0, "P"},
        {"xxP1dT1M30s", 0, 0, 86490000, "P1DT1M30S"},
        {"P1T2Y3H", 0, 0, 10800000, "PT3H"},
        {"P1H1Y2Y1D 1D", 2, 0, 172800000, "P2Y2D"},
        {"P-1DT-2H-0.25S", 0, 0, -93600250, "P-1DT-2H-0.250S"},
        {"P24D", 0, 0, 2073600000, "P24D"},
        {"P25D", 0, 0, -2134967296, "P-24DT-17H-2M-47.296S"},
        {"P4294967297Y-2147483649M", 1, 2147483647, 0, "P1Y2147483647M"},
    };
    for (const auto& [input, years, months, milliseconds, output] : table) {
        const TimeSpan span(input);
        EXPECT_EQ(std::tie(span.years, span.months, span.milliseconds), std::tie(years, months, milliseconds))
            << input;
        EXPECT_EQ(text(span), output) << input;
    }
    EXPECT_EQ(text(TimeSpan(0, 13, 0, 0, 0, 0, LLONG_MIN)), "P13M-106751991167DT-7H-12M-55.808S");
    EXPECT_EQ(TimeSpan("PT" + std::string(400, '9') + "S").milliseconds, LLONG_MAX);
}

TEST_F(TimeTest, SpansCompareAndCountByMeanLengths) {
    const TimeSpan year(1, 0, 0, 0, 0, 0, 0);
    EXPECT_EQ(year.compare(TimeSpan(0, 12, 0, 0, 0, 0, 0)), 0);
    EXPECT_EQ(year.compare(TimeSpan(31556952001)), -1);
    const TimeSpan mixed(1, -1, 0, 0, 0, 0, 5);
    EXPECT_TRUE(mixed.isNegative());
    EXPECT_EQ(mixed.compare(TimeSpan()), 1);
    EXPECT_EQ(mixed.countMilliseconds(true), 28927206005);
    EXPECT_EQ(mixed.countMilliseconds(false), 5);
    const TimeSpan span(1, 6, 1, 12, 0, 0, 0);
    EXPECT_NEAR(span.countYears(), 1.504106860511, 1e-11);
    EXPECT_NEAR(span.countMonths(), 18.049282326126, 1e-11);
    EXPECT_DOUBLE_EQ(span.countDays(), 549.36375);
    EXPECT_DOUBLE_EQ(span.countHours(), 13184.73);
    EXPECT_DOUBLE_EQ(span.countMinutes(), 791083.8);
    EXPECT_DOUBLE_EQ(span.countSeconds(), 47465028.0);

    TimeSpan scaled(3, 5, 0, 0, 0, 0, -7);
    EXPECT_EQ(text(scaled *= 0.5), "P1Y2MT-0.003S");
    EXPECT_EQ(text(scaled *= -3), "P-3Y-6MT0.009S");
    EXPECT_EQ(text(scaled -= TimeSpan(1, 1, 0, 0, 0, 1, 9)), "P-4Y-7MT-1S");
}
