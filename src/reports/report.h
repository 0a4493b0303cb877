#pragma once
// The open-items and matching report: its parameter dialog, the report of one account (DoInforme)
// and the report's text as the host's report output takes it.

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/desktop_port.h"
#include "host/report_output.h"
#include "model/entry.h"
#include "model/report.h"

namespace pendara {

class QvLibrary;
class Session;

// Texts the report uses, shared with the front ends that draw or fill it.
inline constexpr const char* kReportDialogCaption = "Informe de Pendara";
inline constexpr const char* kReportTitle = "Informe de punteo de extractos";
inline constexpr const char* kReportColumns = "Fecha,Asiento,Descripción,Referencia,Importe";
inline constexpr const char* kReportAlignments = "5,0,0,0,3";
// Positions of the dialog's items (1-based, as Menu numbers them).
enum ReportItem : short {
    kItemFromAccount = 1,
    kItemToAccount,
    kItemMask,
    kItemFromDate,
    kItemToDate,
    kItemUnmatched,
    kItemMatchedUnbalanced,
    kItemMatchedBalanced,
    kItemOpening,
    kItemMinBalance,
    kItemMinUnbalanced,
    kItemOutput,
};

// The report's parameters, as the dialog's answers give them.
struct ReportOptions {
    std::string fromAccount;          // first account of the chart's range, as typed
    std::string toAccount;            // last account
    std::string mask = "??????????";  // "Cuentas coincidentes con"
    std::string fromDate;             // compact date (the answer through DateText)
    std::string toDate;
    bool showOpen = true;          // "Apuntes no punteados"
    bool showUnbalanced = false;   // "Apuntes punteados pero no cuadrados": groups of mark "2"
    bool showBalanced = false;     // "Apuntes punteados y cuadrados": groups of mark "1"
    bool showOpening = false;      // "Incluir apuntes de Apertura"
    double minBalance = 0.01;      // "Solo cuentas con saldo mayor que €"
    double minUnbalanced = 0;      // "Incluir apuntes punteados no cuadrados mayores que €"
    std::int32_t destination = 0;  // "Salida a"
};

// Answers known before the dialog opens (a command line's options): texts by item position and
// the output choice.
struct ReportPresets {
    std::map<int, std::string> texts;
    std::optional<std::int32_t> destination;
};

// The dialog "Informe de Pendara" with its twelve items, the active account `account` as the
// default range and the four stored check settings; once accepted the check settings are stored
// and the answers read. nullopt when the user cancels: nothing is stored.
std::optional<ReportOptions> AskReportOptions(Session& s, const std::string& account,
                                              const ReportPresets& presets = {});

// The report of one account of the active company; not listed when the company cannot be
// opened, the account has no movements or its balance lies within the minimum.
AccountReport DoInforme(Session& s, const std::string& cuenta, const ReportOptions& options);

// The part of DoInforme after the extract is loaded: the body of rows 1..n and its total.
void AccountBody(AccountReport& report, const std::vector<Entry>& x, std::int32_t n,
                 const ReportOptions& options);

// The chart filter of the report's range: the mask is added unless it is the all-accounts one.
std::string ChartFilter(const std::string& from, const std::string& to, const std::string& mask);

// The report's text: per account its heading, body and closing lines (or nothing when it is not
// listed), each followed by CR LF.
std::string AccountText(const AccountReport& account);
std::string ReportText(const Report& report);
// The selection criteria in words, for the report's first block.
std::vector<ReportCriterion> ReportCriteria(const ReportOptions& options);
// The closing totals over the accounts listed.
ReportTotals GrandTotals(const Report& report);
// What the host's report output is handed.
ReportRequest RequestOf(const Report& report);

// The report's text and grand totals made account by account, as GenerateReportByAccount hands
// the accounts over: only the text is kept, never the accounts' values. While it grows the text
// waits in a temporary file (in memory when none can be made), so that it is held once, at its
// final size, rather than copied into ever larger blocks.
class ReportTextBuilder {
  public:
    ReportTextBuilder();
    void Add(const AccountReport& account);
    const ReportTotals& Totals() const { return totals_; }
    // What RequestOf gives for `header` holding the accounts added; the builder starts again
    // empty. Throws std::runtime_error when the temporary file cannot be read back.
    ReportRequest TakeRequest(const Report& header);

  private:
    struct FileCloser {
        void operator()(std::FILE* f) const { std::fclose(f); }
    };
    // The text written so far, read back into text_.
    void Unspill();

    std::unique_ptr<std::FILE, FileCloser> spill_;
    std::size_t spilled_ = 0;
    std::string text_;
    ReportTotals totals_;
};

// Hands the report to the host library's report output (PrintReport); what came of it.
ReportOutcome PrintReport(QvLibrary& lib, const Report& report);

}  // namespace pendara
