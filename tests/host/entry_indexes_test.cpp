// The reference's index of an entries file holds only the entries that carry a reference; the
// look-ups by reference use it, and a file made with the earlier index that held every entry
// gets the new one from its first write.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/account_posting.h"
#include "host/entry_indexes.h"
#include "host/filter.h"
#include "host/store.h"
#include "support/ledger.h"

namespace pendara {
namespace {

constexpr const char* kOldIndex = "CREATE INDEX entries_referencia ON entries(referencia)";

std::string One(Db& db, const std::string& sql) {
    Stmt st(db, sql);
    return st.Step() ? st.Text(0) : "";
}

std::string IndexSql(const std::string& file) {
    Db db(file, Db::Mode::ReadWrite);
    return One(db, "SELECT sql FROM sqlite_master WHERE name = 'entries_referencia'");
}

void UseOldIndex(const std::string& file) {
    Db db(file, Db::Mode::ReadWrite);
    db.Exec("BEGIN IMMEDIATE");
    db.Exec("DROP INDEX entries_referencia");
    db.Exec(kOldIndex);
    db.Exec("COMMIT");
}

// The entries carrying a reference as the index finds them and as the table holds them.
std::pair<std::string, std::string> ReferencedBothWays(const std::string& file) {
    Db db(file, Db::Mode::ReadWrite);
    const std::string sql =
        "SELECT group_concat(id || ':' || referencia) FROM (SELECT id,"
        " referencia FROM entries ";
    return {One(db, sql + "INDEXED BY entries_referencia WHERE referencia <> '' ORDER BY id)"),
            One(db, sql + "NOT INDEXED WHERE referencia <> '' ORDER BY id)")};
}

class EntryIndexesTest : public ::testing::Test {
  protected:
    void SetUp() override {
        company = l.Company("E5", "Empresa", 2025);
        recs = l.Entries(company,
                         {{"4300000001", "15/01/25", "1", "a", 1, 10.0, "0", "", "", "", ""},
                          {"4300000001", "16/01/25", "2", "b", 2, -10.0, "0", "", "", "", ""},
                          {"4300000001", "17/01/25", "3", "c", 1, 5.0, "0", "", "", "", "RF-42"},
                          {"4300000002", "18/01/25", "4", "d", 1, 7.0, "0", "", "", "", "RF-420"},
                          {"4300000002", "19/01/25", "5", "e", 1, 7.0, "0", "", "", "", ""}});
        file = l.EntriesFile(company);
    }

    // Gives the first two entries a reference and marks them.
    AccountPosting Pairing() const {
        AccountPosting p{"4300000001", {{file, "E5"}}, {}};
        p.rows.push_back({0, recs[0], std::string("RF-7"), std::string("1"), std::nullopt});
        p.rows.push_back({0, recs[1], std::string("RF-7"), std::string("1"), std::nullopt});
        return p;
    }

    // The records a filter selects and the plan SQLite chooses for it.
    std::pair<std::vector<std::int32_t>, std::string> Filtered(const std::string& expression) {
        Db db(file, Db::Mode::ReadWrite);
        const std::vector<FilterCondition> f = ParseFilter(expression, EntriesCatalogue());
        const std::string where = " FROM entries WHERE " + FilterSql(f) + " ORDER BY id";
        Stmt plan(db, "EXPLAIN QUERY PLAN SELECT id" + where);
        BindFilter(plan, f, 1);
        std::string detail;
        while (plan.Step())
            detail += plan.Text(3) + "\n";
        Stmt st(db, "SELECT id" + where);
        BindFilter(st, f, 1);
        std::vector<std::int32_t> ids;
        while (st.Step())
            ids.push_back(static_cast<std::int32_t>(st.Int(0)));
        return {ids, detail};
    }

