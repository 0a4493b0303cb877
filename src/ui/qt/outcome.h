#pragma once
// What the last operation came to, as one line of the status bar. Every outcome goes through
// DescribeOutcome, so that a fuller summary of a run can take the place of these texts.

#include <QString>
#include <string>

#include "ui/pndra.h"

namespace pendara {

struct Outcome {
    enum class Kind {
        AccountSaved,       // save: the account's figures
        AccountCleared,     // save: the account reloaded after its references were cleared
        AllCleared,         // every account of every company consulted
        GroupSaveFinished,  // accountsDone of accountsTotal, accountsLeft, entriesWritten
        GroupSaveStopped,   // the same, and lastAccount
        ListFilled,         // accountsLeft accounts, pendingList
        ReportShown,        // destination 0 (screen) or 1 (printer)
        ReportWritten,      // file
        ReportCancelled,
        ReportFailed,  // error
        RowsCopied,    // rows, side
        RowsExported,  // rows, side, file
        ExportFailed,  // side, error
        RunUndone,     // run; accountsDone undone, entriesWritten restored, accountsLeft refused
        NoRuns,
    };
    Kind kind = Kind::AccountSaved;
    AccountSaveSummary save;
    int accountsDone = 0;
    int accountsTotal = 0;
    int accountsLeft = 0;
    int entriesWritten = 0;
    std::string lastAccount;
    bool pendingList = false;
    int destination = 0;
    std::string file;
    std::string error;
    int rows = 0;
    int side = 1;  // 1 debit grid, 2 credit grid
    long long run = 0;
};

QString DescribeOutcome(const Outcome& o);

}  // namespace pendara
