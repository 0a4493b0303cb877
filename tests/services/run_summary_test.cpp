#include "services/run_summary.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/spanish_locale.h"

namespace pendara {
namespace {

GridRow Open(std::int32_t company, const std::string& amount) {
    GridRow r;
    r.record = "1";
    r.company = company;
    r.amount = ShownAmount::Of(amount);
    return r;
}

RowChange Change(const std::string& beforeRef, const std::string& afterRef,
                 const std::string& afterMark = "1") {
    return {"E5", 1, {beforeRef, "0"}, {afterRef, afterMark}};
}

// Two saves of one account (the save and the review's): each save's changes and groups count, a
// reference given to several entries or already held counts once or not at all, and the rows
// open are those the review leaves, debits less credits, the row of no entry passed over.
TEST(RunSummaryTest, AccumulatesBothSavesOfAnAccount) {
    AccountOutcome o;
    o.account = "4300000001 ";
    o.saved.changes = {Change("", "RF-7"), Change("", "RF-7"), Change("RF-3", "RF-3", "2"),
                       Change("X", "FRA 12")};
    o.saved.groupsBalanced = 1;
    o.saved.groupsUnbalanced = 1;
    o.saved.debits = {Open(1, "999,00")};  // replaced by the review's grids
    ReviewResult review;
    review.saved.changes = {Change("", "RF-8"), Change("RF-7", "RF-9")};
    review.saved.groupsBalanced = 2;
    review.saved.debits = {Open(1, "1.200,50"), Open(2, "10,00")};
    review.saved.credits = {Open(1, "300,25"), GridRow{}};
    o.review = review;

    RunSummary s;
    s.AddAccount(o);
    s.AddAccount(AccountOutcome{});  // an entry that names no account: done, nothing else
    EXPECT_EQ(s.accounts, 2);
    EXPECT_EQ(s.entriesWritten, 6);
    EXPECT_EQ(s.references, (std::set<std::string>{"RF-7", "RF-8", "RF-9"}));
    EXPECT_EQ(s.groupsBalanced, 3);
    EXPECT_EQ(s.groupsUnbalanced, 1);
    EXPECT_EQ(s.openEntries, 3);
    EXPECT_EQ(s.openBalance, 1200.5 + 10 - 300.25);
}

TEST(RunSummaryTest, DescribesTheRunUnderTheUsersLocaleToo) {
    RunSummary s;
    s.accounts = 3;
    s.total = 48;
    s.stopped = true;
    s.entriesWritten = 12;
    s.references = {"RF-1", "RF-2"};
    s.groupsBalanced = 2;
    s.groupsUnbalanced = 1;
    s.openEntries = 4;
    s.openBalance = -1234.5;
    testing::SpanishLocale spanish;
    EXPECT_EQ(DescribeSummary(s, false),
              "Proceso detenido tras 3 de 48 cuentas\n"
              "Cuentas procesadas: 3\n"
              "Partidas escritas: 12\n"
              "Referencias creadas: 2\n"
              "Grupos cuadrados: 2\n"
              "Grupos descuadrados: 1\n"
              "Partidas pendientes: 4 (saldo -1.234,50)\n");
    s.stopped = false;
    s.openBalance = -0.001;
    const std::string preview = DescribeSummary(s, true);
    EXPECT_EQ(preview.rfind("Simulación: no se ha escrito nada.\nCuentas procesadas: 3\n", 0), 0u)
        << preview;
    EXPECT_NE(preview.find("Partidas que se escribirían: 12\n"), std::string::npos) << preview;
    EXPECT_NE(preview.find("(saldo 0,00)"), std::string::npos) << preview;
}

}  // namespace
}  // namespace pendara
