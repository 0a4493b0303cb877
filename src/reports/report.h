#pragma once
// The open-items and matching report: asks its parameters, walks the chart of accounts of the
// active company over the chosen range and hands the text to the host's report output.

#include <cstdint>
#include <string>
#include <vector>

#include "model/entry.h"

namespace pendara {

class Pndra;

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

// The "Informe" command: dialog, report over the accounts, output.
void Informe_Click(Pndra& w);

// The report text of one account of the active company; empty when the company cannot be
// opened, the account has no balances or its balance lies within the minimum. Dates are compact.
void DoInforme(Pndra& w, const std::string& cuenta, const std::string& DesdeFecha,
               const std::string& HastaFecha, bool Show1, bool Show2, bool ShowApertura, bool Show0,
               double SaldoMinimo, double Minimo, std::string& text);

// The part of DoInforme after the extract is loaded: appends the body lines of rows 1..n of the
// extract and the closing lines (total, balance, difference) to `text`.
void AppendAccountBody(std::string& text, const std::vector<Entry>& x, std::int32_t n,
                       const std::string& DesdeFecha, const std::string& HastaFecha, bool Show1,
                       bool Show2, bool ShowApertura, bool Show0, double Minimo, double balance);

}  // namespace pendara
