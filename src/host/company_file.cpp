#include "host/company_file.h"

#include <sodium.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <limits>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

#include "host/conversions.h"
#include "host/errors.h"
#include "host/paths.h"
#include "host/store.h"

namespace pendara {

// Layout of the header record (the first kCompanyHeaderSize bytes of the file; integers are
// little-endian, texts UTF-8 padded with NUL bytes):
//
//   offset  size  content
//        0     2  company code (two characters; the host reads just these two bytes)
//        2     4  reference counter, signed 32-bit: the last number handed out
//        6     4  "PQVT", telling our company files from anything else
//       10     2  layout version, 1
//       12     4  fiscal year, signed 32-bit
//       16     1  flags: bit 0 set when the company has an access key
//       17    15  reserved, zero
//       32    16  salt of the access key (random per key)
//       48    32  BLAKE2b (crypto_generichash) of the key, keyed with the salt
//       80   128  company name
//      208   816  link to the previous year's company file, without its ".QVT" ending; relative
//                 to this file's folder when it was made so, "" when there is none
//
// The whole record is the lock range: the counter is read, incremented and written back while
// the record is locked for writing; the other fields are read under a shared lock so that a
// header being rewritten is never read half.
namespace {

constexpr std::size_t kCounterAt = 2, kMagicAt = 6, kVersionAt = 10, kYearAt = 12, kFlagsAt = 16,
                      kSaltAt = 32, kHashAt = 48, kNameAt = 80, kNameSize = 128, kPrevAt = 208,
                      kPrevSize = kCompanyHeaderSize - kPrevAt;
constexpr char kMagic[4] = {'P', 'Q', 'V', 'T'};

// Live CounterSyncDeferral objects of this process.
std::atomic<int> counterSyncDeferrals{0};

bool CounterWritesSynced() {
    return counterSyncDeferrals.load() == 0;
}

using Record = unsigned char[kCompanyHeaderSize];

void PutInt(Record& r, std::size_t at, std::uint32_t v, int bytes) {
    for (int i = 0; i < bytes; ++i)
        r[at + static_cast<std::size_t>(i)] = static_cast<unsigned char>(v >> (8 * i));
}

std::uint32_t GetInt(const Record& r, std::size_t at, int bytes) {
    std::uint32_t v = 0;
    for (int i = 0; i < bytes; ++i)
        v |= static_cast<std::uint32_t>(r[at + static_cast<std::size_t>(i)]) << (8 * i);
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

void Encode(const CompanyHeader& h, Record& r) {
    std::memset(r, 0, kCompanyHeaderSize);
    if (h.code.size() != 2)
        throw HostError("El código de empresa debe tener dos caracteres: \"" + h.code + "\"");
    r[0] = static_cast<unsigned char>(h.code[0]);
    r[1] = static_cast<unsigned char>(h.code[1]);
    PutInt(r, kCounterAt, static_cast<std::uint32_t>(h.counter), 4);
    std::memcpy(r + kMagicAt, kMagic, 4);
    PutInt(r, kVersionAt, 1, 2);
    PutInt(r, kYearAt, static_cast<std::uint32_t>(h.year), 4);
    r[kFlagsAt] = h.hasKey ? 1 : 0;
    std::memcpy(r + kSaltAt, h.salt, sizeof h.salt);
    std::memcpy(r + kHashAt, h.keyHash, sizeof h.keyHash);
    PutText(r, kNameAt, kNameSize, h.name, "nombre");
    PutText(r, kPrevAt, kPrevSize, h.previous, "empresa anterior");
}

CompanyHeader Decode(const Record& r, const std::string& path) {
    if (std::memcmp(r + kMagicAt, kMagic, 4) != 0 || GetInt(r, kVersionAt, 2) != 1)
        throw HostError("El fichero de empresa " + path + " está dañado o no es de Quorvex");
    CompanyHeader h;
    h.code = std::string(reinterpret_cast<const char*>(r), 2);
    h.counter = static_cast<std::int32_t>(GetInt(r, kCounterAt, 4));
    h.year = static_cast<std::int32_t>(GetInt(r, kYearAt, 4));
    h.hasKey = (r[kFlagsAt] & 1) != 0;
    std::memcpy(h.salt, r + kSaltAt, sizeof h.salt);
    std::memcpy(h.keyHash, r + kHashAt, sizeof h.keyHash);
    h.name = GetText(r, kNameAt, kNameSize);
    h.previous = GetText(r, kPrevAt, kPrevSize);
    return h;
}

// The company file opened for one operation, with the header record locked.
class LockedFile {
  public:
    enum class Access { Read, Write, Create };

    LockedFile(const std::string& path, Access access) : path_(path) {
#ifdef _WIN32
        DWORD rights = access == Access::Read ? GENERIC_READ : GENERIC_READ | GENERIC_WRITE;
        DWORD disposition = access == Access::Create ? CREATE_NEW : OPEN_EXISTING;
        int n = MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, nullptr, 0);
        std::wstring wide(n > 0 ? static_cast<std::size_t>(n) : 1, L'\0');
        MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, wide.data(), n);
        h_ = CreateFileW(wide.c_str(), rights, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (h_ == INVALID_HANDLE_VALUE) Fail("no se puede abrir");
        OVERLAPPED ov{};
        DWORD flags = access == Access::Read ? 0 : LOCKFILE_EXCLUSIVE_LOCK;
        if (!LockFileEx(h_, flags, 0, kCompanyHeaderSize, 0, &ov)) {
            CloseHandle(h_);
            Fail("no se puede bloquear la cabecera");
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
        lk.l_start = 0;
        lk.l_len = kCompanyHeaderSize;
        int rc;
        do {
#ifdef F_OFD_SETLKW
            rc = ::fcntl(fd_, F_OFD_SETLKW, &lk);
#else
            rc = ::fcntl(fd_, F_SETLKW, &lk);
#endif
        } while (rc != 0 && errno == EINTR);
        if (rc != 0) {
            ::close(fd_);
            Fail("no se puede bloquear la cabecera");
        }
#endif
    }

    ~LockedFile() {
#ifdef _WIN32
        OVERLAPPED ov{};
        UnlockFileEx(h_, 0, kCompanyHeaderSize, 0, &ov);
        CloseHandle(h_);
#else
        ::close(fd_);  // closing the description releases its lock
#endif
    }

    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;

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
#else
    int fd_ = -1;
#endif
};

void HashKey(const std::string& key, const unsigned char* salt, unsigned char* out) {
    if (sodium_init() < 0) throw HostError("No se puede iniciar la biblioteca criptográfica");
    crypto_generichash(out, 32, reinterpret_cast<const unsigned char*>(key.data()), key.size(),
                       salt, 16);
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
    std::memset(header.salt, 0, sizeof header.salt);
    std::memset(header.keyHash, 0, sizeof header.keyHash);
    header.hasKey = !key.empty();
    if (key.empty()) return;
    if (sodium_init() < 0) throw HostError("No se puede iniciar la biblioteca criptográfica");
    randombytes_buf(header.salt, sizeof header.salt);
    HashKey(key, header.salt, header.keyHash);
}

bool CheckAccessKey(const CompanyHeader& header, const std::string& key) {
    if (!header.hasKey) return true;
    if (key.empty()) return false;
    unsigned char hash[32];
    HashKey(key, header.salt, hash);
    return sodium_memcmp(hash, header.keyHash, sizeof hash) == 0;
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

std::int32_t IncrementCounter(const std::string& path) {
    std::string file = ExistingCompanyFile(path);
    LockedFile f(file, LockedFile::Access::Write);
    Record r;
    f.Read(r);
    CompanyHeader h = Decode(r, file);
    if (h.counter == std::numeric_limits<std::int32_t>::max())
        throw HostError("Desbordamiento del contador de referencias de " + file);
    PutInt(r, kCounterAt, static_cast<std::uint32_t>(h.counter + 1), 4);
    f.Write(r, CounterWritesSynced());
    return h.counter + 1;
}

std::int32_t AddToCounter(const std::string& path, std::int32_t n) {
    if (n < 1) throw HostError("Bloque de referencias no válido: " + std::to_string(n));
    std::string file = ExistingCompanyFile(path);
    LockedFile f(file, LockedFile::Access::Write);
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
