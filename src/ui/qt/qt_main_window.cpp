#include "ui/qt/qt_main_window.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QGroupBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QTableView>
#include <QThread>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>

#include "host/errors.h"
#include "ui/account_list_handlers.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"
#include "ui/qt/gauge_widget.h"
#include "ui/qt/grid_model.h"
#include "ui/qt/icons.h"
#include "ui/qt/qt_port.h"
#include "ui/qt/qt_text.h"

namespace pendara {

class PictureLabel : public QLabel {
  public:
    using QLabel::QLabel;
    std::function<void()> onDoubleClick;

  protected:
    void mouseDoubleClickEvent(QMouseEvent*) override {
        if (onDoubleClick) onDoubleClick();
    }
};

namespace {

constexpr Ctl kWindow = Ctl::Count;

// Window-level captions and texts of the controls the design keeps but never shows.
struct HiddenControl {
    const char* name;
    const char* caption;
    bool button;
};
const HiddenControl kHidden[] = {
    {"revisarsaldos", "buscar saldo 0", true},
    {"Command2", "pasa 22-23", true},
    {"Command3", "punteo  a 0", true},
    {"Command4", "?", true},
    {"BuscaCta", "?", true},
    {"Label11", "Pendara - Punteo automático de cuentas", false},
    {"Label4", "1)  Asignar cuenta para puntear -->", false},
    {"Label5", "2)  Cargar apuntes y efectuar punteo automatico -->", false},
    {"Label6", "3)  Grabar partidas referenciadas -------------------------->", false},
    {"Label7", "4)  Crear informe ---------------------------------------------------->", false},
    {"BuscaSig", ">>", true},
    {"Punteo", "Punteo", true},
    {"CreaRef", "&Sumar Contador Referencia", true},
    {"GrabaRef", "Grabar", true},
    {"DeshacerRef", "Deshacer referencia", true},
    {"Informe", "&Informe", true},
    {"Ayuda", "&Ayuda", true},
    {"Label8", "Años disponibles", false},
    {"Label9", "-------", false},
    {"Label1",
     "Advertencia: No utilizar esta utilidad si utiliza la referencia o tiene enlazado la "
     "Gestion o el programa de Recibos",
     false},
};

// Toolbar buttons are square; twelve of them fit the toolbar's design width.
constexpr int kButtonSize = 23;

int KeyOf(QKeyEvent* e) {
    switch (e->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            return 13;
        case Qt::Key_Backspace:
            return 8;
        case Qt::Key_Escape:
            return 27;
        case Qt::Key_Tab:
            return 9;
        default:
            break;
    }
    // One character, whatever its UTF-16 length.
    const QList<uint> codes = e->text().toUcs4();
    if (codes.size() != 1 || !QChar::isPrint(static_cast<char32_t>(codes[0]))) return -1;
    return static_cast<int>(codes[0]);
}

}  // namespace

MainWindow::MainWindow(Pndra& w, QtPort& port) : QWidget(nullptr), w_(w), port_(port) {
    setWindowTitle(QStringLiteral("Punteo automático de cuentas"));
    setObjectName(QStringLiteral("Pndra"));
    setWindowIcon(QIcon(StatusPicture(0, 64)));
    if (QScreen* s = screen()) dpi_ = s->logicalDotsPerInch();
    layout_ = DesignLayout();
    port_.SetParentWidget(this);
    w_.showReferenceDetail = [this](Pndra& window) { port_.ShowReferenceDetail(window); };
    Build();
    BuildHidden();
    Refresh();
    const TwipRect& pic = layout_[Ctl::Picture1];
    resize(TwipsToPixels(pic.left + pic.width + 120, dpi_),
           TwipsToPixels(pic.top + pic.height + 60, dpi_));
}

MainWindow::~MainWindow() {
    for (auto& [o, v] : seen_)
        o->onChange = nullptr;
    // The gauge belongs to the port, which outlives the window.
    if (gauge_) gauge_->setParent(nullptr);
    port_.SetParentWidget(nullptr);
}

QWidget* MainWindow::statusPicture(int i) const {
    return images_[static_cast<std::size_t>(i)];
}

QGroupBox* MainWindow::frame(Ctl c) const {
    return qobject_cast<QGroupBox*>(control(c));
}

void MainWindow::Build() {
    auto parentOf = [this](Ctl c) -> QWidget* {
        Ctl p = ParentOf(c);
        return p == kWindow ? static_cast<QWidget*>(this) : control(p);
    };
    auto add = [&](Ctl c, QWidget* widget) {
        widget->setObjectName(QString::fromLatin1(ControlName(c)));
        widgets_[static_cast<std::size_t>(c)] = widget;
        return widget;
    };
    auto label = [&](Ctl c, const QString& text) {
        auto* l = new QLabel(text, parentOf(c));
        add(c, l);
        return l;
    };

    // Frames first: their children are placed inside them.
    for (Ctl c : {Ctl::Frame4, Ctl::Frame7, Ctl::Frame3, Ctl::Frame5, Ctl::Frame1, Ctl::Frame2})
        add(c, new QGroupBox(this));

    label(Ctl::Label10, QStringLiteral("Grupo o cuenta"));
    text1_ = new QLineEdit(this);
    add(Ctl::Text1, text1_);
    text1_->installEventFilter(this);
    connect(text1_, &QLineEdit::textEdited, this,
            [this](const QString& t) { w_.Text1.setText(S(t)); });

    toolbar1_ = new QToolBar(this);
    add(Ctl::Toolbar1, toolbar1_);
    list2_ = new QListView(this);
    add(Ctl::List2, list2_);
    listModel_ = new ListModel(w_.List2, this);
    list2_->setModel(listModel_);
    list2_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list2_->setSelectionMode(QAbstractItemView::SingleSelection);
    list2_->setUniformItemSizes(true);
    connect(list2_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                if (syncingList_ || !current.isValid()) return;
                ClickAccount(current.row());
            });

