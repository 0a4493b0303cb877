#include "matching/references.h"

#include "host/conversions.h"
#include "host/utf8.h"

namespace pendara {

bool IsSystemReference(std::string_view text) {
    return text.substr(0, kSystemPrefix.size()) == kSystemPrefix;
}

std::string NumberFromDescription(const std::string& description, const std::string& key) {
    // Byte offsets of character starts; positions in the rule count characters.
    std::size_t start = 0;
    std::size_t found = Utf8Find(description, key);
    if (found != std::string::npos) {
        start = found;
    } else if (description.starts_with("J. ") || description.starts_with("J ")) {
        std::size_t blank = description.find(' ', Utf8Offset(description, 4));
        start = blank == std::string::npos ? 0 : blank;
    }
    // Blanks and digits are single bytes that never occur inside another character.
    std::string kept;
    for (std::size_t i = start; i < description.size(); ++i) {
        char c = description[i];
        if (c == ' ' || (c >= '0' && c <= '9')) kept += c;
    }
    return Trim(kept);
}

}  // namespace pendara
