#pragma once

#include <string>

#include "TimeZone.h"

namespace MovrikCorelib {

class DateTime;
class TimeSpan;

/// A point in time as calendar fields, Gregorian, from 1900 on. Whoever changes fields by hand clears
/// `normalized`; `normalize` and the operations that need consistent fields then carry and borrow. Fields
/// that come out before 1900 become the default, 1900-01-01 00:00:00.000. Any field value is taken, and
/// nothing is thrown.
class DateTimeDetails {
public:
    DateTimeDetails() = default;
    /// As the `set` of the same arguments.
    DateTimeDetails(long long newYear, long long newMonth, long long newDay, long long newHour,
                    long long newMinute, long long newSecond, long long newMillisecond, bool isLocal) {
        set(newYear, newMonth, newDay, newHour, newMinute, newSecond, newMillisecond, isLocal);
    }
    explicit DateTimeDetails(unsigned long long count) { set(count); }
    /// `count` is local time in `zone` already and is not shifted.
    DateTimeDetails(unsigned long long count, const TimeZone& zone);
    explicit DateTimeDetails(const DateTime& value) { set(value); }
    explicit DateTimeDetails(const std::string& text) { set(text); }
    DateTimeDetails(const DateTimeDetails&) = default;
    DateTimeDetails& operator=(const DateTimeDetails&) = default;
    virtual ~DateTimeDetails() = default;

    DateTimeDetails& operator=(unsigned long long count);
    DateTimeDetails& operator=(const DateTime& value);
    DateTimeDetails& operator=(const std::string& text);

    /// Normalizes, and takes the current zone.
    void set(long long newYear, long long newMonth, long long newDay, long long newHour, long long newMinute,
             long long newSecond, long long newMillisecond, bool isLocal);
    /// The fields in GMT, in the current zone or in that of `value`.
    void set(unsigned long long count);
    void set(const DateTime& value);
    void set(const DateTimeDetails& other) { *this = other; }

    /// Parses "2010-03-07T12:30:45.250Z", also without separators, "T" being the only mark between date and
    /// time. Behind the time stand "Z" for GMT, or a blank and a zone (see `TimeZone`); other texts are local
    /// time in the zone that this value has, or the current one if it has none. The digits behind the point
    /// are a number of milliseconds, so ".5" is 5. Missing fields are 0. Nothing is checked or normalized.
    void set(const std::string& text);

    /// The system clock's time as GMT fields; flags and zone stay.
    void setCurrent();
    /// The last point in time that a count can hold.
    void setEnd();
    /// The default state; the zone only if `resetZone`. `isReset` does not look at the zone.
    void reset(bool resetZone);
    bool isReset() const;

    DateTime getDateTime() const;
    /// The count as in `DateTime`. Local fields are turned into GMT by `timeZone`.
    unsigned long long getTimeType() const;

    /// "2010-03-07T12:30:45.250Z": with ".250" if `milliseconds`, without "-" and ":" if `compact`, with "Z"
    /// if not `local`, followed by the offset in force if `zone`.
    std::string getString(bool milliseconds, bool compact, bool zone) const;

    /// -1, 0 or 1 by the fields down to milliseconds, in GMT if only one side is local.
    int compare(const DateTimeDetails& other) const;

    void normalize();

    /// Shows the same point in time in local time of the own zone (the current one if it is not set), of
    /// `zone`, or in GMT.
    void makeLocal();
    void makeLocal(const TimeZone& zone);
    void makeGmt();

    /// Add or take away in steps (time, months, years) that each normalize: 2010-01-31 and a month is
    /// 2010-03-03. A negative span goes through the steps the other way round.
    DateTimeDetails& operator+=(const TimeSpan& span);
    DateTimeDetails& operator-=(const TimeSpan& span);

    /// Leap years from 1901 up to the year before.
    static long long countLeapYears(long long year);
    /// Days before the first of January, for years from 1901; 1900-01-01 is day 1.
    static long long countDays(long long year);
    static long long countDays(long long year, long long month, long long day);
    static bool isLeapYear(long long year);
    /// 31 also for numbers that are no month.
    static long long getDaysInMonth(long long year, long long month);
    /// The ISO 8601 week in most years; files and callers rely on the number as it comes out here.
    static long long getWeek(long long year, long long month, long long day);
    /// 0 is Monday.
    static long long getWeekDay(long long year, long long month, long long day);
    /// 1 is the first of January.
    static long long getYearDay(long long year, long long month, long long day);
    /// Decimal, filled with "0" up to `width` characters, the sign included.
    static std::string format(long long value, unsigned long width);

    long long year = 1900;
    long long month = 1;
    long long day = 1;
    long long hour = 0;
    long long minute = 0;
    long long second = 0;
    long long millisecond = 0;
    long long week = 1;      ///< by `getWeek`
    long long weekDay = 0;   ///< 0 is Monday
    long long yearDay = 1;   ///< 1 is the first of January
    bool normalized = true;  ///< the fields are consistent
    bool local = false;      ///< the fields are local time in `timeZone`, not GMT
    TimeZone timeZone;

private:
    void computeDerived();
    void ensureNoNegativeValues();
    void ensureValuesWithinLimits();
    void moveFields(const TimeSpan& part, bool back);
    void moveInSteps(const TimeSpan& span, bool back);
};

/// Whole years and months, and the rest in milliseconds; milliseconds alone within one month.
TimeSpan operator-(const DateTimeDetails& later, const DateTimeDetails& earlier);

}  // namespace MovrikCorelib