    label(Ctl::Label2_2, QStringLiteral("Sumas del Debe por Ref."));
    label(Ctl::Label2_3, QStringLiteral("Sumas del Haber por Ref."));
    label(Ctl::Label2_4, QStringLiteral("Saldo"));
    const Ctl sums[] = {Ctl::Sumas0, Ctl::Sumas1, Ctl::Sumas2};
    for (int i = 0; i < 3; ++i) {
        QLabel* s = label(sums[i], QString());
        s->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        s->setFrameShape(QFrame::Panel);
        s->setFrameShadow(QFrame::Sunken);
        sumas_[static_cast<std::size_t>(i)] = s;
    }

    options_[1] = new QRadioButton(QStringLiteral("Sólo apuntes sin puntear en contabilidad"),
                                   control(Ctl::Frame7));
    add(Ctl::Option1_1, options_[1]);
    options_[0] =
        new QRadioButton(QStringLiteral("Todos los apuntes contables"), control(Ctl::Frame7));
    add(Ctl::Option1_0, options_[0]);
    for (int i = 0; i < 2; ++i)
        connect(options_[static_cast<std::size_t>(i)], &QRadioButton::clicked, this,
                [this, i] { ClickOption(i); });

    // The caption is longer than the button is wide: it wraps inside the button.
    const QString command1Caption =
        QStringLiteral("Borrar las referencias y punteo de todas las cuentas");
    auto* command1 = new QPushButton(control(Ctl::Frame3));
    add(Ctl::Command1, command1);
    command1->setAccessibleName(command1Caption);
    command1->setToolTip(command1Caption);
    auto* command1Text = new QLabel(command1Caption, command1);
    command1Text->setObjectName(QStringLiteral("Command1Caption"));
    command1Text->setWordWrap(true);
    command1Text->setAlignment(Qt::AlignCenter);
    command1Text->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* command1Layout = new QVBoxLayout(command1);
    command1Layout->setContentsMargins(4, 1, 4, 1);
    command1Layout->addWidget(command1Text);
    connect(command1, &QPushButton::clicked, this, [this] { ClickCommand1(); });
    label(Ctl::Label3, QStringLiteral("Descripción para facturas:"));
    desFac_ = new QLineEdit(control(Ctl::Frame3));
    add(Ctl::DesFac, desFac_);
    connect(desFac_, &QLineEdit::textEdited, this,
            [this](const QString& t) { w_.DesFac.setText(S(t)); });

