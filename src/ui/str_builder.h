#pragma once
// A growable text kept inside a larger buffer of blanks that grows in powers of two at the end
// (Append) and at the front (PrePend), so long texts are built without re-copying. Positions and
// lengths count characters, as the buffer of blanks is a text.

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

    // Inspection, for tests and benchmarks, in characters.
    std::size_t BufferLength() const { return static_cast<std::size_t>(bufferChars_); }
    std::int64_t Start() const { return start_; }
    std::int64_t Length() const { return next_ - 1; }
    bool Empty() const { return next_ == 1; }

  private:
    // The buffer of blanks in characters: its length, where the content starts (1-based) and
    // the content's length plus one.
    std::int64_t bufferChars_ = 0;
    std::int64_t start_ = 1;
    std::int64_t next_ = 1;
    int backExponent_ = 10;
    int frontExponent_ = 10;
    // The bytes: room at the front, then the content from byte head_ to the end. A character of
    // several bytes fills the place of one blank, so the byte room is kept on its own.
    std::string bytes_;
    std::size_t head_ = 0;
};

}  // namespace pendara
