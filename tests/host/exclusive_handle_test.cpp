// Cursors inside a run that keeps its connections: a cursor has the kept connection to itself,
// and what one cursor writes is seen by the others as it would be on connections of their own.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "host/qv_file_control.h"
#include "host/store.h"
#include "support/ledger.h"

namespace pendara {
namespace {

class ExclusiveHandleTest : public ::testing::Test {
  protected:
    void SetUp() override {
        company = ledger.Company("E1", "Empresa uno", 2025);
        recs = ledger.Entries(company, {{"4300000001", "15/03/25", "10", "Fra. 1", 1, 100.0},
                                        {"4300000001", "16/03/25", "11", "Cobro", 2, -40.0},
                                        {"4300000002", "17/03/25", "12", "Otra", 1, 5.0}});
        entries = ledger.EntriesFile(company);
    }

    // Whether another workstation could take the file's write lock at once.
    bool Unlocked() {
        Db other(entries, Db::Mode::ReadWrite);
        sqlite3_busy_timeout(other.handle(), 0);
        if (sqlite3_exec(other.handle(), "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) != SQLITE_OK)
            return false;
        other.Exec("ROLLBACK");
        return true;
    }

    std::vector<std::string> References(QvFileControl2& c) {
        std::vector<std::string> out;
        c.SetFilter("cuenta =4300000001");
        for (c.MoveFirst(); !c.IsEof(); c.MoveNext())
            out.push_back(c.GetField(23));
        return out;
    }

    testing::Ledger ledger;
    std::string company, entries;
    std::vector<std::int32_t> recs;
};

TEST_F(ExclusiveHandleTest, CursorsSeeEachOthersWritesOnlyOnceCommitted) {
    ConnectionReuse reuse;
    QvFileControl2 reader, writer;
    reader.OpenFile(entries);
    writer.OpenFile(entries);
    writer.SetFilter("cuenta =4300000001");
    writer.MoveFirst();
    writer.Edit();
    writer.PutField(23, 0, "RF-5");
    writer.Update();
    // Uncommitted: the reader reads the file as it is, and the writer's lock is the only one.
    EXPECT_EQ(References(reader), (std::vector<std::string>{"", ""}));
    EXPECT_FALSE(Unlocked());
    writer.CloseFile();
    EXPECT_EQ(References(reader), (std::vector<std::string>{"RF-5", ""}));
    reader.CloseFile();
    EXPECT_TRUE(Unlocked());
    // A cursor that rolls back leaves the kept connection free and the file as it was.
    {
        QvFileControl2 dropped;
        dropped.OpenFile(entries);
        dropped.GoToRecord(recs[1]);
        dropped.Edit();
        dropped.PutField(23, 0, "RF-6");
        dropped.Update();
    }
    EXPECT_TRUE(Unlocked());
    QvFileControl2 last;
    last.OpenFile(entries);
    EXPECT_EQ(References(last), (std::vector<std::string>{"RF-5", ""}));
}

}  // namespace
}  // namespace pendara