    tituloL_ = label(Ctl::TituloL, QString());
    saldoCta_ = label(Ctl::SaldoCta, QString());
    for (int i = 0; i < 2; ++i) {
        auto* pic = new PictureLabel(control(Ctl::Frame5));
        add(i == 0 ? Ctl::Image1_0 : Ctl::Image1_1, pic);
        pic->setAlignment(Qt::AlignCenter);
        pic->onDoubleClick = [this, i] { DoubleClickStatus(i); };
        images_[static_cast<std::size_t>(i)] = pic;
    }
    toolbar2_ = new QToolBar(control(Ctl::Frame5));
    add(Ctl::Toolbar2, toolbar2_);
    for (QToolBar* bar : {toolbar1_, toolbar2_}) {
        bar->setIconSize(QSize(16, 16));
        bar->setMovable(false);
        bar->setFloatable(false);
        bar->setStyleSheet(
            QStringLiteral("QToolBar { spacing: 1px; padding: 0px; border: 0px; }"
                           "QToolButton { padding: 2px; margin: 0px; }"));
    }

    for (int g = 1; g <= 2; ++g) {
        Ctl frameCtl = g == 1 ? Ctl::Frame1 : Ctl::Frame2;
        auto* view = new QTableView(control(frameCtl));
        add(g == 1 ? Ctl::SGrid1 : Ctl::SGrid2, view);
        auto* model = new GridModel(g == 1 ? w_.SGrid1 : w_.SGrid2, this);
        view->setModel(model);
        view->verticalHeader()->hide();
        view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
        view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 4);
        view->setEditTriggers(QAbstractItemView::NoEditTriggers);
        view->setSelectionMode(QAbstractItemView::SingleSelection);
        view->setSelectionBehavior(QAbstractItemView::SelectItems);
        view->setWordWrap(false);
        view->horizontalHeader()->setHighlightSections(false);
        view->setAlternatingRowColors(true);
        connect(view, &QTableView::clicked, this, [this, g](const QModelIndex& index) {
            bool shift = QApplication::keyboardModifiers() & Qt::ShiftModifier;
            ClickCell(g, index.row() + 1, index.column(), shift);
        });
        grids_[static_cast<std::size_t>(g - 1)] = view;
        models_[static_cast<std::size_t>(g - 1)] = model;
        SizeGridColumns(g);
    }

    gauge_ = &port_.gaugeWidget();
    gauge_->setParent(this);
    gauge_->setObjectName(QStringLiteral("Picture1"));
    widgets_[static_cast<std::size_t>(Ctl::Picture1)] = gauge_;
    // Accounts whose enhanced search reached its limit: a mark beside the balance that lists them
    // in its tooltip and stays, through a whole group save, until it is clicked.
    aviso_ = new QLabel(control(Ctl::Frame5));
    aviso_->setObjectName(QStringLiteral("AvisoPunteo"));
    aviso_->setStyleSheet(QStringLiteral("color: #b00000; font-weight: bold;"));
    aviso_->setCursor(Qt::PointingHandCursor);
    aviso_->installEventFilter(this);
    aviso_->hide();
    Watch(w_.AvisoPunteo);
    widgets_[static_cast<std::size_t>(Ctl::Background)] = nullptr;  // painted by the window

    Watch(w_.Text1);
    Watch(w_.DesFac);
    Watch(w_.SGrid1);
    Watch(w_.SGrid2);
    Watch(w_.List2);
    for (Frame* f : {&w_.Frame1, &w_.Frame2, &w_.Frame3, &w_.Frame4, &w_.Frame5, &w_.Frame7})
        Watch(*f);
    for (Label& s : w_.Sumas)
        Watch(s);
    Watch(w_.SaldoCta);
    Watch(w_.TituloL);
    for (Picture& p : w_.Image1)
        Watch(p);
    for (OptionButton& o : w_.Option1)
        Watch(o);
    Watch(w_.Toolbar1);
    Watch(w_.Toolbar2);
    ApplyLayout();
}

