#include "DateTime.h"

#include <vector>

#include "DateTimeDetails.h"
#include "StringTools.h"
#include "TimeSpan.h"

namespace MovrikCorelib {

namespace {

constexpr unsigned long long Day = 86400000;
constexpr unsigned long long Week = 604800000;

/// Both stop at 0 where the count would go below it.
unsigned long long plus(unsigned long long count, long long diff) {
    const auto step = static_cast<unsigned long long>(diff);
    return diff < 0 && 0 - step > count ? 0 : count + step;
}

unsigned long long minus(unsigned long long count, long long diff) {
    const auto step = static_cast<unsigned long long>(diff);
    return diff > 0 && step > count ? 0 : count - step;
}

}  // namespace

DateTime::DateTime(const DateTimeDetails& details)
    : time_(details.getTimeType()), timeZone_(details.timeZone) {}

DateTime::DateTime(const std::string& text) {
    timeZone_.setCurrent(false);
    set(text);
}

unsigned long long DateTime::getCurrentTime() {
    DateTimeDetails now;
    now.setCurrent();
    return now.getTimeType();
}

void DateTime::setGmt(long long year, long long month, long long day, long long hour, long long minute,
                      long long second, long long millisecond) {
    set(DateTimeDetails(year, month, day, hour, minute, second, millisecond, false));
}

void DateTime::setLocal(long long year, long long month, long long day, long long hour, long long minute,
                        long long second, long long millisecond) {
    setGmt(year, month, day, hour, minute, second, millisecond);
    time_ = minus(time_, timeZone_.getGmtLocalDiff(*this));
}

void DateTime::setTZ(const TimeZone& zone, long long year, long long month, long long day, long long hour,
                     long long minute, long long second, long long millisecond) {
    const TimeZone given(zone);
    setGmt(year, month, day, hour, minute, second, millisecond);
    time_ = minus(time_, given.getGmtLocalDiff(*this));
}

void DateTime::set(unsigned long long count, const TimeZone& zone) {
    time_ = count;
    timeZone_ = zone;
}

void DateTime::set(const DateTimeDetails& details) {
    time_ = details.getTimeType();
    timeZone_ = details.timeZone;
}

void DateTime::set(const std::string& text) {
    DateTimeDetails details;
    details.timeZone = timeZone_;
    details.set(text);
    set(details);
}

void DateTime::reset() {
    time_ = 0;
    timeZone_.reset();
}

int DateTime::compare(const DateTime& other) const {
    return (time_ > other.time_) - (time_ < other.time_);
}

DateTimeDetails DateTime::getGmt() const {
    return DateTimeDetails(*this);
}

DateTimeDetails DateTime::getTZ(const TimeZone& zone) const {
    return DateTimeDetails(plus(time_, zone.getGmtLocalDiff(*this)), zone);
}

std::string DateTime::getLocalString(bool milliseconds, bool compact, bool zone) const {
    return getTZ(timeZone_).getString(milliseconds, compact, zone);
}

std::string DateTime::getGmtString(bool milliseconds, bool compact, bool zone) const {
    return getGmt().getString(milliseconds, compact, zone);
}

void DateTime::compensateForDSTEndTime() {
    time_ = plus(time_, timeZone_.dstShift);
}

void DateTime::alignGmt(unsigned long long unit) {
    if (unit < 2)
        return;
    if (unit == Week) {
        alignGmt(Day);
        time_ = minus(time_, getGmt().weekDay * static_cast<long long>(Day));
    } else {
        time_ -= time_ % unit;
    }
}

void DateTime::alignTZ(unsigned long long unit, const TimeZone& zone) {
    if (unit < 2)
        return;
    if (unit == Week)
        alignTZ(Day, zone);
    const bool wasDST = zone.isDST(*this);
    if (unit == Week) {
        time_ = minus(time_, getTZ(zone).weekDay * static_cast<long long>(Day));
    } else {
        const long long diff = zone.getGmtLocalDiff(*this);
        const unsigned long long rest = plus(time_, diff) % unit;
        time_ = rest > time_ ? 0 : time_ - rest;
    }
    keepWallClock(zone, wasDST);
}

/// Days and units are those of the local view: a step back over a change lands on the same time on the wall
/// clock, so that a week begins on Monday 00:00 whichever day the change was.
void DateTime::keepWallClock(const TimeZone& zone, bool wasDST) {
    if (zone.isDST(*this) != wasDST)
        time_ = wasDST ? plus(time_, zone.dstShift) : minus(time_, zone.dstShift);
}

DateTime& DateTime::operator+=(const TimeSpan& span) {
    if (span.years == 0 && span.months == 0) {
        time_ += static_cast<unsigned long long>(span.countMilliseconds(false));
    } else {
        DateTimeDetails details(*this);
        set(details += span);
    }
    return *this;
}

DateTime& DateTime::operator-=(const TimeSpan& span) {
    if (span.years == 0 && span.months == 0) {
        // Negative milliseconds count as the huge number that their bits make: callers see 0 for them.
        const auto step = static_cast<unsigned long long>(span.countMilliseconds(false));
        time_ = step > time_ ? 0 : time_ - step;
    } else {
        DateTimeDetails details(*this);
        set(details -= span);
    }
    return *this;
}

bool DateTime::isDate(const std::string& text) {
    if (text.find_first_not_of("0123456789-") != std::string::npos)
        return false;
    const std::vector<std::string> parts = StringTools::splitVector(text, '-', std::string::npos, false);
    if (parts.size() != 3 || parts[0].size() != 4 || parts[1].size() != 2 || parts[2].size() != 2)
        return false;
    const int year = StringTools::toInt16(parts[0]);
    const int month = StringTools::toInt16(parts[1]);
    const int day = StringTools::toInt16(parts[2]);
    if (year <= 999 || month < 1 || month > 12 || day < 1)
        return false;
    // Not the calendar's February: input files are checked by this rule, which takes 1900-02-29 and refuses
    // 2000-02-29.
    if (month == 2)
        return day <= (year % 400 != 0 && year % 4 == 0 ? 29 : 28);
    return day <= DateTimeDetails::getDaysInMonth(year, month);
}

}  // namespace MovrikCorelib
