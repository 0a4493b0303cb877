#include "ui/qt/runs_dialog.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "host/conversions.h"
#include "ui/qt/qt_text.h"

namespace pendara {

namespace {

QString Command(const RunInfo& r) {
    return Q(Trim(r.command + " " + r.arguments));
}

}  // namespace

QString DescribeRun(const RunInfo& r) {
    return QStringLiteral("proceso %1 del %2 (%3): %4 cuentas, %5 apuntes")
        .arg(QString::number(r.id), Q(r.started), Command(r), QString::number(r.accounts),
             QString::number(r.rows));
}

RunsDialog::RunsDialog(const std::vector<RunInfo>& runs, QWidget* parent)
    : QDialog(parent),
      runs_(runs.rbegin(), runs.rend()),
      table_(new QTableWidget(this)),
      undo_(new QPushButton(QStringLiteral("&Deshacer el proceso elegido"), this)),
      undoLast_(new QPushButton(QStringLiteral("Deshacer el ú&ltimo proceso"), this)) {
    setWindowTitle(QStringLiteral("Procesos grabados"));
    const QStringList headers{QStringLiteral("Proceso"), QStringLiteral("Fecha"),
                              QStringLiteral("Usuario"), QStringLiteral("Puesto"),
                              QStringLiteral("Orden"),   QStringLiteral("Cuentas"),
                              QStringLiteral("Apuntes"), QStringLiteral("Estado")};
    table_->setColumnCount(static_cast<int>(headers.size()));
    table_->setHorizontalHeaderLabels(headers);
    table_->setRowCount(static_cast<int>(runs_.size()));
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->verticalHeader()->hide();
    for (int row = 0; row < static_cast<int>(runs_.size()); ++row) {
        const RunInfo& r = runs_[static_cast<std::size_t>(row)];
        const QStringList cells{QString::number(r.id),
                                Q(r.started),
                                Q(r.user),
                                Q(r.machine),
                                Command(r),
                                QString::number(r.accounts),
                                QString::number(r.rows),
                                QString::fromUtf8(StateText(r.state))};
        for (int c = 0; c < cells.size(); ++c) {
            auto* item = new QTableWidgetItem(cells[c]);
            if (c == 0 || c == 5 || c == 6)
                item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            table_->setItem(row, c, item);
        }
    }
    table_->resizeColumnsToContents();
    table_->horizontalHeader()->setStretchLastSection(true);
    if (!runs_.empty()) table_->selectRow(0);

    auto* note = new QLabel(
        QStringLiteral("Deshacer devuelve a cada apunte la referencia y la marca que tenía antes "
                       "del proceso. Una cuenta con apuntes cambiados después no se toca. "
                       "Deshacer es también un proceso, que se puede deshacer."),
        this);
    note->setWordWrap(true);
    auto* close = new QPushButton(QStringLiteral("Cerrar"), this);
    undo_->setEnabled(!runs_.empty());
    undoLast_->setEnabled(!runs_.empty());
    connect(undo_, &QPushButton::clicked, this, [this] {
        const int row = table_->currentRow();
        if (row >= 0 && row < static_cast<int>(runs_.size()))
            Choose(runs_[static_cast<std::size_t>(row)].id);
    });
    connect(undoLast_, &QPushButton::clicked, this, [this] {
        if (!runs_.empty()) Choose(runs_.front().id);
    });
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    connect(table_, &QTableWidget::cellDoubleClicked, this,
            [this](int row, int) { Choose(runs_[static_cast<std::size_t>(row)].id); });

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(undoLast_);
    buttons->addWidget(undo_);
    buttons->addStretch();
    buttons->addWidget(close);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(table_, 1);
    layout->addWidget(note);
    layout->addLayout(buttons);
    resize(820, 420);
}

void RunsDialog::Choose(std::int64_t run) {
    chosen_ = run;
    accept();
}

}  // namespace pendara
