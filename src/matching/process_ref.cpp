#include "matching/process_ref.h"

#include <string_view>
#include <unordered_map>

#include "host/conversions.h"

namespace pendara {

namespace {

constexpr std::size_t kDate = 2, kEntry = 3, kDescription = 4, kDebit = 5, kCredit = 6,
                      kReference = 11;
constexpr std::int16_t kTrue = -1;

// Calls f(r) for every row after `row` up to `last` whose reference equals the starting row's,
// in index order.
template <typename F>
void ForEachInGroup(std::int32_t row, const TextTable& x, const ReferenceChains* chains,
                    std::int32_t last, F&& f) {
    if (chains) {
        for (std::int32_t r = chains->Next(row); r != 0 && r <= last; r = chains->Next(r))
            f(static_cast<std::size_t>(r));
        return;
    }
    const std::string& ref = x(static_cast<std::size_t>(row), kReference);
    for (std::int32_t r = row + 1; r <= last; ++r)
        if (x(static_cast<std::size_t>(r), kReference) == ref) f(static_cast<std::size_t>(r));
}

}  // namespace

double RowAmount(const TextTable& x, std::size_t r) {
    double debit = ToDouble(x(r, kDebit));
    return debit != 0 ? debit : ToDouble(x(r, kCredit));
}

void AppendEntryLine(std::string& out, const TextTable& x, std::size_t r) {
    out += DateText(x(r, kDate));
    out += '\t';
    out += x(r, kEntry);
    out += '\t';
    out += x(r, kDescription);
    out += '\t';
    out += x(r, kReference);
    out += '\t';
    out += FormatAmount(RowAmount(x, r));
    out += "\r\n";
}

ReferenceChains::ReferenceChains(const TextTable& extract, std::int32_t last)
    : next_(static_cast<std::size_t>(last > 0 ? last + 1 : 1), 0), last_(last) {
    std::unordered_map<std::string_view, std::int32_t> following;
    for (std::int32_t r = last; r >= 1; --r) {
        std::string_view ref = extract(static_cast<std::size_t>(r), kReference);
        auto [it, fresh] = following.try_emplace(ref, r);
        if (!fresh) {
            next_[static_cast<std::size_t>(r)] = it->second;
            it->second = r;
        }
    }
}

void ProcessRef(std::int32_t row, std::vector<std::int16_t>& processed, const TextTable& extract,
                double& total, const ReferenceChains* chains, std::int32_t last, double minimum,
                std::string& text) {
    text.clear();
    const auto start = static_cast<std::size_t>(row);
    if (processed[start] != 0) return;
    processed[start] = kTrue;
    const double opening = ToDouble(extract(start, kDebit)) + ToDouble(extract(start, kCredit));

    if (minimum > 0) {
        double sum = opening;
        ForEachInGroup(row, extract, chains, last,
                       [&](std::size_t r) { sum += RowAmount(extract, r); });
        sum = RoundTo(sum, 2);
        if (-minimum <= sum && sum <= minimum) {
            ForEachInGroup(row, extract, chains, last,
                           [&](std::size_t r) { processed[r] = kTrue; });
            return;
        }
    }

    double sum = opening;
    std::string block = "\r\n*Referencia: " + extract(start, kReference) + "\r\n";
    AppendEntryLine(block, extract, start);
    ForEachInGroup(row, extract, chains, last, [&](std::size_t r) {
        processed[r] = kTrue;
        sum += RowAmount(extract, r);
        AppendEntryLine(block, extract, r);
    });
    block += "\t\tSaldo\t";
    block += FormatAmount(sum);
    block += "\r\n";
    total += sum;
    text = std::move(block);
}

}  // namespace pendara
