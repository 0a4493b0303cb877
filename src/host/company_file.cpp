#include "host/company_file.h"

#include <sodium.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

#include "host/conversions.h"
#include "host/errors.h"
#include "host/notices.h"
#include "host/paths.h"
#include "host/settings.h"
#include "host/store.h"

namespace pendara {

// Layout of the header record (the first kCompanyHeaderSize bytes of the file; integers are
// little-endian, texts UTF-8 padded with NUL bytes):
//
//   offset  size  content
//        0     2  company code (two characters; the host reads just these two bytes)
//        2     4  reference counter, signed 32-bit: the last number handed out
//        6     4  "PQVT", telling our company files from anything else
//       10     2  layout version, 2 (1: the older layout, see below)
//       12     4  fiscal year, signed 32-bit
//       16     1  flags: bit 0 set when the company has an access key
//       17     1  wrong keys given in a row (stops at 255)
//       18     2  Argon2id passes of the key
//       20     4  Argon2id memory of the key, KiB
//       24     8  when the last wrong key was given, milliseconds since 1970, signed
//       32    16  salt of the access key (random per key)
//       48    32  check value of the key: a sub-key of Argon2id(key, salt) (access_key.h)
//       80   128  company name
//      208   816  link to the previous year's company file, without its ".QVT" ending; relative
//                 to this file's folder when it was made so, "" when there is none
//
// Version 1 had bytes 17-31 zero and at 48 a BLAKE2b hash of the key keyed with the salt.
//
// The whole record is the lock range: the counter is read, incremented and written back while
// the record is locked for writing; the other fields are read under a shared lock so that a
// header being rewritten is never read half. The byte just after the record is locked while a
// key is checked, so that checks of one company are taken one at a time by every process.
namespace {

constexpr std::size_t kCounterAt = 2, kMagicAt = 6, kVersionAt = 10, kYearAt = 12, kFlagsAt = 16,
                      kFailuresAt = 17, kPassesAt = 18, kMemoryAt = 20, kLastFailureAt = 24,
                      kSaltAt = 32, kCheckAt = 48, kNameAt = 80, kNameSize = 128, kPrevAt = 208,
                      kPrevSize = kCompanyHeaderSize - kPrevAt;
constexpr char kMagic[4] = {'P', 'Q', 'V', 'T'};
constexpr int kVersion = 2;

// Live CounterSyncDeferral objects of this process.
std::atomic<int> counterSyncDeferrals{0};

bool CounterWritesSynced() {
    return counterSyncDeferrals.load() == 0;
}

using Record = unsigned char[kCompanyHeaderSize];

void PutInt(Record& r, std::size_t at, std::uint64_t v, int bytes) {
    for (int i = 0; i < bytes; ++i)
        r[at + static_cast<std::size_t>(i)] = static_cast<unsigned char>(v >> (8 * i));
}

std::uint64_t GetInt(const Record& r, std::size_t at, int bytes) {
    std::uint64_t v = 0;
    for (int i = 0; i < bytes; ++i)
        v |= static_cast<std::uint64_t>(r[at + static_cast<std::size_t>(i)]) << (8 * i);
    return v;
}

std::string GetText(const Record& r, std::size_t at, std::size_t size) {
    const char* p = reinterpret_cast<const char*>(r + at);
    return std::string(p, strnlen(p, size));
}

void PutText(Record& r, std::size_t at, std::size_t size, const std::string& text,
             const char* what) {
    if (text.size() >= size)
        throw HostError(std::string("Texto demasiado largo para el fichero de empresa: ") + what);
    std::memset(r + at, 0, size);
    std::memcpy(r + at, text.data(), text.size());
}

void PutAttempts(Record& r, std::uint32_t failures, std::int64_t lastFailureMs) {
    r[kFailuresAt] = static_cast<unsigned char>(std::min<std::uint32_t>(failures, 255));
    PutInt(r, kLastFailureAt, static_cast<std::uint64_t>(lastFailureMs), 8);
}

void Encode(const CompanyHeader& h, Record& r) {
    std::memset(r, 0, kCompanyHeaderSize);
    if (h.code.size() != 2)
        throw HostError("El código de empresa debe tener dos caracteres: \"" + h.code + "\"");
    if (h.hasKey && h.version != kVersion)
        throw HostError("La clave de acceso de la empresa es de una versión anterior");
    r[0] = static_cast<unsigned char>(h.code[0]);
    r[1] = static_cast<unsigned char>(h.code[1]);
    PutInt(r, kCounterAt, static_cast<std::uint32_t>(h.counter), 4);
    std::memcpy(r + kMagicAt, kMagic, 4);
    PutInt(r, kVersionAt, kVersion, 2);
    PutInt(r, kYearAt, static_cast<std::uint32_t>(h.year), 4);
    r[kFlagsAt] = h.hasKey ? 1 : 0;
    PutAttempts(r, h.failedAttempts, h.lastFailureMs);
    PutInt(r, kPassesAt, h.keyCost.passes, 2);
    PutInt(r, kMemoryAt, h.keyCost.memoryKiB, 4);
    std::memcpy(r + kSaltAt, h.salt.data(), h.salt.size());
    std::memcpy(r + kCheckAt, h.keyCheck.data(), h.keyCheck.size());
    PutText(r, kNameAt, kNameSize, h.name, "nombre");
    PutText(r, kPrevAt, kPrevSize, h.previous, "empresa anterior");
}

CompanyHeader Decode(const Record& r, const std::string& path) {
    const auto version = GetInt(r, kVersionAt, 2);
    if (std::memcmp(r + kMagicAt, kMagic, 4) != 0 || version < 1 || version > kVersion)
        throw HostError("El fichero de empresa " + path + " está dañado o no es de Quorvex");
    CompanyHeader h;
    h.version = static_cast<int>(version);
    h.code = std::string(reinterpret_cast<const char*>(r), 2);
    h.counter = static_cast<std::int32_t>(GetInt(r, kCounterAt, 4));
    h.year = static_cast<std::int32_t>(GetInt(r, kYearAt, 4));
    h.hasKey = (r[kFlagsAt] & 1) != 0;
    if (h.version >= 2) {
        h.failedAttempts = r[kFailuresAt];
        h.lastFailureMs = static_cast<std::int64_t>(GetInt(r, kLastFailureAt, 8));
        h.keyCost.passes = static_cast<std::uint32_t>(GetInt(r, kPassesAt, 2));
        h.keyCost.memoryKiB = static_cast<std::uint32_t>(GetInt(r, kMemoryAt, 4));
    }
    std::memcpy(h.salt.data(), r + kSaltAt, h.salt.size());
    std::memcpy(h.keyCheck.data(), r + kCheckAt, h.keyCheck.size());
    h.name = GetText(r, kNameAt, kNameSize);
    h.previous = GetText(r, kPrevAt, kPrevSize);
    return h;
}

std::mutex waitMutex;
std::optional<WaitPolicy> waitOverride;

std::string Seconds(std::chrono::milliseconds waited) {
    return std::to_string((waited.count() + 500) / 1000);
}

std::int64_t NowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace

// The company file opened for one operation, with a range of it locked: the header record, or
// the byte after it that takes turns among key checks. While another process holds the range,
// the lock is tried again until the wait's limit.
class CompanyHeaderLock::File {
  public:
    enum class Access { Read, Write, Create };
    enum class Range { Header, KeyChecks };

