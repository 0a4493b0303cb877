#pragma once
// Amounts as the program meets them: a text, given by the host or shown on a grid, together with
// the readings the specified steps make of that text, each taken once when the text is read. The
// readings differ on purpose ("12.50" is 12.5 read from the start and 1250 in the Spanish form),
// and where the steps compare doubles exactly the doubles are these very readings.

#include <string>

namespace pendara {

// An amount of an extract (its debit or its credit column).
struct Amount {
    std::string text;
    double value = 0;    // ToDouble: the Spanish form; 0 when the text is no number
    double leading = 0;  // LeadingNumber: the number read from the start, "." as decimal point

    static Amount Of(std::string text);
    // The "0" of the column an entry's amount does not go to.
    static const Amount& Zero();

    bool operator==(const Amount&) const = default;
};

// An amount as an extract grid shows it ("###,###,##0.00" cut to 15 characters).
struct ShownAmount {
    std::string text;
    double value = 0;   // ToDouble of the text: the sums of a reference and the detail window
    double parsed = 0;  // ParseNumber of the text: the validation of a reference group

    static ShownAmount Of(std::string text);
    // FormatAmount of the amount, with its readings.
    static ShownAmount Format(double amount);

    bool operator==(const ShownAmount&) const = default;
};

}  // namespace pendara
