#include "ui/qt/preview_dialog.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "matching/references.h"
#include "ui/qt/qt_text.h"

namespace pendara {

PreviewDialog::PreviewDialog(const QString& account, const QString& summary,
                             const std::vector<RowChange>& changes, QWidget* parent)
    : QDialog(parent), summary_(new QLabel(summary, this)), table_(new QTableWidget(this)) {
    setWindowTitle(QStringLiteral("Simulación de la grabación de la cuenta %1").arg(account));
    summary_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    const QStringList headers{QStringLiteral("Empresa"),
                              QStringLiteral("Registro"),
                              QStringLiteral("Referencia antes"),
                              QStringLiteral("Marca antes"),
                              QStringLiteral("Referencia después"),
                              QStringLiteral("Marca después")};
    table_->setColumnCount(static_cast<int>(headers.size()));
    table_->setHorizontalHeaderLabels(headers);
    table_->setRowCount(static_cast<int>(changes.size()));
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->verticalHeader()->hide();
    for (int row = 0; row < static_cast<int>(changes.size()); ++row) {
        const RowChange& c = changes[static_cast<std::size_t>(row)];
        // A reference drawn for this save is only what the counter would give now.
        const bool drawn =
            IsSystemReference(c.after.reference) && c.after.reference != c.before.reference;
        const QStringList cells{
            Q(c.company),
            QString::number(c.record),
            Q(c.before.reference),
            Q(c.before.mark),
            Q(c.after.reference) + (drawn ? QStringLiteral(" (provisional)") : QString()),
            Q(c.after.mark)};
        for (int col = 0; col < cells.size(); ++col) {
            auto* item = new QTableWidgetItem(cells[col]);
            if (col == 1) item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            table_->setItem(row, col, item);
        }
    }
    table_->resizeColumnsToContents();
    table_->horizontalHeader()->setStretchLastSection(true);

    auto* note = new QLabel(
        QStringLiteral("No se ha escrito nada, ni en la contabilidad ni en el contador de "
                       "referencias. Las referencias nuevas son las que daría el contador ahora; "
                       "si otro puesto puntea antes de grabar, pueden ser otras."),
        this);
    note->setWordWrap(true);
    auto* close = new QPushButton(QStringLiteral("Cerrar"), this);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(close);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(summary_);
    layout->addWidget(table_, 1);
    layout->addWidget(note);
    layout->addLayout(buttons);
    resize(820, 480);
}

}  // namespace pendara
