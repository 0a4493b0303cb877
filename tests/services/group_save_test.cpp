#include "services/group_save.h"

#include <gtest/gtest.h>

#include <stop_token>
#include <string>
#include <vector>

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/run_journal.h"
#include "host/settings.h"
#include "services/account_run.h"
#include "support/ledger.h"
#include "support/scripted_port.h"

namespace pendara {
namespace {

using testing::Ledger;

const std::string kPaid = "4300000001 Pagado";
const std::string kOpen = "4300000002 Abierto";
const std::string kIdle = "4300000003 Sin movimientos";
const std::string kAcross = "4300000004 Cobrado en dos";
const std::string kNearly = "4300000005 Casi cero";

// Two years of customers, rebuilt for every case so that no save sees another's references: one
// paid within the year, one owing, one whose only entry is last year's, one invoiced last year
// and paid this year, one paid four thousandths short.
struct Books {
    Books() {
        y24 = l.Company("E4", "Empresa", 2024);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        l.Accounts(y25, {{"4300000001", "Pagado"},
                         {"4300000002", "Abierto"},
                         {"4300000003", "Sin movimientos"},
                         {"4300000004", "Cobrado en dos"},
                         {"4300000005", "Casi cero"}});
        l.Entries(y24, {{"4300000003", "10/11/24", "1", "Fra. 1", 1, 70.0},
                        {"4300000004", "12/12/24", "2", "Fra. 2", 1, 100.0}});
        l.Entries(y25, {{"4300000001", "15/01/25", "1", "Fra. 3", 1, 100.0},
                        {"4300000001", "20/02/25", "2", "Cobro Fra. 3", 2, -100.0},
                        {"4300000002", "01/03/25", "3", "Fra. 4", 1, 40.0},
                        {"4300000004", "10/01/25", "4", "Cobro Fra. 2", 2, -100.0},
                        {"4300000005", "02/03/25", "5", "Fra. 5", 1, 100.0},
                        {"4300000005", "03/03/25", "6", "Cobro Fra. 5", 2, -99.996}});
        l.SetActive(y25);
        LoadCatalogue(s);
    }
    Ledger l;
    std::string y24, y25;
    ScriptedPort port;
    Session s{port};
};

class SaveAllTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        SaveSetting("Punteo0", "1", "");
        SaveSetting("Punteo1", "0", "");
        SaveSetting("Punteo2", "0", "");
    }
};