    File(const std::string& path, Access access, Range range = Range::Header,
         const WaitPolicy& wait = CompanyLockWait())
        : path_(path) {
        const std::uint32_t start = range == Range::Header ? 0 : kCompanyHeaderSize;
        const std::uint32_t length = range == Range::Header ? kCompanyHeaderSize : 1;
        const auto began = std::chrono::steady_clock::now();
        auto pause = std::chrono::milliseconds(1);
        bool told = false;
#ifdef _WIN32
        DWORD rights = access == Access::Read ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
        DWORD disposition = access == Access::Create ? CREATE_NEW : OPEN_EXISTING;
        int n = MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, nullptr, 0);
        std::wstring wide(n > 0 ? static_cast<std::size_t>(n) : 1, L'\0');
        MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, wide.data(), n);
        h_ = CreateFileW(wide.c_str(), rights, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (h_ == INVALID_HANDLE_VALUE) Fail("no se puede abrir");
        start_ = start;
        length_ = length;
        for (;;) {
            OVERLAPPED ov{};
            ov.Offset = start;
            DWORD flags =
                LOCKFILE_FAIL_IMMEDIATELY | (access == Access::Read ? 0 : LOCKFILE_EXCLUSIVE_LOCK);
            if (LockFileEx(h_, flags, 0, length, 0, &ov)) break;
            if (GetLastError() != ERROR_LOCK_VIOLATION && GetLastError() != ERROR_IO_PENDING) {
                CloseHandle(h_);
                Fail("no se puede bloquear la cabecera");
            }
            Wait(began, wait, told, pause, [this] { CloseHandle(h_); });
        }
#else
        int flags = access == Access::Read ? O_RDONLY : O_RDWR;
        if (access == Access::Create) flags |= O_CREAT | O_EXCL;
        fd_ = ::open(path.c_str(), flags | O_CLOEXEC, 0644);
        if (fd_ < 0) Fail("no se puede abrir");
        // An open-file-description lock: a classic record lock would be dropped as soon as this
        // process closed any other descriptor of the same file.
        struct flock lk {};
        lk.l_type = access == Access::Read ? F_RDLCK : F_WRLCK;
        lk.l_whence = SEEK_SET;
        lk.l_start = start;
        lk.l_len = length;
        for (;;) {
#ifdef F_OFD_SETLK
            if (::fcntl(fd_, F_OFD_SETLK, &lk) == 0) break;
#else
            if (::fcntl(fd_, F_SETLK, &lk) == 0) break;
#endif
            if (errno == EINTR) continue;
            if (errno != EAGAIN && errno != EACCES) {
                int saved = errno;
                ::close(fd_);
                errno = saved;
                Fail("no se puede bloquear la cabecera");
            }
            Wait(began, wait, told, pause, [this] { ::close(fd_); });
        }
#endif
    }

