#pragma once
// The commands that act on every company of the group: the companies consulted, and the texts
// of the questions asked before clearing an account everywhere and before the group save.

#include <string>

namespace pendara {

class Session;

inline constexpr const char* kCompaniesTitle = "Pendara. Empresas consultadas";
inline constexpr const char* kGroupRunQuestion =
    "Este proceso puede tardar. ¿esta usted seguro de continuar?";

// The companies of the catalogue by their short names, each followed by CR LF.
std::string Ver_empresas(const Session& s);

// The question asked before clearing an account (a list entry) in every company.
std::string ClearAccountQuestion(const std::string& entry);

}  // namespace pendara
