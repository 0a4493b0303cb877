#pragma once
// The main window's state: every control the logic reads or writes, and the process-wide state
// the subsystems share. The Qt window draws this object and turns gestures into handler calls;
// the headless front end and the tests drive the same object.

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/desktop_port.h"
#include "ui/controls.h"
#include "ui/gauge.h"
#include "ui/str_builder.h"

namespace pendara {

class QvLibrary;
class PostingRun;

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

// The catalogue starts with room for this many companies and grows when a chain is longer.
inline constexpr int kCatalogueSize = 100;

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
    // The host library object, created on first use and kept for the life of the window.
    QvLibrary& Lib();

    // --- Controls -----------------------------------------------------------------------------
    TextBox CTA;     // the active account (hidden)
    TextBox Text1;   // account mask for the account list
    TextBox newref;  // the next reference number (hidden)
    TextBox DesFac;  // "Descripción para facturas:", starts as " Fra"
    Grid SGrid1{8};  // open debit entries
    Grid SGrid2{8};  // open credit entries
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
    std::string ActiveCompanyFile;
    std::string FirstCompanyFile;
    std::string CurrentFolder;
    std::string CurrentCode;
    std::string AccessKey;
    std::vector<std::string> ConsultedFiles = std::vector<std::string>(kCatalogueSize);
    std::int32_t ConsultedCount = 0;
    std::int32_t CompanyCount = 0;
    std::vector<std::string> CompanyFiles{""};  // index 0 unused
    std::vector<std::string> EntryFiles{""};    // index 0 unused
    bool PendingOnly = false;
    bool Activated = false;
    bool StopRequested = false;
    // The enhanced matching mode for every run of this window, whatever the stored setting.
    bool EnhancedForced = false;
    // The journal run that the saves of a group save go into (none outside one).
    PostingRun* RunInProgress = nullptr;
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

    // The progress gauge and the shared text buffer.
    Gauge gauge;
    StrBuilder detailText;

    // Draws the gauge (see Gauge::Update).
    void UpdateGauge(std::int32_t value, std::optional<std::int32_t> maximum = std::nullopt) {
        gauge.Update(value, maximum);
    }

    // The text of the selected company-list entry's catalogue file ("" when none is selected).
    std::string SelectedCompanyFile() const;

  private:
    std::unique_ptr<QvLibrary> library_;
};

}  // namespace pendara