    ~File() {
#ifdef _WIN32
        OVERLAPPED ov{};
        ov.Offset = start_;
        UnlockFileEx(h_, 0, length_, 0, &ov);
        CloseHandle(h_);
#else
        ::close(fd_);  // closing the description releases its lock
#endif
    }

    File(const File&) = delete;
    File& operator=(const File&) = delete;

    void Read(Record& r) {
        std::size_t got = 0;
#ifdef _WIN32
        OVERLAPPED ov{};
        DWORD n = 0;
        if (!ReadFile(h_, r, kCompanyHeaderSize, &n, &ov)) Fail("no se puede leer");
        got = n;
#else
        while (got < kCompanyHeaderSize) {
            ssize_t n = ::pread(fd_, r + got, kCompanyHeaderSize - got, static_cast<off_t>(got));
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) Fail("no se puede leer");
            if (n == 0) break;
            got += static_cast<std::size_t>(n);
        }
#endif
        if (got < kCompanyHeaderSize)
            throw HostError("El fichero de empresa " + path_ + " está incompleto (" +
                            std::to_string(got) + " bytes)");
    }

    void Write(const Record& r, bool sync = true) {
#ifdef _WIN32
        OVERLAPPED ov{};
        DWORD n = 0;
        if (!WriteFile(h_, r, kCompanyHeaderSize, &n, &ov) || n != kCompanyHeaderSize)
            Fail("no se puede escribir");
        if (sync) FlushFileBuffers(h_);
#else
        std::size_t done = 0;
        while (done < kCompanyHeaderSize) {
            ssize_t n =
                ::pwrite(fd_, r + done, kCompanyHeaderSize - done, static_cast<off_t>(done));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) Fail("no se puede escribir");
            done += static_cast<std::size_t>(n);
        }
        if (sync) Sync();
#endif
    }

    void Sync() {
#ifdef _WIN32
        FlushFileBuffers(h_);
#else
        if (::fdatasync(fd_) != 0) Fail("no se puede escribir");
#endif
    }

  private:
    // One more round of waiting for the lock; gives up (closing the file) past the limit.
    template <typename Close>
    void Wait(std::chrono::steady_clock::time_point began, const WaitPolicy& wait, bool& told,
              std::chrono::milliseconds& pause, Close close) {
        const auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - began);
        if (waited >= wait.limit) {
            close();
            throw HostError("Otro puesto tiene ocupado el fichero de empresa " + path_ +
                            " desde hace " + Seconds(waited) +
                            " s: no se ha cambiado nada (la espera se ajusta con la opción " +
                            kWaitSetting + ")");
        }
        if (waited >= wait.noticeAfter) {
            if (wait.onWait) {
                if (!wait.onWait(path_, waited)) {
                    close();
                    throw HostError("Se ha dejado de esperar al fichero de empresa " + path_ +
                                    ": no se ha cambiado nada");
                }
            } else if (!told) {
                Notice(WaitingMessage(path_));
            }
            told = true;
        }
        // Short pauses first: the counter's record is held for a moment at a time.
        std::this_thread::sleep_for(std::min({pause, wait.poll, wait.limit - waited}));
        pause = std::min(pause * 2, std::chrono::milliseconds(50));
    }

    [[noreturn]] void Fail(const std::string& what) const {
        std::string reason;
#ifndef _WIN32
        reason = std::string(": ") + std::strerror(errno);
#endif
        throw HostError("Fichero de empresa " + path_ + ": " + what + reason);
    }

    std::string path_;
