#include "reports/balance_review.h"

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "matching/references.h"

namespace pendara {

namespace {

// Gives every dated row on or before the zero date the reference, drawn on first use.
void AssignUpTo(std::vector<GridRow>& rows, const std::string& zeroDate, std::string& reference,
                ReferenceCounter& counter, std::vector<std::string>& drawn) {
    const std::string limit = DateText(zeroDate);
    for (GridRow& row : rows) {
        if (Trim(row.date).empty()) continue;
        // Compact dates sort as texts in date order.
        if (limit < DateText(row.date)) continue;
        if (reference.empty()) {
            reference = counter.Next();
            drawn.push_back(reference);
        }
        row.reference = reference;
    }
}

}  // namespace

std::vector<std::string> ZeroBalanceDates(Session& s, const std::string& account) {
    std::vector<std::string> dates{""};
    for (auto i = static_cast<long>(s.ConsultedFiles.size()) - 1; i >= 0; --i) {
        const std::string& path = s.ConsultedFiles[static_cast<std::size_t>(i)];
        if (path.empty()) continue;
        const std::string folder = s.Lib().GetCompanyDirs(path);
        const std::string code = CompanyCode(path);
        double balance = 0;
        QvFileControl2 entries;
        entries.OpenFile(EntriesFile(folder, code), "");
        entries.MoveFirst();
        entries.SetFilter("Cuenta =" + account);
        entries.MoveFirst();
        entries.SetOrder("fecha");
        entries.MoveFirst();
        while (!entries.IsEof()) {
            const std::string type = entries.GetField(8);
            if (type != "R" && type != "C") {
                double debit = 0, credit = 0;
                // Amounts come as the host writes numbers: Spanish form, decimal comma.
                if (entries.GetField(5) == "1")
                    debit = ToDouble(entries.GetField(6));
                else
                    credit = ToDouble(entries.GetField(6));
                balance = debit + balance + credit;
                if (RoundTo(balance, 2) == 0) dates.push_back(entries.GetField(1));
            }
            entries.MoveNext();
        }
        entries.CloseFile();
    }
    return dates;
}

std::vector<std::string> ReviewZeroBalanceDates(Session& s, const std::string& account) {
    const std::string active = s.ConsultedFiles.empty() ? std::string() : s.ConsultedFiles[0];
    QvOLE70 server;
    try {
        server.OpenCompany(active, "");
    } catch (const HostError& e) {
        // A protected company: the key typed at start-up for this chain opens it, so the review
        // does not end the program where the user already proved access.
        if (e.code() != kErrAccessKey) throw;
        server.OpenCompany(active, s.AccessKey);
    }
    std::vector<std::string> dates = ZeroBalanceDates(s, account);
    server.CloseCompany();
    return dates;
}

std::vector<std::string> AssignZeroBalanceReferences(const std::vector<std::string>& dates,
                                                     std::vector<GridRow>& debits,
                                                     std::vector<GridRow>& credits,
                                                     ReferenceCounter& counter) {
    std::vector<std::string> drawn;
    for (const std::string& date : dates) {
        if (Trim(date).empty()) continue;
        std::string reference;
        AssignUpTo(debits, date, reference, counter, drawn);
        AssignUpTo(credits, date, reference, counter, drawn);
    }
    return drawn;
}

}  // namespace pendara
