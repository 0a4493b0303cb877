#pragma once
// Helpers shared by the qvdata commands.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "host/errors.h"

namespace pendara::qvdata {

inline std::string ReadTextFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw HostError("No se puede leer el fichero " + path);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// Company files are remembered by their absolute path, so that any working folder finds them.
inline std::string AbsolutePath(const std::string& path) {
    std::error_code ec;
    std::filesystem::path p = std::filesystem::absolute(path, ec);
    return ec ? path : p.lexically_normal().string();
}

}  // namespace pendara::qvdata
