#pragma once
// The typed parameter dialog: a caller adds items (label, kind, length, default), shows the
// dialog through the host library and reads the answers back by 1-based position.

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "host/conversions.h"
#include "host/desktop_port.h"

namespace pendara {

class QvLibrary;
class Session;

// An answer's value: empty, a number, a text or a date.
using MenuValue = std::variant<std::monostate, double, std::string, CalendarDate>;

// The numeric value of an answer: a number as it is, a text by its leading number, a date as
// yyyymmdd, empty as 0.
double MenuNumber(const MenuValue& v);
// True when the value is non-zero (the report's check boxes).
inline bool MenuTruth(const MenuValue& v) {
    return MenuNumber(v) != 0;
}

// A number as the dialog is handed it: "." as decimal point, no leading blank, no zero before
// the point between -1 and 1 (0.01 -> ".01", -0.5 -> "-.5", 12 -> "12").
std::string MenuNumberText(double value);

// A day-first date the dialog accepts (d/m/yy, dd/mm/yyyy; "/", "-" or "." between parts).
bool ParseMenuDate(const std::string& text, CalendarDate& date);

struct Items {
    std::string Descripcion;
    std::int32_t Tipo = 0;
    std::int16_t Longitud = 0;
    std::string ValorporDefecto;
};

struct retval {
    std::string Text;
    MenuValue Value;
};

class Menu {
  public:
    // companyFile names the company whose chart the dialog offers for account items.
    explicit Menu(QvLibrary& library, std::string companyFile = "");
    // Through the session's host library, over the active company.
    explicit Menu(Session& s);

    std::string caption;

    Items& AddItem(const std::string& Descripcion, std::int32_t Tipo, std::int16_t Longitud,
                   const std::string& ValorporDefecto);
    std::int16_t count() const { return static_cast<std::int16_t>(answers_.size()); }
    std::string GetText(std::int16_t Index) const;
    std::int16_t GetOption() const;
    MenuValue GetVal(std::int16_t Index) const;
    bool Show();
    void Clear();

    // An answer given before the dialog opens: the text item `Index` starts with in the dialog,
    // put in after its default was handed over as its kind wants (a command line answers the
    // dialog this way). For the kinds that leave a numeric choice, `choice` is that number.
    void Preset(std::int16_t Index, std::string text);
    void PresetChoice(std::int16_t Index, std::string choice);

    const std::vector<Items>& items() const { return items_; }

  private:
    QvLibrary& library_;
    std::string companyFile_;
    std::vector<Items> items_;
    struct PresetAnswer {
        std::size_t item;
        bool choice;  // the label column, where a choice kind leaves its number
        std::string text;
    };
    std::vector<PresetAnswer> presets_;
    ParameterKinds kinds_;
    std::vector<retval> answers_;
};

}  // namespace pendara
