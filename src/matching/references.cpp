#include "matching/references.h"

#include "host/conversions.h"

namespace pendara {

bool IsSystemReference(std::string_view text) {
    return text.substr(0, kSystemPrefix.size()) == kSystemPrefix;
}

std::string NumberFromDescription(const std::string& description, const std::string& key) {
    std::size_t start = 0;  // 0-based
    std::size_t found = description.find(key);
    if (found != std::string::npos) {
        start = found;
    } else if (description.starts_with("J. ") || description.starts_with("J ")) {
        std::size_t blank = description.size() > 4 ? description.find(' ', 4) : std::string::npos;
        start = blank == std::string::npos ? 0 : blank;
    }
    std::string kept;
    for (std::size_t i = start; i < description.size(); ++i) {
        char c = description[i];
        if (c == ' ' || (c >= '0' && c <= '9')) kept += c;
    }
    return Trim(kept);
}

}  // namespace pendara
