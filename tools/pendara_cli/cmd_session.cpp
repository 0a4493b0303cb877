#include "cmd_session.h"

#include <atomic>
#include <csignal>
#include <iostream>
#include <string_view>

#include "companies/account_list.h"
#include "companies/catalogue.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/qv_library.h"
#include "host/run_event.h"
#include "host/settings.h"
#include "matching/references.h"
#include "model/columns.h"

namespace pendara::cli {

namespace {

std::atomic<bool> interrupted{false};

extern "C" void OnInterrupt(int) {
    interrupted.store(true);
    // A second Ctrl-C or SIGTERM ends the program at once.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

// A tag, then TAB and the text of each of the row's cells; when `skipBlank`, nothing for a row
// whose cells are all empty.
void AppendCells(std::string& out, std::string_view tag, const GridRow& row, bool skipBlank) {
    const std::size_t start = out.size();
    out += tag;
    for (int c = 1; c <= GridCol::kCount; ++c) {
        out += '\t';
        out += CellText(row, c);
    }
    if (skipBlank && out.size() - start == tag.size() + GridCol::kCount)
        out.resize(start);
    else
        out += '\n';
}

// The rows' lines, written in pieces of a few pages rather than cell by cell.
void PrintRows(std::ostream& out, const char* tag, const std::vector<GridRow>& rows,
               bool skipBlank) {
    constexpr std::size_t kPiece = 1 << 16;
    std::string text;
    text.reserve(kPiece + 1024);
    for (const GridRow& row : rows) {
        AppendCells(text, tag, row, skipBlank);
        if (text.size() >= kPiece) {
            out.write(text.data(), static_cast<std::streamsize>(text.size()));
            text.clear();
        }
    }
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

}  // namespace

Headless::Headless(bool assumeYes) : port_(std::cout, std::cerr, assumeYes), session_(port_) {
    gauge_.SetSurface(&port_.Gauge());
}

void Headless::Load() {
    if (Trim(GetRegValue("Active").text()).empty())
        throw HostError("no hay empresa activa: el valor \"Active\" del registro está vacío en " +
                        QuorvexHome() +
                        " (cree una con \"qvdata demo CARPETA\" o márquela con qvdata)");
    Event([this] { LoadCatalogue(session_); });
}

void Headless::Event(const std::function<void()>& handler) {
    RunEvent(port_, handler);
}

std::vector<std::string> Headless::List(const std::string& mask, bool pending) {
    std::vector<std::string> entries;
    Event([&] {
        entries = ListAccounts(session_, mask,
                               pending ? AccountListKind::Pending : AccountListKind::Full);
    });
    return entries;
}

std::string Headless::EntryOf(const std::string& account) {
    const std::string code = Trim(account);
    if (code.empty()) throw HostError("falta la cuenta");
    for (const std::string& entry : List(code, false))
        if (AccountCode(entry) == code) return entry;
    throw HostError("la cuenta " + code +
                    " no está entre las cuentas de detalle de la empresa activa");
}

AccountRequest Headless::Request(const std::string& entry, bool enhanced) {
    AccountRequest r;
    r.entry = entry;
    // The company list's first entry, selected at start: the active company.
    r.company = session_.ConsultedFiles.empty() ? std::string() : session_.ConsultedFiles[0];
    r.options.enhanced = enhanced || EnhancedModeSetting(session_.Lib());
    return r;
}

AccountOutcome Headless::Process(const AccountRequest& request) {
    AccountOutcome outcome;
    Event([&] { outcome = ProcessAccount(session_, request, progress()); });
    PrintNotice(outcome.match, port_, std::cerr);
    return outcome;
}

void Headless::LabelProgress(const std::string& label) {
    if (auto* bar = dynamic_cast<ConsoleGauge*>(&port_.Gauge())) bar->SetLabel(label);
}

void Headless::StopOnInterrupt() {
    interrupted.store(false);
    std::signal(SIGINT, OnInterrupt);
    std::signal(SIGTERM, OnInterrupt);
}

bool Headless::StopRequested() {
    if (!interrupted.exchange(false)) return false;
    std::cerr << "\nParada pedida: se termina la cuenta en curso.\n";
    return true;
}

void PrintNotice(const AccountMatch& match, DesktopPort& port, std::ostream& err) {
    if (!match.searchLimitReached) return;
    port.Gauge().Cls();
    err << SearchLimitNotice(match.account) << '\n';
}

void PrintGrids(std::ostream& out, const SaveResult& grids) {
    PrintRows(out, "1", grids.debits, true);
    PrintRows(out, "2", grids.credits, true);
    out << "newref\t" << grids.nextReference << '\n';
}

void PrintGrid(std::ostream& out, const char* tag, const std::vector<GridRow>& rows) {
    PrintRows(out, tag, rows, false);
}

void PrintSummary(std::ostream& err, const RunSummary& summary, bool preview) {
    err << DescribeSummary(summary, preview) << std::flush;
}

void PrintChanges(std::ostream& out, const std::vector<RowChange>& changes) {
    for (const RowChange& c : changes) {
        const bool drawn =
            IsSystemReference(c.after.reference) && c.after.reference != c.before.reference;
        out << c.company << '\t' << c.record << '\t' << c.before.reference << '\t' << c.before.mark
            << "\t->\t" << c.after.reference << (drawn ? " (provisional)" : "") << '\t'
            << c.after.mark << '\n';
    }
}

std::vector<RowChange> ChangesOf(const AccountOutcome& outcome) {
    std::vector<RowChange> changes = outcome.saved.changes;
    if (outcome.review)
        changes.insert(changes.end(), outcome.review->saved.changes.begin(),
                       outcome.review->saved.changes.end());
    return changes;
}

void PrintList(std::ostream& out, const std::vector<std::string>& entries) {
    for (const std::string& entry : entries)
        out << entry << '\n';
}

}  // namespace pendara::cli
