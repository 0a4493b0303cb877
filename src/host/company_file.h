#pragma once
// The company file (".QVT"): one fixed-size header record holding the company's code, the
// reference counter shared by the chain, and the company's own fields. The layout is written
// down in company_file.cpp beside its reader and writer.

#include <cstdint>
#include <string>

namespace pendara {

struct CompanyHeader {
    std::string code;  // two characters
    std::int32_t counter = 0;
    std::string name;
    std::int32_t year = 0;
    std::string previous;  // the link as stored (relative to the file's folder when possible)
    bool hasKey = false;
    unsigned char salt[16] = {};
    unsigned char keyHash[32] = {};
};

inline constexpr std::size_t kCompanyHeaderSize = 1024;

// The path of an existing company file: ".QVT" added when missing, the name found without regard
// to case. HostError when there is no such file.
std::string ExistingCompanyFile(const std::string& path);

// Reads the header (under a shared lock); a missing, short or damaged file is a HostError.
CompanyHeader ReadCompanyHeader(const std::string& path);
// Writes a new company file (fails when it exists).
void CreateCompanyFile(const std::string& path, const CompanyHeader& header);
// Rewrites the whole header of an existing company file under the record lock.
void WriteCompanyHeader(const std::string& path, const CompanyHeader& header);

// The first two bytes of the file, as the company code.
std::string ReadCompanyCode(const std::string& path);

// Sets the access key (an empty key removes it); only a salted hash is kept.
void SetAccessKey(CompanyHeader& header, const std::string& key);
bool CheckAccessKey(const CompanyHeader& header, const std::string& key);

// The previous company's link as the file should keep it: relative to `companyPath`'s folder
// when it can be, without its ".QVT" ending.
std::string PreviousLink(const std::string& companyPath, const std::string& previousPath);

// The reference counter. IncrementCounter locks the header record against every other process,
// reads it, adds 1 and writes it back; at the largest value it throws an overflow HostError and
// changes nothing.
std::int32_t ReadCounter(const std::string& path);
std::int32_t IncrementCounter(const std::string& path);
// Raises the counter by n (at least 1) under the same lock and returns the new value: the block
// counter-n+1 .. counter belongs to the caller (a run that draws many references at once).
std::int32_t AddToCounter(const std::string& path, std::int32_t n);
void SetCounter(const std::string& path, std::int32_t value);
// Raises the counter to `value` when it is lower, under the same lock; returns the counter.
std::int32_t RaiseCounter(const std::string& path, std::int32_t value);

// While one lives, this process's counter writes are not synced one by one: a run that draws
// many references records the counter in its journal instead (a recovery raises the counter to
// what the journal recorded), and the company file is synced once when the deferral ends.
class CounterSyncDeferral {
  public:
    explicit CounterSyncDeferral(std::string companyFile);
    ~CounterSyncDeferral();
    CounterSyncDeferral(const CounterSyncDeferral&) = delete;
    CounterSyncDeferral& operator=(const CounterSyncDeferral&) = delete;

  private:
    std::string file_;
};

}  // namespace pendara
