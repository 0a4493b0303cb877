#include "reports/menu.h"

#include <cmath>

#include "companies/session.h"
#include "host/desktop_port.h"
#include "host/numbers.h"
#include "host/qv_library.h"

namespace pendara {

namespace {

bool IsNormalisedNumericKind(std::int32_t tipo) {
    return (tipo >= 1 && tipo <= 4) || tipo == 6 || tipo == 7 || (tipo >= 80 && tipo <= 89);
}

constexpr std::int32_t kOptionKind = 31;
constexpr std::int32_t kDateKind = 5;
constexpr std::int32_t kVerbatimKind = 57;

int DaysIn(int month, int year) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month == 2 && ((year % 4 == 0 && year % 100 != 0) || year % 400 == 0)) return 29;
    return days[month - 1];
}

bool ReadPart(const std::string& s, std::size_t& i, int& value, int& digits) {
    value = 0;
    digits = 0;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') {
        value = value * 10 + (s[i] - '0');
        ++i;
        if (++digits > 4) return false;
    }
    return digits > 0;
}

}  // namespace

double MenuNumber(const MenuValue& v) {
    if (const double* d = std::get_if<double>(&v)) return *d;
    if (const std::string* s = std::get_if<std::string>(&v)) return LeadingNumber(*s);
    if (const CalendarDate* c = std::get_if<CalendarDate>(&v))
        return c->year * 10000.0 + c->month * 100.0 + c->day;
    return 0;
}

std::string MenuNumberText(double value) {
    if (value == 0) return "0";
    // Plain digits: the dialog reads its numbers from the start of the text, where "1E-05"
    // would be 1.
    std::string s = std::isfinite(value) ? PlainText(value, 15) : Upper(GeneralText(value, 15));
    if (s.rfind("0.", 0) == 0) s.erase(0, 1);
    if (s.rfind("-0.", 0) == 0) s.erase(1, 1);
    return s;
}

bool ParseMenuDate(const std::string& text, CalendarDate& date) {
    std::string s = Trim(text);
    std::size_t i = 0;
    int parts[3];
    int digits[3];
    for (int k = 0; k < 3; ++k) {
        if (!ReadPart(s, i, parts[k], digits[k])) return false;
        if (k < 2) {
            if (i >= s.size() || (s[i] != '/' && s[i] != '-' && s[i] != '.')) return false;
            ++i;
        }
    }
    if (i != s.size() || digits[0] > 2 || digits[1] > 2) return false;
    if (digits[2] != 2 && digits[2] != 4) return false;
    int year = parts[2];
    // Two-digit years follow the compact-date window: below 60 is this century.
    if (digits[2] == 2) year += year < 60 ? 2000 : 1900;
    if (parts[1] < 1 || parts[1] > 12 || parts[0] < 1 || parts[0] > DaysIn(parts[1], year))
        return false;
    date = CalendarDate{year, parts[1], parts[0]};
    return true;
}

Menu::Menu(QvLibrary& library, std::string companyFile)
    : library_(library), companyFile_(std::move(companyFile)) {}

Menu::Menu(Session& s) : Menu(s.Lib(), s.ActiveCompanyFile) {}

void Menu::Preset(std::int16_t Index, std::string text) {
    if (Index < 1) return;
    presets_.push_back({static_cast<std::size_t>(Index - 1), false, std::move(text)});
}

void Menu::PresetChoice(std::int16_t Index, std::string choice) {
    if (Index < 1) return;
    presets_.push_back({static_cast<std::size_t>(Index - 1), true, std::move(choice)});
}

Items& Menu::AddItem(const std::string& Descripcion, std::int32_t Tipo, std::int16_t Longitud,
                     const std::string& ValorporDefecto) {
    items_.push_back(Items{Descripcion, Tipo, Longitud, ValorporDefecto});
    return items_.back();
}

std::string Menu::GetText(std::int16_t Index) const {
    if (Index < 1 || Index > count()) return "";
    return answers_[static_cast<std::size_t>(Index - 1)].Text;
}

MenuValue Menu::GetVal(std::int16_t Index) const {
    if (Index < 1 || Index > count()) return MenuValue{};
    return answers_[static_cast<std::size_t>(Index - 1)].Value;
}

std::int16_t Menu::GetOption() const {
    for (std::size_t i = 0; i < kinds_.size(); ++i) {
        if (kinds_[i][1] != kOptionKind) continue;
        if (MenuNumber(GetVal(static_cast<std::int16_t>(i + 1))) == -1)
            return static_cast<std::int16_t>(i + 1);
    }
    return 0;
}

bool Menu::Show() {
    const std::size_t n = items_.size();
    if (n == 0) return false;
    ParameterValues values(n);
    kinds_.assign(n, {0, 0});
    for (std::size_t i = 0; i < n; ++i) {
        const Items& item = items_[i];
        values[i][0] = item.Descripcion;
        kinds_[i][0] = item.Longitud;
        kinds_[i][1] = static_cast<std::int16_t>(item.Tipo);
        values[i][1] = IsNormalisedNumericKind(item.Tipo)
                           ? MenuNumberText(LeadingNumber(item.ValorporDefecto))
                           : item.ValorporDefecto;
    }
    for (const PresetAnswer& p : presets_)
        if (p.item < n) values[p.item][p.choice ? 0 : 1] = p.text;
    if (!library_.ParameterDialog(caption, values, kinds_, companyFile_)) return false;

    answers_.clear();
    for (std::size_t i = 0; i < n; ++i) {
        const std::int32_t tipo = kinds_[i][1];
        retval answer;
        answer.Text = values[i][1];
        if (tipo == kDateKind) {
            CalendarDate date;
            if (ParseMenuDate(answer.Text, date))
                answer.Value = date;
            else
                answer.Value = std::string();
        } else if (tipo == kVerbatimKind) {
            answer.Value = answer.Text;
        } else if (IsChoiceKind(tipo)) {
            answer.Value = LeadingNumber(values[i][0]);
        } else {
            answer.Value = LeadingNumber(answer.Text);
        }
        answers_.push_back(std::move(answer));
    }
    return true;
}

void Menu::Clear() {
    items_.clear();
}

}  // namespace pendara
