#pragma once

#include "XExport.h"
#include "XString.h"

// Dates of the Gregorian calendar, and Julian dates: days, with fractions, since noon of 24 November of the year -4713.
// A day begins at midnight, so that its Julian date ends in .5. The calendar reaches back before its introduction, and
// the year before 1 is 0. The time scale is the caller's; leap seconds are not known. All functions are pure and serve
// any number of threads.

/// The Julian date of a time. Numbers beyond their usual range count on: month 13 is January of the next year, and
/// hour 24 is midnight.
ZRKIO_API double XfnGregorian2Julian(int year, int month, int day, int hour, int minute, double seconds);
/// The Julian day number of a date, which is the Julian date of its noon: 2451545 for 1 January 2000.
ZRKIO_API long XfnGregorian2Julian(int year, int month, int day);
/// The reverse of the first one, to the nanosecond as far as a double tells it, which is 40 microseconds today. Returns
/// 1; or 0, with all outputs as they were, for a date that is not finite, below 0 or behind the year 9999.
ZRKIO_API int XfnJulian2Gregorian(double julianDate, int& year, int& month, int& day, int& hour, int& minute,
                                  double& seconds);

/// A Julian date as text: "2000-01-01 12:00:00.000000000". Empty where `XfnJulian2Gregorian` gives 0.
ZRKIO_API XString JD2UTC(double julianDate);
/// The Julian date of a text. Year, month and day are parted by "-", or by "/" where there is no "-"; behind a blank
/// follow hour, minute and seconds, parted by ":". A text without a time gives the Julian day number, which is that of
/// noon. Parts that are no numbers are 0. A text with neither "-" nor "/" gives 1.7e+308. The locale has no influence.
ZRKIO_API double UTC2JD(XString text);
