#pragma once

#include <time.h>

#include <string>

namespace MovrikCorelib {

class DateTime;
class DateTimeDetails;

/// Yearly rule of one daylight-saving change, such as "3M5W6D2H": the fifth or last Sunday of March at 2:00.
class DSTTimeDef {
public:
    constexpr DSTTimeDef() = default;
    constexpr DSTTimeDef(signed char changeMonth, signed char changeWeek, signed char changeDay,
                         signed char changeHour)
        : month(changeMonth), week(changeWeek), day(changeDay), hour(changeHour) {}

    void reset() { *this = DSTTimeDef(); }

    std::string toString() const;

    /// Reads the form of `toString`; numbers are cut to 8 bits, and a field that is not named keeps its
    /// value.
    void fromString(const std::string& text);

    signed char month = 0;  ///< 1 to 12; 0 means no rule
    signed char week = 0;   ///< which `day` of the month, from 1; see `TimeZone::getDstChangeTime`
    signed char day = 0;    ///< day of the week, 0 is Monday
    signed char hour = 0;   ///< hour on the wall clock
};

/// A zone as an offset from GMT and a daylight-saving shift with two yearly rules; no name, no history.
///
/// Text forms: "+01:00 (+01:00 3M5W6D2H-10M5W6D3H)" is a whole zone. "+01:00" or "+0100" is the offset in
/// force at a moment; shift and rules are those of a given zone. Any other text is a number, of minutes up to
/// a magnitude of 1000000 and of milliseconds above. No text fails: one that says nothing is an offset of 0.
///
/// The defaults and the cached zone of the machine are shared by the process without a lock: make the first
/// `TimeZone` before there are threads.
class TimeZone {
public:
    /// Not set, all zero.
    TimeZone() { setTZ(false); }
    /// The copy counts as set even if `other` does not.
    TimeZone(const TimeZone& other) {
        setTZ(false);
        set(other);
    }
    /// Parses `text` at the present time, with the current zone for what it leaves out.
    explicit TimeZone(const std::string& text);
    TimeZone& operator=(const TimeZone&) = default;
    virtual ~TimeZone() = default;

    /// Makes the zone in the environment variable MOVRIK_TZ the default zone, or else reads the platform's
    /// zone data. Done once, by the first `TimeZone` of the process; again only with `force`.
    static void setTZ(bool force) {
        if (force || !HaveEnvTZ)
            readEnvironment();
    }

    /// `zone` stands for the machine's zone from now on; `resetDefault` ends that.
    static void setDefault(const TimeZone& zone);
    static void resetDefault() { HaveDefaultTZ = false; }

    /// Takes the default zone if there is one, else the machine's. The machine's zone is worked out from its
    /// local time at most once an hour; `force` works it out anew.
    void setCurrent(bool force);

    /// Counts as set afterwards, even if `zone` does not.
    void set(const TimeZone& zone) {
        *this = zone;
        isSet = true;
    }
    /// Parses `text` as the offset in force at `moment`, with the zone of `moment` for what it leaves out.
    void set(const std::string& text, const DateTime& moment);
    /// The three text forms one by one.
    void setFull(const std::string& text);
    void setISO(const std::string& text, const DateTime& moment);
    void setNumber(long long number, const DateTime& moment);

    void reset() { *this = TimeZone(Constant()); }

    /// Milliseconds of "+hh:mm", "-hh:mm", "+hhmm" or "-hhmm"; 0 for any other text.
    static long long parsePlain(const std::string& text);

    /// Milliseconds to add to GMT at `moment` to get local time.
    long long getGmtLocalDiff(const DateTime& moment) const;

    bool isDST(const DateTime& moment) const;

    /// The same for a local time less `offset`, which is off by the shift during daylight saving: 1 in
    /// daylight saving, 2 not, 3 and 4 within a change, nearer to the start (3) or to the end (4).
    int dstQuickTest(const DateTime& moment) const;

    /// Counts as in `DateTime` of the changes of a year; 0 if there is no shift.
    unsigned long long getDstStart(long long year) const;
    unsigned long long getDstEnd(long long year) const;

    /// Count of a change by rule, with standard time on the wall clock. The number of weeks of a month is
    /// that of its Sundays, whatever `day` is. A rule that meets no day ends six weeks after the first.
    unsigned long long getDstChangeTime(long long year, long long month, long long week, long long day,
                                        long long hour) const;

    /// Sets `details` to the first of a month at `hour` and normalizes.
    static void prepareDTD(DateTimeDetails& details, long long year, long long month, long long hour);

    /// "+01:00 (+01:00 3M5W6D2H-10M5W6D3H)", or "+01:00" without a shift.
    std::string getString() const;
    /// Offset in force at `moment`: "+02:00", or "+0200" if `compact`.
    std::string getIsoString(const DateTime& moment, bool compact) const;
    /// "+01:00" from milliseconds.
    static std::string toString(long long milliseconds);

    /// -1, 0 or 1 by `offset` alone.
    int compare(const TimeZone& other) const;

    bool isSet = false;
    long long offset = 0;    ///< standard time less GMT, milliseconds
    long long dstShift = 0;  ///< added during daylight saving, milliseconds; 0 means none
    DSTTimeDef dstStart;
    DSTTimeDef dstEnd;

    static TimeZone DefaultTZ;  ///< stands for the machine's zone while `HaveDefaultTZ`
    static bool HaveDefaultTZ;
    static bool HaveEnvTZ;  ///< the environment has been looked at

private:
    struct Constant {};
    constexpr explicit TimeZone(Constant) {}

    static void readEnvironment();
    void probe(time_t now);
    void probeChanges(const tm& today);
    void setOffsetInForce(long long milliseconds, const DateTime& moment);
};

/// Seconds since 1970-01-01 00:00:00 of fields taken as GMT; -1 outside the years 1970 to 2038. Looks at
/// neither `tm_wday` nor `tm_yday`; a `tm_mon` below 0 counts as January.
long long toTime(const tm& fields);

}  // namespace MovrikCorelib
