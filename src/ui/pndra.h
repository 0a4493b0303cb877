#pragma once
// The main window's state: every control the logic reads or writes, and the process-wide state
// the subsystems share. The Qt window draws this object and turns gestures into handler calls;
// the headless front end and the tests drive the same object.

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "companies/session.h"
#include "host/desktop_port.h"
#include "host/gauge.h"
#include "model/account.h"
#include "ui/controls.h"
#include "ui/str_builder.h"

namespace pendara {

// Button maps of the two toolbars and of the group-run state.
inline constexpr const char* kToolbar1Images = "80,20,-1,23,-1,78,17,25,8,12,13,112";
inline constexpr const char* kToolbar1Tips =
    "Anterior,Siguiente,,Empresas Consultadas,,Borrar Referencias de la cuenta seleccionada en "
    "todas las empresas,Conciliar y guardar punteo en contabilidad de todo el grupo,Informe,"
    "Presentar todas las cuentas,Configurar opciones de Punteo,Borrar Referencias y Punteo de "
    "todas las cuentas,Ayuda";
inline constexpr const char* kToolbar1RunImages = "21";
inline constexpr const char* kToolbar1RunTips = "Parar Proceso";
inline constexpr const char* kToolbar2Images = "117,25,17,78";
inline constexpr const char* kToolbar2Tips =
    "Forzar Punteo cuando saldo sea 0,Ver detalle de la referencia seleccionada,Conciliar y "
    "guardar punteo en contabilidad de cuenta activa,Borrar referencia del apunte seleccionado";

inline constexpr std::uint32_t kColourBlack = 0;
inline constexpr std::uint32_t kColourRed = 255;

struct ReportOutcome;

// What one save of the active account wrote, as far as the window state can tell.
struct AccountSaveSummary {
    std::string account;     // the active account's code
    int entriesWritten = 0;  // grid rows written into the entries files
    int references = 0;      // distinct system references among them
    int entriesOpen = 0;     // rows left open in the grids afterwards
};

class Pndra {
  public:
    explicit Pndra(DesktopPort& port);
    ~Pndra();
    Pndra(const Pndra&) = delete;
    Pndra& operator=(const Pndra&) = delete;

    DesktopPort& port;
    // The process-wide state the operations share: catalogue, access key, current company.
    Session session;

    // --- Controls -----------------------------------------------------------------------------
    TextBox CTA;     // the active account (hidden)
    TextBox Text1;   // account mask for the account list
    TextBox newref;  // the next reference number (hidden)
    TextBox DesFac;  // "Descripción para facturas:", starts as " Fra"
    Grid SGrid1;     // open debit entries
    Grid SGrid2;     // open credit entries
    ListBox List1;   // companies taking part (hidden); item data = index into ConsultedFiles
    ListBox List2;   // the account list
    Frame Frame1, Frame2, Frame3, Frame4, Frame5, Frame7;
    std::array<Label, 3> Sumas;
    Label SaldoCta;
    Label TituloL;
    Label Ultima;
    std::array<Picture, 2> Image1;  // (0) balance zero, (1) balance not zero
    CheckBox Check1;                // "Borrar todas las referencias" (hidden)
    std::array<OptionButton, 2> Option1;
    Toolbar Toolbar1;
    Toolbar Toolbar2;
    // Notices of the enhanced matching mode (its search reached its limit on an account).
    Label AvisoPunteo;

    // --- Process-wide state ------------------------------------------------------------------
    std::string CommandLine;  // the whole command line, untrimmed
    // The chain the account last loaded was read from, by company number (index 0 unused): the
    // company files and their entries files, where a save writes the grids' rows.
    std::vector<std::string> CompanyFiles{""};
    std::vector<std::string> EntryFiles{""};
    bool PendingOnly = false;
    bool Activated = false;
    bool StopRequested = false;
    // The enhanced matching mode for every run of this window, whatever the stored setting.
    bool EnhancedForced = false;
    std::int16_t SelectedCol = 0;
    std::int16_t SelectedRow = 0;
    std::int16_t SelectedGrid = 0;
    // The reference last shown by the sums (trimmed).
    std::string CurrentReference;
    // References given or taken away by hand in the grids and not yet written; loading or
    // saving the account clears it.
    bool UnsavedEdits = false;
    // Told after every save of the active account.
    std::function<void(const AccountSaveSummary&)> onAccountSaved;
    // Told after every report output (the file written, the cancel or the failure).
    std::function<void(const ReportOutcome&)> onReportOutput;

    // The progress gauge and the shared text buffer.
    Gauge gauge;
    StrBuilder detailText;

    // Shows the reference detail window modally over this state (the front end's window; nothing
    // is shown without one).
    std::function<void(Pndra&)> showReferenceDetail;

    // Draws the gauge (see Gauge::Update).
    void UpdateGauge(std::int32_t value, std::optional<std::int32_t> maximum = std::nullopt) {
        gauge.Update(value, maximum);
    }
    // The services' progress, drawn on the gauge.
    Progress GaugeProgress() { return pendara::GaugeProgress(gauge); }

    // The text of the selected company-list entry's catalogue file ("" when none is selected).
    std::string SelectedCompanyFile() const;
    // The account on the grids, as a save takes it.
    LoadedAccount Grids() const;
};

}  // namespace pendara
