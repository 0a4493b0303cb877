#include "host/qv_ole70.h"

#include <array>
#include <filesystem>

#include "host/company_file.h"
#include "host/company_keys.h"
#include "host/company_store.h"
#include "host/conversions.h"
#include "host/crypt_vfs.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/store.h"

namespace pendara {

struct QvOLE70::Impl {
    bool open = false;
    std::string file;  // as opened
    CompanyHeader header;
    bool exerciseSelected = false;

    std::string account;
    bool accountSelected = false;
    std::int32_t movements = 0;
    // [period][0] debit, [period][1] credit
    std::array<std::array<double, 2>, 15> periods{};

    void RequireOpen() const {
        if (!open) throw HostError("No hay ninguna empresa abierta");
    }
    void RequireAccount() const {
        RequireOpen();
        if (!accountSelected) throw HostError("No hay ninguna cuenta seleccionada");
    }
};

QvOLE70::QvOLE70() : impl_(std::make_unique<Impl>()) {}
QvOLE70::~QvOLE70() = default;

void QvOLE70::OpenCompany(const std::string& companyFile, const std::string& accessKey) {
    CloseCompany();
    std::string file = ExistingCompanyFile(companyFile);
    CompanyHeader h = ReadCompanyHeader(file);
    if (FinishKeyChange(file, h.code)) h = ReadCompanyHeader(file);
    if (h.hasKey) {
        if (h.version < 2)
            throw HostError("La empresa " + companyFile +
                            " tiene una clave de acceso de una versión anterior: póngale una "
                            "nueva con \"qvdata change-key\"");
        if (accessKey.empty())
            throw HostError(kErrAccessKey, "La empresa " + companyFile + " tiene clave de acceso");
        if (!VerifyAccessKey(file, accessKey))
            throw HostError(kErrAccessKey, "Clave de acceso incorrecta para " + companyFile);
        // From now on this process can read and write the company's encrypted data files.
        RegisterDataKey(h.salt, DeriveKeys(accessKey, h.salt, h.keyCost).data);
    }
    Impl& m = *impl_;
    m.file = file;
    m.header = std::move(h);
    m.open = true;
}

std::string QvOLE70::GetCompanyCode() {
    impl_->RequireOpen();
    return impl_->header.code;
}

std::string QvOLE70::GetCompanyFile() {
    impl_->RequireOpen();
    return impl_->file;
}

std::string QvOLE70::GetPreviousCompany() {
    Impl& m = *impl_;
    m.RequireOpen();
    const std::string& link = m.header.previous;
    if (link.empty()) return "";
    bool absolute = link[0] == '/' || link[0] == '\\' || (link.size() > 1 && link[1] == ':');
    return absolute ? link : FolderOf(m.file) + link;
}

void QvOLE70::SelectExercise() {
    impl_->RequireOpen();
    impl_->exerciseSelected = true;
}

std::string QvOLE70::GetExercise() {
    Impl& m = *impl_;
    m.RequireOpen();
    if (!m.exerciseSelected) throw HostError("GetExercise sin SelectExercise");
    char label[8];
    std::snprintf(label, sizeof label, "%02d", ((m.header.year % 100) + 100) % 100);
    return std::string(label) + " Ejercicio " + std::to_string(m.header.year);
}

bool QvOLE70::SelectAccount(const std::string& account, const std::string&, const std::string&) {
    Impl& m = *impl_;
    m.RequireOpen();
    m.account = Trim(account);
    m.periods = {};
    m.movements = 0;
    DbHandle db(EntriesFileOf(m.file, m.header.code));
    // One pass over the account's index: opening entries, months, regularisation, closing.
    Stmt st(*db,
            "SELECT CASE tipo WHEN 'A' THEN 0 WHEN 'R' THEN 13 WHEN 'C' THEN 14"
            " ELSE (fecha / 100) % 100 END AS period, debe_haber = 1, TOTAL(importe), COUNT(*)"
            " FROM entries WHERE cuenta = ? GROUP BY 1, 2");
    st.Bind(1, std::string_view(m.account));
    while (st.Step()) {
        std::int64_t p = st.Int(0);
        m.movements += static_cast<std::int32_t>(st.Int(3));
        if (p < 0 || p > 14) continue;
        m.periods[static_cast<std::size_t>(p)][st.Int(1) ? 0 : 1] += st.Real(2);
    }
    m.accountSelected = true;
    return true;
}

std::int32_t QvOLE70::HasBalances() {
    impl_->RequireAccount();
    return impl_->movements;
}

double QvOLE70::GetPeriodDebit(std::int16_t, std::int32_t period) {
    impl_->RequireAccount();
    if (period < 0 || period > 14)
        throw HostError("Periodo fuera de rango: " + std::to_string(period));
    return impl_->periods[static_cast<std::size_t>(period)][0];
}

double QvOLE70::GetPeriodCredit(std::int16_t, std::int32_t period) {
    impl_->RequireAccount();
    if (period < 0 || period > 14)
        throw HostError("Periodo fuera de rango: " + std::to_string(period));
    return impl_->periods[static_cast<std::size_t>(period)][1];
}

QvAccountInfo QvOLE70::GetAccountInfo(std::int16_t) {
    Impl& m = *impl_;
    m.RequireAccount();
    std::string chart = ChartFileOf(m.file, m.header.code);
    std::error_code ec;
    if (!std::filesystem::exists(chart, ec)) return QvAccountInfo("");
    DbHandle db(chart);
    Stmt st(*db, "SELECT nombre FROM accounts WHERE cuenta = ? ORDER BY id LIMIT 1");
    st.Bind(1, std::string_view(m.account));
    return QvAccountInfo(st.Step() ? st.Text(0) : std::string());
}

void QvOLE70::CloseCompany() {
    Impl& m = *impl_;
    m = Impl{};
}

bool QvOLE70::IsOpen() const {
    return impl_->open;
}

}  // namespace pendara
