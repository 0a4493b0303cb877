#include "ui/str_builder.h"

#include <algorithm>

#include "host/utf8.h"

namespace pendara {

void StrBuilder::Append(std::string_view s) {
    const auto L = static_cast<std::int64_t>(Utf8Length(s));
    while (start_ + next_ + L > bufferChars_) {
        ++backExponent_;
        bufferChars_ += std::int64_t{1} << backExponent_;
    }
    bytes_.append(s);
    next_ += L;
}

void StrBuilder::PrePend(std::string_view s) {
    const auto L = static_cast<std::int64_t>(Utf8Length(s));
    start_ -= L;
    while (start_ <= 0) {
        ++frontExponent_;
        const std::int64_t grow = std::int64_t{1} << frontExponent_;
        bufferChars_ += grow;
        start_ += grow;
    }
    next_ += L;
    if (head_ < s.size()) {
        // Room grows geometrically, so prepending stays linear overall.
        const std::size_t grow = std::max(s.size(), bytes_.size());
        bytes_.insert(0, grow, ' ');
        head_ += grow;
    }
    head_ -= s.size();
    std::copy(s.begin(), s.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(head_));
}

std::string StrBuilder::ToString() const {
    return bytes_.substr(head_);
}

void StrBuilder::Clear() {
    bytes_.clear();
    bytes_.shrink_to_fit();
    head_ = 0;
    bufferChars_ = 0;
    start_ = 1;
    next_ = 1;
    backExponent_ = 10;
    frontExponent_ = 10;
}

}  // namespace pendara
