#include "reports/report.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "companies/catalogue.h"
#include "companies/session.h"
#include "host/conversions.h"
#include "host/qv_library.h"
#include "host/qv_ole70.h"
#include "matching/extract.h"
#include "matching/process_ref.h"
#include "reports/menu.h"

namespace pendara {

namespace {

constexpr const char* kSection = "Punteo";
constexpr const char* kCrLf = "\r\n";

// A stored check setting as the dialog gets it: the text of its numeric value.
std::string CheckSetting(QvLibrary& lib, const std::string& key, const std::string& def) {
    return MenuNumberText(LeadingNumber(lib.GetSetting(key, kSection, def, "")));
}

std::int32_t AsInteger(double v) {
    v = std::nearbyint(v);
    if (v > INT32_MAX) return INT32_MAX;
    if (v < INT32_MIN) return INT32_MIN;
    return static_cast<std::int32_t>(v);
}

// An account's share of the closing totals; nothing when it is not listed.
void AddToTotals(ReportTotals& t, const AccountReport& a) {
    if (!a.listed) return;
    ++t.accounts;
    t.total += a.total;
    t.balance += a.balance;
    t.difference += a.total - a.balance;
}

ReportRequest RequestWith(const Report& report, std::string text, const ReportTotals& totals) {
    ReportRequest request{report.destination, report.title,      std::move(text),   report.date,
                          report.columns,     report.alignments, report.companyName};
    request.companyFullName = report.companyFullName;
    request.fiscalYear = report.fiscalYear;
    request.criteria = report.criteria;
    request.totals = totals;
    return request;
}

void AppendClosing(std::string& out, const std::string& label, double amount) {
    out += "\t\t";
    out += label;
    out += "\t\t";
    out += FormatAmount(amount);
    out += kCrLf;
}

}  // namespace

std::string ChartFilter(const std::string& from, const std::string& to, const std::string& mask) {
    std::string f = "Cuenta => " + from + " and cuenta <= " + to;
    if (mask != "??????????") f += " and cuenta like " + mask;
    return f + " and nivel = 0";
}

std::optional<ReportOptions> AskReportOptions(Session& s, const std::string& account,
                                              const ReportPresets& presets) {
    QvLibrary& lib = s.Lib();
    const std::string unmatched = CheckSetting(lib, "nopunteados", "1");
    const std::string unbalanced = CheckSetting(lib, "Nocuadrados", "0");
    const std::string balanced = CheckSetting(lib, "Punteadosycuadrados", "0");
    const std::string opening = CheckSetting(lib, "Incluirapertura", "0");
    const std::string year = std::to_string(Today().year % 100);

    Menu menu(s);
    menu.caption = kReportDialogCaption;
    menu.AddItem("Desde Cuenta", 20, 10, account);
    menu.AddItem("Hasta Cuenta", 20, 10, account);
    menu.AddItem("Cuentas coincidentes con", 0, 10, "??????????");
    menu.AddItem("Desde Fecha", 5, 8, "01/01/99");
    menu.AddItem("Hasta Fecha", 5, 8, "31/12/" + std::string(year.size() < 2 ? "0" : "") + year);
    menu.AddItem("Apuntes no punteados", 30, 1, unmatched);
    menu.AddItem("Apuntes punteados pero no cuadrados", 30, 1, unbalanced);
    menu.AddItem("Apuntes punteados y cuadrados", 30, 0, balanced);
    menu.AddItem("Incluir apuntes de Apertura", 30, 0, opening);
    menu.AddItem("Solo cuentas con saldo mayor que €", 3, 12, MenuNumberText(0.01));
    menu.AddItem("Incluir apuntes punteados no cuadrados mayores que €", 3, 12, "0");
    menu.AddItem("Salida a", 71, 0, "");
    for (const auto& [item, text] : presets.texts)
        menu.Preset(static_cast<std::int16_t>(item), text);
    if (presets.destination) menu.PresetChoice(kItemOutput, std::to_string(*presets.destination));
    if (!menu.Show()) return std::nullopt;

    lib.SaveSetting("Nopunteados", menu.GetText(kItemUnmatched), kSection, "");
    lib.SaveSetting("Nocuadrados", menu.GetText(kItemMatchedUnbalanced), kSection, "");
    lib.SaveSetting("Punteadosycuadrados", menu.GetText(kItemMatchedBalanced), kSection, "");
    lib.SaveSetting("Incluirapertura", menu.GetText(kItemOpening), kSection, "");

    ReportOptions o;
    o.fromAccount = menu.GetText(kItemFromAccount);
    o.toAccount = menu.GetText(kItemToAccount);
    o.mask = menu.GetText(kItemMask);
    o.fromDate = DateText(menu.GetText(kItemFromDate));
    o.toDate = DateText(menu.GetText(kItemToDate));
    o.showBalanced = MenuTruth(menu.GetVal(kItemMatchedBalanced));
    o.showUnbalanced = MenuTruth(menu.GetVal(kItemMatchedUnbalanced));
    o.showOpening = MenuTruth(menu.GetVal(kItemOpening));
    o.showOpen = MenuTruth(menu.GetVal(kItemUnmatched));
    o.minBalance = MenuNumber(menu.GetVal(kItemMinBalance));
    o.minUnbalanced = MenuNumber(menu.GetVal(kItemMinUnbalanced));
    o.destination = AsInteger(MenuNumber(menu.GetVal(kItemOutput)));
    return o;
}

void AccountBody(AccountReport& report, const std::vector<Entry>& x, std::int32_t n,
                 const ReportOptions& o) {
    std::vector<std::int16_t> processed(static_cast<std::size_t>(n) + 1, 0);
    // Built at the first group, so that a report of open items only never pays for it.
    std::optional<ReferenceChains> chains;
    double total = 0;
    bool gapPending = false;
    for (std::int32_t r = 1; r <= n; ++r) {
        const Entry& e = x[static_cast<std::size_t>(r)];
        if (e.date < o.fromDate || e.date > o.toDate) continue;
        if (e.mark == "1" || e.mark == "2") {
            const bool wanted = e.mark == "1" ? o.showBalanced : o.showUnbalanced;
            if (!wanted) continue;
            if (!chains) chains.emplace(x, n);
            std::optional<ReportGroup> group = ProcessRef(r, processed, x, total, &*chains, n,
                                                          e.mark == "1" ? 0.0 : o.minUnbalanced);
            if (group) {
                report.body.emplace_back(std::move(*group));
                gapPending = true;
            }
            continue;
        }
        if (!o.showOpen) continue;
        if (!o.showOpening && e.entryClass > "9") continue;
        report.body.emplace_back(ReportOpenEntry{EntryLine(e), gapPending});
        gapPending = false;
        total += e.debit.value + e.credit.value;
    }
    report.total = total;
}

AccountReport DoInforme(Session& s, const std::string& cuenta, const ReportOptions& o) {
    AccountReport report;
    report.account = cuenta;
    {
        QvOLE70 server;
        bool ok = false;
        OpenEmp(s, server, s.ActiveCompanyFile, ok);
        if (!ok) return report;
        server.SelectAccount(cuenta, "", "");
        if (server.HasBalances() == 0) {
            server.CloseCompany();
            return report;
        }
        double debit = 0, credit = 0;
        for (std::int32_t p = 0; p <= 14; ++p) {
            debit += server.GetPeriodDebit(1, p);
            credit += server.GetPeriodCredit(1, p);
        }
        report.balance = debit + credit;
        const double rounded = RoundTo(report.balance, 2);
        if (o.minBalance > 0 && -o.minBalance < rounded && rounded < o.minBalance) {
            server.CloseCompany();
            return report;
        }
        report.listed = true;
        report.title = Trim(server.GetAccountInfo(1).Title());
        server.CloseCompany();
    }
    const Extract x = GetExtracto(s, s.ActiveCompanyFile, cuenta);
    AccountBody(report, x.rows, x.count(), o);
    return report;
}

std::string AccountText(const AccountReport& a) {
    if (!a.listed) return "";
    std::string text = "_" + a.account + " - " + a.title + kCrLf;
    for (const ReportBodyItem& item : a.body) {
        if (const ReportGroup* group = std::get_if<ReportGroup>(&item)) {
            text += GroupText(*group);
            continue;
        }
        const ReportOpenEntry& open = std::get<ReportOpenEntry>(item);
        if (open.gapBefore) text += kCrLf;
        AppendEntryText(text, open.line);
    }
    text += kCrLf;
    AppendClosing(text, "Total", a.total);
    AppendClosing(text, "Saldo según último balance", a.balance);
    AppendClosing(text, "Diferencia", a.total - a.balance);
    text += kCrLf;
    return text;
}

std::string ReportText(const Report& report) {
    std::string text;
    for (const AccountReport& a : report.accounts) {
        text += AccountText(a);
        text += kCrLf;
    }
    return text;
}

std::vector<ReportCriterion> ReportCriteria(const ReportOptions& o) {
    std::vector<ReportCriterion> c;
    c.push_back({"Cuentas", "desde " + Trim(o.fromAccount) + " hasta " + Trim(o.toAccount)});
    c.push_back(
        {"Cuentas coincidentes con", o.mask == "??????????" ? o.mask + " (todas)" : o.mask});
    c.push_back({"Fechas", "del " + DateText(o.fromDate) + " al " + DateText(o.toDate)});
    std::string kinds;
    auto add = [&kinds](bool on, const char* name) {
        if (!on) return;
        if (!kinds.empty()) kinds += ", ";
        kinds += name;
    };
    add(o.showOpen, "no punteados");
    add(o.showUnbalanced, "punteados pero no cuadrados");
    add(o.showBalanced, "punteados y cuadrados");
    c.push_back({"Apuntes", kinds.empty() ? "ninguno" : kinds});
    c.push_back({"Apuntes de apertura", o.showOpening ? "incluidos" : "no incluidos"});
    c.push_back({"Solo cuentas con saldo mayor que",
                 o.minBalance > 0 ? FormatAmountPlain(o.minBalance) + " €" : "todas las cuentas"});
    if (o.showUnbalanced)
        c.push_back(
            {"Punteados no cuadrados mayores que", FormatAmountPlain(o.minUnbalanced) + " €"});
    return c;
}

ReportTotals GrandTotals(const Report& report) {
    ReportTotals t;
    for (const AccountReport& a : report.accounts)
        AddToTotals(t, a);
    return t;
}

ReportRequest RequestOf(const Report& report) {
    return RequestWith(report, ReportText(report), GrandTotals(report));
}

ReportTextBuilder::ReportTextBuilder() : spill_(std::tmpfile()) {}

void ReportTextBuilder::Add(const AccountReport& account) {
    std::string text = AccountText(account);
    text += kCrLf;
    AddToTotals(totals_, account);
    if (spill_) {
        if (std::fwrite(text.data(), 1, text.size(), spill_.get()) == text.size()) {
            spilled_ += text.size();
            return;
        }
        // The disc is full: what was written whole comes back, the rest stays in memory.
        Unspill();
    }
    text_ += text;
}

void ReportTextBuilder::Unspill() {
    if (!spill_) return;
    std::string text(spilled_, '\0');
    const bool read = std::fflush(spill_.get()) == 0 &&
                      std::fseek(spill_.get(), 0, SEEK_SET) == 0 &&
                      std::fread(text.data(), 1, spilled_, spill_.get()) == spilled_;
    spill_.reset();
    spilled_ = 0;
    if (!read)
        throw std::runtime_error("no se pudo leer el texto del informe de su archivo temporal");
    text_ = std::move(text);
}

ReportRequest ReportTextBuilder::TakeRequest(const Report& header) {
    Unspill();
    ReportRequest request = RequestWith(header, std::move(text_), totals_);
    text_.clear();
    totals_ = {};
    spill_.reset(std::tmpfile());
    return request;
}

ReportOutcome PrintReport(QvLibrary& lib, const Report& report) {
    return lib.PrintReport(RequestOf(report));
}

}  // namespace pendara
