#include "posting/maintenance.h"

#include <functional>
#include <string>

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"

namespace pendara {

namespace {

constexpr const char* kFixedAccount = "4300000138";

// Runs the record loop on the entries file of every company of the catalogue, in order.
void ForEachCompany(
    Session& s, const std::function<void(QvFileControl2&)>& loop,
    const std::function<void(const std::string&, const std::string&)>& before = nullptr) {
    for (std::string path : s.ConsultedFiles) {
        if (Trim(path).empty()) continue;
        path = NormaliseCompanyName(path);
        const std::string code = CompanyCode(path);
        const std::string folder = s.Lib().GetCompanyDirs(path);
        QvFileControl2 entries;
        entries.OpenFile(EntriesFile(folder, code), "");
        if (before) before(folder, code);
        loop(entries);
        entries.CloseFile();
    }
}

void SelectFixedAccount(QvFileControl2& entries) {
    entries.SetFilter(std::string("Cuenta = ") + kFixedAccount);
    entries.MoveFirst();
}

}  // namespace

void ClearAllReferences(Session& s) {
    ForEachCompany(
        s,
        [](QvFileControl2& entries) {
            entries.MoveFirst();
            while (!entries.IsEof()) {
                entries.Edit();
                entries.PutField(23, 0, "");
                entries.PutField(7, 0, "0");
                entries.Update();
                entries.MoveNext();
            }
        },
        [&s](const std::string& folder, const std::string& code) {
            s.CurrentFolder = folder;
            s.CurrentCode = code;
        });
}

void CopyField22ToReferences(Session& s) {
    ForEachCompany(s, [](QvFileControl2& entries) {
        SelectFixedAccount(entries);
        while (!entries.IsEof()) {
            const std::string t = Trim(entries.GetField(22));
            if (!t.empty()) {
                entries.Edit();
                entries.PutField(23, 0, Upper(t).find("RF-") == std::string::npos ? "RF-" + t : t);
                entries.Update();
            }
            entries.MoveNext();
        }
    });
}

void ResetFixedAccountMarks(Session& s) {
    ForEachCompany(s, [](QvFileControl2& entries) {
        SelectFixedAccount(entries);
        while (!entries.IsEof()) {
            entries.Edit();
            entries.PutField(7, 0, "0");
            entries.Update();
            entries.MoveNext();
        }
    });
}

}  // namespace pendara
