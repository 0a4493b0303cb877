#include <string>

#include "host/catalogue.h"
#include "host/company_file.h"
#include "host/conversions.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/qv_file_control.h"
#include "matching/references.h"
#include "ui/pndra.h"

namespace pendara {

std::string NewReference(Pndra& w) {
    if (Trim(w.CurrentFolder).empty()) {
        w.CurrentFolder = FolderOf(w.ActiveCompanyFile);
        w.CurrentCode = CompanyCode(w.ActiveCompanyFile);
    }
    QvFileControl2 entries;
    entries.OpenFile(w.CurrentFolder + "Extra" + w.CurrentCode + ".qvd", "");
    entries.MoveFirst();
    if (w.FirstCompanyFile.empty()) {
        w.port.MsgBox("Empresa no existe", kVbCritical, "");
        throw ProgramEnd{1};
    }
    std::string candidate;
    for (;;) {
        // The counter is raised under the header record's lock; the look-up in the entries only
        // skips numbers that some entry already carries (a restored company file, for one).
        candidate =
            std::string(kSystemPrefix) + std::to_string(IncrementCounter(w.FirstCompanyFile));
        entries.SetFilter("Referencia punteo =" + candidate);
        entries.MoveFirst();
        if (entries.GetRecordCount() == 0) break;
    }
    entries.CloseFile();
    return candidate;
}

}  // namespace pendara
