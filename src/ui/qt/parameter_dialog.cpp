#include "ui/qt/parameter_dialog.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QToolButton>
#include <QVBoxLayout>
#include <QValidator>
#include <algorithm>

#include "host/conversions.h"
#include "host/report_output.h"
#include "host/utf8.h"
#include "ui/qt/qt_text.h"

namespace pendara {

namespace {

constexpr int kText = 0;
constexpr int kDate = 5;
constexpr int kAccount = 20;
constexpr int kCheck = 30;
constexpr int kOption = 31;
constexpr int kMark = 61;
constexpr int kOutput = 71;

// At most `limit` characters in a line edit: Qt's own maximum length counts UTF-16 units, so a
// character beyond the 16-bit range would take two places.
class CharacterLimit : public QValidator {
  public:
    CharacterLimit(std::size_t limit, QObject* parent) : QValidator(parent), limit_(limit) {}
    State validate(QString& input, int&) const override {
        return Utf8Length(S(input)) <= limit_ ? Acceptable : Invalid;
    }

  private:
    std::size_t limit_;
};

// Limits an edit to `limit` characters, cutting what it already holds as a maximum length would.
void LimitCharacters(QLineEdit* edit, int limit) {
    const auto n = static_cast<std::size_t>(limit);
    edit->setText(Q(std::string(Utf8Left(S(edit->text()), n))));
    edit->setValidator(new CharacterLimit(n, edit));
}

}  // namespace

std::string NumberForDialog(const std::string& value) {
    if (Trim(value).empty()) return "";
    return ValueText(LeadingNumber(value));
}

std::string NumberFromDialog(const std::string& text) {
    std::string t = text;
    if (Trim(t).empty()) return "";
    std::string v = ValueText(ParseNumber(t));
    for (char& c : v)
        if (c == ',') c = '.';
    return v;
}

bool IsNumberKind(int kind) {
    return (kind >= 1 && kind <= 7 && kind != kDate) || (kind >= 80 && kind <= 89);
}

ParameterForm::ParameterForm(const QString& caption, const ParameterValues& values,
                             const ParameterKinds& kinds, QWidget* parent)
    : QDialog(parent), kinds_(kinds) {
    setWindowTitle(caption);
    auto* outer = new QVBoxLayout(this);
    // The caption again inside: a dialog without a window frame still says what it asks.
    auto* heading = new QLabel(caption, this);
    heading->setObjectName(QStringLiteral("caption"));
    QFont bold = heading->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() + 1);
    heading->setFont(bold);
    outer->addWidget(heading);
    auto* form = new QFormLayout();
    form->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    outer->addLayout(form);
    auto* options = new QButtonGroup(this);
    QFontMetrics fm(font());
    const int digit = fm.horizontalAdvance(QLatin1Char('0'));

