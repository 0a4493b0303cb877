#include "companies/account_list.h"

#include "host/conversions.h"
#include "host/qv_file_control.h"

namespace pendara {

std::string ListEntryAccount(const std::string& entry) {
    const std::size_t blank = entry.find(' ');
    return blank == std::string::npos ? std::string() : entry.substr(0, blank + 1);
}

std::string AccountCode(const std::string& entryOrCode) {
    return entryOrCode.substr(0, entryOrCode.find(' '));
}

void AccountStatus(QvFileControl2& entries, const std::string& account, double& balance,
                   bool& open) {
    entries.SetFilter("Cuenta = " + account);
    entries.MoveFirst();
    balance = RoundTo(entries.SumField("Importe"), 2);
    entries.MoveFirst();
    open = false;
    while (!entries.IsEof()) {
        const std::string reference = Upper(Trim(entries.GetField(23)));
        if (reference.find("RF-") == std::string::npos && LeadingNumber(entries.GetField(7)) == 0) {
            open = true;
            return;
        }
        entries.MoveNext();
    }
}

}  // namespace pendara
