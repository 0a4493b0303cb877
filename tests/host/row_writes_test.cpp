// An account's writes change only what differs from the entry, and the indexes over the
// reference stay those of the entries as written.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "host/account_posting.h"
#include "host/store.h"
#include "support/ledger.h"

namespace pendara {
namespace {

std::string One(Db& db, const std::string& sql) {
    Stmt st(db, sql);
    return st.Step() ? st.Text(0) : "";
}

TEST(RowWritesTest, MarkAloneReferenceAloneBothAndNeither) {
    testing::Ledger l;
    const std::string y = l.Company("E5", "Empresa", 2025);
    const auto recs =
        l.Entries(y, {{"4300000001", "15/01/25", "1", "a", 1, 10.0, "0", "", "", "", ""},
                      {"4300000001", "16/01/25", "2", "b", 2, -10.0, "0", "", "", "", "RF-3"},
                      {"4300000001", "17/01/25", "3", "c", 1, 5.0, "1", "", "", "", "RF-4"},
                      {"4300000001", "18/01/25", "4", "d", 1, 7.0, "0", "", "", "", "ext"},
                      {"4300000002", "18/01/25", "5", "e", 1, 7.0, "0", "", "", "", ""}});
    const std::string file = l.EntriesFile(y);
    AccountPosting p{"4300000001", {{file, "E5"}}, {}};
    p.rows.push_back({0, recs[0], std::string(""), std::string("1"), std::nullopt});      // mark
    p.rows.push_back({0, recs[1], std::string("RF-9"), std::string("0"), std::nullopt});  // ref
    p.rows.push_back({0, recs[2], std::string("RF-9"), std::string("0"), std::nullopt});  // both
    p.rows.push_back({0, recs[3], std::string("ext"), std::string("0"), std::nullopt});   // none
    PostingRun run("", "save", "4300000001");
    const PostResult r = run.Post(p);
    run.Finish();
    ASSERT_EQ(r.changes.size(), 3u);
    std::vector<std::pair<std::string, std::string>> want = {
        {"", "1"}, {"RF-9", "0"}, {"RF-9", "0"}, {"ext", "0"}, {"", "0"}};
    const std::vector<EntryRecord> got = l.Read(y);
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
        EXPECT_EQ(got[i].referencia, want[i].first) << "entry " << i;
        EXPECT_EQ(got[i].marca, want[i].second) << "entry " << i;
    }
    Db db(file, Db::Mode::ReadWrite);
    EXPECT_EQ(One(db, "PRAGMA integrity_check"), "ok");
    // Looked up through the reference's index, as the counter's look-ups and the pending list do.
    EXPECT_EQ(
        One(db,
            "SELECT group_concat(id) FROM (SELECT id FROM entries INDEXED BY"
            " entries_referencia WHERE referencia = 'RF-9' AND referencia <> '' ORDER BY id)"),
        std::to_string(recs[1]) + "," + std::to_string(recs[2]));
    EXPECT_EQ(One(db,
                  "SELECT count(*) FROM entries INDEXED BY entries_referencia"
                  " WHERE (referencia = 'RF-3' OR referencia = 'RF-4') AND referencia <> ''"),
              "0");
    EXPECT_EQ(One(db,
                  "SELECT count(*) FROM entries INDEXED BY entries_unreferenced"
                  " WHERE cuenta = '4300000001' AND referencia NOT LIKE '%rf-%'"),
              "2");
}

}  // namespace
}  // namespace pendara
