#include "group/group_commands.h"

#include "companies/catalogue.h"
#include "posting/save.h"
#include "ui/main_window.h"
#include "ui/pndra.h"

namespace pendara {

namespace {
constexpr int kConfirmStyle = kVbYesNo | kVbInformation | kVbDefaultButton2;  // 324

// Puts the normal buttons back when the run leaves, also by an exception.
struct NormalToolbarOnExit {
    Toolbar& toolbar;
    ~NormalToolbarOnExit() { toolbar.SetButtons(kToolbar1Images, kToolbar1Tips); }
};
}  // namespace

std::string Ver_empresas(Pndra& w) {
    std::string text;
    for (int i = 0; i < w.List1.ListCount(); ++i)
        text += w.List1.List(i) + "\r\n";
    return text;
}

std::string ClearAccountQuestion(const std::string& entry) {
    return "Se borraran todos los punteos y referencias de punteo de la cuenta " + entry +
           " ¿Esta usted seguro?";
}

void ClearSelectedAccount(Pndra& w) {
    const int selected = w.List2.ListIndex();
    if (selected < 0) return;
    const std::string entry = w.List2.List(selected);
    if (w.port.MsgBox(ClearAccountQuestion(entry), kConfirmStyle, kDefaultTitle) != kVbYes) return;
    ClearAccountReferences(w.session, entry);
    List2_Click(w);
}

void GroupSaveRun(Pndra& w) {
    if (w.port.MsgBox(kGroupRunQuestion, kConfirmStyle, kDefaultTitle) != kVbYes) return;
    w.Toolbar1.SetButtons(kToolbar1RunImages, kToolbar1RunTips);
    NormalToolbarOnExit restore{w.Toolbar1};
    Grabartodo(w);
}

}  // namespace pendara
