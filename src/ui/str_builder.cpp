#include "ui/str_builder.h"

#include <algorithm>

namespace pendara {

void StrBuilder::Append(std::string_view s) {
    const auto L = static_cast<std::int64_t>(s.size());
    while (start_ + next_ + L > static_cast<std::int64_t>(buffer_.size())) {
        ++backExponent_;
        buffer_.append(std::size_t{1} << backExponent_, ' ');
    }
    std::copy(s.begin(), s.end(), buffer_.begin() + (start_ + next_ - 2));
    next_ += L;
}

void StrBuilder::PrePend(std::string_view s) {
    const auto L = static_cast<std::int64_t>(s.size());
    start_ -= L;
    while (start_ <= 0) {
        ++frontExponent_;
        const std::size_t grow = std::size_t{1} << frontExponent_;
        buffer_.insert(0, grow, ' ');
        start_ += static_cast<std::int64_t>(grow);
    }
    next_ += L;
    std::copy(s.begin(), s.end(), buffer_.begin() + (start_ - 1));
}

std::string StrBuilder::ToString() const {
    if (next_ <= 1) return std::string();
    return buffer_.substr(static_cast<std::size_t>(start_ - 1),
                          static_cast<std::size_t>(next_ - 1));
}

void StrBuilder::Clear() {
    buffer_.clear();
    buffer_.shrink_to_fit();
    start_ = 1;
    next_ = 1;
    backExponent_ = 10;
    frontExponent_ = 10;
}

}  // namespace pendara
