#include "matching/process_ref.h"

#include <gtest/gtest.h>

#include <random>

#include "host/conversions.h"

namespace pendara {
namespace {

// An extract with rows 1..n (row 0 empty) and a spare empty row past the last, as loads leave.
struct Extract {
    std::vector<Entry> t = std::vector<Entry>(1);
    std::int32_t last = 0;

    // amount > 0 is a debit, < 0 a credit.
    Extract& Row(const std::string& ref, double amount, const std::string& date = "C50115",
                 const std::string& entry = "1", const std::string& desc = "Fra. 1") {
        ++last;
        t.resize(static_cast<std::size_t>(last + 2));
        Entry& e = t[static_cast<std::size_t>(last)];
        e.record = std::to_string(last);
        e.date = date;
        e.entry = entry;
        e.description = desc;
        e.debit = Amount::Of(amount > 0 ? ValueText(amount) : "0");
        e.credit = Amount::Of(amount > 0 ? "0" : ValueText(amount));
        e.reference = ref;
        return *this;
    }
    std::vector<std::int16_t> Flags() const {
        return std::vector<std::int16_t>(static_cast<std::size_t>(last + 2), 0);
    }
};

// The block of report text a call gives: empty when nothing is printed.
std::string Block(const std::optional<ReportGroup>& group) {
    return group ? GroupText(*group) : std::string();
}

std::string Line(const std::string& date, const std::string& entry, const std::string& desc,
                 const std::string& ref, double amount) {
    return date + "\t" + entry + "\t" + desc + "\t" + ref + "\t" + FormatAmount(amount) + "\r\n";
}

struct Result {
    std::string text;
    double total;
    std::vector<std::int16_t> processed;
};

// Runs ProcessRef both ways and insists they agree.
Result RunBoth(const Extract& x, std::int32_t row, double minimum, double total = 0,
               std::vector<std::int16_t> flags = {}) {
    if (flags.empty()) flags = x.Flags();
    Result plain{"", total, flags};
    plain.text =
        Block(ProcessRef(row, plain.processed, x.t, plain.total, nullptr, x.last, minimum));
    ReferenceChains chains(x.t, x.last);
    Result fast{"", total, flags};
    fast.text = Block(ProcessRef(row, fast.processed, x.t, fast.total, &chains, x.last, minimum));
    EXPECT_EQ(plain.text, fast.text);
    EXPECT_EQ(plain.total, fast.total);
    EXPECT_EQ(plain.processed, fast.processed);
    return plain;
}

TEST(ProcessRef, BalancedGroupPrintsHeadingEntriesAndZeroBalance) {
    Extract x;
    x.Row("RF-7", 100, "C50115", "12", "Fra. 12")
        .Row("OTRA", 5)
        .Row("RF-7", -60, "C50201", "30", "Cobro parcial")
        .Row("RF-7", -40, "C50301", "41", "Cobro resto");
    Result r = RunBoth(x, 1, 0, 7.5);
    EXPECT_EQ(r.text, "\r\n*Referencia: RF-7\r\n" + Line("15/01/25", "12", "Fra. 12", "RF-7", 100) +
                          Line("01/02/25", "30", "Cobro parcial", "RF-7", -60) +
                          Line("01/03/25", "41", "Cobro resto", "RF-7", -40) + "\t\tSaldo\t" +
                          FormatAmount(0) + "\r\n");
    EXPECT_EQ(r.total, 7.5);
    EXPECT_EQ(r.processed, (std::vector<std::int16_t>{0, -1, 0, -1, -1, 0}));
}

TEST(ProcessRef, MinimumLeavesOutGroupsWithinItButMarksThem) {
    Extract x;
    x.Row("RF-7", 100).Row("RF-7", -60).Row("RF-7", -40);
    Result r = RunBoth(x, 1, 0.01, 3);
    EXPECT_EQ(r.text, "");
    EXPECT_EQ(r.total, 3);
    EXPECT_EQ(r.processed, (std::vector<std::int16_t>{0, -1, -1, -1, 0}));
}

TEST(ProcessRef, BalanceAgainstMinimumBoundsIncluded) {
    Extract x;
    x.Row("R", 105).Row("R", -100);  // balance 5
    EXPECT_EQ(RunBoth(x, 1, 10).text, "");
    EXPECT_EQ(RunBoth(x, 1, 5).text, "");  // -5 <= 5 <= 5: left out
    Result printed = RunBoth(x, 1, 4, 1);
    EXPECT_NE(printed.text, "");
    EXPECT_EQ(printed.total, 6);
    EXPECT_NE(printed.text.find("\t\tSaldo\t" + FormatAmount(5) + "\r\n"), std::string::npos);

    Extract credit;
    credit.Row("R", -105).Row("R", 100);  // balance -5
    EXPECT_EQ(RunBoth(credit, 1, 5).text, "");
    EXPECT_EQ(RunBoth(credit, 1, 4.99).total, -5);
}

TEST(ProcessRef, MinimumComparesTheRoundedBalance) {
    Extract x;
    x.Row("R", 100.004).Row("R", -100);  // 0.004 rounds to 0.00
    EXPECT_EQ(RunBoth(x, 1, 0.001).text, "");
    Extract y;
    y.Row("R", 100.006).Row("R", -100);  // 0.006 rounds to 0.01
    Result r = RunBoth(y, 1, 0.005);
    EXPECT_NE(r.text, "");
    EXPECT_NEAR(r.total, 0.006, 1e-9);  // the unrounded balance is what adds up
}

TEST(ProcessRef, EmptyReferencesGroupWithEveryLaterEmptyReference) {
    Extract x;
    x.Row("", 10).Row("A", 1).Row("", 20).Row("", -5);
    Result r = RunBoth(x, 1, 0);
    EXPECT_EQ(r.processed, (std::vector<std::int16_t>{0, -1, 0, -1, -1, 0}));
    EXPECT_EQ(r.total, 25);
    EXPECT_EQ(r.text.substr(0, 17), "\r\n*Referencia: \r\n");
}

TEST(ProcessRef, ProcessedStartChangesNothing) {
    Extract x;
    x.Row("R", 10).Row("R", -10);
    auto flags = x.Flags();
    flags[1] = -1;
    Result r = RunBoth(x, 1, 0, 2, flags);
    EXPECT_EQ(r.text, "");
    EXPECT_EQ(r.total, 2);
    EXPECT_EQ(r.processed, flags);
}

TEST(ProcessRef, RowsBeforeTheStartAndAfterTheLastAreNeverExamined) {
    Extract x;
    x.Row("R", 1).Row("R", 10).Row("R", 20).Row("R", 40);
    Result r = RunBoth(x, 2, 0);
    EXPECT_EQ(r.processed[1], 0);
    EXPECT_EQ(r.total, 70);
    // A smaller `last` stops the group there.
    Result shorter{"", 0, x.Flags()};
    ReferenceChains chains(x.t, x.last);
    shorter.text = Block(ProcessRef(2, shorter.processed, x.t, shorter.total, &chains, 3, 0));
    EXPECT_EQ(shorter.total, 30);
    EXPECT_EQ(shorter.processed[4], 0);
    Result plain{"", 0, x.Flags()};
    plain.text = Block(ProcessRef(2, plain.processed, x.t, plain.total, nullptr, 3, 0));
    EXPECT_EQ(plain.text, shorter.text);
}

TEST(ProcessRef, StartingRowCountsDebitPlusCreditOthersTheirAmount) {
    Extract x;
    x.Row("R", 10).Row("R", -4);
    // A starting row carrying both amounts adds both; its line shows the debit.
    x.t[1].credit = Amount::Of("-3");
    // A later row carrying both shows and counts only the debit.
    x.t[2].debit = Amount::Of("2");
    Result r = RunBoth(x, 1, 0);
    EXPECT_EQ(r.total, 10 - 3 + 2);
    EXPECT_NE(r.text.find(FormatAmount(10) + "\r\n"), std::string::npos);
}

TEST(ProcessRef, ChainsGiveTheSameResultsAsTheScanOnRandomExtracts) {
    std::mt19937 rng(20261123);
    for (int round = 0; round < 200; ++round) {
        Extract x;
        int rows = 1 + static_cast<int>(rng() % 60);
        for (int i = 0; i < rows; ++i) {
            std::string ref = rng() % 5 == 0 ? "" : "RF-" + std::to_string(rng() % 8);
            double amount = static_cast<double>(static_cast<int>(rng() % 20001) - 10000) / 100;
            if (amount == 0) amount = 1;
            x.Row(ref, amount);
        }
        double minimum = rng() % 3 == 0 ? 0 : static_cast<double>(rng() % 5000) / 100;
        ReferenceChains chains(x.t, x.last);
        auto plainFlags = x.Flags(), fastFlags = x.Flags();
        double plainTotal = 0, fastTotal = 0;
        // Visit starts in a random order, as different report options would.
        std::vector<std::int32_t> order;
        for (std::int32_t r = 1; r <= x.last; ++r)
            order.push_back(r);
        std::shuffle(order.begin(), order.end(), rng);
        for (std::int32_t r : order) {
            std::string a, b;
            a = Block(ProcessRef(r, plainFlags, x.t, plainTotal, nullptr, x.last, minimum));
            b = Block(ProcessRef(r, fastFlags, x.t, fastTotal, &chains, x.last, minimum));
            ASSERT_EQ(a, b) << "round " << round << " row " << r;
        }
        ASSERT_EQ(plainFlags, fastFlags);
        ASSERT_EQ(plainTotal, fastTotal);
    }
}

}  // namespace
}  // namespace pendara