#ifdef _WIN32
    HANDLE h_ = INVALID_HANDLE_VALUE;
    DWORD start_ = 0, length_ = 0;
#else
    int fd_ = -1;
#endif
};

namespace {

using LockedFile = CompanyHeaderLock::File;

// BLAKE2b of the key keyed with the salt: the check of layout version 1.
bool CheckVersion1Key(const CompanyHeader& h, const std::string& key) {
    InitCrypto();
    KeyBytes hash;
    crypto_generichash(hash.data(), hash.size(), reinterpret_cast<const unsigned char*>(key.data()),
                       key.size(), h.salt.data(), h.salt.size());
    return SameKeyBytes(hash, h.keyCheck);
}

std::mutex attemptsMutex;
std::map<std::string, std::uint32_t> processFailures;  // when the file cannot keep them
std::chrono::milliseconds delayUnit(500);

std::chrono::milliseconds DelayUnit() {
    std::lock_guard<std::mutex> lock(attemptsMutex);
    return delayUnit;
}

// Writes the count of wrong keys and the time of the last one, leaving the rest of the record.
void RecordAttempts(const std::string& file, std::uint32_t failures, std::int64_t lastMs) {
    LockedFile f(file, LockedFile::Access::Write);
    Record r;
    f.Read(r);
    Decode(r, file);
    PutAttempts(r, failures, lastMs);
    f.Write(r);
}

bool Writable(const std::string& file) {
#ifdef _WIN32
    return true;
#else
    return ::access(file.c_str(), W_OK) == 0;
#endif
}

}  // namespace

std::string ExistingCompanyFile(const std::string& path) {
    std::string file = ResolveFileName(WithQvtEnding(path));
    std::error_code ec;
    if (Trim(path).empty() || !std::filesystem::is_regular_file(file, ec))
        throw HostError("No existe el fichero de empresa \"" + path + "\"");
    return file;
}

CompanyHeader ReadCompanyHeader(const std::string& path) {
    std::string file = ExistingCompanyFile(path);
    Record r;
    LockedFile(file, LockedFile::Access::Read).Read(r);
    return Decode(r, file);
}

void CreateCompanyFile(const std::string& path, const CompanyHeader& header) {
    Record r;
    Encode(header, r);
    LockedFile(path, LockedFile::Access::Create).Write(r);
}

void WriteCompanyHeader(const std::string& path, const CompanyHeader& header) {
    std::string file = ExistingCompanyFile(path);
    Record r;
    Encode(header, r);
    LockedFile f(file, LockedFile::Access::Write);
    Record old;
    f.Read(old);
    Decode(old, file);
    f.Write(r);
}

