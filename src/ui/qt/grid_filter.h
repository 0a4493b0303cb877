#pragma once
// The filter box of an extract grid. Its text is cut at blanks into terms, and a row is shown
// when it meets every term:
//   text                       its date, entry, description, reference or amount as shown
//                              contains the text, whatever the case
//   1.234,56  1234,56  12.5    also an amount: rows whose amount, without its sign, is that
//   >100  <100  >=100  <=100   amounts, without their sign, above or below
//   100..200                   amounts between the two, both included
//   15/03/24  1/3/2024         also a day: rows of that day
//   01/03/24..31/03/24         days between the two, both included
// Amounts are read in the Spanish way ("." groups thousands, "," is the decimal mark; a lone
// "." before one or two digits is a decimal point) and compared in cents.

#include <QString>
#include <optional>
#include <vector>

namespace pendara {

// The shown texts of one grid row that the filter looks at.
struct GridRowTexts {
    QString date;
    QString entry;
    QString description;
    QString reference;
    QString amount;
};

class GridFilter {
  public:
    GridFilter() = default;
    explicit GridFilter(const QString& text);

    bool empty() const { return terms_.empty(); }
    bool Matches(const GridRowTexts& row) const;

    // An amount without its sign, in cents; nullopt when the text is not an amount.
    static std::optional<long long> Cents(const QString& text);
    // A day written dd/mm/yy, d/m/yy or dd/mm/yyyy, as yyyymmdd (two-digit years below 60 are
    // of this century, as the program's compact dates have them); nullopt when it is not one.
    static std::optional<int> Day(const QString& text);

  private:
    enum class Kind { Text, Above, AtLeast, Below, AtMost, Amounts, Days };
    struct Term {
        Kind kind = Kind::Text;
        QString text;
        std::optional<long long> cents;  // a text term that is also an amount
        std::optional<int> day;          // a text term that is also a day
        long long low = 0;
        long long high = 0;
    };
    static bool Meets(const Term& t, const GridRowTexts& row);
    std::vector<Term> terms_;
};

}  // namespace pendara
