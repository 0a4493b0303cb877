#include "ui/qt/wait_dialog.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <cmath>

#include "host/account_posting.h"
#include "ui/qt/qt_text.h"

namespace pendara {

WaitDialog::WaitDialog(QWidget* parent)
    : QDialog(parent),
      message_(new QLabel(this)),
      elapsed_(new QLabel(this)),
      giveUp_(new QPushButton(QStringLiteral("Dejar de esperar"), this)) {
    setWindowTitle(QStringLiteral("Fichero ocupado"));
    setWindowModality(Qt::ApplicationModal);
    message_->setWordWrap(true);
    message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(giveUp_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(message_);
    layout->addWidget(elapsed_);
    layout->addWidget(new QLabel(
        QStringLiteral("Si se deja de esperar, la cuenta no se graba y los datos quedan como "
                       "estaban."),
        this));
    layout->addLayout(buttons);
    setMinimumWidth(420);
    connect(giveUp_, &QPushButton::clicked, this, [this] { gaveUp_ = true; });
    // Escape or closing the window gives up too.
    connect(this, &QDialog::rejected, this, [this] { gaveUp_ = true; });
    idle_.setSingleShot(true);
    idle_.setInterval(400);
    connect(&idle_, &QTimer::timeout, this, [this] {
        hide();
        Reset();
    });
}

void WaitDialog::Reset() {
    gaveUp_ = false;
}

bool WaitDialog::Poll(const QString& file, double seconds) {
    message_->setText(Q(WaitingMessage(S(file))));
    elapsed_->setText(QStringLiteral("Esperando desde hace %1 s.")
                          .arg(static_cast<long long>(std::floor(seconds))));
    if (!isVisible()) {
        show();
        raise();
    }
    idle_.start();
    QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    return !gaveUp_;
}

}  // namespace pendara
