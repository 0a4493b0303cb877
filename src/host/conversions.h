#pragma once
// Conversions of dates, numbers and amounts. The Spanish convention is fixed whatever the
// machine's locale: "." groups thousands and "," is the decimal mark.

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <string_view>

namespace pendara {

struct CalendarDate {
    int year = 2000;  // four digits
    int month = 1;
    int day = 1;
};

// The clock that gives "today". Tests replace it; an empty function restores the system clock.
void SetClock(std::function<CalendarDate()> clock);
CalendarDate Today();
// Today's date as the run-time library gives it: mm-dd-yyyy.
std::string TodaySystemText();

// Converts between compact dates (yymmdd, with a letter for years below 60), day-first dates
// (dd/mm/yy) and the other forms the program meets, by the length of the text in characters.
std::string DateText(const std::string& s);

// Trims t in place and reads it as a number: "." alone is a decimal point, otherwise the Spanish
// form. Never fails: a text that is not a number gives 0.
double ParseNumber(std::string& t);

// Rounds half away from zero to the given number of decimals, in plain double arithmetic.
double RoundTo(double value, std::int16_t digits);

// "###,###,##0.00" with Spanish separators, right-aligned in 15 characters (cut to 15 when longer).
std::string FormatAmount(double value);
// The same pattern without the padding.
std::string FormatAmountPlain(double value);

// Reads the Spanish form: blanks around, an optional sign, digits among which "." thousands
// marks are ignored, at most one "," decimal mark. Anything else gives 0.
double ToDouble(std::string_view t);

// The number read from the start of a text: leading blanks skipped, optional sign, digits with
// at most one "." as decimal point; stops at the first other character; 0 when there is none.
double LeadingNumber(std::string_view t);

// A host value given as text: a number in Spanish form with "," as decimal mark, no grouping,
// at most 15 significant digits, no trailing zeros and never an exponent (1234.5 -> "1234,5",
// -60 -> "-60", 0.00001 -> "0,00001", 1E15 -> "1000000000000000").
std::string ValueText(double value);

// Text helpers used everywhere the program trims or compares texts.
std::string Trim(std::string_view s);
std::string_view TrimView(std::string_view s);  // Trim without the copy
std::string TrimLeft(std::string_view s);
std::string TrimRight(std::string_view s);
std::string Upper(std::string_view s);  // ASCII letters only
bool EqualsNoCase(std::string_view a, std::string_view b);
bool EndsWithNoCase(std::string_view s, std::string_view suffix);

}  // namespace pendara
