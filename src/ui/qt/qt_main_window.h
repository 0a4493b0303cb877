#pragma once
// The main window "Punteo automático de cuentas": draws the window state (Pndra) at the design
// places, follows the resize rules, and turns gestures into calls of the handlers.

#include <QPixmap>
#include <QStringList>
#include <QWidget>
#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "ui/layout.h"

class QGroupBox;
class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QRadioButton;
class QTableView;
class QToolBar;

namespace pendara {

class Pndra;
class QtPort;
class GridModel;
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

    // Gestures, as the widgets deliver them (tests call them too).
    void ClickAccount(int index);
    void MaskKey(int key);
    void ClickCell(int grid, int row, int col, bool shift);
    void DoubleClickStatus(int index);
    void ClickOption(int index);
    void ClickToolbar(int toolbar, int key);
    void ClickCommand1();

    // Widgets, for tests and screenshots.
    QWidget* control(Ctl c) const { return widgets_[static_cast<std::size_t>(c)]; }
    QTableView* grid(int g) const { return grids_[static_cast<std::size_t>(g - 1)]; }
    GridModel* gridModel(int g) const { return models_[static_cast<std::size_t>(g - 1)]; }
    QListView* accountList() const { return list2_; }
    QLineEdit* maskBox() const { return text1_; }
    QToolBar* toolbar(int t) const { return t == 1 ? toolbar1_ : toolbar2_; }
    QLabel* sum(int i) const { return sumas_[static_cast<std::size_t>(i)]; }
    QLabel* balanceLabel() const { return saldoCta_; }
    QLabel* titleLabel() const { return tituloL_; }
    QLabel* noticeLabel() const { return aviso_; }
    QWidget* statusPicture(int i) const;
    QGroupBox* frame(Ctl c) const;
    const LayoutTable& layoutTable() const { return layout_; }
    double dpi() const { return dpi_; }
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
    void BuildHidden();
    void Watch(Observable& o);
    void ScheduleRefresh();
    void ApplyLayout();
    void RebuildToolbar(QToolBar* bar, const Toolbar& model, int which);
    void SizeGridColumns(int g);
    void Activate();
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
    std::array<QWidget*, kControlCount> widgets_{};
    std::vector<QWidget*> hidden_;

    QLineEdit* text1_ = nullptr;
    QLineEdit* desFac_ = nullptr;
    QListView* list2_ = nullptr;
    ListModel* listModel_ = nullptr;
    std::array<QTableView*, 2> grids_{};
    std::array<GridModel*, 2> models_{};
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
    int exitCode_ = 0;
};

}  // namespace pendara