void MainWindow::BuildHidden() {
    // Kept as hidden children with their design captions; they are never shown.
    auto* frame6 = new QGroupBox(QStringLiteral("Frame6"), this);
    frame6->setObjectName(QStringLiteral("Frame6"));
    frame6->setGeometry(TwipsToPixels(20280, dpi_), 0, 200, 100);
    frame6->hide();
    hidden_.push_back(frame6);
    for (const HiddenControl& h : kHidden) {
        QWidget* widget =
            h.button ? static_cast<QWidget*>(new QPushButton(QString::fromUtf8(h.caption), frame6))
                     : static_cast<QWidget*>(new QLabel(QString::fromUtf8(h.caption), frame6));
        widget->setObjectName(QString::fromLatin1(h.name));
        widget->hide();
        hidden_.push_back(widget);
    }
    auto* check1 =
        new QCheckBox(QStringLiteral("Borrar todas las referencias"), control(Ctl::Frame3));
    check1->setObjectName(QStringLiteral("Check1"));
    check1->hide();
    hidden_.push_back(check1);
    auto* ultima = new QLabel(QString(), frame6);
    ultima->setObjectName(QStringLiteral("Ultima"));
    ultima->hide();
    hidden_.push_back(ultima);
}

void MainWindow::Watch(Observable& o) {
    o.onChange = [this] { ScheduleRefresh(); };
    seen_.emplace_back(&o, ~std::uint64_t{0});
}

void MainWindow::ScheduleRefresh() {
    if (refreshPending_) return;
    refreshPending_ = true;
    QTimer::singleShot(0, this, [this] { Refresh(); });
}

void MainWindow::SizeGridColumns(int g) {
    Grid& grid = g == 1 ? w_.SGrid1 : w_.SGrid2;
    QTableView* view = grids_[static_cast<std::size_t>(g - 1)];
    // A character of the grid is a digit: dates and amounts must fit their widths.
    int ch = view->fontMetrics().horizontalAdvance(QLatin1Char('0'));
    for (int c = 0; c <= grid.Cols(); ++c) {
        int chars = static_cast<std::size_t>(c) < grid.widthChars.size()
                        ? grid.widthChars[static_cast<std::size_t>(c)]
                        : 8;
        view->setColumnHidden(c, chars == 0);
        if (chars > 0) view->setColumnWidth(c, chars * ch + 10);
    }
}

void MainWindow::Refresh() {
    refreshPending_ = false;
    auto changed = [this](Observable& o) {
        for (auto& [obs, v] : seen_) {
            if (obs != &o) continue;
            if (v == o.version()) return false;
            v = o.version();
            return true;
        }
        return false;
    };
    if (changed(w_.Text1) && text1_->text() != Q(w_.Text1.text()))
        text1_->setText(Q(w_.Text1.text()));
    if (changed(w_.DesFac) && desFac_->text() != Q(w_.DesFac.text()))
        desFac_->setText(Q(w_.DesFac.text()));
    for (int g = 1; g <= 2; ++g) {
        Grid& grid = g == 1 ? w_.SGrid1 : w_.SGrid2;
        if (!grid.redraw()) continue;  // drawn once redraw is back on
        if (changed(grid)) models_[static_cast<std::size_t>(g - 1)]->Sync();
    }
    if (changed(w_.List2)) {
        syncingList_ = true;
        listModel_->Sync();
        int i = w_.List2.ListIndex();
        if (i >= 0) {
            QModelIndex index = listModel_->index(i);
            list2_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
            list2_->scrollTo(index);
        } else {
            list2_->selectionModel()->clearSelection();
        }
        syncingList_ = false;
    }
    const std::pair<Frame*, Ctl> frames[] = {{&w_.Frame1, Ctl::Frame1}, {&w_.Frame2, Ctl::Frame2},
                                             {&w_.Frame3, Ctl::Frame3}, {&w_.Frame4, Ctl::Frame4},
                                             {&w_.Frame5, Ctl::Frame5}, {&w_.Frame7, Ctl::Frame7}};
    for (auto [f, c] : frames)
        if (changed(*f)) frame(c)->setTitle(Q(f->caption()));
    for (std::size_t i = 0; i < 3; ++i)
        if (changed(w_.Sumas[i])) sumas_[i]->setText(Q(w_.Sumas[i].caption()));
    if (changed(w_.TituloL)) tituloL_->setText(Q(w_.TituloL.caption()));
    if (changed(w_.AvisoPunteo) && !w_.AvisoPunteo.caption().empty()) {
        const QString notice = Q(w_.AvisoPunteo.caption());
        if (!notices_.contains(notice)) notices_.append(notice);
        aviso_->setText(notices_.size() == 1
                            ? QStringLiteral("⚠ Límite")
                            : QStringLiteral("⚠ Límite (%1)").arg(notices_.size()));
        aviso_->setToolTip(notices_.join(QLatin1Char('\n')) +
                           QStringLiteral("\n(pulse para cerrar el aviso)"));
        aviso_->show();
    }
    if (changed(w_.SaldoCta)) {
        saldoCta_->setText(Q(w_.SaldoCta.caption()));
        QPalette p = saldoCta_->palette();
        p.setColor(QPalette::WindowText, FromBgr(w_.SaldoCta.foreColor()));
        saldoCta_->setPalette(p);
        QFont f = saldoCta_->font();
        f.setBold(w_.SaldoCta.bold());
        saldoCta_->setFont(f);
    }
    for (std::size_t i = 0; i < 2; ++i) {
        if (!changed(w_.Image1[i])) continue;
        images_[i]->setVisible(w_.Image1[i].visible());
        images_[i]->setToolTip(Q(w_.Image1[i].toolTip));
    }
    for (std::size_t i = 0; i < 2; ++i)
        if (changed(w_.Option1[i])) options_[i]->setChecked(w_.Option1[i].value());
    if (changed(w_.Toolbar1)) RebuildToolbar(toolbar1_, w_.Toolbar1, 1);
    if (changed(w_.Toolbar2)) RebuildToolbar(toolbar2_, w_.Toolbar2, 2);
}

