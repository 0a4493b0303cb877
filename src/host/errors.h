#pragma once
// Failures that cross the program: host operations throw HostError; "the program ends" is a
// ProgramEnd that unwinds to the event loop of the front end.

#include <cstdint>
#include <stdexcept>
#include <string>

namespace pendara {

// Error code of OpenCompany when a company is protected and the key is missing or wrong.
inline constexpr std::int64_t kErrAccessKey = 0x8004C354;
// Generic code for host failures that have no code of their own.
inline constexpr std::int64_t kErrHostGeneric = 0x80040000;

class HostError : public std::runtime_error {
  public:
    HostError(std::int64_t code, std::string description)
        : std::runtime_error(description), code_(code), description_(std::move(description)) {}
    explicit HostError(std::string description)
        : HostError(kErrHostGeneric, std::move(description)) {}

    std::int64_t code() const noexcept { return code_; }
    const std::string& description() const noexcept { return description_; }

  private:
    std::int64_t code_;
    std::string description_;
};

// Thrown to end the program; the front end's event loop catches it, closes the window and exits.
struct ProgramEnd {
    int exitCode = 0;
};

}  // namespace pendara