    testing::Ledger l;
    std::string company, file;
    std::vector<std::int32_t> recs;
};

TEST_F(EntryIndexesTest, LookUpsByAReferenceUseTheIndexAndTheEmptyOneStillSelects) {
    EXPECT_NE(IndexSql(file).find("WHERE referencia <> ''"), std::string::npos) << IndexSql(file);
    auto [exact, exactPlan] = Filtered("Referencia punteo =RF-42");
    EXPECT_EQ(exact, std::vector<std::int32_t>{recs[2]});
    EXPECT_NE(exactPlan.find("entries_referencia"), std::string::npos) << exactPlan;
    auto [prefix, prefixPlan] = Filtered("Referencia punteo like RF-42*");
    EXPECT_EQ(prefix, (std::vector<std::int32_t>{recs[2], recs[3]}));
    EXPECT_NE(prefixPlan.find("entries_referencia"), std::string::npos) << prefixPlan;
    // The empty reference is not in the index: the filter reads the table and finds every one.
    auto [empty, emptyPlan] = Filtered("Referencia punteo =");
    EXPECT_EQ(empty, (std::vector<std::int32_t>{recs[0], recs[1], recs[4]}));
    EXPECT_EQ(emptyPlan.find("entries_referencia"), std::string::npos) << emptyPlan;
    auto [any, anyPlan] = Filtered("Referencia punteo like *2*");
    EXPECT_EQ(any, (std::vector<std::int32_t>{recs[2], recs[3]}));
}

TEST_F(EntryIndexesTest, AnOldIndexIsReplacedByTheFirstWriteOfARunAndNotByAPreview) {
    testing::Ledger fresh;
    const std::string other = fresh.Company("E5", "Empresa", 2025);
    fresh.Entries(other, l.Read(company));
    UseOldIndex(file);
    ASSERT_EQ(IndexSql(file), kOldIndex);
    {
        PostingRun run("", "save", "4300000001");
        EXPECT_EQ(run.Preview(Pairing()).changes.size(), 2u);
        EXPECT_EQ(IndexSql(file), kOldIndex);
        // Refused for a conflict: nothing is committed, the index neither.
        AccountPosting refused = Pairing();
        refused.rows[0].expected = RowValue{"RF-1", "0"};
        EXPECT_EQ(run.Post(refused).conflicts.size(), 1u);
        EXPECT_EQ(IndexSql(file), kOldIndex);
        EXPECT_EQ(run.Post(Pairing()).changes.size(), 2u);
        run.Finish();
    }
    EXPECT_EQ(IndexSql(file), IndexSql(fresh.EntriesFile(other)));
    {
        AccountPosting p = Pairing();
        p.files[0].entries = fresh.EntriesFile(other);
        PostingRun run("", "save", "4300000001");
        run.Post(p);
        run.Finish();
    }
    const std::vector<EntryRecord> got = l.Read(company), want = fresh.Read(other);
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
        EXPECT_EQ(got[i].registro, want[i].registro);
        EXPECT_EQ(got[i].referencia, want[i].referencia);
        EXPECT_EQ(got[i].marca, want[i].marca);
    }
    const auto [indexed, table] = ReferencedBothWays(file);
    EXPECT_EQ(indexed, table);
    EXPECT_EQ(table, std::to_string(recs[0]) + ":RF-7," + std::to_string(recs[1]) + ":RF-7," +
                         std::to_string(recs[2]) + ":RF-42," + std::to_string(recs[3]) + ":RF-420");
    Db db(file, Db::Mode::ReadWrite);
    EXPECT_EQ(One(db, "PRAGMA integrity_check"), "ok");
}

TEST_F(EntryIndexesTest, AnImportIntoAFileWithTheOldIndexReplacesIt) {
    UseOldIndex(file);
    l.Entries(company, {{"4300000003", "20/01/25", "6", "f", 1, 1.0, "0", "", "", "", "RF-9"}});
    EXPECT_NE(IndexSql(file).find("WHERE referencia <> ''"), std::string::npos) << IndexSql(file);
    const auto [indexed, table] = ReferencedBothWays(file);
    EXPECT_EQ(indexed, table);
    EXPECT_NE(table.find(":RF-9"), std::string::npos);
    // A file that already has it is left alone.
    Db db(file, Db::Mode::ReadWrite);
    db.Exec("BEGIN IMMEDIATE");
    EXPECT_FALSE(UpgradeEntryIndexes(db));
    db.Exec("COMMIT");
}

}  // namespace
}  // namespace pendara
