#pragma once
// The catalogue of companies taking part: the active company and, linked one by one, the
// companies of its previous years; opening a company with its access key; a company's code; and
// the clearing of one account's references in every company of the catalogue.

#include <string>

namespace pendara {

class Pndra;
class QvOLE70;

// Builds the catalogue from the registry value "Active".
void LoadEmpresas(Pndra& w);
// Adds `empresa` and, recursively, its predecessors.
void LoadEmp(Pndra& w, const std::string& empresa);
// Opens `empresa` on `server`, asking for the access key while the host refuses it; returns only
// with the company open (ok true); otherwise the program ends (ProgramEnd).
void OpenEmp(Pndra& w, QvOLE70& server, const std::string& empresa, bool& ok);
// The company's two-character code: the first two bytes of its company file.
std::string CompanyCode(const std::string& empresa);
// Empties "Referencia punteo" and resets "Marca" of every entry of the account in every company
// of the catalogue; `cuenta` may be an account-list entry "code name".
void ClearAccountReferences(Pndra& w, const std::string& cuenta);

}  // namespace pendara
