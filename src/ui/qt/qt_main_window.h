#pragma once
// The main window "Punteo automático de cuentas": draws the window state (Pndra) at the design
// places, follows the resize rules, and turns gestures into calls of the handlers.

#include <QPixmap>
#include <QStringList>
#include <QWidget>
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/report_output.h"
#include "ui/layout.h"
#include "ui/pndra.h"
#include "ui/qt/outcome.h"
#include "ui/qt/window_layout.h"

class QGroupBox;
class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QRadioButton;
class QTableView;
class QToolBar;
class QToolButton;

namespace pendara {

class QtPort;
class GridModel;
class GridProxy;
class GridView;
class AccountListView;
class ListModel;
class GaugeWidget;
class Observable;
class Toolbar;

// A picture that reports double clicks.
class PictureLabel;

class MainWindow : public QWidget {
    Q_OBJECT
  public:
    MainWindow(Pndra& w, QtPort& port);
    ~MainWindow() override;

    // Form_Load; false when the program ended during it (see exitCode()).
    bool Load();
    int exitCode() const { return exitCode_; }
    // The operating system ends the session: close at once, no handler runs.
    void EndSession();

    // Draws every control whose state changed since it was last drawn.
    void Refresh();

    // Gestures, as the widgets deliver them (tests call them too). Those that would throw away
    // unsaved edits in the grids ask first whether to save them.
    void ClickAccount(int index);
    void MaskKey(int key);
    void ClickCell(int grid, int row, int col, bool shift);
    void DoubleClickStatus(int index);
    void ClickOption(int index);
    void ClickToolbar(int toolbar, int key);
    void ClickCommand1();
    // Ctrl+S: saves the active account.
    void SaveActiveAccount();
    // The processes of the run journal, one of which may be undone (Ctrl+Z: the last one, after
    // a confirmation). The active account is loaded again afterwards.
    void ShowRuns(bool lastOnly);
    // What saving the active account would write (Ctrl+Mayús+S), with nothing written.
    void PreviewSave();
    QPushButton* previewButton() const { return previewButton_; }
    QPushButton* runsButton() const { return runsButton_; }
    // Alt+S ("&Sumar Contador Referencia"): a new reference for the next manual group.
    void NewReferenceKey();
    // Ctrl+F: the filter box of the grid that has the focus (the debit grid otherwise).
    void FocusFilter();
    // The visible rows of a grid to the clipboard, or to a CSV or spreadsheet file.
    void CopyRows(int grid);
    void ExportRows(int grid, bool spreadsheet);

    // The last operation's outcome, in the status bar.
    void ShowOutcome(const Outcome& outcome);
    QString statusText() const;

    // Whether the window should open maximised (as it was closed).
    bool startMaximised() const { return startMaximised_; }
    // Stores geometry and column widths (done when the window closes).
    void StorePlacement() const;

    // Widgets, for tests and screenshots.
    QWidget* control(Ctl c) const { return widgets_[static_cast<std::size_t>(c)]; }
    QTableView* grid(int g) const;
    GridModel* gridModel(int g) const { return models_[static_cast<std::size_t>(g - 1)]; }
    GridProxy* gridProxy(int g) const { return proxies_[static_cast<std::size_t>(g - 1)]; }
    QLineEdit* filterBox(int g) const { return filters_[static_cast<std::size_t>(g - 1)]; }
    QLabel* totalsLabel(int g) const { return totals_[static_cast<std::size_t>(g - 1)]; }
    QToolButton* exportButton(int g) const { return exports_[static_cast<std::size_t>(g - 1)]; }
    QWidget* footer(int g) const { return footers_[static_cast<std::size_t>(g - 1)]; }
    QWidget* statusBar() const { return statusBar_; }
    QLabel* progressLabel() const { return progress_; }
    QLabel* unsavedLabel() const { return unsaved_; }
    QListView* accountList() const;
    QLineEdit* maskBox() const { return text1_; }
    QToolBar* toolbar(int t) const { return t == 1 ? toolbar1_ : toolbar2_; }
    QLabel* sum(int i) const { return sumas_[static_cast<std::size_t>(i)]; }
    QLabel* balanceLabel() const { return saldoCta_; }
    QLabel* titleLabel() const { return tituloL_; }
    QLabel* noticeLabel() const { return aviso_; }
    QWidget* statusPicture(int i) const;
    QGroupBox* frame(Ctl c) const;
    const LayoutTable& layoutTable() const { return layout_; }
    const FitExtras& layoutExtras() const { return extras_; }
    const FitMeasures& measures() const { return measures_; }
    double dpi() const { return dpi_; }
    // The widgets that Tab visits, in order.
    std::vector<QWidget*> tabOrder() const;
    // The hidden controls that hold state or whose captions the design keeps.
    const std::vector<QWidget*>& hiddenControls() const { return hidden_; }
    Pndra& state() { return w_; }

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void Build();
    void BuildGrid(int g);
    void BuildStatusBar();
    void BuildShortcuts();
    void BuildHidden();
    void Watch(Observable& o, std::function<void()> also = {});
    void ScheduleRefresh();
    void MeasureContents();
    void PlaceOnScreen();
    void Relayout();
    void ApplyLayout();
    void RebuildToolbar(QToolBar* bar, const Toolbar& model, int which);
    void UpdateTabOrder();
    void SizeGridColumns(int g);
    int AmountColumnWidth(int g) const;
    void SortBy(int g, int section);
    void UpdateTotals(int g);
    void Activate();

