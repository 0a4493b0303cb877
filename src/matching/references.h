#pragma once
// Reference texts: system references ("RF-" and the counter), the counter itself, and the
// invoice number taken from an entry's description.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pendara {

class Session;

inline constexpr std::string_view kSystemPrefix = "RF-";

// True when the leftmost three characters are exactly "RF-".
bool IsSystemReference(std::string_view text);

// The next free system reference: the counter in the header of the chain's earliest company
// file is raised under its record lock until the number is unused in the current company's
// entries. An empty FirstCompanyFile shows "Empresa no existe" and ends the program.
std::string NewReference(Session& s);

// The next `count` free system references, the same ones and in the same order as `count` calls
// of NewReference would give, with one cursor and one counter lock per block of numbers.
std::vector<std::string> NewReferences(Session& s, std::int32_t count);

// Where new system references come from. The session's counter draws them from the chain's
// counter (NewReference); a run that must not write (a dry run) puts a counter of its own in the
// session, and every draw of the program goes through it.
class ReferenceCounter {
  public:
    virtual ~ReferenceCounter() = default;
    virtual std::string Next() = 0;
    // The next `count` references, the same ones and in the same order as `count` calls of Next.
    virtual std::vector<std::string> Next(std::int32_t count) = 0;
};

// The counter of the chain's earliest company file, through NewReference and NewReferences.
class ChainCounter : public ReferenceCounter {
  public:
    explicit ChainCounter(Session& s) : session_(s) {}
    std::string Next() override { return NewReference(session_); }
    std::vector<std::string> Next(std::int32_t count) override {
        return NewReferences(session_, count);
    }

  private:
    Session& session_;
};

// The counter of a dry run: the same references the chain's counter would give from where it
// stands now, drawn without ever writing it.
class PreviewCounter : public ReferenceCounter {
  public:
    explicit PreviewCounter(Session& s) : session_(s) {}
    std::string Next() override;
    std::vector<std::string> Next(std::int32_t count) override;

  private:
    Session& session_;
    std::int32_t value_ = 0;
    bool read_ = false;
};

// The digits and blanks of the description from the key on (or from the first blank at or after
// position 5 of a "J. "/"J " description when the key is absent), trimmed.
std::string NumberFromDescription(const std::string& description, const std::string& key);

}  // namespace pendara
