#include "CalendarSteps.h"

#include <algorithm>
#include <limits>

#include "DateTimeDetails.h"
#include "WrapMath.h"

namespace MovrikCorelib {

namespace {

// The calendar repeats after 400 years.
constexpr unsigned long long CycleDays = 146097;
constexpr unsigned long long CycleMonths = 4800;

// Months with a number that is no month have 31 days each.
constexpr unsigned long long OddMonthDays = 31;

unsigned long long magnitude(long long notPositive) {
    return 0 - static_cast<unsigned long long>(notPositive);
}

}  // namespace

void CalendarSteps::borrow(long long& low, long long& high, unsigned long long step, long long least) {
    if (low >= least)
        return;
    const auto start = static_cast<unsigned long long>(low);
    const unsigned long long taken = (static_cast<unsigned long long>(least) - 1 - start) / step + 1;
    low = static_cast<long long>(start + taken * step);
    high = wrapSub(high, static_cast<long long>(taken));
}

void CalendarSteps::carry(long long& low, long long& high, long long step) {
    if (low < step)
        return;
    high = wrapAdd(high, low / step);
    low %= step;
}

void CalendarSteps::goBack(long long& year, long long& month, long long& day) {
    if (day < 1 && month > 12) {
        const unsigned long long odd =
            std::min(magnitude(day) / OddMonthDays + 1, static_cast<unsigned long long>(month) - 12);
        month -= static_cast<long long>(odd);
        day = wrapAdd(day, static_cast<long long>(odd * OddMonthDays));
    }
    if (day < 1) {
        const unsigned long long cycles =
            std::min(magnitude(day) / CycleDays, static_cast<unsigned long long>(year - 1900) / 400);
        year -= static_cast<long long>(cycles * 400);
        day += static_cast<long long>(cycles * CycleDays);
    }
    while (day < 1) {
        if (--month < 1) {
            month = 12;
            if (--year < 1900)
                return;
        }
        day += DateTimeDetails::getDaysInMonth(year, month);
    }
}

unsigned long long CalendarSteps::goOn(long long& year, long long& month, unsigned long long& days) {
    unsigned long long passed = 0;
    if (month < 1) {
        passed = std::min((days - 1) / OddMonthDays, magnitude(month) + 1);
        days -= passed * OddMonthDays;
        month = wrapAdd(month, static_cast<long long>(passed));
    }
    for (;;) {
        const auto length = static_cast<unsigned long long>(DateTimeDetails::getDaysInMonth(year, month));
        if (days <= length)
            return passed;
        // The leap years do not keep their cycle where the year wraps round.
        const unsigned long long yearsLeft =
            static_cast<unsigned long long>(std::numeric_limits<long long>::max()) -
            static_cast<unsigned long long>(year);
        const unsigned long long cycles = std::min((days - 1) / CycleDays, yearsLeft / 400);
        if (cycles > 0 && month <= 12) {
            passed += cycles * CycleMonths;
            days -= cycles * CycleDays;
            year = wrapAdd(year, static_cast<long long>(cycles * 400));
            continue;
        }
        ++passed;
        days -= length;
        if (month >= 12) {
            month = 1;
            year = wrapAdd(year, 1);
        } else {
            ++month;
        }
    }
}

}  // namespace MovrikCorelib
