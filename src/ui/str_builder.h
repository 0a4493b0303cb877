#pragma once
// A growable text kept inside a larger buffer of blanks that grows in powers of two at the end
// (Append) and at the front (PrePend), so long texts are built without re-copying.

#include <cstdint>
#include <string>
#include <string_view>

namespace pendara {

class StrBuilder {
  public:
    void Append(std::string_view s);
    void PrePend(std::string_view s);
    std::string ToString() const;
    void Clear();

    // Inspection, for tests and benchmarks.
    std::size_t BufferLength() const { return buffer_.size(); }
    std::int64_t Start() const { return start_; }
    std::int64_t Length() const { return next_ - 1; }
    bool Empty() const { return next_ == 1; }

  private:
    std::string buffer_;
    std::int64_t start_ = 1;
    std::int64_t next_ = 1;
    int backExponent_ = 10;
    int frontExponent_ = 10;
};

}  // namespace pendara
