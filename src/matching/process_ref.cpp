#include "matching/process_ref.h"

#include <string_view>
#include <unordered_map>

#include "host/conversions.h"

namespace pendara {

namespace {

constexpr std::int16_t kTrue = -1;

// Calls f(r) for every row after `row` up to `last` whose reference equals the starting row's,
// in index order.
template <typename F>
void ForEachInGroup(std::int32_t row, const std::vector<Entry>& x, const ReferenceChains* chains,
                    std::int32_t last, F&& f) {
    if (chains) {
        for (std::int32_t r = chains->Next(row); r != 0 && r <= last; r = chains->Next(r))
            f(static_cast<std::size_t>(r));
        return;
    }
    const std::string& ref = x[static_cast<std::size_t>(row)].reference;
    for (std::int32_t r = row + 1; r <= last; ++r)
        if (x[static_cast<std::size_t>(r)].reference == ref) f(static_cast<std::size_t>(r));
}

double RowAmount(const Entry& e) {
    return e.debit.value != 0 ? e.debit.value : e.credit.value;
}

}  // namespace

ReportEntry EntryLine(const Entry& e) {
    return {e.date, e.entry, e.description, e.reference, RowAmount(e)};
}

void AppendEntryText(std::string& out, const ReportEntry& line) {
    out += DateText(line.date);
    out += '\t';
    out += line.entry;
    out += '\t';
    out += line.description;
    out += '\t';
    out += line.reference;
    out += '\t';
    out += FormatAmount(line.amount);
    out += "\r\n";
}

std::string GroupText(const ReportGroup& group) {
    std::string block = "\r\n*Referencia: " + group.reference + "\r\n";
    for (const ReportEntry& line : group.entries)
        AppendEntryText(block, line);
    block += "\t\tSaldo\t";
    block += FormatAmount(group.balance);
    block += "\r\n";
    return block;
}

ReferenceChains::ReferenceChains(const std::vector<Entry>& extract, std::int32_t last)
    : next_(static_cast<std::size_t>(last > 0 ? last + 1 : 1), 0), last_(last) {
    std::unordered_map<std::string_view, std::int32_t> following;
    for (std::int32_t r = last; r >= 1; --r) {
        std::string_view ref = extract[static_cast<std::size_t>(r)].reference;
        auto [it, fresh] = following.try_emplace(ref, r);
        if (!fresh) {
            next_[static_cast<std::size_t>(r)] = it->second;
            it->second = r;
        }
    }
}

std::optional<ReportGroup> ProcessRef(std::int32_t row, std::vector<std::int16_t>& processed,
                                      const std::vector<Entry>& extract, double& total,
                                      const ReferenceChains* chains, std::int32_t last,
                                      double minimum) {
    const auto start = static_cast<std::size_t>(row);
    if (processed[start] != 0) return std::nullopt;
    processed[start] = kTrue;
    const Entry& first = extract[start];
    const double opening = first.debit.value + first.credit.value;

    if (minimum > 0) {
        double sum = opening;
        ForEachInGroup(row, extract, chains, last,
                       [&](std::size_t r) { sum += RowAmount(extract[r]); });
        sum = RoundTo(sum, 2);
        if (-minimum <= sum && sum <= minimum) {
            ForEachInGroup(row, extract, chains, last,
                           [&](std::size_t r) { processed[r] = kTrue; });
            return std::nullopt;
        }
    }

    ReportGroup group;
    group.reference = first.reference;
    group.entries.push_back(EntryLine(first));
    double sum = opening;
    ForEachInGroup(row, extract, chains, last, [&](std::size_t r) {
        processed[r] = kTrue;
        sum += RowAmount(extract[r]);
        group.entries.push_back(EntryLine(extract[r]));
    });
    group.balance = sum;
    total += sum;
    return group;
}

}  // namespace pendara
