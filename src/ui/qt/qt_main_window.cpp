#include "ui/qt/qt_main_window.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QCloseEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QShortcut>
#include <QThread>
#include <QTime>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <stdexcept>

#include "companies/account_list.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/report_output.h"
#include "posting/maintenance.h"
#include "posting/manual.h"
#include "posting/posting_runs.h"
#include "services/account_run.h"
#include "services/run_summary.h"
#include "ui/account_list_handlers.h"
#include "ui/main_window.h"
#include "ui/pndra.h"
#include "ui/posting_handlers.h"
#include "ui/qt/gauge_widget.h"
#include "ui/qt/grid_model.h"
#include "ui/qt/grid_view.h"
#include "ui/qt/icons.h"
#include "ui/qt/preview_dialog.h"
#include "ui/qt/qt_port.h"
#include "ui/qt/qt_text.h"
#include "ui/qt/runs_dialog.h"
#include "ui/qt/window_settings.h"

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
// A message box with Sí, No and Cancelar.
constexpr int kYesNoCancel = 3;
// The widest amount the grids and sums show: FormatAmount keeps 15 characters.
const char* const kWidestAmount = "-999.999.999,99";

int KeyOf(QKeyEvent* e) {
    switch (e->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            return 13;
        case Qt::Key_Backspace:
            return 8;
        case Qt::Key_Escape:
            return 27;
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
    w_.onAccountSaved = [this](const AccountSaveSummary& s) { OnAccountSaved(s); };
    w_.onReportOutput = [this](const ReportOutcome& r) { lastReport_ = r; };
    Build();
    BuildHidden();
    Refresh();
    MeasureContents();
    PlaceOnScreen();
    Relayout();
}

MainWindow::~MainWindow() {
    for (auto& [o, v] : seen_)
        o->onChange = nullptr;
    w_.onAccountSaved = nullptr;
    w_.onReportOutput = nullptr;
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

QTableView* MainWindow::grid(int g) const {
    return grids_[static_cast<std::size_t>(g - 1)];
}

QListView* MainWindow::accountList() const {
    return list2_;
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
    list2_ = new AccountListView(this);
    add(Ctl::List2, list2_);
    listModel_ = new ListModel(w_.List2, this);
    list2_->setModel(listModel_);
    list2_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list2_->setSelectionMode(QAbstractItemView::SingleSelection);
    list2_->setUniformItemSizes(true);
    // A click or Enter loads the account; the keyboard only moves the selection. The second
    // click of a double click loads nothing more: its first click did.
    connect(list2_, &QListView::clicked, this,
            [this](const QModelIndex& index) { ClickAccount(index.row()); });
    connect(list2_, &AccountListView::loadRequested, this,
            [this](const QModelIndex& index) { ClickAccount(index.row()); });
    connect(list2_, &AccountListView::movedByKeyboard, this, [this](const QModelIndex& index) {
        if (syncingList_ || Busy()) return;
        w_.List2.SelectWithoutClick(index.row());
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
    command1_ = new QPushButton(control(Ctl::Frame3));
    add(Ctl::Command1, command1_);
    command1_->setAccessibleName(command1Caption);
    command1_->setToolTip(command1Caption);
    auto* command1Text = new QLabel(command1Caption, command1_);
    command1Text->setObjectName(QStringLiteral("Command1Caption"));
    command1Text->setWordWrap(true);
    command1Text->setAlignment(Qt::AlignCenter);
    command1Text->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* command1Layout = new QVBoxLayout(command1_);
    command1Layout->setContentsMargins(4, 1, 4, 1);
    command1Layout->addWidget(command1Text);
    connect(command1_, &QPushButton::clicked, this, [this] { ClickCommand1(); });
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

    for (int g = 1; g <= 2; ++g)
        BuildGrid(g);

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
    BuildStatusBar();
    BuildShortcuts();

    Watch(w_.Text1);
    Watch(w_.DesFac);
    Watch(w_.SGrid1);
    Watch(w_.SGrid2);
    Watch(w_.List2, [this] { OnListChanged(); });
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
    Watch(w_.Toolbar1, [this] { OnToolbar1Changed(); });
    Watch(w_.Toolbar2);
}

void MainWindow::BuildGrid(int g) {
    const auto i = static_cast<std::size_t>(g - 1);
    QWidget* frame = control(g == 1 ? Ctl::Frame1 : Ctl::Frame2);
    Grid& grid = g == 1 ? w_.SGrid1 : w_.SGrid2;
    auto* view = new GridView(frame);
    view->setObjectName(QString::fromLatin1(ControlName(g == 1 ? Ctl::SGrid1 : Ctl::SGrid2)));
    widgets_[static_cast<std::size_t>(g == 1 ? Ctl::SGrid1 : Ctl::SGrid2)] = view;
    auto* model = new GridModel(grid, this);
    auto* proxy = new GridProxy(grid, this);
    proxy->setSourceModel(model);
    view->setModel(proxy);
    view->verticalHeader()->hide();
    view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 4);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->setSelectionBehavior(QAbstractItemView::SelectItems);
    view->setWordWrap(false);
    view->setTabKeyNavigation(false);
    view->setTextElideMode(Qt::ElideRight);
    QHeaderView* header = view->horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionsClickable(true);
    header->setSortIndicatorShown(true);
    header->setSortIndicator(-1, Qt::AscendingOrder);
    header->setMinimumSectionSize(24);
    view->setAlternatingRowColors(true);
    connect(header, &QHeaderView::sectionClicked, this,
            [this, g](int section) { SortBy(g, section); });
    // The cell event gets the grid's own row, whatever order the view shows.
    connect(view, &QTableView::clicked, this, [this, g, proxy](const QModelIndex& index) {
        bool shift = QApplication::keyboardModifiers() & Qt::ShiftModifier;
        ClickCell(g, proxy->GridRow(index.row()), index.column(), shift);
    });
    connect(view, &GridView::movedByKeyboard, this, [this, g, proxy](const QModelIndex& index) {
        ClickCell(g, proxy->GridRow(index.row()), index.column(), false);
    });
    connect(view, &GridView::spacePressed, this, [this, g, proxy](const QModelIndex& index) {
        ClickCell(g, proxy->GridRow(index.row()), index.column(), true);
    });
    connect(view, &GridView::copyRequested, this, [this, g] { CopyRows(g); });
    grids_[i] = view;
    models_[i] = model;
    proxies_[i] = proxy;
    SizeGridColumns(g);

    // Under the grid: the filter box, the totals and the copy and export commands.
    auto* footer = new QWidget(frame);
    footer->setObjectName(QStringLiteral("Pie%1").arg(g));
    auto* row = new QHBoxLayout(footer);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    auto* filterLabel = new QLabel(QStringLiteral("Filtro:"), footer);
    auto* filter = new QLineEdit(footer);
    filter->setObjectName(QStringLiteral("Filtro%1").arg(g));
    filter->setPlaceholderText(QStringLiteral("importe, texto o fecha"));
    filter->setToolTip(QStringLiteral(
        "Muestra sólo las filas que cumplen todas las palabras: un texto de la fecha, el "
        "asiento, la descripción o la referencia; un importe (1.234,56) sin mirar el signo; "
        ">100, <100, 100..200; una fecha (15/03/24) o 01/03/24..31/03/24. Ctrl+F lo abre, "
        "Esc lo vacía."));
    filter->setClearButtonEnabled(true);
    filter->setMaximumWidth(fontMetrics().horizontalAdvance(QLatin1Char('0')) * 26);
    filter->installEventFilter(this);
    filterLabel->setBuddy(filter);
    connect(filter, &QLineEdit::textChanged, this, [this, g, proxy](const QString& text) {
        proxy->SetFilterText(text);
        UpdateTotals(g);
    });
    auto* totals = new QLabel(footer);
    totals->setObjectName(QStringLiteral("Totales%1").arg(g));
    totals->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    auto* exportButton = new QToolButton(footer);
    exportButton->setObjectName(QStringLiteral("Exportar%1").arg(g));
    exportButton->setText(QStringLiteral("Exportar…"));
    exportButton->setToolTip(QStringLiteral("Copiar o exportar las filas visibles"));
    exportButton->setPopupMode(QToolButton::InstantPopup);
    exportButton->setFocusPolicy(Qt::TabFocus);
    auto* menu = new QMenu(exportButton);
    menu->addAction(QStringLiteral("Copiar las filas visibles (Ctrl+C)"), this,
                    [this, g] { CopyRows(g); });
    menu->addAction(QStringLiteral("Exportar a CSV…"), this, [this, g] { ExportRows(g, false); });
    menu->addAction(QStringLiteral("Exportar a hoja de cálculo…"), this,
                    [this, g] { ExportRows(g, true); });
    exportButton->setMenu(menu);
    row->addWidget(filterLabel);
    row->addWidget(filter, 1);
    row->addWidget(totals, 2);
    row->addWidget(exportButton);
    footers_[i] = footer;
    filters_[i] = filter;
    totals_[i] = totals;
    exports_[i] = exportButton;
    UpdateTotals(g);
}

void MainWindow::BuildStatusBar() {
    statusBar_ = new QFrame(this);
    statusBar_->setObjectName(QStringLiteral("BarraEstado"));
    auto* row = new QHBoxLayout(statusBar_);
    row->setContentsMargins(8, 1, 8, 1);
    row->setSpacing(12);
    progress_ = new QLabel(statusBar_);
    progress_->setObjectName(QStringLiteral("Progreso"));
    QFont bold = progress_->font();
    bold.setBold(true);
    progress_->setFont(bold);
    message_ = new QLabel(statusBar_);
    message_->setObjectName(QStringLiteral("Mensaje"));
    message_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    unsaved_ = new QLabel(QStringLiteral("● Cambios sin guardar (Ctrl+S guarda)"), statusBar_);
    unsaved_->setObjectName(QStringLiteral("SinGuardar"));
    unsaved_->setStyleSheet(QStringLiteral("color: #b00000;"));
    unsaved_->hide();
    previewButton_ = new QPushButton(QStringLiteral("Simular…"), statusBar_);
    previewButton_->setObjectName(QStringLiteral("Simular"));
    previewButton_->setToolTip(
        QStringLiteral("Qué escribiría la grabación de la cuenta activa, sin escribir nada "
                       "(Ctrl+Mayús+S)"));
    previewButton_->setFocusPolicy(Qt::TabFocus);
    connect(previewButton_, &QPushButton::clicked, this, [this] { PreviewSave(); });
    runsButton_ = new QPushButton(QStringLiteral("Procesos…"), statusBar_);
    runsButton_->setObjectName(QStringLiteral("Procesos"));
    runsButton_->setToolTip(QStringLiteral("Procesos grabados y deshacer (Ctrl+Z: el último)"));
    runsButton_->setFocusPolicy(Qt::TabFocus);
    connect(runsButton_, &QPushButton::clicked, this, [this] { ShowRuns(false); });
    row->addWidget(progress_);
    row->addWidget(message_, 1);
    row->addWidget(unsaved_);
    row->addWidget(previewButton_);
    row->addWidget(runsButton_);
}

void MainWindow::BuildShortcuts() {
    auto shortcut = [this](QKeySequence keys, std::function<void()> run) {
        auto* s = new QShortcut(keys, this);
        connect(s, &QShortcut::activated, this, std::move(run));
    };
    shortcut(QKeySequence(Qt::Key_F1), [this] { ClickToolbar(1, 112); });
    shortcut(QKeySequence(Qt::CTRL | Qt::Key_P), [this] { ClickToolbar(1, 25); });
    shortcut(QKeySequence(Qt::CTRL | Qt::Key_S), [this] { SaveActiveAccount(); });
    shortcut(QKeySequence(Qt::CTRL | Qt::Key_F), [this] { FocusFilter(); });
    shortcut(QKeySequence(Qt::CTRL | Qt::Key_Z), [this] { ShowRuns(true); });
    shortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S), [this] { PreviewSave(); });
    // The design's captions with "&": "&Sumar Contador Referencia", "&Informe", "&Ayuda".
    shortcut(QKeySequence(Qt::ALT | Qt::Key_S), [this] { NewReferenceKey(); });
    shortcut(QKeySequence(Qt::ALT | Qt::Key_I), [this] { ClickToolbar(1, 25); });
    shortcut(QKeySequence(Qt::ALT | Qt::Key_A), [this] { ClickToolbar(1, 112); });
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

void MainWindow::Watch(Observable& o, std::function<void()> also) {
    if (also)
        o.onChange = [this, also] {
            also();
            ScheduleRefresh();
        };
    else
        o.onChange = [this] { ScheduleRefresh(); };
    seen_.emplace_back(&o, ~std::uint64_t{0});
}

void MainWindow::ScheduleRefresh() {
    if (refreshPending_) return;
    refreshPending_ = true;
    QTimer::singleShot(0, this, [this] { Refresh(); });
}
void MainWindow::MeasureContents() {
    auto twips = [this](int px) { return PixelsToTwips(px, dpi_); };
    const QFontMetrics fm(font());
    FitMeasures& m = measures_;
    m.toolbar1Width = twips(toolbar1_->sizeHint().width() + 2);
    m.listMin = std::max(3300.0, m.toolbar1Width);
    m.sumsWidth = twips(fm.horizontalAdvance(QLatin1String(kWidestAmount)) + 10);
    int label = 0;
    for (Ctl c : {Ctl::Label2_2, Ctl::Label2_3, Ctl::Label2_4})
        label = std::max(label, control(c)->sizeHint().width());
    m.frame4Min = 120 + twips(label + 4) + 40 + m.sumsWidth + 120;
    m.frame7Min =
        240 + twips(std::max(options_[0]->sizeHint().width(), options_[1]->sizeHint().width()) + 6);
    m.frame3Min = 120 + twips(control(Ctl::Label3)->sizeHint().width() + 4) +
                  layout_[Ctl::DesFac].width + 120;
    QFont boldFont = font();
    boldFont.setBold(true);
    m.balanceWidth = twips(QFontMetrics(boldFont).horizontalAdvance(
                               QStringLiteral("Saldo Cuenta: ") + QLatin1String(kWidestAmount)) +
                           8);
    m.footerHeight =
        twips(std::max(filters_[0]->sizeHint().height(), exports_[0]->sizeHint().height()) + 2);
    m.statusHeight = twips(fm.height() + 8);
    const TwipRect least = MinimumClient(m);
    setMinimumSize(TwipsToPixels(least.width, dpi_), TwipsToPixels(least.height, dpi_));
}

void MainWindow::PlaceOnScreen() {
    const QRect available = screen() ? screen()->availableGeometry() : QRect(0, 0, 1280, 800);
    if (std::optional<WindowPlacement> p = LoadWindowPlacement()) {
        setGeometry(FitOnScreen(p->geometry, available, minimumSize()));
        startMaximised_ = p->maximised;
        for (int g = 1; g <= 2; ++g) {
            const QList<int>& widths = p->columnWidths[static_cast<std::size_t>(g - 1)];
            QTableView* view = grid(g);
            if (widths.size() != view->model()->columnCount()) continue;
            for (int c = 0; c < widths.size(); ++c) {
                if (view->isColumnHidden(c) || c == kColDescription || widths[c] <= 0) continue;
                view->setColumnWidth(
                    c, c == kColAmount ? std::max(widths[c], AmountColumnWidth(g)) : widths[c]);
            }
        }
        return;
    }
    // First start: most of the screen, never less than every control needs.
    QSize size(available.width() * 9 / 10, available.height() * 9 / 10);
    size = size.expandedTo(minimumSize());
    resize(size);
    move(available.center() - QPoint(size.width() / 2, size.height() / 2));
    if (x() < available.left()) move(available.left(), y());
    if (y() < available.top()) move(x(), available.top());
}

void MainWindow::StorePlacement() const {
    WindowPlacement p;
    p.maximised = isMaximized();
    p.geometry = p.maximised ? normalGeometry() : geometry();
    for (int g = 1; g <= 2; ++g) {
        QTableView* view = grid(g);
        QList<int>& widths = p.columnWidths[static_cast<std::size_t>(g - 1)];
        for (int c = 0; c < view->model()->columnCount(); ++c)
            widths.append(view->isColumnHidden(c) ? 0 : view->columnWidth(c));
    }
    StoreWindowPlacement(p);
}

int MainWindow::AmountColumnWidth(int g) const {
    return grid(g)->fontMetrics().horizontalAdvance(QLatin1String(kWidestAmount)) + 14;
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
    // Amounts of every size fit; the description takes what the other columns leave.
    view->setColumnWidth(kColAmount, std::max(view->columnWidth(kColAmount), AmountColumnWidth(g)));
    view->horizontalHeader()->setSectionResizeMode(kColDescription, QHeaderView::Stretch);
}

void MainWindow::SortBy(int g, int section) {
    GridProxy* proxy = gridProxy(g);
    QHeaderView* header = grid(g)->horizontalHeader();
    // A new column sorts up, the same column again down, a third time back to the grid's order;
    // the row-number column is always the grid's order.
    if (section <= 0 ||
        (section == proxy->sortColumn() && proxy->sortOrder() == Qt::DescendingOrder)) {
        proxy->sort(-1);
        header->setSortIndicator(-1, Qt::AscendingOrder);
        return;
    }
    const Qt::SortOrder order =
        section == proxy->sortColumn() ? Qt::DescendingOrder : Qt::AscendingOrder;
    proxy->sort(section, order);
    header->setSortIndicator(section, order);
}

void MainWindow::UpdateTotals(int g) {
    const auto i = static_cast<std::size_t>(g - 1);
    const Grid& grid = g == 1 ? w_.SGrid1 : w_.SGrid2;
    const bool filtered = !filters_[i]->text().trimmed().isEmpty();
    totals_[i]->setText(TotalsText(ComputeTotals(grid, *proxies_[i]), filtered));
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
    // The filters belong to the account they were typed for.
    if (w_.CTA.text() != shownAccount_) {
        shownAccount_ = w_.CTA.text();
        for (QLineEdit* f : filters_)
            f->clear();
    }
    for (int g = 1; g <= 2; ++g) {
        Grid& grid = g == 1 ? w_.SGrid1 : w_.SGrid2;
        if (!grid.redraw()) continue;  // drawn once redraw is back on
        if (changed(grid)) {
            models_[static_cast<std::size_t>(g - 1)]->Sync();
            UpdateTotals(g);
        }
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
    // Unsaved edits: a star after the active account and a note in the status bar.
    const QString status =
        Q(w_.Frame5.caption()) + (w_.UnsavedEdits ? QStringLiteral(" *") : QString());
    if (frame(Ctl::Frame5)->title() != status) frame(Ctl::Frame5)->setTitle(status);
    unsaved_->setVisible(w_.UnsavedEdits);
    for (std::size_t i = 0; i < 3; ++i)
        if (changed(w_.Sumas[i])) sumas_[i]->setText(Q(w_.Sumas[i].caption()));
    if (changed(w_.TituloL)) {
        tituloL_->setText(Q(w_.TituloL.caption()));
        tituloL_->setToolTip(Q(w_.TituloL.caption()));
    }
    if (changed(w_.AvisoPunteo) && !w_.AvisoPunteo.caption().empty()) {
        const QString notice = Q(w_.AvisoPunteo.caption());
        if (!notices_.contains(notice)) notices_.append(notice);
        aviso_->setText(notices_.size() == 1
                            ? QStringLiteral("⚠ Límite")
                            : QStringLiteral("⚠ Límite (%1)").arg(notices_.size()));
        aviso_->setToolTip(notices_.join(QLatin1Char('\n')) +
                           QStringLiteral("\n(pulse para cerrar el aviso)"));
        aviso_->show();
        ApplyLayout();
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
        if (QWidget* button = bar->widgetForAction(a)) {
            button->setFixedSize(kButtonSize, kButtonSize);
            // Tab reaches every button; Space or Enter presses it.
            button->setFocusPolicy(Qt::TabFocus);
            button->setAccessibleName(Q(b.toolTip));
        }
        int key = b.key;
        connect(a, &QAction::triggered, this, [this, which, key] { ClickToolbar(which, key); });
    }
    bar->repaint();
    UpdateTabOrder();
}

std::vector<QWidget*> MainWindow::tabOrder() const {
    std::vector<QWidget*> order{text1_};
    auto buttons = [&order](QToolBar* bar) {
        if (!bar) return;
        for (QAction* a : bar->actions())
            if (QWidget* b = bar->widgetForAction(a); b && !a->isSeparator()) order.push_back(b);
    };
    buttons(toolbar1_);
    order.push_back(list2_);
    order.push_back(options_[1]);
    order.push_back(options_[0]);
    order.push_back(command1_);
    order.push_back(desFac_);
    buttons(toolbar2_);
    for (std::size_t i = 0; i < 2; ++i) {
        order.push_back(grids_[i]);
        order.push_back(filters_[i]);
        order.push_back(exports_[i]);
    }
    order.push_back(previewButton_);
    order.push_back(runsButton_);
    return order;
}

void MainWindow::UpdateTabOrder() {
    const std::vector<QWidget*> order = tabOrder();
    for (QWidget* w : order)
        if (!w) return;  // still being built
    for (std::size_t i = 0; i + 1 < order.size(); ++i)
        setTabOrder(order[i], order[i + 1]);
}

void MainWindow::ApplyLayout() {
    for (std::size_t i = 0; i < kControlCount; ++i) {
        QWidget* widget = widgets_[i];
        if (!widget) continue;
        const TwipRect& r = layout_[static_cast<Ctl>(i)];
        widget->setGeometry(TwipsToPixels(r.left, dpi_), TwipsToPixels(r.top, dpi_),
                            TwipsToPixels(r.width, dpi_), TwipsToPixels(r.height, dpi_));
    }
    auto place = [this](QWidget* widget, const TwipRect& r) {
        if (!widget) return;
        widget->setGeometry(TwipsToPixels(r.left, dpi_), TwipsToPixels(r.top, dpi_),
                            TwipsToPixels(r.width, dpi_), TwipsToPixels(r.height, dpi_));
    };
    place(footers_[0], extras_.footer1);
    place(footers_[1], extras_.footer2);
    place(statusBar_, extras_.status);
    // The notice goes between the balance and the pictures when it fits there, otherwise it
    // takes the end of the title's room.
    const QRect balance = saldoCta_->geometry();
    const int noticeWidth = aviso_->sizeHint().width();
    const int free = images_[0]->geometry().left() - balance.right() - 16;
    if (free >= noticeWidth || !aviso_->isVisible()) {
        aviso_->setGeometry(balance.right() + 8, balance.top(), std::max(free, 1),
                            balance.height());
    } else {
        const int left = std::max(balance.left() - noticeWidth - 8, tituloL_->geometry().left());
        aviso_->setGeometry(left, balance.top(), noticeWidth, balance.height());
        QRect title = tituloL_->geometry();
        title.setRight(std::min(title.right(), left - 8));
        tituloL_->setGeometry(title);
    }
    int side = std::min(images_[0]->width(), images_[0]->height());
    for (int i = 0; i < 2; ++i)
        images_[static_cast<std::size_t>(i)]->setPixmap(StatusPicture(i, std::max(side, 1)));
}

void MainWindow::Relayout() {
    extras_ =
        FitLayout(layout_, PixelsToTwips(width(), dpi_), PixelsToTwips(height(), dpi_), measures_);
    ApplyLayout();
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    Relayout();
}
void MainWindow::paintEvent(QPaintEvent*) {
    if (extras_.frame3Left) return;  // the maintenance frame has the picture's place
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
        if (key < 0) return false;  // editing keys and Tab, which deliver no character
        MaskKey(key);
        return true;
    }
    if (event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        for (QLineEdit* f : filters_) {
            if (watched != f || f->text().isEmpty()) continue;
            f->clear();
            return true;
        }
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
    if (!KeepOrSaveEdits()) {
        event->ignore();
        return;
    }
    int cancel = 0;
    Gesture([this, &cancel] { Form_QueryUnload(w_, cancel, 0); });
    if (cancel != 0 && !ending_) {
        event->ignore();
        return;
    }
    if (!ending_) StorePlacement();
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
    BeginOutcome();
    Gesture([this] { Form_Activate(w_); });
    FinishOutcome(Outcome::Kind::AccountSaved);
    activating_ = false;
}

// --- Unsaved edits --------------------------------------------------------------------------

bool MainWindow::KeepOrSaveEdits() {
    if (!w_.UnsavedEdits || ending_) return true;
    const std::string title = Trim(w_.TituloL.caption());
    const std::string question = "¿Guardar los cambios de la cuenta " + Trim(w_.CTA.text()) +
                                 (title.empty() ? "" : " " + title) + "?";
    int answer = kVbCancel;
    BeginOutcome();
    Gesture([this, &answer, &question] {
        answer = w_.port.MsgBox(question, kYesNoCancel | kVbQuestion, kDefaultTitle);
        if (answer == kVbYes) Toolbar2_Click(w_, 2);  // the save of the active account
    });
    FinishOutcome(Outcome::Kind::AccountSaved);
    if (ending_) return false;
    return answer == kVbYes || answer == kVbNo;
}

bool MainWindow::Discards(int toolbar, int key) const {
    if (toolbar != 1) return false;
    const int selected = w_.List2.ListIndex();
    const int count = w_.List2.ListCount();
    switch (key) {
        case 80:
            return selected > 0;
        case 20:
            return selected + 1 < count;
        case 78:
            return selected >= 0;
        case 17:
            return count > 0;
        case 8:
        case 13:
            return true;
        default:
            return false;
    }
}

int MainWindow::ActiveEntry() const {
    const std::string& account = w_.CTA.text();
    if (Trim(account).empty()) return -1;
    for (int i = 0; i < w_.List2.ListCount(); ++i)
        if (w_.List2.List(i).rfind(account, 0) == 0) return i;
    return -1;
}

void MainWindow::RestoreListSelection() {
    const int active = ActiveEntry();
    w_.List2.SelectWithoutClick(active);
    syncingList_ = true;
    if (active >= 0) {
        list2_->selectionModel()->setCurrentIndex(listModel_->index(active),
                                                  QItemSelectionModel::ClearAndSelect);
    } else {
        list2_->selectionModel()->clearSelection();
    }
    syncingList_ = false;
    for (std::size_t i = 0; i < 2; ++i)
        options_[i]->setChecked(w_.Option1[i].value());
    Refresh();
}

// --- Outcomes -------------------------------------------------------------------------------

void MainWindow::BeginOutcome() {
    outcome_.reset();
    lastSave_.reset();
}

void MainWindow::FinishOutcome(Outcome::Kind forSave) {
    if (outcome_) {
        ShowOutcome(*outcome_);
    } else if (lastSave_) {
        Outcome o;
        o.kind = forSave;
        o.save = *lastSave_;
        ShowOutcome(o);
    }
    outcome_.reset();
    lastSave_.reset();
}

void MainWindow::ShowOutcome(const Outcome& outcome) {
    const QString text = DescribeOutcome(outcome);
    message_->setText(QTime::currentTime().toString(QStringLiteral("HH:mm")) +
                      QStringLiteral("  ") + text);
    message_->setToolTip(text);
}

QString MainWindow::statusText() const {
    return message_->toolTip();
}

void MainWindow::OnAccountSaved(const AccountSaveSummary& summary) {
    if (groupRun_) runEntries_ += summary.entriesWritten;
    lastSave_ = summary;
}

void MainWindow::OnToolbar1Changed() {
    const bool running = w_.Toolbar1.imageList() == kToolbar1RunImages;
    if (running && !groupRun_) {
        groupRun_ = true;
        runTotal_ = w_.List2.ListCount();
        runStep_ = 0;
        runIndex_ = -2;  // the first selection counts, whatever was selected before
        runEntries_ = 0;
        runLast_.clear();
    } else if (!running && groupRun_) {
        groupRun_ = false;
        Outcome o;
        o.kind = w_.StopRequested && runStep_ < runTotal_ ? Outcome::Kind::GroupSaveStopped
                                                          : Outcome::Kind::GroupSaveFinished;
        o.accountsDone = runStep_;
        o.accountsTotal = runTotal_;
        o.accountsLeft = w_.List2.ListCount();
        o.entriesWritten = runEntries_;
        o.lastAccount = runLast_;
        outcome_ = o;
        progress_->clear();
    }
}

void MainWindow::OnListChanged() {
    if (!groupRun_) return;
    const int i = w_.List2.ListIndex();
    if (i == runIndex_) return;
    runIndex_ = i;
    if (i < 0) return;
    // The run selects the next account: say which before it is loaded.
    const std::string& entry = w_.List2.List(i);
    runLast_ = entry.substr(0, entry.find(' '));
    ++runStep_;
    progress_->setText(
        QStringLiteral("Cuenta %1 de %2: %3").arg(runStep_).arg(runTotal_).arg(Q(runLast_)));
    progress_->repaint();
}

// --- Gestures -------------------------------------------------------------------------------

void MainWindow::ClickAccount(int index) {
    if (Busy()) return;
    if (!KeepOrSaveEdits()) {
        RestoreListSelection();
        return;
    }
    BeginOutcome();
    Gesture([this, index] {
        w_.List2.SetListIndex(index);
        if (!w_.List2.onClick) List2_Click(w_);
    });
    FinishOutcome(Outcome::Kind::AccountSaved);
}

void MainWindow::MaskKey(int key) {
    if (Busy()) return;
    if (key == 13 && !KeepOrSaveEdits()) return;
    int delivered = key;
    BeginOutcome();
    Gesture([this, &delivered] {
        std::int32_t k = delivered;
        Text1_KeyPress(w_, k);
        delivered = k;
    });
    if (key == 13 && !ending_) {
        Outcome o;
        o.kind = Outcome::Kind::ListFilled;
        o.accountsLeft = w_.List2.ListCount();
        o.pendingList = !w_.PendingOnly;  // each fill flips it: false after a pending list
        outcome_ = o;
    }
    FinishOutcome(Outcome::Kind::AccountSaved);
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
    if (Busy() || row < 1) return;
    Grid& grid = g == 1 ? w_.SGrid1 : w_.SGrid2;
    grid.Row = row;
    grid.Col = col;
    Gesture([this, g, row, col, shift] { SGrid_Click(w_, g, 0, shift ? 1 : 0, row, col); });
}

void MainWindow::DoubleClickStatus(int index) {
    (void)index;  // either picture saves
    if (Busy()) return;
    BeginOutcome();
    Gesture([this] { Image1_DblClick(w_); });
    FinishOutcome(Outcome::Kind::AccountSaved);
}

void MainWindow::ClickOption(int index) {
    if (Busy()) return;
    if (!KeepOrSaveEdits()) {
        RestoreListSelection();
        return;
    }
    w_.Option1[static_cast<std::size_t>(index)].setValue(true);
    w_.Option1[static_cast<std::size_t>(1 - index)].setValue(false);
    BeginOutcome();
    Gesture([this, index] { Option1_Click(w_, index); });
    FinishOutcome(Outcome::Kind::AccountSaved);
}

void MainWindow::ClickToolbar(int toolbar, int key) {
    // While a run lets events through, only its stop button may act.
    const bool stop = toolbar == 1 && key == 21;
    if (Busy() && !stop) return;
    if (stop) {
        Gesture([this] { Toolbar1_Click(w_, 21); });
        return;
    }
    if (Discards(toolbar, key) && !KeepOrSaveEdits()) {
        RestoreListSelection();
        return;
    }
    lastReport_.reset();
    BeginOutcome();
    Gesture([this, toolbar, key] {
        if (toolbar == 1)
            Toolbar1_Click(w_, key);
        else
            Toolbar2_Click(w_, key);
    });
    if (ending_) return;
    if (toolbar == 1 && key == 25 && lastReport_) {
        const ReportOutcome& r = *lastReport_;
        Outcome o;
        o.destination = r.destination;
        o.file = r.file;
        o.error = r.error;
        o.kind = !r.error.empty()  ? Outcome::Kind::ReportFailed
                 : r.cancelled     ? Outcome::Kind::ReportCancelled
                 : !r.file.empty() ? Outcome::Kind::ReportWritten
                                   : Outcome::Kind::ReportShown;
        outcome_ = o;
    } else if (toolbar == 1 && (key == 8 || key == 13)) {
        Outcome o;
        o.kind = Outcome::Kind::ListFilled;
        o.accountsLeft = w_.List2.ListCount();
        o.pendingList = !w_.PendingOnly;
        outcome_ = o;
    }
    FinishOutcome(toolbar == 1 && key == 78 ? Outcome::Kind::AccountCleared
                                            : Outcome::Kind::AccountSaved);
}

void MainWindow::ClickCommand1() {
    if (Busy()) return;
    BeginOutcome();
    Gesture([this] { Command1_Click(w_); });
    if (ending_) return;
    Outcome o;
    o.kind = Outcome::Kind::AllCleared;
    outcome_ = o;
    FinishOutcome(Outcome::Kind::AccountSaved);
}

void MainWindow::SaveActiveAccount() {
    if (Busy() || Trim(w_.CTA.text()).empty()) return;
    ClickToolbar(2, 17);
}

void MainWindow::ShowRuns(bool lastOnly) {
    if (Busy() || ending_ || !KeepOrSaveEdits()) return;
    const std::string first = w_.session.FirstCompanyFile;
    std::vector<RunInfo> runs;
    Gesture([&] {
        if (!Trim(first).empty() && RunJournal::Exists(first))
            runs = RunJournal(first, false).Runs();
    });
    if (ending_) return;
    std::optional<RunInfo> chosen;
    if (lastOnly) {
        if (!runs.empty()) chosen = runs.back();
    } else {
        RunsDialog dialog(runs, this);
        if (port_.Exec(dialog) != QDialog::Accepted) return;
        for (const RunInfo& r : runs)
            if (r.id == dialog.chosenRun()) chosen = r;
    }
    Outcome outcome;
    outcome.kind = Outcome::Kind::RunUndone;
    if (!chosen) {
        outcome.kind = Outcome::Kind::NoRuns;
        ShowOutcome(outcome);
        return;
    }
    const std::string question = "¿Deshacer el " + S(DescribeRun(*chosen)) + "?";
    if (port_.MsgBox(question, kVbYesNo | kVbQuestion, "Deshacer") != kVbYes) return;
    UndoResult result;
    Gesture([&] { result = UndoRun(first, chosen->id, "", PostingOptionsFor(w_.session)); });
    if (ending_) return;
    outcome.run = chosen->id;
    outcome.accountsDone = static_cast<int>(result.undone.size());
    for (const auto& [account, rows] : result.undone)
        outcome.entriesWritten += static_cast<int>(rows);
    outcome.accountsLeft = static_cast<int>(result.refused.size());
    if (!result.refused.empty()) {
        std::string text =
            "Estas cuentas no se han deshecho, porque tienen apuntes que han "
            "cambiado después del proceso " +
            std::to_string(chosen->id) + ":\n";
        int shown = 0;
        for (const auto& [account, conflicts] : result.refused) {
            if (++shown > 10) {
                text += "… y " + std::to_string(result.refused.size() - 10) + " cuentas más.";
                break;
            }
            text += "\nCuenta " + account + ":";
            for (std::size_t i = 0; i < conflicts.size() && i < 3; ++i)
                text += "\n  " + DescribeConflict(conflicts[i]);
            if (conflicts.size() > 3)
                text += "\n  … y " + std::to_string(conflicts.size() - 3) + " apuntes más";
        }
        port_.MsgBox(text, kVbExclamation, "Deshacer");
    }
    // The grids no longer show what the books hold; loading the account again would match and
    // save it again, so that is left to the user.
    if (outcome.accountsDone > 0) Gesture([this] { ClearGrids(w_); });
    ShowOutcome(outcome);
}

void MainWindow::PreviewSave() {
    if (Busy() || ending_ || Trim(w_.CTA.text()).empty()) return;
    SaveResult result;
    bool done = false;
    Gesture([&] {
        DryRun dry(w_.session);
        result = SaveAccount(w_.session, w_.Grids());
        done = true;
    });
    if (!done || ending_) return;
    RunSummary summary;
    summary.total = 1;
    summary.accounts = 1;
    summary.AddSave(result);
    PreviewDialog dialog(Q(Trim(w_.CTA.text())), Q(DescribeSummary(summary, true)).trimmed(),
                         result.changes, this);
    port_.Exec(dialog);
}

void MainWindow::NewReferenceKey() {
    if (Busy() || Trim(w_.CTA.text()).empty()) return;
    Gesture([this] { CreaRef_Click(w_); });
}

void MainWindow::FocusFilter() {
    if (Busy()) return;
    QWidget* focus = QApplication::focusWidget();
    const bool credit = focus && (focus == grids_[1] || grids_[1]->isAncestorOf(focus) ||
                                  footers_[1]->isAncestorOf(focus));
    QLineEdit* filter = filters_[credit ? 1 : 0];
    filter->setFocus(Qt::ShortcutFocusReason);
    filter->selectAll();
}

void MainWindow::CopyRows(int g) {
    const Grid& grid = g == 1 ? w_.SGrid1 : w_.SGrid2;
    QApplication::clipboard()->setText(VisibleRowsText(grid, *gridProxy(g)));
    Outcome o;
    o.kind = Outcome::Kind::RowsCopied;
    o.side = g;
    o.rows = VisibleEntries(grid, *gridProxy(g));
    ShowOutcome(o);
}

void MainWindow::ExportRows(int g, bool spreadsheet) {
    if (Busy()) return;
    const Grid& grid = g == 1 ? w_.SGrid1 : w_.SGrid2;
    const std::string side = g == 1 ? "debe" : "haber";
    const std::string account = Trim(w_.CTA.text());
    const std::string ext = spreadsheet ? ".xlsx" : ".csv";
    std::string path;
    Gesture([&] {
        path =
            w_.port.AskSaveFile("Exportar las filas visibles",
                                "pendientes-" + side + (account.empty() ? "" : "-" + account) + ext,
                                spreadsheet ? "Hoja de cálculo (*.xlsx)" : "CSV (*.csv)");
    });
    if (path.empty() || ending_) return;
    if (!EndsWithNoCase(path, ext)) path += ext;
    Outcome o;
    o.side = g;
    try {
        ExportVisibleRows(
            grid, *gridProxy(g),
            "Partidas pendientes del " + side + (account.empty() ? "" : " - " + account), path);
        o.kind = Outcome::Kind::RowsExported;
        o.rows = VisibleEntries(grid, *gridProxy(g));
        o.file = path;
    } catch (const std::exception& e) {
        o.kind = Outcome::Kind::ExportFailed;
        o.error = e.what();
    }
    ShowOutcome(o);
}

}  // namespace pendara
