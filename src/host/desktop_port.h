#pragma once
// The desktop port: every dialog and every piece of the desktop the logic needs, behind one
// interface. The Qt window, the console front end and the scripted test port implement it; the
// logic never calls a toolkit directly.

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pendara {

// Message box style values, added together as the program passes them (324 = Yes/No,
// information icon, "No" as default).
inline constexpr int kVbOKOnly = 0;
inline constexpr int kVbOKCancel = 1;
inline constexpr int kVbYesNo = 4;
inline constexpr int kVbCritical = 16;
inline constexpr int kVbQuestion = 32;
inline constexpr int kVbExclamation = 48;
inline constexpr int kVbInformation = 64;
inline constexpr int kVbDefaultButton2 = 256;
// Message box answers.
inline constexpr int kVbOK = 1;
inline constexpr int kVbCancel = 2;
inline constexpr int kVbYes = 6;
inline constexpr int kVbNo = 7;

// The title of a message box that names none.
inline constexpr const char* kDefaultTitle = "Pendara";

// Parts of a style value.
inline int StyleButtons(int style) {
    return style & 7;
}
inline int StyleIcon(int style) {
    return style & 0x70;
}
inline bool StyleDefaultsToSecond(int style) {
    return (style & 0x300) == kVbDefaultButton2;
}

// One account offered by the account look-up dialog.
struct AccountChoice {
    std::string code;
    std::string name;
};

// The parameter dialog's two tables: per item, values {label, value} and kinds {length, type}.
using ParameterValues = std::vector<std::array<std::string, 2>>;
using ParameterKinds = std::vector<std::array<std::int16_t, 2>>;

// Item kinds whose dialog leaves its numeric choice in the label column.
inline bool IsChoiceKind(std::int32_t kind) {
    return kind == 23 || kind == 25 || kind == 32 || kind == 71;
}

// One line of a report's selection criteria: "Fechas" / "del 01/01/25 al 31/12/25".
struct ReportCriterion {
    std::string label;
    std::string value;
};

// The grand totals a report closes with.
struct ReportTotals {
    std::int32_t accounts = 0;  // accounts listed
    double total = 0;
    double balance = 0;
    double difference = 0;
};

// Everything the report output is handed (see the report renderer for the layout).
struct ReportRequest {
    std::int32_t destination = 0;
    std::string title;
    std::string text;  // TAB-separated fields, CR LF line ends
    std::string date;  // dd/mm/yy
    std::string columns;
    std::string alignments;
    std::string companyName;  // the short name
    // Besides what the host is handed: the heading's full name and fiscal year ("" when
    // unknown), the criteria block and the closing totals (none: no block).
    std::string companyFullName = {};
    std::string fiscalYear = {};
    std::vector<ReportCriterion> criteria = {};
    std::optional<ReportTotals> totals = {};
};

// Where a report goes when it is not written to a file by the core.
enum class ReportScreenTarget { Preview, Printer };

// The strip on which the progress gauge draws. Colours are 0xBBGGRR.
class GaugeSurface {
  public:
    virtual ~GaugeSurface() = default;
    virtual void SetAutoRedraw(bool on) = 0;
    virtual void Cls() = 0;
    virtual void Refresh() = 0;
    virtual void SetForeColor(std::uint32_t bgr) = 0;
    virtual double ScaleWidth() const = 0;
    virtual double ScaleHeight() const = 0;
    virtual double TextWidth(const std::string& text) const = 0;
    virtual double TextHeight(const std::string& text) const = 0;
    virtual void FillBox(double x1, double y1, double x2, double y2, std::uint32_t bgr) = 0;
    // Prints text with its top-left corner at (x, y) in the foreground colour.
    virtual void PrintText(double x, double y, const std::string& text) = 0;
};

class DesktopPort {
  public:
    virtual ~DesktopPort() = default;

    // A modal message box; returns kVbOK, kVbYes, kVbNo... An empty title means kDefaultTitle.
    virtual int MsgBox(const std::string& text, int style, const std::string& title) = 0;
    // A modal input box; "" when cancelled. `secret` hides what is typed (access keys).
    virtual std::string InputBox(const std::string& prompt, const std::string& title,
                                 bool secret) = 0;
    // The account look-up dialog over a chart of accounts; the chosen code, "" when none.
    virtual std::string SelectAccount(const std::string& title,
                                      const std::vector<AccountChoice>& accounts) = 0;
    // The generic parameter dialog: edits column 1 of `values` in place (and column 0 for the
    // choice kinds); true when the user accepted. `accounts` lists the chart for account items.
    virtual bool ParameterDialog(const std::string& caption, ParameterValues& values,
                                 const ParameterKinds& kinds,
                                 const std::function<std::vector<AccountChoice>()>& accounts) = 0;
    // Shows a report on screen (a preview from which the user may print or save) or prints it.
    virtual void ShowReport(const ReportRequest& request, ReportScreenTarget target) = 0;
    // Asks where to save a file; "" when cancelled.
    virtual std::string AskSaveFile(const std::string& title, const std::string& suggestedName,
                                    const std::string& filter) = 0;
    // Lets pending window events run (repaint, the stop button) during a long run.
    virtual void DoEvents() = 0;
    // Opens a document with the desktop's default handler; the result is ignored.
    virtual void OpenDocument(const std::string& file, const std::string& folder) = 0;
    // The progress gauge's drawing surface.
    virtual GaugeSurface& Gauge() = 0;
    // A write has waited `seconds` for `file`, which another workstation holds; called again on
    // every poll while the wait goes on. False gives the wait up, and the write is not made. By
    // default the wait goes on in silence up to its limit.
    virtual bool WaitingForFile(const std::string& file, double seconds) {
        (void)file;
        (void)seconds;
        return true;
    }
};

}  // namespace pendara
