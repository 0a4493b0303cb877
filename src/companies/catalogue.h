#pragma once
// The catalogue of companies taking part: the active company and, linked one by one, the
// companies of its previous years; opening a company with its access key; a company's code; and
// the clearing of one account's references in every company of the catalogue.

#include <cstdint>
#include <functional>
#include <string>

namespace pendara {

class QvOLE70;
class Session;

// Builds the catalogue from the registry value "Active": the active company and its
// predecessors; `added` hears of each company as it is added, before it is opened.
void LoadCatalogue(Session& s, const std::function<void(const std::string&)>& added = {});
// Adds `empresa` and, recursively, its predecessors.
void LoadEmp(Session& s, const std::string& empresa,
             const std::function<void(const std::string&)>& added = {});
// Opens `empresa` on `server`, asking for the access key while the host refuses it; returns only
// with the company open (ok true); otherwise the program ends (ProgramEnd).
void OpenEmp(Session& s, QvOLE70& server, const std::string& empresa, bool& ok);
// The company's two-character code: the first two bytes of its company file.
std::string CompanyCode(const std::string& empresa);
// The data files of a company: its data folder (with the separator) & "extra" (entries) or
// "Planc" (chart of accounts) & its code & ".qvd".
std::string EntriesFile(const std::string& folder, const std::string& code);
std::string ChartFile(const std::string& folder, const std::string& code);
// Empties "Referencia punteo" and resets "Marca" of every entry of the account in every company
// of the catalogue; `cuenta` may be an account-list entry "code name". Returns how many entries
// were cleared.
std::int32_t ClearAccountReferences(Session& s, const std::string& cuenta);

}  // namespace pendara
