#pragma once
// The generic parameter dialog: one labelled input per item, by the item's kind.
//   0 text mask, 20 account (digits only, with a look-up button), 5 date (dd/mm/yy),
//   30 check box ("1"/"0"), 31 option (the chosen one gets -1), 61 mark character (one
//   character), 1-7 and 80-89 numbers, 71 output choice (its code goes to the label column).
// Each input is named "item<i>" so that it can be found by position.

#include <QDialog>
#include <QString>
#include <functional>
#include <string>
#include <vector>

#include "host/desktop_port.h"

namespace pendara {

class ParameterForm : public QDialog {
    Q_OBJECT
  public:
    ParameterForm(const QString& caption, const ParameterValues& values,
                  const ParameterKinds& kinds, QWidget* parent = nullptr);

    // Writes the answers into the values table (column 1; column 0 for the output choice).
    void Store(ParameterValues& values) const;
    QWidget* input(int i) const { return inputs_[static_cast<std::size_t>(i)]; }

    // Account look-up: given the current text, the chosen code (or the text unchanged).
    std::function<QString(const QString&)> lookUp;
    // The key filter of account inputs: the key to let through, 0 to refuse it.
    std::function<int(int)> accountKey;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    std::vector<QWidget*> inputs_;
    ParameterKinds kinds_;
    std::vector<QWidget*> accountInputs_;
};

bool IsNumberKind(int kind);
// Numbers are shown with a decimal comma ("0,01") and handed back with the decimal point that
// the parameter list reads (".01" in, "0.01" out); what the user types is read as the program
// reads numbers (a lone "." is a decimal point, otherwise "." groups thousands).
std::string NumberForDialog(const std::string& value);
std::string NumberFromDialog(const std::string& text);

}  // namespace pendara
