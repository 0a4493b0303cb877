#include "host/account_writes.h"

#include <memory>

#include "host/errors.h"
#include "host/qv_file_control.h"

namespace pendara {

void PostAccountWrites(const AccountWrites& writes,
                       const std::function<void(std::int32_t, std::int32_t)>& progress) {
    auto report = [&progress](std::int32_t value, std::int32_t maximum) {
        if (progress) progress(value, maximum);
    };
    const std::size_t companies = writes.entryFiles.empty() ? 0 : writes.entryFiles.size() - 1;
    std::vector<std::unique_ptr<QvFileControl2>> cursors(companies + 1);
    for (std::size_t k = 1; k <= companies; ++k) {
        cursors[k] = std::make_unique<QvFileControl2>();
        std::int32_t status = 0;
        cursors[k]->OpenFile(writes.entryFiles[k], "", status);
    }
    report(-1, 0);

    const auto total = static_cast<std::int32_t>(writes.rows.size());
    try {
        std::int32_t n = 0;
        for (const RowWrite& row : writes.rows) {
            ++n;
            if (row.company < 1 || static_cast<std::size_t>(row.company) > companies)
                throw HostError("Subíndice fuera del intervalo: la empresa " +
                                std::to_string(row.company) + " no está entre las " +
                                std::to_string(companies) + " de la cadena");
            QvFileControl2& cursor = *cursors[static_cast<std::size_t>(row.company)];
            cursor.GoToRecord(row.record);
            cursor.Edit();
            cursor.PutFieldByName("Referencia punteo", row.reference);
            cursor.PutFieldByName("Marca", row.mark);
            cursor.Update();
            if (n % 100 == 0) report(n, total);
        }
        for (std::size_t k = 1; k <= companies; ++k)
            cursors[k]->CloseFile();
    } catch (const HostError& e) {
        // The cursors still open roll their files back as they go.
        throw RowWriteError(e.description());
    } catch (const std::exception& e) {
        throw RowWriteError(e.what());
    }
    report(0, 0);
}

}  // namespace pendara
