#include "posting/posting_runs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "companies/catalogue.h"
#include "host/run_journal.h"
#include "host/settings.h"
#include "posting/maintenance.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "support/temp_dir.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"

namespace pendara {
namespace {

using namespace std::chrono_literals;
using testing::Ledger;

// Three years; customers paid across years, one left open, and a supplier with an old mark.
class PostingRunsTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y23 = l.Company("E3", "Empresa", 2023);
        y24 = l.Company("E4", "Empresa", 2024, y23);
        y25 = l.Company("E5", "Empresa", 2025, y24);
        l.Accounts(y25, {{"4000000001", "Proveedor"},
                         {"4300000001", "Pagado"},
                         {"4300000002", "Abierto"},
                         {"4300000003", "Pagado tarde"}});
        l.Entries(y23,
                  {{"4000000001", "10/05/23", "1", "Fra. 5", 2, -30.0, "1", "", "", "", "RF-2"}});
        l.Entries(y24, {{"4300000003", "10/05/24", "1", "Fra. 77", 1, 80.0},
                        {"4000000001", "10/06/24", "2", "Pago Fra. 5", 1, 30.0, "1", "", "", "",
                         "RF-2"}});
        l.Entries(y25, {{"4300000001", "15/01/25", "1", "Fra. 12", 1, 100.0},
                        {"4300000001", "20/02/25", "2", "Cobro Fra. 12", 2, -100.0},
                        {"4300000002", "15/01/25", "3", "Fra. 13", 1, 40.0},
                        {"4300000003", "20/02/25", "4", "Cobro Fra. 77", 2, -80.0}});
        l.SetActive(y25);
        SaveSetting("Punteo0", "1", "");
        SaveSetting("Punteo1", "0", "");
        Form_Load(w);
        before = All();
    }
    std::vector<std::vector<EntryRecord>> All() { return {l.Read(y23), l.Read(y24), l.Read(y25)}; }
    void FillFullList() {
        w.PendingOnly = false;
        Toolbar1_Click(w, 8);
    }
    std::vector<RunInfo> Runs() { return RunJournal(y23, false).Runs(); }
    std::vector<std::string> AccountsOf(std::int64_t run) {
        std::vector<std::string> out;
        for (const JournalAccount& a : RunJournal(y23, false).Accounts(run))
            out.push_back(a.account + ":" + std::to_string(a.changed));
        return out;
    }

    Ledger l;
    std::string y23, y24, y25;
    std::vector<std::vector<EntryRecord>> before;
    ScriptedPort port;
    Pndra w{port};
};

TEST_F(PostingRunsTest, AGroupSaveIsOneRunOfEveryAccountItChangedAndUndoesWhole) {
    FillFullList();
    port.QueueMsgBox(kVbYes);
    Toolbar1_Click(w, 17);
    const auto saved = All();
    std::vector<RunInfo> runs = Runs();
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0].command, "save-all");
    EXPECT_EQ(runs[0].state, RunInfo::State::Finished);
    // Walked from the last entry; the supplier's rows already held what the save writes.
    EXPECT_EQ(AccountsOf(runs[0].id),
              (std::vector<std::string>{"4300000003:2", "4300000002:1", "4300000001:2"}));
    EXPECT_EQ(w.session.RunInProgress, nullptr);

    UndoResult undo = UndoRun(y23, runs[0].id, "", PostingOptionsFor(w.session));
    EXPECT_TRUE(undo.refused.empty());
    EXPECT_EQ(All(), before);
    UndoRun(y23, undo.run, "", PostingOptionsFor(w.session));
    EXPECT_EQ(All(), saved);
}

TEST_F(PostingRunsTest, ASaveWritesBothGridsAsOneAccountOfARunNamedByTheAccount) {
    FillFullList();
    w.List2.SetListIndex(1);  // 4300000001: a debit and a credit in one reference
    std::vector<RunInfo> runs = Runs();
    ASSERT_EQ(runs.size(), 1u);
    EXPECT_EQ(runs[0].command, "save");
    EXPECT_EQ(runs[0].arguments, "4300000001");
    EXPECT_EQ(AccountsOf(runs[0].id), (std::vector<std::string>{"4300000001:2"}));
    // Saving it again changes nothing and records nothing.
    Toolbar1_Click(w, 2);
    EXPECT_EQ(Runs().size(), 1u);
}

