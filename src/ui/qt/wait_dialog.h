#pragma once
// The notice shown while a save waits for a file another workstation holds: which file, how long
// the wait has lasted, and a button that gives the wait up (the save then writes nothing).

#include <QDialog>
#include <QTimer>

class QLabel;
class QPushButton;

namespace pendara {

class WaitDialog : public QDialog {
  public:
    explicit WaitDialog(QWidget* parent);

    // One poll of the wait: shows the dialog, says the file and the seconds waited and lets the
    // user's click through. False once the user gave the wait up.
    bool Poll(const QString& file, double seconds);
    // Starts a new wait (a new file, or the same one again after the first wait ended).
    void Reset();

    QPushButton* giveUpButton() const { return giveUp_; }
    QLabel* messageLabel() const { return message_; }

  private:
    QLabel* message_;
    QLabel* elapsed_;
    QPushButton* giveUp_;
    // Hides the dialog when the polls stop: the wait ended and the save went on.
    QTimer idle_;
    bool gaveUp_ = false;
};

}  // namespace pendara
