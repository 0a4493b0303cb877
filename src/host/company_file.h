#pragma once
// The company file (".QVT"): one fixed-size header record holding the company's code, the
// reference counter shared by the chain, the company's own fields and what checks its access key.
// The layout is written down in company_file.cpp beside its reader and writer.

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "host/access_key.h"
#include "host/waits.h"

namespace pendara {

struct CompanyHeader {
    std::string code;  // two characters
    std::int32_t counter = 0;
    std::string name;
    std::int32_t year = 0;
    std::string previous;  // the link as stored (relative to the file's folder when possible)
    // Layout version: 2 is this one; 1 is the older layout, whose key check was a keyed BLAKE2b
    // hash. Only the key commands accept a protected company of version 1, to give it a new key.
    int version = 2;
    bool hasKey = false;
    KeyCost keyCost;
    Salt salt{};
    KeyBytes keyCheck{};
    // Wrong keys given in a row, and when the last one was given (milliseconds since 1970).
    std::uint32_t failedAttempts = 0;
    std::int64_t lastFailureMs = 0;
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

// Gives the header a new access key (a new salt, Argon2id); an empty key removes it. Only the
// check value derived from the key is kept.
void SetAccessKey(CompanyHeader& header, const std::string& key);
// Whether `key` opens the company (always true without a key), without any delay: for callers
// that already made the user wait, and for tests.
bool CheckAccessKey(const CompanyHeader& header, const std::string& key);

// The host's check of a key typed for a protected company. Wrong keys in a row make the next
// check wait, and the wait grows with each (AccessKeyDelay); the count and the time of the last
// wrong key are kept in the company file, so the wait holds across processes, and checks of one
// company are taken one at a time. A wrong key also waits its own delay before the answer. A key
// that opened the company before in this process is answered at once.
bool VerifyAccessKey(const std::string& path, const std::string& key);
// The wait before the check that follows `failures` wrong keys in a row: none after none, then
// half a second, doubling up to 30 s.
std::chrono::milliseconds AccessKeyDelay(std::uint32_t failures);
// Tests shorten the delays with a unit other than half a second.
void SetAccessKeyDelayUnit(std::chrono::milliseconds unit);

// The previous company's link as the file should keep it: relative to `companyPath`'s folder
// when it can be, without its ".QVT" ending.
std::string PreviousLink(const std::string& companyPath, const std::string& previousPath);

// How long an operation waits for the header record while another workstation holds it
// (host/waits.h): past the limit, or when the policy's callback gives up, it fails with a
// HostError and changes nothing. The default is the option kWaitSetting of the host option
// store, read once, with the notice going to Notice.
WaitPolicy CompanyLockWait();
// Replaces the default for this process (tests); nullopt goes back to the option.
void SetCompanyLockWait(std::optional<WaitPolicy> wait);

// The reference counter. IncrementCounter locks the header record against every other process,
// reads it, adds 1 and writes it back; at the largest value it throws an overflow HostError and
// changes nothing.
std::int32_t ReadCounter(const std::string& path);
std::int32_t IncrementCounter(const std::string& path, const WaitPolicy& wait = CompanyLockWait());
// Raises the counter by n (at least 1) under the same lock and returns the new value: the block
// counter-n+1 .. counter belongs to the caller (a run that draws many references at once).
std::int32_t AddToCounter(const std::string& path, std::int32_t n,
                          const WaitPolicy& wait = CompanyLockWait());
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

// The header record held under the write lock for a longer operation (a change of key): other
// processes wait for it as for the counter.
class CompanyHeaderLock {
  public:
    explicit CompanyHeaderLock(const std::string& path);
    ~CompanyHeaderLock();
    CompanyHeaderLock(const CompanyHeaderLock&) = delete;
    CompanyHeaderLock& operator=(const CompanyHeaderLock&) = delete;

    CompanyHeader Read();
    void Write(const CompanyHeader& header);

    class File;

  private:
    std::string path_;
    File* file_;
};

}  // namespace pendara