    // Before the grids are thrown away: with unsaved edits, asks whether to save them (Sí saves
    // the active account, No lets them go, Cancelar keeps everything); true to go on.
    bool KeepOrSaveEdits();
    // Whether a toolbar key would load another account or empty the grids.
    bool Discards(int toolbar, int key) const;
    // The account list entry of the active account, -1 when none.
    int ActiveEntry() const;
    // Puts the list's selection back on the active account.
    void RestoreListSelection();
    // What the gestures that follow report in the status bar.
    void BeginOutcome();
    void FinishOutcome(Outcome::Kind forSave);
    void OnAccountSaved(const AccountSaveSummary& summary);
    void OnToolbar1Changed();
    void OnListChanged();
    // Runs a gesture's handler; ends the program when it says so.
    void Gesture(const std::function<void()>& handler);
    // A handler is running and has let pending events through (a group save, a report): user
    // gestures other than the stop button are ignored until it ends.
    bool Busy() const;
    void EndProgram(int code);

    Pndra& w_;
    QtPort& port_;
    LayoutTable layout_;
    double dpi_ = 96;
    FitMeasures measures_;
    FitExtras extras_;
    std::array<QWidget*, kControlCount> widgets_{};
    std::vector<QWidget*> hidden_;

    QLineEdit* text1_ = nullptr;
    QLineEdit* desFac_ = nullptr;
    AccountListView* list2_ = nullptr;
    ListModel* listModel_ = nullptr;
    std::array<GridView*, 2> grids_{};
    std::array<GridModel*, 2> models_{};
    std::array<GridProxy*, 2> proxies_{};
    std::array<QWidget*, 2> footers_{};
    std::array<QLineEdit*, 2> filters_{};
    std::array<QLabel*, 2> totals_{};
    std::array<QToolButton*, 2> exports_{};
    QWidget* statusBar_ = nullptr;
    QLabel* progress_ = nullptr;  // "Cuenta n de N: CÓDIGO" during a group save
    QLabel* message_ = nullptr;   // the last operation's outcome
    QLabel* unsaved_ = nullptr;   // shown while the grids hold unsaved edits
    QPushButton* runsButton_ = nullptr;
    QPushButton* previewButton_ = nullptr;
    QPushButton* command1_ = nullptr;
    std::array<QLabel*, 3> sumas_{};
    QLabel* saldoCta_ = nullptr;
    QLabel* tituloL_ = nullptr;
    std::array<PictureLabel*, 2> images_{};
    std::array<QRadioButton*, 2> options_{};
    QToolBar* toolbar1_ = nullptr;
    QToolBar* toolbar2_ = nullptr;
    GaugeWidget* gauge_ = nullptr;
    QLabel* aviso_ = nullptr;  // the enhanced matching's notices, beside the balance
    QStringList notices_;      // shown until the user dismisses them
    QPixmap background_;       // drawn once per size

    // Versions last drawn, per watched control.
    std::vector<std::pair<Observable*, std::uint64_t>> seen_;
    bool refreshPending_ = false;
    bool syncingList_ = false;
    bool activating_ = false;
    bool firstShow_ = true;
    bool pendingClose_ = false;
    bool ending_ = false;
    bool startMaximised_ = false;
    int exitCode_ = 0;
    std::string shownAccount_;  // the account the filters were typed for

    // The outcome of the gesture in progress, and the last save it made.
    std::optional<Outcome> outcome_;
    std::optional<AccountSaveSummary> lastSave_;
    std::optional<ReportOutcome> lastReport_;
    // The group save in progress, as the window follows it.
    bool groupRun_ = false;
    int runTotal_ = 0;
    int runStep_ = 0;
    int runIndex_ = -1;
    int runEntries_ = 0;
    std::string runLast_;
};

}  // namespace pendara
