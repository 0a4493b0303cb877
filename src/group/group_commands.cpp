#include "group/group_commands.h"

#include "companies/session.h"
#include "host/paths.h"

namespace pendara {

std::string Ver_empresas(const Session& s) {
    std::string text;
    for (const std::string& file : s.ConsultedFiles)
        text += CleanName(file) + "\r\n";
    return text;
}

std::string ClearAccountQuestion(const std::string& entry) {
    return "Se borraran todos los punteos y referencias de punteo de la cuenta " + entry +
           " ¿Esta usted seguro?";
}

}  // namespace pendara
