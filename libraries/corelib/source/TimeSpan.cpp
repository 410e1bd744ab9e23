#include "TimeSpan.h"

#include <cmath>
#include <limits>

#include "DateTime.h"
#include "DateTimeDetails.h"
#include "StringTools.h"
#include "WrapMath.h"

namespace MovrikCorelib {

namespace {

constexpr long long MeanYear = 31556952000;
constexpr long long MeanMonth = 2629746000;

/// Numbers of a span's text are 32 bits wide, products included: stored spans were always read so.
long long lowBits(unsigned long long value) {
    return static_cast<int>(static_cast<unsigned int>(value));
}

long long toUnits(const std::string& number, unsigned long long unit) {
    return lowBits(static_cast<unsigned long long>(StringTools::toInt64(number)) * unit);
}

long long truncated(double value) {
    constexpr double limit = 9223372036854775808.0;
    if (value >= limit)
        return std::numeric_limits<long long>::max();
    if (value < -limit)
        return std::numeric_limits<long long>::min();
    return std::isnan(value) ? 0 : static_cast<long long>(value);
}

long long multiplied(long long value, double factor) {
    return truncated(static_cast<double>(value) * factor);
}

std::string toString(long long value) {
    return std::to_string(value);
}

DateTimeDetails moved(const DateTimeDetails& value, const TimeSpan& span,
                      long long (*step)(long long, long long)) {
    const TimeParts parts(span.milliseconds);
    return DateTimeDetails(step(value.year, span.years), step(value.month, span.months),
                           step(value.day, parts.days), step(value.hour, parts.hours),
                           step(value.minute, parts.minutes), step(value.second, parts.seconds),
                           step(value.millisecond, parts.milliseconds), false);
}

}  // namespace

TimeParts::TimeParts(long long span)
    : days(span / 86400000),
      hours(span % 86400000 / 3600000),
      minutes(span % 3600000 / 60000),
      seconds(span % 60000 / 1000),
      milliseconds(span % 1000) {}

void TimeSpan::set(long long spanYears, long long spanMonths, long long days, long long hours,
                   long long minutes, long long seconds, long long spanMilliseconds) {
    years = spanYears;
    months = spanMonths;
    milliseconds = wrapAdd(wrapMul(days, 86400000), wrapMul(hours, 3600000));
    milliseconds = wrapAdd(milliseconds, wrapMul(minutes, 60000));
    milliseconds = wrapAdd(wrapAdd(milliseconds, wrapMul(seconds, 1000)), spanMilliseconds);
}

TimeSpan& TimeSpan::operator=(long long spanMilliseconds) {
    return *this = TimeSpan(spanMilliseconds);
}

TimeSpan& TimeSpan::operator=(const std::string& text) {
    reset();
    const std::string::size_type begin = text.find('P');
    if (begin == std::string::npos)
        return *this;
    bool timeSection = false;
    std::string number;
    for (std::string::size_type i = begin + 1; i < text.size(); ++i) {
        long long part = 0;
        switch (text[i]) {
            case 'T':
                timeSection = true;
                break;
            case 'Y':
            case 'y':
                if (!timeSection)
                    years = toUnits(number, 1);
                break;
            case 'M':
            case 'm':
                if (timeSection)
                    part = toUnits(number, 60000);
                else
                    months = toUnits(number, 1);
                break;
            case 'D':
            case 'd':
                if (!timeSection)
                    part = toUnits(number, 86400000);
                break;
            case 'H':
            case 'h':
                if (timeSection)
                    part = toUnits(number, 3600000);
                break;
            case 'S':
            case 's':
                if (timeSection)
                    part = truncated(StringTools::toDouble(number) * 1000.0);
                break;
            default:
                if (text[i] == '-' || text[i] == '.' || (text[i] >= '0' && text[i] <= '9'))
                    number += text[i];
                continue;
        }
        number.clear();
        milliseconds = wrapAdd(milliseconds, part);
    }
    return *this;
}

TimeSpan::operator std::string() const {
    std::string text = "P";
    const auto append = [&text](long long value, char letter) {
        if (value != 0)
            (text += toString(value)) += letter;
    };
    append(years, 'Y');
    append(months, 'M');
    const TimeParts parts(milliseconds);
    append(parts.days, 'D');
    long long rest = milliseconds % 60000;
    if (parts.hours != 0 || parts.minutes != 0 || rest != 0)
        text += 'T';
    append(parts.hours, 'H');
    append(parts.minutes, 'M');
    if (rest != 0) {
        if (rest < 0)
            text += '-';
        rest = rest < 0 ? -rest : rest;
        text += toString(rest / 1000);
        if (rest % 1000 > 0)
            text += '.' + DateTimeDetails::format(rest % 1000, 3);
        text += 'S';
    }
    return text;
}

TimeSpan& TimeSpan::operator+=(const TimeSpan& other) {
    years = wrapAdd(years, other.years);
    months = wrapAdd(months, other.months);
    milliseconds = wrapAdd(milliseconds, other.milliseconds);
    return *this;
}

TimeSpan& TimeSpan::operator-=(const TimeSpan& other) {
    years = wrapSub(years, other.years);
    months = wrapSub(months, other.months);
    milliseconds = wrapSub(milliseconds, other.milliseconds);
    return *this;
}

TimeSpan& TimeSpan::operator*=(int factor) {
    years = wrapMul(years, factor);
    months = wrapMul(months, factor);
    milliseconds = wrapMul(milliseconds, factor);
    return *this;
}

TimeSpan& TimeSpan::operator*=(double factor) {
    years = multiplied(years, factor);
    months = multiplied(months, factor);
    milliseconds = multiplied(milliseconds, factor);
    return *this;
}

void TimeSpan::invert() {
    *this *= -1;
}

bool TimeSpan::isZero() const {
    return years == 0 && months == 0 && milliseconds == 0;
}

bool TimeSpan::isNegative() const {
    return years < 0 || months < 0 || milliseconds < 0;
}

int TimeSpan::compare(const TimeSpan& other) const {
    const long long mine = countMilliseconds(true);
    const long long others = other.countMilliseconds(true);
    return (mine > others) - (mine < others);
}

long long TimeSpan::countMilliseconds(bool all) const {
    if (!all)
        return milliseconds;
    return wrapAdd(wrapAdd(wrapMul(years, MeanYear), wrapMul(months, MeanMonth)), milliseconds);
}

double TimeSpan::countYears() const {
    return static_cast<double>(years) + static_cast<double>(months) / 12.0 +
           static_cast<double>(milliseconds) / 31556952000.0;
}

double TimeSpan::countMonths() const {
    return static_cast<double>(wrapAdd(wrapMul(years, 12), months)) +
           static_cast<double>(milliseconds) / 2629746000.0;
}

double TimeSpan::countDays() const {
    return static_cast<double>(years) * 365.2425 + static_cast<double>(months) * 30.436875 +
           static_cast<double>(milliseconds) / 86400000.0;
}

double TimeSpan::countHours() const {
    return static_cast<double>(years) * 8765.82 + static_cast<double>(months) * 730.485 +
           static_cast<double>(milliseconds) / 3600000.0;
}

double TimeSpan::countMinutes() const {
    return static_cast<double>(years) * 525949.2 + static_cast<double>(months) * 43829.1 +
           static_cast<double>(milliseconds) / 60000.0;
}

double TimeSpan::countSeconds() const {
    return static_cast<double>(years) * 31556952.0 + static_cast<double>(months) * 2629746.0 +
           static_cast<double>(milliseconds) / 1000.0;
}

DateTimeDetails operator+(const DateTimeDetails& value, const TimeSpan& span) {
    return moved(value, span, wrapAdd);
}

DateTimeDetails operator+(const TimeSpan& span, const DateTimeDetails& value) {
    return value + span;
}

DateTimeDetails operator-(const DateTimeDetails& value, const TimeSpan& span) {
    return moved(value, span, wrapSub);
}

DateTime operator+(const DateTime& value, const TimeSpan& span) {
    return (value.getGmt() + span).getDateTime();
}

DateTime operator+(const TimeSpan& span, const DateTime& value) {
    return value + span;
}

DateTime operator-(const DateTime& value, const TimeSpan& span) {
    return (value.getGmt() - span).getDateTime();
}

}  // namespace MovrikCorelib
