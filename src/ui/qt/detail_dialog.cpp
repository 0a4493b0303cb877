#include "ui/qt/detail_dialog.h"

#include <QAction>
#include <QEvent>
#include <QFontMetrics>
#include <QFrame>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <QTableView>
#include <QToolBar>
#include <utility>

#include "ui/layout.h"
#include "ui/pndra.h"
#include "ui/qt/grid_model.h"
#include "ui/qt/icons.h"
#include "ui/qt/qt_port.h"
#include "ui/qt/qt_text.h"

namespace pendara {

DetailDialog::DetailDialog(Pndra& w, QtPort& port, QWidget* parent)
    : QDialog(parent), w_(w), port_(port) {
    setWindowTitle(QString::fromUtf8(DetailWindow::kCaption));
    setModal(true);
    if (QScreen* s = screen()) dpi_ = s->logicalDotsPerInch();
    auto place = [this](QWidget* widget, double l, double t, double wd, double h) {
        widget->setGeometry(TwipsToPixels(l, dpi_), TwipsToPixels(t, dpi_), TwipsToPixels(wd, dpi_),
                            TwipsToPixels(h, dpi_));
    };
    setFixedSize(TwipsToPixels(12975, dpi_), TwipsToPixels(7455, dpi_));

    auto* ref = new QLabel(Q(model_.Label2[0].caption()), this);
    place(ref, 5040, 360, 2055, 315);
    text1_ = new QLineEdit(this);
    text1_->setObjectName(QStringLiteral("Text1"));
    text1_->setReadOnly(true);
    place(text1_, 5040, 840, 3615, 375);

    toolbar_ = new QToolBar(this);
    toolbar_->setObjectName(QStringLiteral("Toolbar1"));
    toolbar_->setIconSize(QSize(20, 20));
    toolbar_->setStyleSheet(
        QStringLiteral("QToolBar { spacing: 2px; padding: 0px; border: 0px; }"));
    for (const Toolbar::Button& b : model_.Toolbar1.buttons()) {
        QAction* a = toolbar_->addAction(ToolbarIcon(b.key), Q(b.toolTip));
        a->setToolTip(Q(b.toolTip));
        a->setData(b.key);
        if (QWidget* button = toolbar_->widgetForAction(a)) button->setFixedSize(26, 26);
        int key = b.key;
        connect(a, &QAction::triggered, this, [this, key] { ClickToolbar(key); });
    }
    place(toolbar_, 7320, 240, 975, 465);

    // The design's widths were drawn for a narrower face than ours.
    QFont compact = font();
    compact.setPointSizeF(std::max(6.0, compact.pointSizeF() - 1));
    const double captionTops[] = {240, 660, 1080};
    const double sumTops[] = {240, 600, 1080};
    for (int i = 0; i < 3; ++i) {
        auto* caption =
            new QLabel(Q(model_.Label2[static_cast<std::size_t>(i + 2)].caption()), this);
        place(caption, 9360, captionTops[i], 1920, 315);
        QFont fit = compact;
        while (fit.pointSizeF() > 5.5 &&
               QFontMetrics(fit).horizontalAdvance(caption->text()) > caption->width())
            fit.setPointSizeF(fit.pointSizeF() - 0.5);
        caption->setFont(fit);
        auto* sum = new QLabel(this);
        sum->setObjectName(QStringLiteral("Sumas%1").arg(i));
        sum->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        sum->setFrameShape(QFrame::Panel);
        sum->setFrameShadow(QFrame::Sunken);
        place(sum, 11280, sumTops[i], 1515, 315);
        sumas_[static_cast<std::size_t>(i)] = sum;
    }
    auto* line = new QFrame(this);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    place(line, 120, 1440, 12735, 30);

    gridModel_ = new DetailModel(model_, this);
    fx1_ = new QTableView(this);
    fx1_->setObjectName(QStringLiteral("fx1"));
    fx1_->setModel(gridModel_);
    fx1_->verticalHeader()->hide();
    fx1_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    fx1_->setSelectionMode(QAbstractItemView::SingleSelection);
    fx1_->horizontalHeader()->setHighlightSections(false);
    fx1_->horizontalHeader()->setMinimumSectionSize(0);
    fx1_->setFont(compact);
    fx1_->verticalHeader()->setDefaultSectionSize(QFontMetrics(compact).height() + 4);
    place(fx1_, 120, 1560, 12735, 5775);
    Refresh();
}

void DetailDialog::Refresh() {
    gridModel_->Sync();
    for (int c = 0; c < DetailWindow::kCols; ++c)
        fx1_->setColumnWidth(c, TwipsToPixels(model_.ColWidth(c), dpi_));
    // Amounts of every size fit; each side's description gives up what its amount takes.
    const int amount =
        QFontMetrics(fx1_->font()).horizontalAdvance(QStringLiteral("-999.999.999,99")) + 8;
    for (auto [amountCol, descriptionCol] : {std::pair{4, 3}, std::pair{9, 8}}) {
        const int extra = amount - fx1_->columnWidth(amountCol);
        if (extra <= 0) continue;
        fx1_->setColumnWidth(amountCol, amount);
        fx1_->setColumnWidth(descriptionCol,
                             std::max(40, fx1_->columnWidth(descriptionCol) - extra));
    }
    text1_->setText(Q(model_.Text1.text()));
    for (int i = 0; i < 3; ++i)
        sumas_[static_cast<std::size_t>(i)]->setText(
            Q(model_.Sumas[static_cast<std::size_t>(i)].caption()));
}

void DetailDialog::Activate() {
    model_.PresentaDatos(w_.detailText.ToString());
    Refresh();
}

void DetailDialog::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    Activate();
}

bool DetailDialog::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate) Activate();
    return QDialog::event(event);
}

void DetailDialog::ClickToolbar(int key) {
    RunGesture(w_, port_, [this, key] { model_.Toolbar1_Click(w_, key); });
    Refresh();
}

}  // namespace pendara
