#pragma once

#include <string>

namespace MovrikCorelib {

class DateTime;
class DateTimeDetails;

/// A number of milliseconds as whole days, hours and so on, all with the sign of the number.
struct TimeParts {
    explicit TimeParts(long long span);

    long long days;
    long long hours;
    long long minutes;
    long long seconds;
    long long milliseconds;
};

/// A signed duration. Years and months are kept apart, as they have no fixed length; where one number is
/// needed, a year is 31556952000 milliseconds and a month a twelfth of it. A day is 86400000 milliseconds.
/// Overflow wraps.
///
/// The text form is that of ISO 8601: "P1Y2M3DT4H5M6.500S"; a span of zero is "P", and a negative one has a
/// sign on each number. Parsing never fails: it takes what it understands. It works in 32 bits, so a number
/// of days from 25 on wraps.
class TimeSpan {
public:
    TimeSpan() = default;
    explicit TimeSpan(long long spanMilliseconds) : milliseconds(spanMilliseconds) {}
    explicit TimeSpan(const std::string& text) { *this = text; }
    TimeSpan(long long spanYears, long long spanMonths, long long days, long long hours, long long minutes,
             long long seconds, long long spanMilliseconds) {
        set(spanYears, spanMonths, days, hours, minutes, seconds, spanMilliseconds);
    }
    TimeSpan(const TimeSpan&) = default;
    TimeSpan& operator=(const TimeSpan&) = default;
    virtual ~TimeSpan() = default;

    /// Nothing is carried into months or years.
    void set(long long spanYears, long long spanMonths, long long days, long long hours, long long minutes,
             long long seconds, long long spanMilliseconds);

    TimeSpan& operator=(long long spanMilliseconds);
    TimeSpan& operator=(const std::string& text);
    operator std::string() const;

    TimeSpan& operator+=(const TimeSpan& other);
    TimeSpan& operator-=(const TimeSpan& other);
    TimeSpan& operator*=(int factor);
    /// Each field is truncated; one that leaves the range stops at its end.
    TimeSpan& operator*=(double factor);

    void invert();
    void reset() { *this = TimeSpan(); }

    bool isZero() const;
    /// True if any field is below 0, so also for one year less one month.
    bool isNegative() const;
    /// -1, 0 or 1 by `countMilliseconds(true)`.
    int compare(const TimeSpan& other) const;

    /// `milliseconds`; years and months count with their mean lengths if `all`, and are left out otherwise.
    long long countMilliseconds(bool all) const;

    /// The whole span in one unit, with its fraction, by mean lengths.
    double countYears() const;
    double countMonths() const;
    double countDays() const;
    double countHours() const;
    double countMinutes() const;
    double countSeconds() const;

    long long years = 0;
    long long months = 0;
    long long milliseconds = 0;  ///< all units from days down
};

/// These add all fields at once and normalize once, where `operator+=` of the value goes in steps. The result
/// is GMT and stands in the current zone, whatever the zone of the operand.
DateTimeDetails operator+(const DateTimeDetails& value, const TimeSpan& span);
DateTimeDetails operator+(const TimeSpan& span, const DateTimeDetails& value);
DateTimeDetails operator-(const DateTimeDetails& value, const TimeSpan& span);
DateTime operator+(const DateTime& value, const TimeSpan& span);
DateTime operator+(const TimeSpan& span, const DateTime& value);
DateTime operator-(const DateTime& value, const TimeSpan& span);

}  // namespace MovrikCorelib
