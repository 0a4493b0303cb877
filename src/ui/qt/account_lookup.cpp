#include "ui/qt/account_lookup.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QTableView>
#include <QVBoxLayout>

#include "ui/qt/qt_text.h"

namespace pendara {

AccountLookupDialog::AccountLookupDialog(const QString& title,
                                         const std::vector<AccountChoice>& accounts,
                                         QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Buscar por código o nombre:"), this));
    search_ = new QLineEdit(this);
    search_->setObjectName(QStringLiteral("search"));
    search_->setClearButtonEnabled(true);
    layout->addWidget(search_);

    model_ = new QStandardItemModel(0, 2, this);
    model_->setHorizontalHeaderLabels({QStringLiteral("Cuenta"), QStringLiteral("Nombre")});
    for (const AccountChoice& a : accounts)
        model_->appendRow({new QStandardItem(Q(a.code)), new QStandardItem(Q(a.name))});
    filter_ = new QSortFilterProxyModel(this);
    filter_->setSourceModel(model_);
    filter_->setFilterKeyColumn(-1);  // code and name
    filter_->setFilterCaseSensitivity(Qt::CaseInsensitive);

    table_ = new QTableView(this);
    table_->setModel(filter_);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->verticalHeader()->hide();
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->setColumnWidth(0, table_->fontMetrics().horizontalAdvance(QStringLiteral("0")) * 14);
    layout->addWidget(table_, 1);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(QStringLiteral("Aceptar"));
    buttons->button(QDialogButtonBox::Cancel)->setText(QStringLiteral("Cancelar"));
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(table_, &QTableView::doubleClicked, this, &QDialog::accept);
    connect(search_, &QLineEdit::textChanged, this, [this](const QString& t) {
        filter_->setFilterFixedString(t);
        if (filter_->rowCount() > 0) table_->selectRow(0);
    });
    if (filter_->rowCount() > 0) table_->selectRow(0);
    resize(560, 440);
}

std::string AccountLookupDialog::chosenCode() const {
    QModelIndex current = table_->currentIndex();
    if (!current.isValid()) {
        QModelIndexList sel = table_->selectionModel()->selectedRows();
        if (sel.isEmpty()) return "";
        current = sel.front();
    }
    return S(filter_->index(current.row(), 0).data().toString());
}

int AccountLookupDialog::visibleRows() const {
    return filter_->rowCount();
}

}  // namespace pendara