std::string ReadCompanyCode(const std::string& path) {
    std::string file = ExistingCompanyFile(path);
    Record r;
    LockedFile(file, LockedFile::Access::Read).Read(r);
    return std::string(reinterpret_cast<const char*>(r), 2);
}

void SetAccessKey(CompanyHeader& header, const std::string& key) {
    header.version = kVersion;
    header.failedAttempts = 0;
    header.lastFailureMs = 0;
    header.salt = {};
    header.keyCheck = {};
    header.keyCost = {};
    header.hasKey = !key.empty();
    if (key.empty()) return;
    header.salt = NewSalt();
    header.keyCost = DefaultKeyCost();
    header.keyCheck = DeriveKeys(key, header.salt, header.keyCost).check;
}

bool CheckAccessKey(const CompanyHeader& header, const std::string& key) {
    if (!header.hasKey) return true;
    if (key.empty()) return false;
    if (header.version == 1) return CheckVersion1Key(header, key);
    return SameKeyBytes(DeriveKeys(key, header.salt, header.keyCost).check, header.keyCheck);
}

std::chrono::milliseconds AccessKeyDelay(std::uint32_t failures) {
    const std::chrono::milliseconds unit = DelayUnit();
    if (failures == 0) return std::chrono::milliseconds(0);
    if (failures > 7) return unit * 60;
    return std::min(unit * (1 << (failures - 1)), unit * 60);
}

void SetAccessKeyDelayUnit(std::chrono::milliseconds unit) {
    std::lock_guard<std::mutex> lock(attemptsMutex);
    delayUnit = unit;
}

bool VerifyAccessKey(const std::string& path, const std::string& key) {
    const std::string file = ExistingCompanyFile(path);
    CompanyHeader h = ReadCompanyHeader(file);
    if (!h.hasKey) return true;
    if (key.empty()) return false;
    if (h.version >= 2) {
        std::optional<DerivedKeys> known = CachedKeys(key, h.salt, h.keyCost);
        if (known && SameKeyBytes(known->check, h.keyCheck)) return true;
    }
    // One check at a time per company, in every process; the wait includes the longest delay.
    std::unique_ptr<LockedFile> turn;
    if (Writable(file)) {
        WaitPolicy wait = CompanyLockWait();
        wait.limit += AccessKeyDelay(255) + std::chrono::seconds(5);
        turn = std::make_unique<LockedFile>(file, LockedFile::Access::Write,
                                            LockedFile::Range::KeyChecks, wait);
    }
    h = ReadCompanyHeader(file);
    std::uint32_t failures = h.failedAttempts;
    {
        std::lock_guard<std::mutex> lock(attemptsMutex);
        failures = std::max(failures, processFailures[file]);
    }
    const std::chrono::milliseconds delay = AccessKeyDelay(failures);
    const std::chrono::milliseconds since(NowMs() - h.lastFailureMs);
    if (since < delay)
        std::this_thread::sleep_for(
            std::min(delay - std::max(since, std::chrono::milliseconds(0)), delay));
    if (CheckAccessKey(h, key)) {
        if (h.failedAttempts != 0 && turn) RecordAttempts(file, 0, 0);
        std::lock_guard<std::mutex> lock(attemptsMutex);
        processFailures.erase(file);
        return true;
    }
    const std::uint32_t now = failures + 1;
    {
        std::lock_guard<std::mutex> lock(attemptsMutex);
        processFailures[file] = now;
    }
    if (turn) RecordAttempts(file, now, NowMs());
    std::this_thread::sleep_for(AccessKeyDelay(now));
    return false;
}

WaitPolicy CompanyLockWait() {
    {
        std::lock_guard<std::mutex> lock(waitMutex);
        if (waitOverride) return *waitOverride;
    }
    static const WaitPolicy fromOption = [] {
        WaitPolicy w;
        w.limit = WaitLimitOf(GetSetting(kWaitSetting, "", "30"));
        return w;
    }();
    return fromOption;
}

void SetCompanyLockWait(std::optional<WaitPolicy> wait) {
    std::lock_guard<std::mutex> lock(waitMutex);
    waitOverride = wait;
}

