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
        s.AccessKey = s.Lib().InputText("Clave de acesso para " + empresa, 21, 4, "", "", 0);
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
    std::int32_t cleared = 0;
    for (std::string path : s.ConsultedFiles) {
        if (Trim(path).empty()) continue;
        path = NormaliseCompanyName(path);
        std::string companyCode = CompanyCode(path);
        std::string folder = s.Lib().GetCompanyDirs(path);
        QvFileControl2 file;
        file.OpenFile(EntriesFile(folder, companyCode), "");
        file.MoveFirst();
        s.CurrentFolder = folder;
        s.CurrentCode = companyCode;
        file.SetFilter("Cuenta = " + Trim(code));
        file.MoveFirst();
        while (!file.IsEof()) {
            file.Edit();
            file.PutField(23, 0, "");
            file.PutField(7, 0, "0");
            file.Update();
            ++cleared;
            file.MoveNext();
        }
        file.CloseFile();
    }
    return cleared;
}

}  // namespace pendara
