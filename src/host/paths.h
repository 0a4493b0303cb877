#pragma once
// Paths as the program cuts them: at the last separator, where both "\" and "/" count.

#include <string>

namespace pendara {

// The path up to and including its last separator ("" when there is none).
std::string FolderOf(const std::string& path);
// The text after the last separator (the whole text when there is none).
std::string FileNameOf(const std::string& path);
// The short name of a company: file name without folder and without its last extension.
std::string CleanName(const std::string& ruta);
// Appends ".Qvt" to a trimmed name whose upper-cased ending is not ".QVT" (names as read).
std::string NormaliseCompanyName(const std::string& empresa);
// Appends ".QVT" to a name whose upper-cased ending is not ".QVT" (the code and the chain's start).
std::string WithQvtEnding(const std::string& empresa);

}  // namespace pendara