CompanyHeaderLock::CompanyHeaderLock(const std::string& path)
    : path_(ExistingCompanyFile(path)), file_(new File(path_, File::Access::Write)) {}

CompanyHeaderLock::~CompanyHeaderLock() {
    delete file_;
}

CompanyHeader CompanyHeaderLock::Read() {
    Record r;
    file_->Read(r);
    return Decode(r, path_);
}

void CompanyHeaderLock::Write(const CompanyHeader& header) {
    Record r;
    Encode(header, r);
    file_->Write(r);
}

std::string PreviousLink(const std::string& companyPath, const std::string& previousPath) {
    namespace fs = std::filesystem;
    std::string prev = Trim(previousPath);
    if (prev.empty()) return "";
    if (EndsWithNoCase(prev, ".QVT")) prev.resize(prev.size() - 4);
    std::string folder = FolderOf(companyPath);
    std::error_code ec;
    fs::path base = fs::weakly_canonical(fs::absolute(folder.empty() ? "." : folder, ec), ec);
    fs::path target = fs::weakly_canonical(fs::absolute(prev, ec), ec);
    if (ec) return prev;
    fs::path rel = target.lexically_relative(base);
    return rel.empty() ? prev : rel.generic_string();
}

std::int32_t ReadCounter(const std::string& path) {
    return ReadCompanyHeader(path).counter;
}

std::int32_t IncrementCounter(const std::string& path, const WaitPolicy& wait) {
    std::string file = ExistingCompanyFile(path);
    LockedFile f(file, LockedFile::Access::Write, LockedFile::Range::Header, wait);
    Record r;
    f.Read(r);
    CompanyHeader h = Decode(r, file);
    if (h.counter == std::numeric_limits<std::int32_t>::max())
        throw HostError("Desbordamiento del contador de referencias de " + file);
    PutInt(r, kCounterAt, static_cast<std::uint32_t>(h.counter + 1), 4);
    f.Write(r, CounterWritesSynced());
    return h.counter + 1;
}

std::int32_t AddToCounter(const std::string& path, std::int32_t n, const WaitPolicy& wait) {
    if (n < 1) throw HostError("Bloque de referencias no válido: " + std::to_string(n));
    std::string file = ExistingCompanyFile(path);
    LockedFile f(file, LockedFile::Access::Write, LockedFile::Range::Header, wait);
    Record r;
    f.Read(r);
    CompanyHeader h = Decode(r, file);
    if (h.counter > std::numeric_limits<std::int32_t>::max() - n)
        throw HostError("Desbordamiento del contador de referencias de " + file);
    PutInt(r, kCounterAt, static_cast<std::uint32_t>(h.counter + n), 4);
    f.Write(r, CounterWritesSynced());
    return h.counter + n;
}

void SetCounter(const std::string& path, std::int32_t value) {
    std::string file = ExistingCompanyFile(path);
    LockedFile f(file, LockedFile::Access::Write);
    Record r;
    f.Read(r);
    Decode(r, file);
    PutInt(r, kCounterAt, static_cast<std::uint32_t>(value), 4);
    f.Write(r);
}

std::int32_t RaiseCounter(const std::string& path, std::int32_t value) {
    std::string file = ExistingCompanyFile(path);
    LockedFile f(file, LockedFile::Access::Write);
    Record r;
    f.Read(r);
    CompanyHeader h = Decode(r, file);
    if (h.counter >= value) return h.counter;
    PutInt(r, kCounterAt, static_cast<std::uint32_t>(value), 4);
    f.Write(r);
    return value;
}

CounterSyncDeferral::CounterSyncDeferral(std::string companyFile) : file_(std::move(companyFile)) {
    ++counterSyncDeferrals;
}

CounterSyncDeferral::~CounterSyncDeferral() {
    --counterSyncDeferrals;
    try {
        LockedFile(ExistingCompanyFile(file_), LockedFile::Access::Write).Sync();
    } catch (const HostError&) {
        // the next synced write of the counter, or a recovery from the journal, covers it
    }
}

}  // namespace pendara
