#include "model/grid_row.h"

#include <charconv>

#include "host/conversions.h"
#include "model/columns.h"
#include "model/entry.h"

namespace pendara {

namespace {

GridRow RowOf(const Entry& e, std::string reference, const Amount& amount) {
    return GridRow{e.record,
                   DateText(e.date),
                   e.entry,
                   e.description,
                   std::move(reference),
                   ShownAmount::Format(amount.value),
                   e.company,
                   e.mark};
}

GridRow RowOf(Entry&& e, std::string reference, double amount) {
    return GridRow{std::move(e.record),
                   DateText(e.date),
                   std::move(e.entry),
                   std::move(e.description),
                   std::move(reference),
                   ShownAmount::Format(amount),
                   e.company,
                   std::move(e.mark)};
}

}  // namespace

GridRow DebitRow(Entry&& e, std::string reference) {
    const double amount = e.debit.value;
    return RowOf(std::move(e), std::move(reference), amount);
}

GridRow CreditRow(Entry&& e, std::string reference) {
    const double amount = e.credit.value;
    return RowOf(std::move(e), std::move(reference), amount);
}

GridRow DebitRow(const Entry& e, std::string reference) {
    return RowOf(e, std::move(reference), e.debit);
}

GridRow CreditRow(const Entry& e, std::string reference) {
    return RowOf(e, std::move(reference), e.credit);
}

std::string CellText(const GridRow& row, int column) {
    switch (column) {
        case GridCol::Record:
            return row.record;
        case GridCol::Date:
            return row.date;
        case GridCol::Entry:
            return row.entry;
        case GridCol::Description:
            return row.description;
        case GridCol::Reference:
            return row.reference;
        case GridCol::Amount:
            return row.amount.text;
        case GridCol::Company:
            return row.company == 0 ? std::string() : std::to_string(row.company);
        case GridCol::Mark:
            return row.mark;
        default:
            return std::string();
    }
}

void SetCellText(GridRow& row, int column, std::string text) {
    switch (column) {
        case GridCol::Record:
            row.record = std::move(text);
            break;
        case GridCol::Date:
            row.date = std::move(text);
            break;
        case GridCol::Entry:
            row.entry = std::move(text);
            break;
        case GridCol::Description:
            row.description = std::move(text);
            break;
        case GridCol::Reference:
            row.reference = std::move(text);
            break;
        case GridCol::Amount:
            row.amount = ShownAmount::Of(std::move(text));
            break;
        case GridCol::Company: {
            std::int32_t n = 0;
            const char* end = text.data() + text.size();
            auto [at, ec] = std::from_chars(text.data(), end, n);
            row.company = ec == std::errc() && at == end && n > 0 ? n : 0;
            break;
        }
        case GridCol::Mark:
            row.mark = std::move(text);
            break;
        default:
            break;
    }
}

}  // namespace pendara
