#include "posting/maintenance.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "companies/account_list.h"
#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "host/utf8.h"
#include "posting/posting_runs.h"
#include "ui/pndra.h"

namespace pendara {

namespace {

constexpr const char* kFixedAccount = "4300000138";

// Runs the record loop on the entries file of every company of the list, in list order;
// `before` hears of the company file, its folder and its code.
void ForEachCompany(Pndra& w, const std::function<void(QvFileControl2&)>& loop,
                    const std::function<void(const std::string&, const std::string&,
                                             const std::string&)>& before = nullptr) {
    for (int i = 0; i < w.List1.ListCount(); ++i) {
        std::string path = w.ConsultedFiles.at(static_cast<std::size_t>(w.List1.ItemData(i)));
        if (Trim(path).empty()) continue;
        path = NormaliseCompanyName(path);
        const std::string code = CompanyCode(path);
        const std::string folder = w.Lib().GetCompanyDirs(path);
        QvFileControl2 entries;
        entries.OpenFile(folder + "extra" + code + ".qvd", "");
        if (before) before(path, folder, code);
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
    // Each account is one posting over every company, so a stop or a failure leaves every
    // account cleared in all its years or in none; the accounts go one after another in one run.
    // Per account only (company, record) is kept until its turn: a big group has millions.
    std::vector<PostingFile> files;
    std::map<std::string, std::vector<std::pair<std::uint32_t, std::int32_t>>> byAccount;
    ForEachCompany(
        w,
        [&](QvFileControl2& entries) {
            const auto index = static_cast<std::uint32_t>(files.size() - 1);
            entries.MoveFirst();
            while (!entries.IsEof()) {
                if (!entries.GetField(23).empty() || entries.GetField(7) != "0")
                    byAccount[entries.GetFieldByName("Cuenta")].emplace_back(index,
                                                                             entries.GetRecNo());
                entries.MoveNext();
            }
        },
        [&](const std::string& path, const std::string& folder, const std::string& code) {
            files.push_back({folder + "extra" + code + ".qvd", CleanName(path)});
            w.CurrentFolder = folder;
            w.CurrentCode = code;
        });
    std::unique_ptr<PostingRun> run = OpenPostingRun(w, "clear-all", "");
    for (auto& [account, records] : byAccount) {
        AccountPosting posting{account, files, {}};
        posting.rows.reserve(records.size());
        for (const auto& [file, record] : records)
            posting.rows.push_back({file, record, std::string(), "0", std::nullopt});
        std::vector<std::pair<std::uint32_t, std::int32_t>>().swap(records);
        run->Post(posting);
    }
    run->Finish();
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
