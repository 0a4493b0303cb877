#include "host/paths.h"

#include "host/conversions.h"

namespace pendara {

namespace {
std::size_t LastSeparator(const std::string& path) {
    return path.find_last_of("\\/");
}
}  // namespace

std::string FolderOf(const std::string& path) {
    std::size_t p = LastSeparator(path);
    return p == std::string::npos ? std::string() : path.substr(0, p + 1);
}

std::string FileNameOf(const std::string& path) {
    std::size_t p = LastSeparator(path);
    return p == std::string::npos ? path : path.substr(p + 1);
}

std::string CleanName(const std::string& ruta) {
    std::string name = FileNameOf(ruta);
    std::size_t dot = name.rfind('.');
    return dot == std::string::npos ? name : name.substr(0, dot);
}

std::string NormaliseCompanyName(const std::string& empresa) {
    if (EndsWithNoCase(empresa, ".QVT")) return empresa;
    return Trim(empresa) + ".Qvt";
}

std::string WithQvtEnding(const std::string& empresa) {
    if (EndsWithNoCase(empresa, ".QVT")) return empresa;
    return empresa + ".QVT";
}

}  // namespace pendara
