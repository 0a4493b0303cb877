#pragma once
// What saving the active account would write, shown before anything is written: the run's
// figures and every entry whose reference or mark would change.

#include <QDialog>
#include <vector>

#include "host/account_posting.h"

class QTableWidget;
class QLabel;

namespace pendara {

class PreviewDialog : public QDialog {
  public:
    PreviewDialog(const QString& account, const QString& summary,
                  const std::vector<RowChange>& changes, QWidget* parent);

    QTableWidget* table() const { return table_; }
    QLabel* summaryLabel() const { return summary_; }

  private:
    QLabel* summary_;
    QTableWidget* table_;
};

}  // namespace pendara
