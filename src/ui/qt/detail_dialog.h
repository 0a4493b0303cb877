#pragma once
// The modal window "Detalle de Referencias" over the main window's grids.

#include <QDialog>
#include <array>

#include "ui/detail_window.h"

class QLabel;
class QLineEdit;
class QTableView;
class QToolBar;

namespace pendara {

class Pndra;
class QtPort;
class DetailModel;

class DetailDialog : public QDialog {
    Q_OBJECT
  public:
    DetailDialog(Pndra& w, QtPort& port, QWidget* parent = nullptr);

    DetailWindow& model() { return model_; }
    QTableView* grid() const { return fx1_; }
    QLineEdit* referenceBox() const { return text1_; }
    QLabel* sum(int i) const { return sumas_[static_cast<std::size_t>(i)]; }
    QToolBar* toolbar() const { return toolbar_; }
    // Runs a toolbar button as a click does.
    void ClickToolbar(int key);
    // Draws what changed in the model.
    void Refresh();

  protected:
    void showEvent(QShowEvent* event) override;
    bool event(QEvent* event) override;

  private:
    void Activate();

    Pndra& w_;
    QtPort& port_;
    DetailWindow model_;
    DetailModel* gridModel_;
    QTableView* fx1_;
    QLineEdit* text1_;
    QToolBar* toolbar_;
    std::array<QLabel*, 3> sumas_{};
    double dpi_ = 96;
};

}  // namespace pendara