TEST_F(SaveAllTest, SavesFromTheLastEntryAndDropsTheAccountsThatComeOutAtZero) {
    struct Case {
        const char* what;
        std::vector<std::string> entries;
        struct {
            bool zeroShown;
            int stopAt;  // the account during which the stop is asked (-1 before the run, 0 never)
            bool zeroShownAfter;
            std::int32_t written;
        } run;
        // Each account in turn: "n de N #index entry" and whether it left the list.
        std::vector<std::string> steps;
        std::vector<std::string> remaining;
    };
    const std::vector<Case> cases{
        {"an empty list", {}, {true, 0, true, 0}, {}, {}},
        {"the balanced account leaves, the owing one stays",
         {kPaid, kOpen},
         {false, 0, true, 3},
         {"1 de 2 #1 " + kOpen + ": queda", "2 de 2 #0 " + kPaid + ": sale"},
         {kOpen}},
        {"an account without movements after a balanced one leaves too",
         {kIdle, kPaid},
         {false, 0, true, 2},
         {"1 de 2 #1 " + kPaid + ": sale", "2 de 1 #0 " + kIdle + ": sale"},
         {}},
        {"an account without movements after an owing one stays",
         {kIdle, kOpen},
         {true, 0, false, 1},
         {"1 de 2 #1 " + kOpen + ": queda", "2 de 2 #0 " + kIdle + ": queda"},
         {kIdle, kOpen}},
        {"an account without movements alone follows the picture shown before",
         {kIdle},
         {true, 0, true, 0},
         {"1 de 1 #0 " + kIdle + ": sale"},
         {}},
        {"the same with no zero shown before",
         {kIdle},
         {false, 0, false, 0},
         {"1 de 1 #0 " + kIdle + ": queda"},
         {kIdle}},
        {"paid across two years or four thousandths short is no zero balance",
         {kAcross, kNearly},
         {true, 0, false, 4},
         {"1 de 2 #1 " + kNearly + ": queda", "2 de 2 #0 " + kAcross + ": queda"},
         {kAcross, kNearly}},
        {"a stop during the first account ends the run after it",
         {kOpen, kNearly, kPaid},
         {false, 1, true, 2},
         {"1 de 3 #2 " + kPaid + ": sale"},
         {kOpen, kNearly}},
        {"a stop during the second account ends the run after it",
         {kOpen, kNearly, kPaid},
         {false, 2, false, 4},
         {"1 de 3 #2 " + kPaid + ": sale", "2 de 2 #1 " + kNearly + ": queda"},
         {kOpen, kNearly}},
        {"a stop asked before the run still saves one account",
         {kOpen, kPaid},
         {false, -1, true, 2},
         {"1 de 2 #1 " + kPaid + ": sale"},
         {kOpen}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Books b;
        std::stop_source stop;
        if (c.run.stopAt < 0) stop.request_stop();
        std::vector<std::string> steps;
        SaveAllCallbacks callbacks;
        callbacks.beforeAccount = [&](const GroupStep& step) {
            steps.push_back(std::to_string(step.done + 1) + " de " +
                            std::to_string(step.remaining) + " #" + std::to_string(step.index) +
                            " " + step.entry);
            if (static_cast<int>(steps.size()) == c.run.stopAt) stop.request_stop();
        };
        callbacks.afterAccount = [&](const GroupStep& step, const AccountOutcome& outcome,
                                     bool removed) {
            ASSERT_FALSE(steps.empty());
            EXPECT_EQ(step.done + 1, static_cast<std::int32_t>(steps.size()));
            EXPECT_EQ(outcome.account.substr(0, 10), step.entry.substr(0, 10));
            steps.back() += removed ? ": sale" : ": queda";
        };
        const SaveAllResult r = SaveAll(b.s, c.entries, " 43 ", {"", b.y25, {}}, c.run.zeroShown,
                                        stop.get_token(), callbacks);
        EXPECT_EQ(steps, c.steps);
        EXPECT_EQ(r.done, static_cast<std::int32_t>(c.steps.size()));
        EXPECT_EQ(r.stopped, c.run.stopAt != 0);
        EXPECT_EQ(r.remaining, c.remaining);
        EXPECT_EQ(r.zeroBalanceShown, c.run.zeroShownAfter);
        EXPECT_EQ(r.entriesWritten, c.run.written);
        EXPECT_EQ(b.s.RunInProgress, nullptr);
        // A run that wrote something is one run of the journal, finished, after a stop too.
        if (c.run.written == 0) continue;
        const std::vector<RunInfo> runs = RunJournal(b.y24, false).Runs();
        ASSERT_EQ(runs.size(), 1u);
        EXPECT_EQ(runs[0].command, "save-all");
        EXPECT_EQ(runs[0].arguments, "43");
        EXPECT_EQ(runs[0].state, RunInfo::State::Finished);
    }
}

// What the saves of a group leave in the books: the paid account's two entries share one
// reference, the owing account's entry keeps the invoice number its description gives.
TEST_F(SaveAllTest, TheSavesOfTheRunAreWrittenAccountByAccount) {
    Books b;
    SaveAll(b.s, {kPaid, kOpen, kAcross}, "", {"", b.y25, {}}, false, {});
    const auto paid = b.l.Read(b.y25, "4300000001");
    ASSERT_EQ(paid.size(), 2u);
    EXPECT_EQ(paid[0].referencia.rfind("RF-", 0), 0u);
    EXPECT_EQ(paid[0].referencia, paid[1].referencia);
    EXPECT_EQ(b.l.Read(b.y25, "4300000002")[0].referencia, "4");
    const auto across = b.l.Read(b.y24, "4300000004");
    ASSERT_EQ(across.size(), 1u);
    EXPECT_EQ(across[0].referencia.rfind("RF-", 0), 0u);
    EXPECT_EQ(across[0].referencia, b.l.Read(b.y25, "4300000004")[0].referencia);
    EXPECT_NE(across[0].referencia, paid[0].referencia);
}

// The last account worked on reaches the registry once, when the run ends: during the run the
// registry keeps what it held and the session tells the account in progress; a stopped run
// leaves the account it stopped after; outside a group save each account is written at once.
TEST_F(SaveAllTest, TheLastAccountReachesTheRegistryWhenTheRunEnds) {
    for (const bool stop : {false, true}) {
        SCOPED_TRACE(stop ? "stopped after the first account" : "whole run");
        Books b;
        SetRegValue(b.port, "Ultima", "antes", "Punteo");
        std::stop_source source;
        std::vector<std::string> seen;
        SaveAllCallbacks callbacks;
        callbacks.afterAccount = [&](const GroupStep&, const AccountOutcome& o, bool) {
            seen.push_back(GetRegValue("Ultima", "Punteo").text() + "|" +
                           b.s.PendingLastAccount.value_or("-"));
            EXPECT_EQ(o.account, *b.s.PendingLastAccount);
            if (stop) source.request_stop();
        };
        SaveAll(b.s, {kPaid, kOpen, kAcross}, "", {"", b.y25, {}}, false, source.get_token(),
                callbacks);
        const std::vector<std::string> expected =
            stop ? std::vector<std::string>{"antes|4300000004 "}
                 : std::vector<std::string>{"antes|4300000004 ", "antes|4300000002 ",
                                            "antes|4300000001 "};
        EXPECT_EQ(seen, expected);
        EXPECT_EQ(GetRegValue("Ultima", "Punteo").text(), stop ? "4300000004 " : "4300000001 ");
        EXPECT_FALSE(b.s.PendingLastAccount);
        EXPECT_FALSE(b.s.DeferLastAccount);
    }
    Books b;
    AccountRequest one{"4300000002 Abierto", b.y25, {}};
    ProcessAccount(b.s, one, {});
    EXPECT_EQ(GetRegValue("Ultima", "Punteo").text(), "4300000002 ");
}

}  // namespace
}  // namespace pendara
