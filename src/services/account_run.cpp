#include "services/account_run.h"

#include <exception>
#include <set>

#include "companies/account_list.h"
#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "host/settings.h"
#include "matching/extract.h"
#include "matching/puntear.h"
#include "matching/references.h"
#include "posting/posting_runs.h"
#include "posting/save.h"
#include "reports/balance_review.h"

namespace pendara {

namespace {

constexpr std::int32_t kPeriods = 15;

// A grid that shows nothing keeps one row of no entry.
std::vector<GridRow> AsGrid(std::vector<GridRow> rows) {
    if (rows.empty()) rows.emplace_back();
    return rows;
}

void CountGroups(const std::vector<GridRow>& rows, std::set<std::string>& balanced,
                 std::set<std::string>& unbalanced) {
    for (const GridRow& row : rows) {
        if (!IsSystemReference(row.reference)) continue;
        (row.mark == "1" ? balanced : unbalanced).insert(row.reference);
    }
}

}  // namespace

std::string SearchLimitNotice(const std::string& account) {
    return "Punteo mejorado: la cuenta " + Trim(account) +
           " llegó al límite de búsqueda; pueden quedar partidas que se podrían puntear.";
}

AccountMatch MatchAccount(Session& s, const MatchRequest& request, const Progress& progress) {
    AccountMatch m;
    m.account = request.account;
    QvOLE70 server;
    bool ok = false;
    OpenEmp(s, server, request.company, ok);
    if (!ok) return m;

    server.SelectAccount(request.account, "", "");
    if (server.HasBalances() == 0) {
        server.CloseCompany();
        return m;
    }
    for (std::int32_t p = 0; p < kPeriods; ++p) {
        m.balance += server.GetPeriodDebit(1, p);
        m.balance += server.GetPeriodCredit(1, p);
    }
    m.title = server.GetAccountInfo(1).Title();

    Extract x = GetExtracto(s, request.company, request.account);
    MatchOptions options = request.options;
    options.progress = progress;
    MatchedRows rows = MatchExtract(s, x, options);
    m.loaded = true;
    m.rows =
        LoadedAccount{Trim(request.account), std::move(x.entryFiles), std::move(x.companyFiles),
                      std::move(rows.debits), std::move(rows.credits)};
    m.referencesDrawn = rows.referencesDrawn;
    m.searchLimitReached = rows.searchLimitReached;
    return m;
}

SaveResult SaveAccount(Session& s, const LoadedAccount& account, const Progress& progress) {
    std::vector<GridRow> debits = account.debits;
    std::vector<GridRow> credits = account.credits;
    Puntear(debits, credits);
    const bool postDebits = !IsEmptyGrid(debits), postCredits = !IsEmptyGrid(credits);
    SaveResult result;
    if (postDebits || postCredits) {
        // Both grids are one posting: the account is written whole or not at all.
        try {
            const std::size_t companies =
                account.entryFiles.empty() ? 0 : account.entryFiles.size() - 1;
            const PostingMarks marks = ReadPostingMarks(s.Lib());
            result.posting.account = account.account;
            result.posting.files = ChainPostingFiles(account);
            if (postDebits) {
                FixRef(debits, companies, marks, result.posting.rows, progress);
                if (progress) progress(0, 0);
            }
            if (postCredits) {
                FixRef(credits, companies, marks, result.posting.rows, progress);
                if (progress) progress(0, 0);
            }
            result.changes = PostAccount(s, result.posting, "save").changes;
        } catch (const HostError& e) {
            SaveFailed(s, e.description());
        } catch (const std::exception& e) {
            SaveFailed(s, e.what());
        }
        std::set<std::string> balanced, unbalanced;
        if (postDebits) CountGroups(debits, balanced, unbalanced);
        if (postCredits) CountGroups(credits, balanced, unbalanced);
        result.groupsBalanced = static_cast<std::int32_t>(balanced.size());
        result.groupsUnbalanced = static_cast<std::int32_t>(unbalanced.size());
    }
    result.debits = AsGrid(postDebits ? OpenRows(debits) : std::vector<GridRow>{});
    result.credits = AsGrid(postCredits ? OpenRows(credits) : std::vector<GridRow>{});
    result.nextReference = s.Counter().Next();
    return result;
}

ReviewResult ReviewBalance(Session& s, const std::string& account, LoadedAccount grids,
                           const Progress& progress) {
    ReviewResult r;
    r.zeroDates = ReviewZeroBalanceDates(s, account);
    r.references =
        AssignZeroBalanceReferences(r.zeroDates, grids.debits, grids.credits, s.Counter());
    r.saved = SaveAccount(s, grids, progress);
    return r;
}

std::int32_t ClearAccount(Session& s, const std::string& entryOrCode) {
    return ClearAccountReferences(s, entryOrCode);
}

AccountOutcome ProcessAccount(Session& s, const AccountRequest& request, const Progress& progress) {
    AccountOutcome o;
    o.account = ListEntryAccount(request.entry);
    if (Trim(o.account).empty()) {
        o.account.clear();
        return o;
    }
    // A dry run leaves the last account worked on as it was.
    if (!s.DryRunInProgress) {
        if (s.DeferLastAccount)
            s.PendingLastAccount = o.account;
        else
            SetRegValue(s.port, "Ultima", o.account, "Punteo");
    }
    o.match = MatchAccount(s, {request.company, o.account, request.options}, progress);
    o.matchReference = s.Counter().Next();
    o.saved = SaveAccount(s, o.match.rows, progress);
    if (LeadingNumber(s.Lib().GetSetting("Punteo2", "", "0")) == 1)
        o.review = ReviewBalance(s, Trim(o.account),
                                 o.match.rows.WithGrids(o.saved.debits, o.saved.credits), progress);
    return o;
}

}  // namespace pendara
