// Reference draws against the entries file: the look-ups of a block of numbers and the
// connection a run keeps for them.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <set>
#include <string>
#include <vector>

#include "host/company_file.h"
#include "host/store.h"
#include "matching/references.h"
#include "support/ledger.h"
#include "support/scripted_port.h"
#include "ui/pndra.h"

namespace pendara {
namespace {

constexpr const char* kAcc = "4300000001";
constexpr std::int32_t kStart = 1000;

class ReferenceDrawsTest : public testing::SettingsTest {
  protected:
    void SetUp() override {
        SettingsTest::SetUp();
        y = l.Company("E5", "Empresa", 2025);
        w.session.ActiveCompanyFile = y;
        w.session.FirstCompanyFile = y;
        SetCounter(y, kStart);
    }

    // Entries carrying `references`, one each.
    void Carry(const std::vector<std::string>& references) {
        std::vector<EntryRecord> rows;
        for (const std::string& r : references)
            rows.push_back({kAcc, "10/03/25", "2", "x", 1, 60, "", "", "", "", r});
        l.Entries(y, rows);
    }

    // What `count` single draws from `from` give: every number whose "RF-" text no entry
    // carries exactly.
    std::vector<std::string> Expected(std::int32_t from, std::int32_t count) {
        std::set<std::string> carried;
        for (const EntryRecord& e : l.Read(y))
            carried.insert(e.referencia);
        std::vector<std::string> out;
        for (std::int32_t n = from + 1; static_cast<std::int32_t>(out.size()) < count; ++n)
            if (!carried.contains("RF-" + std::to_string(n)))
                out.push_back("RF-" + std::to_string(n));
        return out;
    }

    static std::int32_t Number(const std::string& reference) {
        return std::stoi(reference.substr(3));
    }

    testing::Ledger l;
    ScriptedPort port;
    Pndra w{port};
    std::string y;
};

// Numbers in use at both ends of the statements' blocks of candidates and in a short last block;
// texts that only resemble a number (another case, a leading zero, a blank) do not count.
TEST_F(ReferenceDrawsTest, ALongBlockSkipsExactlyTheNumbersCarried) {
    Carry({"RF-1001", "RF-1064", "RF-1065", "RF-1066", "RF-1128", "RF-1129", "RF-1190", "rf-1002",
           "RF-01003", "RF-1004 ", "RF-1005x"});
    const std::vector<std::string> want = Expected(kStart, 190);
    const std::vector<std::string> got = NewReferences(w.session, 190);
    EXPECT_EQ(got, want);
    EXPECT_EQ(ReadCounter(y), Number(want.back()));
    // The numbers skipped in one block are made up for by the next: they are in use there too.
    Carry({"RF-" + std::to_string(Number(want.back()) + 1)});
    const std::vector<std::string> next = Expected(Number(want.back()), 3);
    EXPECT_EQ(NewReferences(w.session, 3), next);
    EXPECT_EQ(NewReference(w.session), Expected(Number(next.back()), 1)[0]);
}

// Inside a run that keeps its connections, each draw reads the entries as they are then, and the
// kept connection holds no lock between draws that would keep another workstation waiting.
TEST_F(ReferenceDrawsTest, DrawsOnAKeptConnectionSeeLaterEntriesAndHoldNoLock) {
    ConnectionReuse reuse;
    EXPECT_EQ(NewReference(w.session), "RF-1001");
    Carry({"RF-1002", "RF-1004"});
    EXPECT_EQ(NewReference(w.session), "RF-1003");
    EXPECT_EQ(NewReferences(w.session, 2), (std::vector<std::string>{"RF-1005", "RF-1006"}));
    {
        Db other(l.EntriesFile(y), Db::Mode::ReadWrite);
        other.Exec("PRAGMA busy_timeout=0");
        EXPECT_NO_THROW(other.Exec("BEGIN EXCLUSIVE"));
        other.Exec("ROLLBACK");
    }
    Carry({"RF-1007"});
    PreviewCounter preview(w.session);
    EXPECT_EQ(preview.Next(2), (std::vector<std::string>{"RF-1008", "RF-1009"}));
    EXPECT_EQ(ReadCounter(y), 1006);  // a preview never writes the counter
}

// The look-ups of a draw find the numbers through the reference's index, which leaves out the
// empty reference: among many entries without one, none of them reads the table row by row.
TEST_F(ReferenceDrawsTest, LookUpsReadTheReferenceIndexNotTheTable) {
    std::vector<std::string> references(300, "");
    references[17] = "RF-1002";
    references[230] = "RF-1070";
    Carry(references);
    ConnectionReuse reuse;
    const std::vector<std::string> block = NewReferences(w.session, 100);
    const std::string one = NewReference(w.session);
    EXPECT_EQ(block, Expected(kStart, 100));
    EXPECT_EQ(one, Expected(Number(block.back()), 1)[0]);
    DbHandle kept(ResolveFileName(l.EntriesFile(y)));
    ASSERT_TRUE(kept.kept());
    int lookUps = 0;
    for (sqlite3_stmt* st = sqlite3_next_stmt(kept->handle(), nullptr); st;
         st = sqlite3_next_stmt(kept->handle(), st)) {
        const std::string sql = sqlite3_sql(st);
        if (sql.find("referencia") == std::string::npos) continue;
        ++lookUps;
        EXPECT_GT(sqlite3_stmt_status(st, SQLITE_STMTSTATUS_VM_STEP, 0), 0) << sql;
        EXPECT_EQ(sqlite3_stmt_status(st, SQLITE_STMTSTATUS_FULLSCAN_STEP, 0), 0) << sql;
    }
    EXPECT_EQ(lookUps, 2);  // the block's statement and the single one
}

}  // namespace
}  // namespace pendara
