#pragma once
// The account look-up dialog: the chart of accounts in a table, narrowed as the user types a
// part of the code or of the name.

#include <QDialog>
#include <string>
#include <vector>

#include "host/desktop_port.h"

class QLineEdit;
class QTableView;
class QStandardItemModel;
class QSortFilterProxyModel;

namespace pendara {

class AccountLookupDialog : public QDialog {
    Q_OBJECT
  public:
    AccountLookupDialog(const QString& title, const std::vector<AccountChoice>& accounts,
                        QWidget* parent = nullptr);

    std::string chosenCode() const;
    QLineEdit* searchBox() const { return search_; }
    QTableView* table() const { return table_; }
    // Rows shown after the search.
    int visibleRows() const;

  private:
    QLineEdit* search_;
    QTableView* table_;
    QStandardItemModel* model_;
    QSortFilterProxyModel* filter_;
};

}  // namespace pendara
