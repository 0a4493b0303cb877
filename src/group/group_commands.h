#pragma once
// Commands of the main toolbar that act on every company of the group or every account of the
// list: the consulted companies, clearing one account everywhere, the group save run.

#include <string>

namespace pendara {

class Pndra;

inline constexpr const char* kCompaniesTitle = "Pendara. Empresas consultadas";
inline constexpr const char* kGroupRunQuestion =
    "Este proceso puede tardar. ¿esta usted seguro de continuar?";

// The company list, one entry and CR LF per company.
std::string Ver_empresas(Pndra& w);

// Key 78: after the user confirms, empties the references and marks of the selected account in
// every company and reloads it. Without a selected account nothing happens.
void ClearSelectedAccount(Pndra& w);

// The question asked before clearing an account.
std::string ClearAccountQuestion(const std::string& entry);

// Key 17: after the user confirms, the group save with the toolbar holding only the stop button;
// the normal buttons come back however the run ends.
void GroupSaveRun(Pndra& w);

}  // namespace pendara
