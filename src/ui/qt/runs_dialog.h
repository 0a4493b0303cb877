#pragma once
// The processes that wrote references and marks into the chain's books (the run journal), newest
// first, with what each changed; the chosen one can be undone.

#include <QDialog>
#include <cstdint>
#include <vector>

#include "host/run_journal.h"

class QTableWidget;
class QPushButton;
class QLabel;

namespace pendara {

class RunsDialog : public QDialog {
  public:
    RunsDialog(const std::vector<RunInfo>& runs, QWidget* parent);

    // The run chosen for undoing once the dialog was accepted.
    std::int64_t chosenRun() const { return chosen_; }
    QTableWidget* table() const { return table_; }
    QPushButton* undoButton() const { return undo_; }
    QPushButton* undoLastButton() const { return undoLast_; }

  private:
    void Choose(std::int64_t run);

    std::vector<RunInfo> runs_;  // newest first, as shown
    QTableWidget* table_;
    QPushButton* undo_;
    QPushButton* undoLast_;
    std::int64_t chosen_ = 0;
};

// A run in one line for a confirmation: number, date, command and what it changed.
QString DescribeRun(const RunInfo& run);

}  // namespace pendara
