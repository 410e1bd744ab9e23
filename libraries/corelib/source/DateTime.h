#pragma once

#include <string>

#include "TimeZone.h"

namespace MovrikCorelib {

class DateTimeDetails;
class TimeSpan;

/// A point in time: milliseconds in GMT since 1899-12-31 00:00:00, and the zone it is shown in, which never
/// shifts the count. The count 0 means "not set"; it reads as 1900-01-01 00:00:00.000, which is also what the
/// count 86400000 reads as. Callers rely on that.
///
/// Values compare and sort by count, through the conversion to `unsigned long long`. Nothing is thrown.
class DateTime {
public:
    /// Not set, in the current zone.
    DateTime() : DateTime(0ULL) {}
    /// In the current zone, see `TimeZone::setCurrent`.
    explicit DateTime(unsigned long long count) : time_(count) { timeZone_.setCurrent(false); }
    DateTime(unsigned long long count, const TimeZone& zone) : time_(count), timeZone_(zone) {}
    explicit DateTime(const DateTimeDetails& details);
    /// Parses as `DateTimeDetails::set` does; a text without a zone is read in the current one.
    explicit DateTime(const std::string& text);
    DateTime(const DateTime&) = default;
    DateTime& operator=(const DateTime&) = default;
    virtual ~DateTime() = default;

    /// The present count, from the system clock.
    static unsigned long long getCurrentTime();
    static unsigned long long getMaxTime() { return ~0ULL; }
    static unsigned long long getMinTime() { return 0; }

    /// From fields in GMT, in local time of the current zone, or in local time of `zone`. The value stands in
    /// the current zone afterwards, after all three. A local time ahead of the first count gives 0.
    void setGmt(long long year, long long month, long long day, long long hour, long long minute,
                long long second, long long millisecond);
    void setLocal(long long year, long long month, long long day, long long hour, long long minute,
                  long long second, long long millisecond);
    void setTZ(const TimeZone& zone, long long year, long long month, long long day, long long hour,
               long long minute, long long second, long long millisecond);

    /// Changes the count alone.
    void set(unsigned long long count) { time_ = count; }
    void set(unsigned long long count, const TimeZone& zone);
    void set(const DateTime& other) { *this = other; }
    void set(const DateTimeDetails& details);
    /// The same; a text without a zone is read in the value's own one.
    void set(const std::string& text);
    void setTimeZone(const TimeZone& zone) { timeZone_ = zone; }
    /// Not set, and the zone not set either.
    void reset();

    unsigned long long time() const { return time_; }
    unsigned long long operator()() const { return time_; }
    unsigned long long& operator()() { return time_; }
    operator unsigned long long() const { return time_; }
    const TimeZone& timeZone() const { return timeZone_; }

    /// -1, 0 or 1 by count; the zones do not count.
    int compare(const DateTime& other) const;

    DateTimeDetails getGmt() const;
    DateTimeDetails getTZ(const TimeZone& zone) const;

    /// Texts as of `DateTimeDetails::getString`, in the own zone and in GMT.
    std::string getLocalString(bool milliseconds, bool compact, bool zone) const;
    std::string getGmtString(bool milliseconds, bool compact, bool zone) const;

    /// Adds the daylight-saving shift of the own zone.
    void compensateForDSTEndTime();

    /// Rounds down to a multiple of `unit` milliseconds, in GMT or in `zone`; a week (604800000) begins on
    /// Monday. A unit below 2 changes nothing.
    void alignGmt(unsigned long long unit);
    void alignTZ(unsigned long long unit, const TimeZone& zone);

    /// Milliseconds alone change the count directly; with years or months set the calendar decides.
    /// `operator-=` never goes below 0, and taking away negative milliseconds alone gives 0.
    DateTime& operator+=(const TimeSpan& span);
    DateTime& operator-=(const TimeSpan& span);

    /// Strict test of a date typed by a user: "yyyy-mm-dd" with a possible day.
    static bool isDate(const std::string& text);

private:
    void keepWallClock(const TimeZone& zone, bool wasDST);

    unsigned long long time_ = 0;
    TimeZone timeZone_;
};

}  // namespace MovrikCorelib
