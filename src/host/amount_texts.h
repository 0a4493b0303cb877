#pragma once
// The shorter roads of the amount conversions (host/conversions.h). Most amounts are whole cents
// and most texts plain digits: for those the texts are written from the integer number of cents
// and the numbers read with one division, exactly as the general routines give them. The general
// routines stay callable so that both roads can be held against each other.

#include <string>
#include <string_view>

namespace pendara {

// The integer c when value is the double nearest to c/100 and |value| < 1E12: an amount of whole
// cents, whose 15 significant digits are exactly c/100, so that its texts can be written from c.
bool WholeCents(double value, long long& cents);

namespace detail {
std::string FormatAmountPlainGeneral(double value);
std::string ValueTextGeneral(double value);
double ToDoubleGeneral(std::string_view t);
double LeadingNumberGeneral(std::string_view t);
std::string DateTextGeneral(const std::string& s);
}  // namespace detail

}  // namespace pendara
