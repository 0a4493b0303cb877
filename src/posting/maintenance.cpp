#include "posting/maintenance.h"

#include <functional>
#include <string>

#include "companies/account_list.h"
#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "host/utf8.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

constexpr const char* kFixedAccount = "4300000138";

// Runs the record loop on the entries file of every company of the list, in list order.
void ForEachCompany(
    Pndra& w, const std::function<void(QvFileControl2&)>& loop,
    const std::function<void(const std::string&, const std::string&)>& before = nullptr) {
    for (int i = 0; i < w.List1.ListCount(); ++i) {
        std::string path =
            w.session.ConsultedFiles.at(static_cast<std::size_t>(w.List1.ItemData(i)));
        if (Trim(path).empty()) continue;
        path = NormaliseCompanyName(path);
        const std::string code = CompanyCode(path);
        const std::string folder = w.session.Lib().GetCompanyDirs(path);
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

void Command1_Click(Pndra& w) {
    ForEachCompany(
        w,
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
        [&w](const std::string& folder, const std::string& code) {
            w.session.CurrentFolder = folder;
            w.session.CurrentCode = code;
        });
}

void Command2_Click(Pndra& w) {
    ForEachCompany(w, [](QvFileControl2& entries) {
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
    w.port.MsgBox("FIN", kVbOKOnly, "");
}

void Command3_Click(Pndra& w) {
    ForEachCompany(w, [](QvFileControl2& entries) {
        SelectFixedAccount(entries);
        while (!entries.IsEof()) {
            entries.Edit();
            entries.PutField(7, 0, "0");
            entries.Update();
            entries.MoveNext();
        }
    });
    w.port.MsgBox("FIN", kVbOKOnly, "");
}

void Command4_Click(Pndra& w) {
    w.List2.Clear();
    BuscaCta_Click(w);
    w.Text1.setText(w.CTA.text());
    if (Utf8Length(w.Text1.text()) < 6) {
        bool mode = false;
        Carga_cuentas(w, mode);
    }
}

}  // namespace pendara