TEST_F(PostingRunsTest, ClearingOneAccountOrAllAreRunsThatUndoBackToWhatWas) {
    FillFullList();
    port.QueueMsgBox(kVbYes);
    Toolbar1_Click(w, 17);
    const auto saved = All();

    w.List2.onClick = nullptr;
    w.List2.SetListIndex(1);  // 4300000003 after the group save dropped 4300000001
    ASSERT_EQ(w.List2.List(1), "4300000003 Pagado tarde");
    port.QueueMsgBox(kVbYes);
    Toolbar1_Click(w, 78);
    std::vector<RunInfo> runs = Runs();
    ASSERT_EQ(runs.size(), 3u);  // the group save, the clear, the reload's save
    EXPECT_EQ(runs[1].command, "clear");
    EXPECT_EQ(runs[1].arguments, "4300000003");
    EXPECT_EQ(AccountsOf(runs[1].id), (std::vector<std::string>{"4300000003:2"}));
    EXPECT_EQ(runs[2].command, "save");
    EXPECT_TRUE(UndoRun(y23, runs[1].id, "", PostingOptionsFor(w.session)).undone.empty());
    UndoRun(y23, runs[2].id, "", PostingOptionsFor(w.session));
    UndoRun(y23, runs[1].id, "", PostingOptionsFor(w.session));
    EXPECT_EQ(All(), saved);

    Command1_Click(w);
    for (const auto& company : All())
        for (const EntryRecord& e : company) {
            EXPECT_EQ(e.referencia, "");
            EXPECT_EQ(e.marca, "0");
        }
    EXPECT_EQ(w.session.CurrentCode, "E3");
    runs = Runs();
    EXPECT_EQ(runs.back().command, "clear-all");
    EXPECT_EQ(
        AccountsOf(runs.back().id),
        (std::vector<std::string>{"4000000001:2", "4300000001:2", "4300000002:1", "4300000003:2"}));
    UndoRun(y23, runs.back().id, "", PostingOptionsFor(w.session));
    EXPECT_EQ(All(), saved);
}

TEST_F(PostingRunsTest, EveryStartCompletesAnInterruptedSaveAndSaysWhich) {
    {
        RunJournal journal(y23, true);
        const std::int64_t run = journal.BeginRun("save-all", "");
        const std::int32_t record = l.Read(y24, "4300000003")[0].registro;
        journal.RecordIntent(run, "4300000003", 0,
                             {{journal.FileId(l.EntriesFile(y24), "EMPE4"),
                               record,
                               {"", ""},
                               {"RF-9", "1"},
                               false}});
    }  // the process that ran it is gone
    ScriptedPort port2;
    Pndra again(port2);
    Form_Load(again);
    ASSERT_EQ(port2.messages.size(), 1u);
    EXPECT_EQ(port2.messages[0].text,
              "La grabación de la cuenta 4300000003 (ejecución 1) quedó interrumpida y se ha "
              "completado (1 apunte).\r\n");
    EXPECT_EQ(port2.messages[0].style, kVbInformation);
    EXPECT_EQ(l.Read(y24, "4300000003")[0].referencia, "RF-9");
    ScriptedPort port3;
    Pndra third(port3);
    Form_Load(third);
    EXPECT_TRUE(port3.messages.empty());
}

TEST_F(PostingRunsTest, TheWaitIsTheHostOptionAndThePortHearsOfIt) {
    EXPECT_EQ(PostingOptionsFor(w.session).wait.limit, 30000ms);
    SaveSetting(kWaitSetting, "2,5", "");
    PostingOptions options = PostingOptionsFor(w.session);
    EXPECT_EQ(options.wait.limit, 2500ms);
    EXPECT_TRUE(options.wait.onWait("extraE4.qvd", 2100ms));
    EXPECT_FALSE(OpenPostingRun(w.session, "save", "x")->id());
}

}  // namespace
}  // namespace pendara
