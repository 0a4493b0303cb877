#include "companies/catalogue.h"

#include <filesystem>

#include "host/company_file.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "host/settings.h"
#include "posting/posting_runs.h"
#include "ui/pndra.h"

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

bool InCatalogue(const Pndra& w, const std::string& empresa) {
    std::string id = CompanyIdentity(empresa);
    for (std::int32_t i = 0; i < w.ConsultedCount; ++i)
        if (CompanyIdentity(w.ConsultedFiles[static_cast<std::size_t>(i)]) == id) return true;
    return false;
}

}  // namespace

void LoadEmpresas(Pndra& w) {
    w.ConsultedCount = 0;
    w.ActiveCompanyFile = GetRegValue("Active").text();
    LoadEmp(w, w.ActiveCompanyFile);
    if (w.List1.ListCount() > 0) w.List1.SetListIndex(0);
    // Every start completes what an interrupted save left, before anything reads the entries.
    RecoverInterruptedRuns(w);
}

void LoadEmp(Pndra& w, const std::string& empresa) {
    int index = w.List1.AddItem(CleanName(empresa));
    w.List1.SetItemData(index, w.ConsultedCount);
    // The catalogue grows past its first hundred places instead of refusing long chains.
    if (static_cast<std::size_t>(w.ConsultedCount) >= w.ConsultedFiles.size())
        w.ConsultedFiles.resize(w.ConsultedFiles.size() * 2);
    w.ConsultedFiles[static_cast<std::size_t>(w.ConsultedCount)] = empresa;
    ++w.ConsultedCount;

    QvOLE70 server;
    bool ok = false;
    OpenEmp(w, server, empresa, ok);
    if (!ok) return;
    std::string prev = server.GetPreviousCompany();
    if (Upper(prev + ".qvt") == Upper(server.GetCompanyFile())) {
        w.port.MsgBox("La empresa anterior no puede ser la misma que la actual", kVbCritical, "");
        return;
    }
    if (!prev.empty()) {
        if (InCatalogue(w, prev)) {
            w.port.MsgBox("La empresa anterior de " + CleanName(empresa) + " (" + prev +
                              ") ya está en la lista de empresas consultadas: la cadena de "
                              "ejercicios se corta aquí",
                          kVbCritical, "");
            return;
        }
        server.CloseCompany();
        LoadEmp(w, prev);
        return;
    }
    w.FirstCompanyFile = WithQvtEnding(empresa);
    OpenEmp(w, server, w.FirstCompanyFile, ok);
}

void OpenEmp(Pndra& w, QvOLE70& server, const std::string& empresa, bool& ok) {
    // The key kept from another company is tried silently; a key typed for this one is not.
    bool typed = false;
    for (;;) {
        try {
            server.OpenCompany(empresa, w.AccessKey);
            ok = true;
            return;
        } catch (const HostError& e) {
            if (e.code() != kErrAccessKey) {
                w.port.MsgBox(e.description(), kVbOKOnly, "");
                throw ProgramEnd{1};
            }
        }
        if (typed && !w.AccessKey.empty())
            w.port.MsgBox("Clave de acceso incorrecta", kVbExclamation, "");
        w.AccessKey = w.Lib().InputText("Clave de acesso para " + empresa, 21, 4, "", "", 0);
        typed = true;
        if (w.AccessKey.empty()) throw ProgramEnd{0};
    }
}

std::string CompanyCode(const std::string& empresa) {
    return ReadCompanyCode(WithQvtEnding(empresa));
}

void ClearAccountReferences(Pndra& w, const std::string& cuenta) {
    std::string code = cuenta.substr(0, cuenta.find(' '));
    // The account's entries of every company are one posting: cleared in all or in none.
    AccountPosting posting;
    posting.account = Trim(code);
    for (int i = 0; i < w.List1.ListCount(); ++i) {
        std::int32_t k = w.List1.ItemData(i);
        if (k < 0 || static_cast<std::size_t>(k) >= w.ConsultedFiles.size()) continue;
        std::string path = w.ConsultedFiles[static_cast<std::size_t>(k)];
        if (Trim(path).empty()) continue;
        path = NormaliseCompanyName(path);
        std::string companyCode = CompanyCode(path);
        std::string folder = w.Lib().GetCompanyDirs(path);
        const std::string entries = folder + "extra" + companyCode + ".qvd";
        QvFileControl2 file;
        file.OpenFile(entries, "");
        file.MoveFirst();
        w.CurrentFolder = folder;
        w.CurrentCode = companyCode;
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
    std::unique_ptr<PostingRun> run = OpenPostingRun(w, "clear", posting.account);
    run->Post(posting);
    run->Finish();
}

}  // namespace pendara
