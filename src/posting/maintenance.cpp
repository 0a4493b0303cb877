#include "posting/maintenance.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "posting/posting_runs.h"

namespace pendara {

namespace {

constexpr const char* kFixedAccount = "4300000138";

// Runs the record loop on the entries file of every company of the catalogue, in order;
// `before` hears of the company file, its folder and its code.
void ForEachCompany(Session& s, const std::function<void(QvFileControl2&)>& loop,
                    const std::function<void(const std::string&, const std::string&,
                                             const std::string&)>& before = nullptr) {
    for (std::string path : s.ConsultedFiles) {
        if (Trim(path).empty()) continue;
        path = NormaliseCompanyName(path);
        const std::string code = CompanyCode(path);
        const std::string folder = s.Lib().GetCompanyDirs(path);
        QvFileControl2 entries;
        entries.OpenFile(EntriesFile(folder, code), "");
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

void ClearAllReferences(Session& s) {
    // Each account is one posting over every company, so a stop or a failure leaves every
    // account cleared in all its years or in none; the accounts go one after another in one run.
    // Per account only (company, record) is kept until its turn: a big group has millions.
    std::vector<PostingFile> files;
    std::map<std::string, std::vector<std::pair<std::uint32_t, std::int32_t>>> byAccount;
    ForEachCompany(
        s,
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
            files.push_back({EntriesFile(folder, code), CleanName(path)});
            s.CurrentFolder = folder;
            s.CurrentCode = code;
        });
    std::unique_ptr<PostingRun> run = OpenPostingRun(s, "clear-all", "");
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
