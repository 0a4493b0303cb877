// The dialogs of the host library that need the company's data: the account look-up, the key
// filter of account boxes and the parameter dialog (which offers the chart for account items).

#include <filesystem>

#include "host/company_file.h"
#include "host/conversions.h"
#include "host/paths.h"
#include "host/qv_library.h"
#include "host/store.h"

namespace pendara {

namespace {

// The posting accounts of a chart of accounts, in code order.
std::vector<AccountChoice> PostingAccounts(const std::string& chartFile) {
    std::vector<AccountChoice> out;
    std::error_code ec;
    if (chartFile.empty() || !std::filesystem::is_regular_file(chartFile, ec)) return out;
    Db db(chartFile, Db::Mode::ReadWrite);
    Stmt st(db, "SELECT cuenta, nombre FROM accounts WHERE nivel = 0 ORDER BY cuenta, id");
    while (st.Step())
        out.push_back({st.Text(0), st.Text(1)});
    return out;
}

std::string ChartOfCompany(const std::string& companyFile) {
    if (Trim(companyFile).empty()) return "";
    std::string file = ExistingCompanyFile(companyFile);
    return ResolveFileName(FolderOf(file) + "Planc" + ReadCompanyCode(file) + ".qvd");
}

}  // namespace

std::string QvLibrary::SelectAccountDialog(const std::string& companyFile,
                                           const std::string& folder, const std::string& code,
                                           std::int32_t, std::int32_t, const std::string&,
                                           std::int32_t) {
    std::string chart = ResolveFileName(folder + "Planc" + code + ".qvd");
    std::vector<AccountChoice> accounts = PostingAccounts(chart);
    if (accounts.empty() && !Trim(companyFile).empty())
        accounts = PostingAccounts(ChartOfCompany(companyFile));
    return port_.SelectAccount("Selección de cuenta", accounts);
}

void QvLibrary::AccountKeyPress(const std::string&, std::int32_t, std::int32_t, std::int32_t& key) {
    // Digits, and the editing keys: Ctrl+A/C/V/X/Z, backspace, tab, Enter, Escape.
    static const std::int32_t kEditing[] = {1, 3, 8, 9, 13, 22, 24, 26, 27};
    if (key >= '0' && key <= '9') return;
    for (std::int32_t k : kEditing)
        if (key == k) return;
    key = 0;
}

bool QvLibrary::ParameterDialog(const std::string& caption, ParameterValues& values,
                                const ParameterKinds& kinds, const std::string& companyFile) {
    auto accounts = [companyFile]() { return PostingAccounts(ChartOfCompany(companyFile)); };
    return port_.ParameterDialog(caption, values, kinds, accounts);
}

}  // namespace pendara
