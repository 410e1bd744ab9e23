#pragma once

namespace MovrikCorelib {

/// Carrying and borrowing between calendar fields. Each gives the result of going unit by unit, or month by
/// month, wrapping round at 64 bits, and ends soon whatever the numbers are.
class CalendarSteps {
public:
    /// Raises `low` to `least` or above by units of `step`, each taken from `high`.
    static void borrow(long long& low, long long& high, unsigned long long step, long long least = 0);

    /// Moves whole units of `step` from `low` to `high`.
    static void carry(long long& low, long long& high, long long step);

    /// Goes back month by month, each giving its length to `day`, until `day` is at least 1 or the year falls
    /// below 1900. Called with a month from 1 and a year from 1900.
    static void goBack(long long& year, long long& month, long long& day);

    /// Goes on month by month, each taking its length from `days`, until `days` fits the month. Every month
    /// from 12 on is followed by the first of the next year. Called with `days` from 1. Gives the number of
    /// months passed.
    static unsigned long long goOn(long long& year, long long& month, unsigned long long& days);
};

}  // namespace MovrikCorelib
