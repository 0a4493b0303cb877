#include "companies/catalogue.h"

#include <filesystem>

#include "companies/account_list.h"
#include "companies/session.h"
#include "host/company_file.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "host/settings.h"
#include "posting/posting_runs.h"

namespace pendara {

namespace {

// What tells two spellings of one company file apart from two companies.
std::string CompanyIdentity(const std::string& empresa) {
    try {
        std::error_code ec;
        std::filesystem::path p = std::filesystem::weakly_canonical(
            std::filesystem::absolute(ExistingCompanyFile(empresa)), ec);
        if (!ec) return p.string();
    } catch (const HostError&) {
    }
    return Upper(WithQvtEnding(Trim(empresa)));
}

bool InCatalogue(const Session& s, const std::string& empresa) {
    std::string id = CompanyIdentity(empresa);
    for (const std::string& file : s.ConsultedFiles)
        if (CompanyIdentity(file) == id) return true;
    return false;
}

}  // namespace

void LoadCatalogue(Session& s, const std::function<void(const std::string&)>& added) {
    s.ConsultedFiles.clear();
    s.ActiveCompanyFile = GetRegValue("Active").text();
    LoadEmp(s, s.ActiveCompanyFile, added);
    // Every start completes what an interrupted save left, before anything reads the entries.
    RecoverInterruptedRuns(s);
}

void LoadEmp(Session& s, const std::string& empresa,
             const std::function<void(const std::string&)>& added) {
    // The catalogue grows past a hundred places instead of refusing long chains.
    s.ConsultedFiles.push_back(empresa);
    if (added) added(empresa);

    QvOLE70 server;
    bool ok = false;
    OpenEmp(s, server, empresa, ok);
    if (!ok) return;
    std::string prev = server.GetPreviousCompany();
    if (Upper(prev + ".qvt") == Upper(server.GetCompanyFile())) {
        s.port.MsgBox("La empresa anterior no puede ser la misma que la actual", kVbCritical, "");
        return;
    }
    if (!prev.empty()) {
        if (InCatalogue(s, prev)) {
            s.port.MsgBox("La empresa anterior de " + CleanName(empresa) + " (" + prev +
                              ") ya está en la lista de empresas consultadas: la cadena de "
                              "ejercicios se corta aquí",
                          kVbCritical, "");
            return;
        }
        server.CloseCompany();
        LoadEmp(s, prev, added);
        return;
    }
    s.FirstCompanyFile = WithQvtEnding(empresa);
    OpenEmp(s, server, s.FirstCompanyFile, ok);
}

void OpenEmp(Session& s, QvOLE70& server, const std::string& empresa, bool& ok) {
    // The key kept from another company is tried silently; a key typed for this one is not.
    bool typed = false;
    for (;;) {
        try {
            server.OpenCompany(empresa, s.AccessKey);
            ok = true;
            return;
        } catch (const HostError& e) {
            if (e.code() != kErrAccessKey) {
                s.port.MsgBox(e.description(), kVbOKOnly, "");
                throw ProgramEnd{1};
            }
        }
        if (typed && !s.AccessKey.empty())
            s.port.MsgBox("Clave de acceso incorrecta", kVbExclamation, "");
        s.AccessKey = s.Lib().InputText("Clave de acesso para " + empresa, 21, 4, "", "", 0);
        typed = true;
        if (s.AccessKey.empty()) throw ProgramEnd{0};
    }
}

std::string CompanyCode(const std::string& empresa) {
    return ReadCompanyCode(WithQvtEnding(empresa));
}

std::string EntriesFile(const std::string& folder, const std::string& code) {
    return folder + "extra" + code + ".qvd";
}

std::string ChartFile(const std::string& folder, const std::string& code) {
    return folder + "Planc" + code + ".qvd";
}

std::int32_t ClearAccountReferences(Session& s, const std::string& cuenta) {
    const std::string code = AccountCode(cuenta);
    // The account's entries of every company are one posting: cleared in all or in none.
    AccountPosting posting;
    posting.account = Trim(code);
    for (std::string path : s.ConsultedFiles) {
        if (Trim(path).empty()) continue;
        path = NormaliseCompanyName(path);
        std::string companyCode = CompanyCode(path);
        std::string folder = s.Lib().GetCompanyDirs(path);
        const std::string entries = EntriesFile(folder, companyCode);
        QvFileControl2 file;
        file.OpenFile(entries, "");
        file.MoveFirst();
        s.CurrentFolder = folder;
        s.CurrentCode = companyCode;
        file.SetFilter("Cuenta = " + Trim(code));
        file.MoveFirst();
        const std::size_t index = posting.files.size();
        posting.files.push_back({entries, CleanName(path)});
        while (!file.IsEof()) {
            posting.rows.push_back({index, file.GetRecNo(), std::string(), "0", std::nullopt});
            file.MoveNext();
        }
        file.CloseFile();
    }
    PostAccount(s, posting, "clear");
    return static_cast<std::int32_t>(posting.rows.size());
}

}  // namespace pendara
