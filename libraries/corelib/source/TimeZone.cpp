#include "TimeZone.h"

#include <time.h>

#include <algorithm>

#include "DateTime.h"
#include "DateTimeDetails.h"
#include "EnvTools.h"
#include "GlobMatcher.h"
#include "StringTools.h"
#include "WrapMath.h"

namespace MovrikCorelib {

namespace {

constexpr long long Day = 86400000;

tm localTime(time_t moment) {
    tm fields{};
    localtime_r(&moment, &fields);
    return fields;
}

unsigned long long distance(unsigned long long a, unsigned long long b) {
    return a > b ? a - b : b - a;
}

std::string offsetText(long long milliseconds, bool compact) {
    const auto value = static_cast<unsigned long long>(milliseconds);
    const unsigned long long minutes = (milliseconds < 0 ? 0 - value : value) / 60000;
    return (milliseconds < 0 ? "-" : "+") + DateTimeDetails::format(static_cast<long long>(minutes / 60), 2) +
           (compact ? "" : ":") + DateTimeDetails::format(static_cast<long long>(minutes % 60), 2);
}

}  // namespace

constinit TimeZone TimeZone::DefaultTZ{TimeZone::Constant()};
constinit bool TimeZone::HaveDefaultTZ = false;
constinit bool TimeZone::HaveEnvTZ = false;

std::string DSTTimeDef::toString() const {
    return StringTools::toString(month) + "M" + StringTools::toString(week) + "W" +
           StringTools::toString(day) + "D" + StringTools::toString(hour) + "H";
}

void DSTTimeDef::fromString(const std::string& text) {
    std::string number;
    for (const char c : text) {
        signed char* const field = c == 'M'   ? &month
                                   : c == 'W' ? &week
                                   : c == 'D' ? &day
                                   : c == 'H' ? &hour
                                              : nullptr;
        if (!field) {
            number += c;
            continue;
        }
        *field = StringTools::toInt8(number);
        number.clear();
    }
}

TimeZone::TimeZone(const std::string& text) {
    set(text, DateTime(DateTime::getCurrentTime()));
}

void TimeZone::readEnvironment() {
    HaveEnvTZ = true;
    std::string text;
    if (EnvTools::get("MOVRIK_TZ", text) && !text.empty())
        setDefault(TimeZone(text));
    else
        tzset();
}

void TimeZone::setDefault(const TimeZone& zone) {
    DefaultTZ.set(zone);
    HaveDefaultTZ = true;
}

void TimeZone::setCurrent(bool force) {
    struct Probed {
        time_t hour = 0;
        TimeZone zone{Constant()};
    };
    static constinit Probed cache;
    if (HaveDefaultTZ) {
        set(DefaultTZ);
        return;
    }
    const time_t now = ::time(nullptr);
    if (force || now - cache.hour >= 3600) {
        probe(now);
        cache.zone.set(*this);
        cache.hour = now - now % 3600;
    }
    set(cache.zone);
}

void TimeZone::probe(time_t now) {
    reset();
    tzset();
    probeChanges(localTime(now));
    const time_t hour = now - now % 3600;
    tm standard{};
    gmtime_r(&hour, &standard);
    // The month before the start is outside daylight saving, if the day does not run on into the next one.
    // Years that `toTime` does not cover take the offset of the last whole year that it does.
    standard.tm_mon = dstStart.month == 1 ? 11 : dstStart.month - 2;
    standard.tm_mday = std::min(standard.tm_mday, 28);
    standard.tm_year = std::min(standard.tm_year, 137);
    const long long gmt = toTime(standard);
    offset = (toTime(localTime(gmt)) - gmt) * 1000;
}

/// Finds shift and rules from jumps of the local hour in the year of `today`.
void TimeZone::probeChanges(const tm& today) {
    tm first = today;
    first.tm_sec = first.tm_min = first.tm_hour = first.tm_mon = 0;
    first.tm_mday = 1;
    first.tm_isdst = -1;
    tm last = today;
    last.tm_hour = 23;
    last.tm_mday = 31;
    last.tm_mon = 11;
    last.tm_isdst = -1;
    const time_t end = mktime(&last);
    time_t moment = mktime(&first);
    tm before = localTime(moment);
    for (moment += 3600; moment < end; moment += 3600) {
        const tm current = localTime(moment);
        const int ahead = current.tm_hour - before.tm_hour;
        const bool fellBack = (ahead <= 0 && ahead >= -4) || ahead >= 20;
        const bool jumped = !fellBack && (ahead > 1 || (ahead <= -6 && ahead >= -17));
        if (fellBack || jumped) {
            const int shift = jumped ? ahead - 1 : ahead <= 19 ? 1 - ahead : 25 - ahead;
            dstShift = shift * 3600000LL;
            // The fourth occurrence is taken for the last one.
            const int week = (before.tm_mday - 1) / 7 + 1;
            (jumped ? dstStart : dstEnd) = DSTTimeDef(static_cast<signed char>(before.tm_mon + 1),
                                                      static_cast<signed char>(week == 4 ? 5 : week),
                                                      static_cast<signed char>((before.tm_wday + 6) % 7),
                                                      static_cast<signed char>(before.tm_hour + 1));
            if (before.tm_mon > 8)
                break;
            moment += 7776000;
        }
        before = current;
    }
}

void TimeZone::set(const std::string& text, const DateTime& moment) {
    if (GlobMatcher::match(text, "???:?? (???:?? *M*W*D*H-*M*W*D*H)"))
        setFull(text);
    else if (GlobMatcher::match(text, "+????*") || GlobMatcher::match(text, "-????*"))
        setISO(text, moment);
    else
        setNumber(StringTools::toInt64(text), moment);
}

void TimeZone::setFull(const std::string& text) {
    std::string rest = text;
    offset = parsePlain(StringTools::split(rest, ' '));
    StringTools::split(rest, '(');
    dstShift = parsePlain(StringTools::split(rest, ' '));
    dstStart.fromString(StringTools::split(rest, '-'));
    dstEnd.fromString(StringTools::split(rest, ')'));
    isSet = true;
}

void TimeZone::setISO(const std::string& text, const DateTime& moment) {
    setOffsetInForce(parsePlain(text), moment);
}

void TimeZone::setNumber(long long number, const DateTime& moment) {
    const bool minutes = number >= -1000000 && number <= 1000000;
    setOffsetInForce(minutes ? number * 60000 : number, moment);
}

void TimeZone::setOffsetInForce(long long milliseconds, const DateTime& moment) {
    set(moment.timeZone());
    offset = milliseconds;
    if (isDST(moment))
        offset = wrapSub(offset, dstShift);
}

long long TimeZone::parsePlain(const std::string& text) {
    const bool marked = GlobMatcher::match(text, "+??:??") || GlobMatcher::match(text, "-??:??");
    if (!marked && !GlobMatcher::match(text, "+????") && !GlobMatcher::match(text, "-????"))
        return 0;
    const auto hours = static_cast<long long>(StringTools::toUInt64(text.substr(1, 2)));
    const auto minutes = static_cast<long long>(StringTools::toUInt64(text.substr(marked ? 4 : 3, 2)));
    const long long milliseconds = hours * 3600000 + minutes * 60000;
    return text[0] == '-' ? -milliseconds : milliseconds;
}

long long TimeZone::getGmtLocalDiff(const DateTime& moment) const {
    if (offset == 0 && dstShift == 0)
        return 0;
    return isDST(moment) ? wrapAdd(offset, dstShift) : offset;
}

bool TimeZone::isDST(const DateTime& moment) const {
    if (dstStart.month == 0 || dstEnd.month == 0 || dstShift == 0)
        return false;
    const long long year = moment.getGmt().year;
    const unsigned long long start = getDstStart(year);
    const unsigned long long end = getDstEnd(year);
    const unsigned long long count = moment();
    if (start < end)
        return start <= count && count < end;
    return start != end && (count >= start || count < end);
}

int TimeZone::dstQuickTest(const DateTime& moment) const {
    if (dstStart.month == 0 || dstEnd.month == 0)
        return 2;
    // A local time on the first day of 1900 less an eastern offset lies in 1899, which has no changes.
    const long long year = std::max(moment.getGmt().year, 1900LL);
    const unsigned long long start = getDstStart(year);
    const unsigned long long end = getDstEnd(year);
    if (start == end)
        return 2;
    const unsigned long long count = moment();
    const auto shift = static_cast<unsigned long long>(dstShift);
    if (start < end) {
        if (count + shift < start || count - shift >= end)
            return 2;
        if (count >= start && count - shift < end)
            return 1;
    } else {
        if (count >= start || count + shift < end)
            return 1;
        if (count - shift > end && count + shift < start)
            return 2;
    }
    return distance(count, start) < distance(count, end) ? 3 : 4;
}

unsigned long long TimeZone::getDstStart(long long year) const {
    if (dstShift == 0)
        return 0;
    return getDstChangeTime(year, dstStart.month, dstStart.week, dstStart.day, dstStart.hour);
}

unsigned long long TimeZone::getDstEnd(long long year) const {
    if (dstShift == 0)
        return 0;
    return getDstChangeTime(year, dstEnd.month, dstEnd.week, dstEnd.day, dstEnd.hour) -
           static_cast<unsigned long long>(dstShift);
}

unsigned long long TimeZone::getDstChangeTime(long long year, long long month, long long week, long long day,
                                              long long hour) const {
    DateTimeDetails first;
    prepareDTD(first, year, month, hour);
    const long long sunday = first.weekDay <= 5 ? 7 - first.weekDay : 1;
    // Week 5 of a month whose first Sunday is the third means the fourth: "3M5W6D2H" is 2019-03-24. Zones
    // stored in the field are read so.
    const long long weeks = (DateTimeDetails::getDaysInMonth(first.year, first.month) - sunday + 6) / 7;
    const long long target = std::min(weeks, week);
    constexpr long long sixWeeks = 42;
    long long ahead = 0;
    for (long long met = 0; ahead < sixWeeks; ++ahead) {
        if ((first.weekDay + ahead) % 7 == day)
            ++met;
        if (met == target)
            break;
    }
    return first.getTimeType() + static_cast<unsigned long long>(ahead * Day) -
           static_cast<unsigned long long>(offset);
}

void TimeZone::prepareDTD(DateTimeDetails& details, long long year, long long month, long long hour) {
    details.year = year;
    details.month = month;
    details.day = 1;
    details.hour = hour;
    details.minute = details.second = details.millisecond = 0;
    details.normalized = false;
    details.normalize();
}

std::string TimeZone::getString() const {
    std::string text = toString(offset);
    if (dstShift != 0)
        text += " (" + toString(dstShift) + " " + dstStart.toString() + "-" + dstEnd.toString() + ")";
    return text;
}

std::string TimeZone::getIsoString(const DateTime& moment, bool compact) const {
    return offsetText(getGmtLocalDiff(moment), compact);
}

std::string TimeZone::toString(long long milliseconds) {
    return offsetText(milliseconds, false);
}

int TimeZone::compare(const TimeZone& other) const {
    return (offset > other.offset) - (offset < other.offset);
}

long long toTime(const tm& fields) {
    if (fields.tm_year < 70 || fields.tm_year > 138)
        return -1;
    const long long year = fields.tm_year + 1900;
    const long long days = DateTimeDetails::countDays(year, fields.tm_mon + 1LL, fields.tm_mday) -
                           DateTimeDetails::countDays(1970, 1, 1);
    return days * 86400 + fields.tm_hour * 3600LL + fields.tm_min * 60LL + fields.tm_sec;
}

}  // namespace MovrikCorelib
