#pragma once
// Helpers shared by the qvdata commands.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "host/errors.h"

namespace pendara::cli {
class Args;
}

namespace pendara::qvdata {

// Opens a protected company with the host server before a command reads or writes it, asking
// for its key (--key-file, the terminal without echo, or one line of standard input per try;
// each wrong key says so and waits as the host makes it). Returns the key ("" when the company
// has none); HostError when no key opens it.
std::string UnlockCompany(const std::string& company, const cli::Args& args);
// The help line of --key-file for the commands that take it.
const char* KeyFileHelp();

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
