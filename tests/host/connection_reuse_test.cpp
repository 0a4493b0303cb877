#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

#include "host/errors.h"
#include "host/qv_ole70.h"
#include "host/store.h"
#include "support/ledger.h"

namespace pendara {
namespace {

class ConnectionReuseTest : public ::testing::Test {
  protected:
    void SetUp() override {
        company = ledger.Company("E1", "Empresa uno", 2025);
        ledger.Accounts(company, {{"4300000001", "Cliente uno", 0}});
        recs = ledger.Entries(company, {{"4300000001", "15/03/25", "10", "Fra. 1", 1, 100.0},
                                        {"4300000001", "16/03/25", "11", "Cobro", 2, -40.0}});
        entries = ledger.EntriesFile(company);
        chart = ledger.File("PlancE1.qvd");
    }

    std::string Reference(Db& db, std::int32_t record) {
        Stmt st(db, "SELECT referencia FROM entries WHERE id = ?");
        st.Bind(1, static_cast<std::int64_t>(record));
        return st.Step() ? st.Text(0) : "<ninguno>";
    }

    void SetReference(std::int32_t record, const std::string& reference) {
        Db other(entries, Db::Mode::ReadWrite);
        Stmt st(other, "UPDATE entries SET referencia = ? WHERE id = ?");
        st.Bind(1, std::string_view(reference));
        st.Bind(2, static_cast<std::int64_t>(record));
        st.Run();
    }

    testing::Ledger ledger;
    std::string company, entries, chart;
    std::vector<std::int32_t> recs;
};

TEST_F(ConnectionReuseTest, ConnectionsAreSharedOnlyInsideAScopeAndPerFile) {
    EXPECT_FALSE(ConnectionReuse::Active());
    {
        DbHandle a(entries);
        DbHandle b(entries);
        EXPECT_NE(a->handle(), b->handle());
    }
    {
        ConnectionReuse outer;
        sqlite3* kept = nullptr;
        {
            ConnectionReuse inner;
            DbHandle a(entries);
            kept = a->handle();
        }
        // The inner scope's end keeps the outer one's connections.
        EXPECT_TRUE(ConnectionReuse::Active());
        DbHandle again(entries);
        EXPECT_EQ(again->handle(), kept);
        DbHandle other(chart);
        EXPECT_NE(other->handle(), kept);
        EXPECT_EQ(other->path(), chart);
    }
    EXPECT_FALSE(ConnectionReuse::Active());
}

TEST_F(ConnectionReuseTest, AKeptConnectionSeesWhatOthersCommitAndHoldsNoLock) {
    ConnectionReuse reuse;
    {
        DbHandle db(entries);
        EXPECT_EQ(Reference(*db, recs[0]), "");
    }
    // Another workstation writes while the connection is kept: it is not kept waiting, and the
    // next use reads what it wrote.
    SetReference(recs[0], "RF-7");
    {
        Db other(entries, Db::Mode::ReadWrite);
        sqlite3_busy_timeout(other.handle(), 0);
        EXPECT_NO_THROW(other.Exec("BEGIN EXCLUSIVE"));
        other.Exec("COMMIT");
    }
    DbHandle db(entries);
    EXPECT_EQ(Reference(*db, recs[0]), "RF-7");
}

TEST_F(ConnectionReuseTest, AConnectionWithAStatementRunningIsNotShared) {
    ConnectionReuse reuse;
    DbHandle first(entries);
    Stmt scan(*first, "SELECT id FROM entries ORDER BY id");
    ASSERT_TRUE(scan.Step());
    DbHandle second(entries);
    EXPECT_NE(second->handle(), first->handle());
    // Both work on their own: the scan goes on while the second reads.
    EXPECT_EQ(Reference(*second, recs[1]), "");
    ASSERT_TRUE(scan.Step());
    EXPECT_EQ(scan.Int(0), recs[1]);
    scan.Reset();
    // Once the statement is done, the kept connection is handed out again.
    DbHandle third(entries);
    EXPECT_EQ(third->handle(), first->handle());
}

TEST_F(ConnectionReuseTest, AMissingFileFailsAndIsNotKept) {
    ConnectionReuse reuse;
    const std::string missing = ledger.File("extraZZ.qvd");
    EXPECT_THROW(DbHandle{missing}, HostError);
    EXPECT_THROW(DbHandle{missing}, HostError);
}

TEST_F(ConnectionReuseTest, TheServerReadsFreshFiguresAccountAfterAccount) {
    ConnectionReuse reuse;
    auto balance = [&] {
        QvOLE70 server;
        server.OpenCompany(company, "");
        server.SelectAccount("4300000001", "", "");
        double sum = 0;
        for (std::int32_t p = 0; p < 15; ++p)
            sum += server.GetPeriodDebit(1, p) + server.GetPeriodCredit(1, p);
        EXPECT_EQ(server.GetAccountInfo(1).Title(), "Cliente uno");
        return sum;
    };
    EXPECT_EQ(balance(), 60.0);
    {
        Db other(entries, Db::Mode::ReadWrite);
        other.Exec("UPDATE entries SET importe = -100 WHERE id = " + std::to_string(recs[1]));
    }
    EXPECT_EQ(balance(), 0.0);
}

}  // namespace
}  // namespace pendara
