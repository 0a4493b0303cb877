#include "reports/balance_review.h"

#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "matching/references.h"
#include "posting/save.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

std::string SelectedAccount(const Pndra& w) {
    const std::string entry = w.List2.List(w.List2.ListIndex());
    const std::size_t blank = entry.find(' ');
    // Up to and including the first blank: an entry without one names no account.
    return blank == std::string::npos ? std::string() : Trim(entry.substr(0, blank + 1));
}

// Gives every dated row on or before the zero date the reference, drawn on first use.
void AssignUpTo(Pndra& w, Grid& grid, const std::string& zeroDate, std::string& reference) {
    const std::string limit = DateText(zeroDate);
    for (int r = 1; r <= grid.Rows(); ++r) {
        const std::string& date = grid.Cell(r, 2);
        if (Trim(date).empty()) continue;
        // Compact dates sort as texts in date order.
        if (limit < DateText(date)) continue;
        if (reference.empty()) reference = NewReference(w.session);
        grid.SetCell(r, 5, reference);
    }
}

}  // namespace

std::vector<std::string> ZeroBalanceDates(Pndra& w, const std::string& account) {
    std::vector<std::string> dates{""};
    for (int i = w.List1.ListCount() - 1; i >= 0; --i) {
        const std::string& path = w.session.ConsultedFiles.at(static_cast<std::size_t>(i));
        if (path.empty()) continue;
        const std::string folder = w.session.Lib().GetCompanyDirs(path);
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

void revisarsaldos_Click(Pndra& w) {
    std::vector<std::string> dates;
    {
        QvOLE70 server;
        try {
            server.OpenCompany(w.session.ConsultedFiles.at(0), "");
        } catch (const HostError& e) {
            // A protected company: the key typed at start-up for this chain opens it, so the
            // review does not end the program where the user already proved access.
            if (e.code() != kErrAccessKey) throw;
            server.OpenCompany(w.session.ConsultedFiles.at(0), w.session.AccessKey);
        }
        dates = ZeroBalanceDates(w, SelectedAccount(w));
        server.CloseCompany();
    }
    for (const std::string& date : dates) {
        if (Trim(date).empty()) continue;
        std::string reference;
        AssignUpTo(w, w.SGrid1, date, reference);
        AssignUpTo(w, w.SGrid2, date, reference);
    }
    GrabaRef_Click(w);
}

}  // namespace pendara