void MainWindow::RebuildToolbar(QToolBar* bar, const Toolbar& model, int which) {
    bar->clear();
    for (const Toolbar::Button& b : model.buttons()) {
        if (b.separator()) {
            bar->addSeparator();
            continue;
        }
        QAction* a = bar->addAction(ToolbarIcon(b.key), Q(b.toolTip));
        a->setToolTip(Q(b.toolTip));
        a->setData(b.key);
        a->setObjectName(QStringLiteral("key%1").arg(b.key));
        if (QWidget* button = bar->widgetForAction(a))
            button->setFixedSize(kButtonSize, kButtonSize);
        int key = b.key;
        connect(a, &QAction::triggered, this, [this, which, key] { ClickToolbar(which, key); });
    }
    bar->repaint();
}

void MainWindow::ApplyLayout() {
    for (std::size_t i = 0; i < kControlCount; ++i) {
        QWidget* widget = widgets_[i];
        if (!widget) continue;
        const TwipRect& r = layout_[static_cast<Ctl>(i)];
        widget->setGeometry(TwipsToPixels(r.left, dpi_), TwipsToPixels(r.top, dpi_),
                            TwipsToPixels(r.width, dpi_), TwipsToPixels(r.height, dpi_));
    }
    const QRect balance = saldoCta_->geometry();
    aviso_->setGeometry(balance.right() + 8, balance.top(),
                        std::max(images_[0]->geometry().left() - balance.right() - 16, 1),
                        balance.height());
    int side = std::min(images_[0]->width(), images_[0]->height());
    for (int i = 0; i < 2; ++i)
        images_[static_cast<std::size_t>(i)]->setPixmap(StatusPicture(i, std::max(side, 1)));
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    FormResize(layout_, PixelsToTwips(width(), dpi_), PixelsToTwips(height(), dpi_));
    ApplyLayout();
}

void MainWindow::paintEvent(QPaintEvent*) {
    const TwipRect& r = layout_[Ctl::Background];
    QRect place(TwipsToPixels(r.left, dpi_), TwipsToPixels(r.top, dpi_),
                TwipsToPixels(r.width, dpi_), TwipsToPixels(r.height, dpi_));
    if (background_.size() != place.size()) background_ = BackgroundPicture(place.size());
    QPainter p(this);
    p.drawPixmap(place.topLeft(), background_);
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == aviso_ && event->type() == QEvent::MouseButtonPress) {
        notices_.clear();
        aviso_->hide();
        return true;
    }
    if (watched == text1_ && event->type() == QEvent::KeyPress) {
        auto* e = static_cast<QKeyEvent*>(event);
        int key = KeyOf(e);
        if (key < 0) return false;  // editing keys that deliver no character
        MaskKey(key);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

bool MainWindow::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate) Activate();
    return QWidget::event(event);
}

void MainWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!firstShow_) return;
    firstShow_ = false;
    // Some platforms never activate a window; the first showing counts as its activation.
    QTimer::singleShot(0, this, [this] { Activate(); });
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (ending_) {
        event->accept();
        return;
    }
    if (port_.depth > 0) {
        // A long run is working: it stops after the account in progress, then the window closes.
        w_.StopRequested = true;
        pendingClose_ = true;
        event->ignore();
        return;
    }
    int cancel = 0;
    Gesture([this, &cancel] { Form_QueryUnload(w_, cancel, 0); });
    if (cancel != 0 && !ending_) {
        event->ignore();
        return;
    }
    event->accept();
}

void MainWindow::EndSession() {
    ending_ = true;
    close();
    if (QThread::currentThread()->loopLevel() > 0) QCoreApplication::exit(0);
}

void MainWindow::EndProgram(int code) {
    exitCode_ = code;
    ending_ = true;
    close();
    // Asked outside any event loop, exit() would make every later loop return at once.
    if (QThread::currentThread()->loopLevel() > 0) QCoreApplication::exit(code);
}

bool MainWindow::Busy() const {
    return port_.depth > 0;
}

void MainWindow::Gesture(const std::function<void()>& handler) {
    if (ending_) return;
    std::optional<int> code = RunGesture(w_, port_, handler);
    Refresh();
    if (code) {
        EndProgram(*code);
        return;
    }
    if (port_.depth == 0 && pendingClose_) {
        pendingClose_ = false;
        close();
    }
}

bool MainWindow::Load() {
    std::optional<int> code;
    code = RunGesture(w_, port_, [this] { Form_Load(w_); });
    Refresh();
    if (code) {
        exitCode_ = *code;
        ending_ = true;
        return false;
    }
    return true;
}

void MainWindow::Activate() {
    if (activating_ || ending_) return;
    activating_ = true;
    Gesture([this] { Form_Activate(w_); });
    activating_ = false;
}

void MainWindow::ClickAccount(int index) {
    if (Busy()) return;
    Gesture([this, index] {
        w_.List2.SetListIndex(index);
        if (!w_.List2.onClick) List2_Click(w_);
    });
}

void MainWindow::MaskKey(int key) {
    if (Busy()) return;
    int delivered = key;
    Gesture([this, &delivered] {
        std::int32_t k = delivered;
        Text1_KeyPress(w_, k);
        delivered = k;
    });
    if (delivered == 0 || delivered == 13 || ending_) return;
    // The key (possibly changed by the filter) goes into the box as typed.
    const auto code = static_cast<char32_t>(delivered);
    QKeyEvent e(QEvent::KeyPress, delivered == 8 ? Qt::Key_Backspace : 0, Qt::NoModifier,
                delivered == 8 ? QString() : QString::fromUcs4(&code, 1));
    text1_->removeEventFilter(this);
    QApplication::sendEvent(text1_, &e);
    text1_->installEventFilter(this);
    w_.Text1.setText(S(text1_->text()));
}

void MainWindow::ClickCell(int g, int row, int col, bool shift) {
    if (Busy()) return;
    Grid& grid = g == 1 ? w_.SGrid1 : w_.SGrid2;
    grid.Row = row;
    grid.Col = col;
    Gesture([this, g, row, col, shift] { SGrid_Click(w_, g, 0, shift ? 1 : 0, row, col); });
}

void MainWindow::DoubleClickStatus(int index) {
    (void)index;  // either picture saves
    if (Busy()) return;
    Gesture([this] { Image1_DblClick(w_); });
}

void MainWindow::ClickOption(int index) {
    if (Busy()) return;
    w_.Option1[static_cast<std::size_t>(index)].setValue(true);
    w_.Option1[static_cast<std::size_t>(1 - index)].setValue(false);
    Gesture([this, index] { Option1_Click(w_, index); });
}

void MainWindow::ClickToolbar(int toolbar, int key) {
    // While a run lets events through, only its stop button may act.
    if (Busy() && !(toolbar == 1 && key == 21)) return;
    Gesture([this, toolbar, key] {
        if (toolbar == 1)
            Toolbar1_Click(w_, key);
        else
            Toolbar2_Click(w_, key);
    });
}

void MainWindow::ClickCommand1() {
    if (Busy()) return;
    Gesture([this] { Command1_Click(w_); });
}

}  // namespace pendara