    for (std::size_t i = 0; i < values.size(); ++i) {
        int length = i < kinds.size() ? kinds[i][0] : 0;
        int kind = i < kinds.size() ? kinds[i][1] : kText;
        QString label = Q(values[i][0]);
        QString value = Q(values[i][1]);
        QWidget* input = nullptr;
        QWidget* row = nullptr;

        if (kind == kCheck) {
            auto* box = new QCheckBox(this);
            box->setChecked(LeadingNumber(values[i][1]) != 0);
            input = box;
        } else if (kind == kOption) {
            auto* radio = new QRadioButton(this);
            options->addButton(radio);
            radio->setChecked(LeadingNumber(values[i][1]) != 0);
            input = radio;
        } else if (kind == kOutput) {
            auto* combo = new QComboBox(this);
            const std::vector<std::string>& names = ReportDestinationNames();
            for (std::size_t code = 0; code < names.size(); ++code)
                combo->addItem(Q(names[code]), static_cast<int>(code));
            int current = combo->findData(static_cast<int>(LeadingNumber(values[i][0])));
            combo->setCurrentIndex(current < 0 ? 0 : current);
            input = combo;
        } else {
            auto* edit = new QLineEdit(this);
            if (kind == kMark) {
                // The mark's value travels in the length when the value column is empty.
                edit->setText(value.isEmpty() ? QString::number(length) : value);
                LimitCharacters(edit, 1);
                edit->setFixedWidth(digit * 4);
                edit->setAlignment(Qt::AlignCenter);
            } else {
                edit->setText(value);
                if (kind == kDate) {
                    edit->setInputMask(QStringLiteral("99/99/99"));
                    edit->setText(value);
                    edit->setFixedWidth(digit * 12);
                } else if (IsNumberKind(kind)) {
                    edit->setText(Q(NumberForDialog(values[i][1])));
                    edit->setAlignment(Qt::AlignRight);
                    edit->setValidator(new QRegularExpressionValidator(
                        QRegularExpression(QStringLiteral("[-+]?[0-9.,]*")), edit));
                    edit->setFixedWidth(digit * (std::max(length, 6) + 4));
                } else if (kind == kAccount) {
                    edit->installEventFilter(this);
                    accountInputs_.push_back(edit);
                    if (length > 0) LimitCharacters(edit, length);
                    edit->setFixedWidth(digit * (std::max<int>(length, 10) + 4));
                } else if (length > 0) {
                    LimitCharacters(edit, length);
                    edit->setFixedWidth(digit * (length + 4));
                }
            }
            input = edit;
            if (kind == kAccount) {
                auto* holder = new QWidget(this);
                auto* h = new QHBoxLayout(holder);
                h->setContentsMargins(0, 0, 0, 0);
                h->addWidget(edit);
                auto* find = new QToolButton(holder);
                find->setText(QStringLiteral("..."));
                find->setToolTip(QStringLiteral("Buscar cuenta"));
                find->setObjectName(QStringLiteral("lookup%1").arg(i));
                connect(find, &QToolButton::clicked, this, [this, edit] {
                    if (lookUp) edit->setText(lookUp(edit->text()));
                });
                h->addWidget(find);
                h->addStretch();
                row = holder;
            }
        }
        input->setObjectName(QStringLiteral("item%1").arg(i));
        inputs_.push_back(input);
        form->addRow(label, row ? row : input);
    }

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(QStringLiteral("Aceptar"));
    buttons->button(QDialogButtonBox::Cancel)->setText(QStringLiteral("Cancelar"));
    outer->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

bool ParameterForm::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress || !accountKey)
        return QDialog::eventFilter(watched, event);
    auto* edit = qobject_cast<QLineEdit*>(watched);
    if (!edit ||
        std::find(accountInputs_.begin(), accountInputs_.end(), edit) == accountInputs_.end())
        return QDialog::eventFilter(watched, event);
    auto* e = static_cast<QKeyEvent*>(event);
    // Keys that deliver no character (arrows, delete) are not the filter's business; a
    // character beyond the 16-bit range is one key too.
    const QList<uint> codes = e->text().toUcs4();
    if (codes.size() != 1 || !QChar::isPrint(static_cast<char32_t>(codes[0]))) return false;
    return accountKey(static_cast<int>(codes[0])) == 0;
}

void ParameterForm::Store(ParameterValues& values) const {
    for (std::size_t i = 0; i < values.size() && i < inputs_.size(); ++i) {
        QWidget* input = inputs_[i];
        if (auto* box = qobject_cast<QCheckBox*>(input)) {
            values[i][1] = box->isChecked() ? "1" : "0";
        } else if (auto* radio = qobject_cast<QRadioButton*>(input)) {
            values[i][1] = radio->isChecked() ? "-1" : "0";
        } else if (auto* combo = qobject_cast<QComboBox*>(input)) {
            values[i][0] = std::to_string(combo->currentData().toInt());
        } else if (auto* edit = qobject_cast<QLineEdit*>(input)) {
            QString t = edit->text();
            // An empty date box reads back as its separators only.
            const int kind = i < kinds_.size() ? kinds_[i][1] : kText;
            if (!edit->inputMask().isEmpty() && t.remove(QLatin1Char('/')).trimmed().isEmpty())
                values[i][1].clear();
            else if (IsNumberKind(kind))
                values[i][1] = NumberFromDialog(S(edit->text()));
            else
                values[i][1] = S(edit->text());
        }
    }
}

}  // namespace pendara
