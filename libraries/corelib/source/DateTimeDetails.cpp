#include "DateTimeDetails.h"

#include <sys/time.h>
#include <time.h>

#include <algorithm>
#include <string_view>
#include <tuple>
#include <vector>

#include "CalendarSteps.h"
#include "DateTime.h"
#include "StringTools.h"
#include "TimeSpan.h"
#include "WrapMath.h"

namespace MovrikCorelib {

namespace {

long long daysBeforeMonth(long long year, long long month) {
    static constexpr long long before[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
    if (month < 2)
        return 0;
    const long long days =
        before[std::min(month, 13LL) - 1] + (month > 2 && DateTimeDetails::isLeapYear(year));
    return month > 13 ? wrapAdd(days, wrapMul(month - 13, 31)) : days;
}

bool endsTime(char c) {
    return c == ' ' || c == '+' || c == '-' || c == 'Z';
}

/// Cuts a date text into date, time and zone; false in `local` if "Z" ended the time.
std::vector<std::string> splitString(const std::string& text, bool& local) {
    std::vector<std::string> parts;
    std::string part;
    local = true;
    for (const char c : text) {
        const bool ends = parts.empty() ? c == 'T' : parts.size() == 1 && endsTime(c);
        if (!ends) {
            part += c;
            continue;
        }
        if (c == 'Z')
            local = false;
        parts.push_back(part);
        part.clear();
    }
    if (!part.empty())
        parts.push_back(part);
    return parts;
}

/// Numbers of at most the given digits each, with or without a separator behind them.
std::vector<long long> parseDetails(const std::string& text, char separator, std::string_view widths) {
    std::vector<long long> fields;
    std::string::size_type position = 0;
    for (const char width : widths) {
        const std::string::size_type most = position + static_cast<std::string::size_type>(width - '0');
        const std::string::size_type begin = position;
        while (position < text.size() && position < most && text[position] != separator)
            ++position;
        fields.push_back(StringTools::toInt64(text.substr(begin, position - begin)));
        if (position < text.size() && text[position] == separator)
            ++position;
    }
    return fields;
}

}  // namespace

DateTimeDetails::DateTimeDetails(unsigned long long count, const TimeZone& zone) {
    set(DateTime(count, zone));
    local = true;
}

DateTimeDetails& DateTimeDetails::operator=(unsigned long long count) {
    set(count);
    return *this;
}

DateTimeDetails& DateTimeDetails::operator=(const DateTime& value) {
    set(value);
    return *this;
}

DateTimeDetails& DateTimeDetails::operator=(const std::string& text) {
    set(text);
    return *this;
}

void DateTimeDetails::set(long long newYear, long long newMonth, long long newDay, long long newHour,
                          long long newMinute, long long newSecond, long long newMillisecond, bool isLocal) {
    reset(true);
    year = newYear;
    month = newMonth;
    day = newDay;
    hour = newHour;
    minute = newMinute;
    second = newSecond;
    millisecond = newMillisecond;
    local = isLocal;
    normalized = false;
    normalize();
    timeZone.setCurrent(false);
}

void DateTimeDetails::set(unsigned long long count) {
    set(DateTime(count));
}

void DateTimeDetails::set(const DateTime& value) {
    reset(false);
    timeZone = value.timeZone();
    const unsigned long long count = value();
    if (count == 0)
        return;
    const auto days = static_cast<long long>(count / 86400000);
    // The estimate can run a day ahead, and only a rest of exactly 0 is mended: 2068-12-30 reads as day -1 of
    // January 2069. Archived times rely on it.
    year = 1900 + static_cast<long long>(static_cast<double>(days) / 365.2425);
    day = days - countDays(year);
    if (day == 0) {
        --year;
        day = isLeapYear(year) ? 366 : 365;
    }
    for (int i = 1; i <= 12; ++i) {
        const long long length = getDaysInMonth(year, i);
        if (length >= day)
            break;
        day -= length;
        if (++month > 12) {
            month = 1;
            ++year;
        }
    }
    const TimeParts rest(static_cast<long long>(count % 86400000));
    hour = rest.hours;
    minute = rest.minutes;
    second = rest.seconds;
    millisecond = rest.milliseconds;
    computeDerived();
}

void DateTimeDetails::set(const std::string& text) {
    reset(false);
    std::vector<std::string> parts = splitString(text, local);
    if (parts.empty())
        return;
    const std::vector<long long> date = parseDetails(parts[0], '-', "422");
    year = date[0];
    month = date[1];
    day = date[2];
    computeDerived();
    if (parts.size() < 2)
        return;
    std::replace(parts[1].begin(), parts[1].end(), '.', ':');
    const std::vector<long long> clock = parseDetails(parts[1], ':', "2223");
    hour = clock[0];
    minute = clock[1];
    second = clock[2];
    millisecond = clock[3];
    if (parts.size() > 2)
        timeZone = TimeZone(parts[2]);
    else if (!timeZone.isSet)
        timeZone.setCurrent(false);
}

void DateTimeDetails::setCurrent() {
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0)
        now.tv_sec = ::time(nullptr);
    tm fields{};
    gmtime_r(&now.tv_sec, &fields);
    year = fields.tm_year + 1900;
    month = fields.tm_mon + 1;
    day = fields.tm_mday;
    hour = fields.tm_hour;
    minute = fields.tm_min;
    second = fields.tm_sec;
    millisecond = now.tv_usec / 1000;
    computeDerived();
}

void DateTimeDetails::setEnd() {
    set(DateTime(DateTime::getMaxTime()));
}

void DateTimeDetails::reset(bool resetZone) {
    year = 1900;
    month = day = 1;
    hour = minute = second = millisecond = 0;
    week = yearDay = 1;
    weekDay = 0;
    normalized = true;
    local = false;
    if (resetZone)
        timeZone.reset();
}

bool DateTimeDetails::isReset() const {
    return year == 1900 && month == 1 && day == 1 && hour == 0 && minute == 0 && second == 0 &&
           millisecond == 0 && week == 1 && weekDay == 0 && yearDay == 1 && normalized && !local;
}

DateTime DateTimeDetails::getDateTime() const {
    return DateTime(getTimeType(), timeZone);
}

unsigned long long DateTimeDetails::getTimeType() const {
    if (!normalized) {
        DateTimeDetails copy(*this);
        copy.normalize();
        return copy.getTimeType();
    }
    const TimeSpan sinceOrigin(0, 0, countDays(year, month, day), hour, minute, second, millisecond);
    auto count = static_cast<unsigned long long>(sinceOrigin.milliseconds);
    if (local) {
        count -= static_cast<unsigned long long>(timeZone.offset);
        const int test = timeZone.dstQuickTest(DateTime(count, timeZone));
        if (test == 1 || test == 4)
            count -= static_cast<unsigned long long>(timeZone.dstShift);
    }
    return count;
}

std::string DateTimeDetails::getString(bool milliseconds, bool compact, bool zone) const {
    if (!normalized) {
        DateTimeDetails copy(*this);
        copy.normalize();
        return copy.getString(milliseconds, compact, zone);
    }
    const std::string_view dateMark = compact ? "" : "-";
    const std::string_view timeMark = compact ? "" : ":";
    std::string text = format(year, 4);
    text.append(dateMark).append(format(month, 2)).append(dateMark).append(format(day, 2)).append("T");
    text.append(format(hour, 2)).append(timeMark).append(format(minute, 2)).append(timeMark);
    text.append(format(second, 2));
    if (milliseconds)
        text.append(".").append(format(millisecond, 3));
    if (!local)
        text.append("Z");
    if (zone)
        text.append(timeZone.getIsoString(DateTime(*this), compact));
    return text;
}

int DateTimeDetails::compare(const DateTimeDetails& other) const {
    if (local != other.local) {
        DateTimeDetails gmt(local ? *this : other);
        gmt.makeGmt();
        return local ? gmt.compare(other) : compare(gmt);
    }
    const auto fields = [](const DateTimeDetails& d) {
        return std::tie(d.year, d.month, d.day, d.hour, d.minute, d.second, d.millisecond);
    };
    return (fields(*this) > fields(other)) - (fields(*this) < fields(other));
}

void DateTimeDetails::normalize() {
    if (normalized)
        return;
    ensureNoNegativeValues();
    if (year < 1900) {
        const bool wasLocal = local;
        reset(false);
        local = wasLocal;
        return;
    }
    ensureValuesWithinLimits();
    normalized = true;
    computeDerived();
}

void DateTimeDetails::computeDerived() {
    week = getWeek(year, month, day);
    weekDay = getWeekDay(year, month, day);
    yearDay = getYearDay(year, month, day);
}

void DateTimeDetails::ensureNoNegativeValues() {
    CalendarSteps::borrow(millisecond, second, 1000);
    CalendarSteps::borrow(second, minute, 60);
    CalendarSteps::borrow(minute, hour, 60);
    CalendarSteps::borrow(hour, day, 24);
    CalendarSteps::borrow(month, year, 12, 1);
    if (year >= 1900 && day < 1)
        CalendarSteps::goBack(year, month, day);
}

void DateTimeDetails::ensureValuesWithinLimits() {
    CalendarSteps::carry(millisecond, second, 1000);
    CalendarSteps::carry(second, minute, 60);
    CalendarSteps::carry(minute, hour, 60);
    CalendarSteps::carry(hour, day, 24);
    if (day > 0) {
        auto days = static_cast<unsigned long long>(day);
        CalendarSteps::goOn(year, month, days);
        day = static_cast<long long>(days);
    }
    // Month 24 ends as month 0, two years on: callers in the field count on it.
    if (month >= 13)
        CalendarSteps::carry(month, year, 12);
}

void DateTimeDetails::makeLocal() {
    if (!timeZone.isSet)
        timeZone.setCurrent(false);
    makeLocal(timeZone);
}

void DateTimeDetails::makeLocal(const TimeZone& zone) {
    *this = DateTime(*this).getTZ(zone);
}

void DateTimeDetails::makeGmt() {
    if (local)
        *this = DateTime(*this).getGmt();
}

void DateTimeDetails::moveFields(const TimeSpan& part, bool back) {
    const auto step = back ? wrapSub : wrapAdd;
    const TimeParts parts(part.milliseconds);
    year = step(year, part.years);
    month = step(month, part.months);
    day = step(day, parts.days);
    hour = step(hour, parts.hours);
    minute = step(minute, parts.minutes);
    second = step(second, parts.seconds);
    millisecond = step(millisecond, parts.milliseconds);
    normalized = false;
    normalize();
}

void DateTimeDetails::moveInSteps(const TimeSpan& span, bool back) {
    const TimeSpan time(span.milliseconds);
    if (back == span.isNegative()) {
        moveFields(time, back);
        moveFields(TimeSpan(0, span.months, 0, 0, 0, 0, 0), back);
        moveFields(TimeSpan(span.years, 0, 0, 0, 0, 0, 0), back);
    } else {
        moveFields(TimeSpan(span.years, span.months, 0, 0, 0, 0, 0), back);
        moveFields(time, back);
    }
}

DateTimeDetails& DateTimeDetails::operator+=(const TimeSpan& span) {
    moveInSteps(span, false);
    return *this;
}

DateTimeDetails& DateTimeDetails::operator-=(const TimeSpan& span) {
    moveInSteps(span, true);
    return *this;
}

long long DateTimeDetails::countLeapYears(long long year) {
    const long long before = wrapSub(year, 1);
    return (before >> 2) - before / 100 + before / 400 - 460;
}

long long DateTimeDetails::countDays(long long year) {
    return wrapSub(wrapAdd(countLeapYears(year), wrapMul(year, 365)), 693500);
}

long long DateTimeDetails::countDays(long long year, long long month, long long day) {
    return wrapAdd(getYearDay(year, month, day), year > 1900 ? countDays(year) : 0);
}

bool DateTimeDetails::isLeapYear(long long year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

long long DateTimeDetails::getDaysInMonth(long long year, long long month) {
    if (month == 2)
        return isLeapYear(year) ? 29 : 28;
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

long long DateTimeDetails::getWeek(long long year, long long month, long long day) {
    const long long weekDay = getWeekDay(year, 1, 4);
    const long long monday = 4 - std::max(weekDay - 1, 0LL);
    const long long lead = monday < 0 ? 31 : 0;
    const long long first = monday + lead - 1;
    if (month == 1 && day < first)
        return getWeek(wrapSub(year, 1), 12, 31);
    return wrapSub(wrapAdd(lead, getYearDay(year, month, day)), first) / 7 + 1;
}

long long DateTimeDetails::getWeekDay(long long year, long long month, long long day) {
    return wrapAdd(countDays(year, month, day), 6) % 7;
}

long long DateTimeDetails::getYearDay(long long year, long long month, long long day) {
    return wrapAdd(daysBeforeMonth(year, month), day);
}

std::string DateTimeDetails::format(long long value, unsigned long width) {
    std::string text = std::to_string(value);
    if (text.size() < width)
        text.insert(value < 0 ? 1 : 0, width - text.size(), '0');
    return text;
}

TimeSpan operator-(const DateTimeDetails& later, const DateTimeDetails& earlier) {
    const unsigned long long to = later.getTimeType();
    const unsigned long long from = earlier.getTimeType();
    if (to == from)
        return TimeSpan();
    if (later.year == earlier.year && later.month == earlier.month)
        return TimeSpan(static_cast<long long>(to - from));
    if (to < from) {
        TimeSpan span = earlier - later;
        span.invert();
        return span;
    }
    long long years = wrapSub(later.year, earlier.year);
    long long months = wrapSub(later.month, earlier.month);
    long long days = wrapSub(later.day, earlier.day);
    long long hours = wrapSub(later.hour, earlier.hour);
    long long minutes = wrapSub(later.minute, earlier.minute);
    long long seconds = wrapSub(later.second, earlier.second);
    long long milliseconds = wrapSub(later.millisecond, earlier.millisecond);
    CalendarSteps::borrow(milliseconds, seconds, 1000);
    CalendarSteps::borrow(seconds, minutes, 60);
    CalendarSteps::borrow(minutes, hours, 60);
    CalendarSteps::borrow(hours, days, 24);
    if (days < 0) {
        // The missing days come from the months behind the earlier date; the last one may come in part.
        long long year = earlier.year;
        long long month = earlier.month;
        auto missing = 0 - static_cast<unsigned long long>(days);
        const unsigned long long passed = CalendarSteps::goOn(year, month, missing);
        months = wrapSub(months, static_cast<long long>(passed + 1));
        days = DateTimeDetails::getDaysInMonth(year, month) - static_cast<long long>(missing);
    }
    CalendarSteps::borrow(months, years, 12);
    return TimeSpan(years, months, days, hours, minutes, seconds, milliseconds);
}

}  // namespace MovrikCorelib
