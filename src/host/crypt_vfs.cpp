#include "host/crypt_vfs.h"

#include <sodium.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <mutex>
#include <new>
#include <vector>

#include "host/errors.h"

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

namespace pendara {

// Layout of an encrypted file. The main file starts with a header; its WAL, its rollback
// journal and temporary files have none. Then come the blocks: block k holds the bytes
// k*4096 .. k*4096+4095 that SQLite sees, sealed as
//
//   24 bytes  random nonce
//   4096      XChaCha20 of the block
//   16        Poly1305 tag over the block and, as associated data, k (8 bytes, little-endian)
//             and the kind of file (main, WAL, journal, temporary)
//
// so that a block moved, swapped with another file's or edited fails its tag. The file key is a
// keyed BLAKE2b of the kind and the file id, keyed with the company's data key.
//
// Header of the main file (kEncryptedHeaderBytes):
//   offset  size  content
//        0     8  "PQVDCIF1"
//        8     4  block size, 4096, little-endian
//       12     4  zero
//       16    16  salt of the company key (the company file's salt)
//       32    16  file id, random
//       48    32  keyed BLAKE2b of bytes 0-47 under the main file key: the key is the right one
//       80    48  zero
//
// SQLite writes whole pages to the main file (its pages and the blocks are both 4096 bytes), and
// whole frames and journal records at the end of the logs; a write that covers part of a block
// reads the block, changes it and seals it again. The VFS tells SQLite that its sectors are the
// blocks and that a write may damage the rest of its sector, so that SQLite never rewrites a
// block holding data it has already synced (it starts a new journal header, or pads a WAL
// commit, at the next block instead): a torn write then loses only what was not yet committed.
// A block of a log that fails its tag reads as zeros, which SQLite's own checksums take for the
// end of the log; in the main file it is an error.
namespace {

constexpr std::size_t kBlock = 4096;
constexpr std::size_t kNonce = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t kTag = crypto_aead_xchacha20poly1305_ietf_ABYTES;
constexpr std::size_t kSealed = kNonce + kBlock + kTag;
constexpr char kMagic[8] = {'P', 'Q', 'V', 'D', 'C', 'I', 'F', '1'};
constexpr std::size_t kBlockSizeAt = 8, kSaltAt = 16, kFileIdAt = 32, kCheckAt = 48;

using FileId = std::array<unsigned char, 16>;

enum class Kind : unsigned char { Main = 1, Wal = 2, Journal = 3, Temp = 4 };

struct OpenMain {
    KeyBytes dataKey{};
    FileId id{};
    int refs = 0;
};

std::mutex stateMutex;
std::map<Salt, KeyBytes> dataKeys;
// Encrypted main files open now, by the name SQLite opened them with (their logs name them).
std::map<std::string, OpenMain> openMains;

thread_local std::string problem;

KeyBytes FileKey(const KeyBytes& dataKey, Kind kind, const FileId& id) {
    unsigned char message[1 + sizeof(FileId)];
    message[0] = static_cast<unsigned char>(kind);
    std::memcpy(message + 1, id.data(), id.size());
    KeyBytes key;
    crypto_generichash(key.data(), key.size(), message, sizeof message, dataKey.data(),
                       dataKey.size());
    return key;
}

KeyBytes HeaderCheck(const KeyBytes& mainKey, const unsigned char* header) {
    KeyBytes check;
    crypto_generichash(check.data(), check.size(), header, kCheckAt, mainKey.data(),
                       mainKey.size());
    return check;
}

void PutU32(unsigned char* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>(v >> (8 * i));
}

std::uint32_t GetU32(const unsigned char* p) {
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i)
        v |= static_cast<std::uint32_t>(p[i]) << (8 * i);
    return v;
}

// One file as SQLite holds it: this record, then the platform VFS's own file object.
struct CryptFile {
    sqlite3_file base{};
    sqlite3_file* real = nullptr;
    bool encrypted = false;
    Kind kind = Kind::Temp;
    std::uint64_t header = 0;  // bytes before block 0
    KeyBytes key{};
    std::string mainName;  // set for an encrypted main file, registered in openMains
    // A plain WAL: a frame's short header waits here for its page, written right after it, so
    // that the two go out in one write call (see WalWrite).
    std::vector<unsigned char> held;
    sqlite3_int64 heldAt = 0;
};

constexpr std::size_t kRealOffset = (sizeof(CryptFile) + 15) / 16 * 16;

CryptFile& Of(sqlite3_file* file) {
    return *reinterpret_cast<CryptFile*>(file);
}

sqlite3_file* Real(sqlite3_file* file) {
    return Of(file).real;
}

// --- Blocks ----------------------------------------------------------------------------------

void Associated(const CryptFile& f, std::uint64_t k, unsigned char* ad) {
    for (int i = 0; i < 8; ++i)
        ad[i] = static_cast<unsigned char>(k >> (8 * i));
    ad[8] = static_cast<unsigned char>(f.kind);
}

void Seal(const CryptFile& f, std::uint64_t k, const unsigned char* plain, unsigned char* out) {
    unsigned char ad[9];
    Associated(f, k, ad);
    randombytes_buf(out, kNonce);
    unsigned long long length = 0;
    crypto_aead_xchacha20poly1305_ietf_encrypt(out + kNonce, &length, plain, kBlock, ad, sizeof ad,
                                               nullptr, out, f.key.data());
}

bool Unseal(const CryptFile& f, std::uint64_t k, const unsigned char* sealed,
            unsigned char* plain) {
    unsigned char ad[9];
    Associated(f, k, ad);
    unsigned long long length = 0;
    return crypto_aead_xchacha20poly1305_ietf_decrypt(plain, &length, nullptr, sealed + kNonce,
                                                      kBlock + kTag, ad, sizeof ad, sealed,
                                                      f.key.data()) == 0;
}

std::int64_t Where(const CryptFile& f, std::uint64_t k) {
    return static_cast<std::int64_t>(f.header + k * kSealed);
}

// Whole sealed blocks in the file; a block cut short by a crash does not count.
int Blocks(const CryptFile& f, std::uint64_t& blocks) {
    sqlite3_int64 size = 0;
    int rc = f.real->pMethods->xFileSize(f.real, &size);
    if (rc != SQLITE_OK) return rc;
    blocks = static_cast<std::uint64_t>(size) > f.header
                 ? (static_cast<std::uint64_t>(size) - f.header) / kSealed
                 : 0;
    return SQLITE_OK;
}

// The plain text of existing block k into `plain`. A block that fails its tag is an error in a
// main file and zeros elsewhere (the torn end of a log).
int ReadBlock(CryptFile& f, std::uint64_t k, unsigned char* plain) {
    unsigned char sealed[kSealed];
    int rc = f.real->pMethods->xRead(f.real, sealed, static_cast<int>(kSealed), Where(f, k));
    if (rc == SQLITE_OK && Unseal(f, k, sealed, plain)) return SQLITE_OK;
    if (rc != SQLITE_OK && rc != SQLITE_IOERR_SHORT_READ) return rc;
    if (f.kind == Kind::Main) {
        problem = "el bloque " + std::to_string(k) + " de " + f.mainName +
                  " no se puede descifrar: el fichero está dañado o lo han alterado";
        return SQLITE_IOERR_DATA;
    }
    std::memset(plain, 0, kBlock);
    return SQLITE_OK;
}

int WriteBlock(CryptFile& f, std::uint64_t k, const unsigned char* plain) {
    unsigned char sealed[kSealed];
    Seal(f, k, plain, sealed);
    return f.real->pMethods->xWrite(f.real, sealed, static_cast<int>(kSealed), Where(f, k));
}

// A file never has holes: blocks up to `upTo` that are not there yet are written as zeros.
int FillTo(CryptFile& f, std::uint64_t& blocks, std::uint64_t upTo) {
    static const unsigned char zeros[kBlock] = {};
    for (; blocks < upTo; ++blocks)
        if (int rc = WriteBlock(f, blocks, zeros); rc != SQLITE_OK) return rc;
    return SQLITE_OK;
}

// --- Encrypted files -------------------------------------------------------------------------

int CryptClose(sqlite3_file* file) {
    CryptFile& f = Of(file);
    int rc = f.real->pMethods ? f.real->pMethods->xClose(f.real) : SQLITE_OK;
    if (!f.mainName.empty()) {
        std::lock_guard<std::mutex> lock(stateMutex);
        auto it = openMains.find(f.mainName);
        if (it != openMains.end() && --it->second.refs == 0) openMains.erase(it);
    }
    sodium_memzero(f.key.data(), f.key.size());
    f.~CryptFile();
    return rc;
}

int CryptRead(sqlite3_file* file, void* buffer, int amount, sqlite3_int64 offset) {
    CryptFile& f = Of(file);
    auto* out = static_cast<unsigned char*>(buffer);
    std::uint64_t blocks = 0;
    if (int rc = Blocks(f, blocks); rc != SQLITE_OK) return rc;
    unsigned char plain[kBlock];
    const auto start = static_cast<std::uint64_t>(offset);
    const std::uint64_t end = start + static_cast<std::uint64_t>(amount);
    for (std::uint64_t pos = start; pos < end;) {
        const std::uint64_t k = pos / kBlock, in = pos % kBlock;
        const std::uint64_t n = std::min<std::uint64_t>(kBlock - in, end - pos);
        if (k >= blocks) {
            std::memset(out + (pos - start), 0, end - pos);
            return SQLITE_IOERR_SHORT_READ;
        }
        // A whole block goes straight into the caller's buffer.
        unsigned char* target = n == kBlock ? out + (pos - start) : plain;
        if (int rc = ReadBlock(f, k, target); rc != SQLITE_OK) return rc;
        if (target == plain) std::memcpy(out + (pos - start), plain + in, n);
        pos += n;
    }
    return SQLITE_OK;
}

int CryptWrite(sqlite3_file* file, const void* buffer, int amount, sqlite3_int64 offset) {
    CryptFile& f = Of(file);
    const auto* in = static_cast<const unsigned char*>(buffer);
    std::uint64_t blocks = 0;
    if (int rc = Blocks(f, blocks); rc != SQLITE_OK) return rc;
    unsigned char plain[kBlock];
    const auto start = static_cast<std::uint64_t>(offset);
    const std::uint64_t end = start + static_cast<std::uint64_t>(amount);
    for (std::uint64_t pos = start; pos < end;) {
        const std::uint64_t k = pos / kBlock, at = pos % kBlock;
        const std::uint64_t n = std::min<std::uint64_t>(kBlock - at, end - pos);
        if (int rc = FillTo(f, blocks, k); rc != SQLITE_OK) return rc;
        const unsigned char* source = in + (pos - start);
        if (n != kBlock) {
            if (k < blocks) {
                if (int rc = ReadBlock(f, k, plain); rc != SQLITE_OK) return rc;
            } else {
                std::memset(plain, 0, kBlock);
            }
            std::memcpy(plain + at, source, n);
            source = plain;
        }
        if (int rc = WriteBlock(f, k, source); rc != SQLITE_OK) return rc;
        blocks = std::max(blocks, k + 1);
        pos += n;
    }
    return SQLITE_OK;
}

int CryptTruncate(sqlite3_file* file, sqlite3_int64 size) {
    CryptFile& f = Of(file);
    std::uint64_t blocks = 0;
    if (int rc = Blocks(f, blocks); rc != SQLITE_OK) return rc;
    const auto logical = static_cast<std::uint64_t>(size);
    const std::uint64_t keep = (logical + kBlock - 1) / kBlock;
    if (keep > blocks) return FillTo(f, blocks, keep);
    int rc = f.real->pMethods->xTruncate(f.real, Where(f, keep));
    if (rc != SQLITE_OK || logical % kBlock == 0) return rc;
    // What lay beyond the new end in its last block does not come back.
    unsigned char plain[kBlock];
    if ((rc = ReadBlock(f, keep - 1, plain)) != SQLITE_OK) return rc;
    std::memset(plain + logical % kBlock, 0, kBlock - logical % kBlock);
    return WriteBlock(f, keep - 1, plain);
}

int CryptFileSize(sqlite3_file* file, sqlite3_int64* size) {
    std::uint64_t blocks = 0;
    int rc = Blocks(Of(file), blocks);
    *size = static_cast<sqlite3_int64>(blocks * kBlock);
    return rc;
}

int CryptFileControl(sqlite3_file* file, int op, void* arg) {
    switch (op) {
        // The platform file must not grow by itself, nor be read through a memory map.
        case SQLITE_FCNTL_SIZE_HINT:
        case SQLITE_FCNTL_CHUNK_SIZE:
            return SQLITE_OK;
        case SQLITE_FCNTL_MMAP_SIZE:
            *static_cast<sqlite3_int64*>(arg) = 0;
            return SQLITE_OK;
        default:
            return Real(file)->pMethods->xFileControl(Real(file), op, arg);
    }
}

int CryptSectorSize(sqlite3_file*) {
    return static_cast<int>(kBlock);
}

int CryptDeviceCharacteristics(sqlite3_file* file) {
    sqlite3_file* real = Real(file);
    return real->pMethods->xDeviceCharacteristics(real) & SQLITE_IOCAP_UNDELETABLE_WHEN_OPEN;
}

// --- Calls passed on unchanged ---------------------------------------------------------------

int PassSync(sqlite3_file* f, int flags) {
    return Real(f)->pMethods->xSync(Real(f), flags);
}
int PassLock(sqlite3_file* f, int level) {
    return Real(f)->pMethods->xLock(Real(f), level);
}
int PassUnlock(sqlite3_file* f, int level) {
    return Real(f)->pMethods->xUnlock(Real(f), level);
}
int PassCheckReservedLock(sqlite3_file* f, int* out) {
    return Real(f)->pMethods->xCheckReservedLock(Real(f), out);
}
int PassShmMap(sqlite3_file* f, int region, int size, int extend, void volatile** p) {
    return Real(f)->pMethods->xShmMap(Real(f), region, size, extend, p);
}
int PassShmLock(sqlite3_file* f, int offset, int n, int flags) {
    return Real(f)->pMethods->xShmLock(Real(f), offset, n, flags);
}
void PassShmBarrier(sqlite3_file* f) {
    Real(f)->pMethods->xShmBarrier(Real(f));
}
int PassShmUnmap(sqlite3_file* f, int deleteFlag) {
    return Real(f)->pMethods->xShmUnmap(Real(f), deleteFlag);
}
int PassRead(sqlite3_file* f, void* b, int n, sqlite3_int64 o) {
    return Real(f)->pMethods->xRead(Real(f), b, n, o);
}
int PassWrite(sqlite3_file* f, const void* b, int n, sqlite3_int64 o) {
    return Real(f)->pMethods->xWrite(Real(f), b, n, o);
}
int PassTruncate(sqlite3_file* f, sqlite3_int64 size) {
    return Real(f)->pMethods->xTruncate(Real(f), size);
}
int PassFileSize(sqlite3_file* f, sqlite3_int64* size) {
    return Real(f)->pMethods->xFileSize(Real(f), size);
}
int PassFileControl(sqlite3_file* f, int op, void* arg) {
    return Real(f)->pMethods->xFileControl(Real(f), op, arg);
}
int PassSectorSize(sqlite3_file* f) {
    return Real(f)->pMethods->xSectorSize(Real(f));
}
int PassDeviceCharacteristics(sqlite3_file* f) {
    return Real(f)->pMethods->xDeviceCharacteristics(Real(f));
}
int PassFetch(sqlite3_file* f, sqlite3_int64 o, int n, void** p) {
    sqlite3_file* r = Real(f);
    if (r->pMethods->iVersion < 3 || !r->pMethods->xFetch) {
        *p = nullptr;
        return SQLITE_OK;
    }
    return r->pMethods->xFetch(r, o, n, p);
}
int PassUnfetch(sqlite3_file* f, sqlite3_int64 o, void* p) {
    sqlite3_file* r = Real(f);
    if (r->pMethods->iVersion < 3 || !r->pMethods->xUnfetch) return SQLITE_OK;
    return r->pMethods->xUnfetch(r, o, p);
}

// A plain WAL. SQLite writes every frame as two calls, its 24-byte header and then its page
// right behind it; a commit writes thousands of frames. A short write is held and goes out with
// the write that continues it, as one call. Every other operation first writes what is held, so
// that a read, a size, a sync or a close sees the file as SQLite wrote it. A process killed
// while a header is held leaves the file as if it had died just before writing that header: a
// frame without its header or page is the end of the log either way.
constexpr int kHeldWrite = 64;

int WriteHeld(sqlite3_file* file) {
    CryptFile& f = Of(file);
    if (f.held.empty()) return SQLITE_OK;
    int rc =
        f.real->pMethods->xWrite(f.real, f.held.data(), static_cast<int>(f.held.size()), f.heldAt);
    f.held.clear();
    return rc;
}

int WalWrite(sqlite3_file* file, const void* b, int n, sqlite3_int64 o) {
    CryptFile& f = Of(file);
    const auto* bytes = static_cast<const unsigned char*>(b);
    if (!f.held.empty() && o == f.heldAt + static_cast<sqlite3_int64>(f.held.size())) {
        f.held.insert(f.held.end(), bytes, bytes + n);
        return WriteHeld(file);
    }
    if (int rc = WriteHeld(file); rc != SQLITE_OK) return rc;
    if (n > 0 && n < kHeldWrite) {
        f.held.assign(bytes, bytes + n);
        f.heldAt = o;
        return SQLITE_OK;
    }
    return f.real->pMethods->xWrite(f.real, b, n, o);
}

int WalClose(sqlite3_file* file) {
    int held = WriteHeld(file);
    int rc = CryptClose(file);
    return held != SQLITE_OK ? held : rc;
}
// A pass-through method that first writes what is held.
template <auto Pass>
struct HeldFirst;
template <typename... Args, int (*Pass)(sqlite3_file*, Args...)>
struct HeldFirst<Pass> {
    static int Call(sqlite3_file* f, Args... args) {
        if (int rc = WriteHeld(f); rc != SQLITE_OK) return rc;
        return Pass(f, args...);
    }
};

// Version 2: no memory-mapped reads of an encrypted file.
const sqlite3_io_methods kCryptMethods = {
    2,
    CryptClose,
    CryptRead,
    CryptWrite,
    CryptTruncate,
    PassSync,
    CryptFileSize,
    PassLock,
    PassUnlock,
    PassCheckReservedLock,
    CryptFileControl,
    CryptSectorSize,
    CryptDeviceCharacteristics,
    PassShmMap,
    PassShmLock,
    PassShmBarrier,
    PassShmUnmap,
    nullptr,
    nullptr,
};

const sqlite3_io_methods kPlainMethods = {
    3,
    CryptClose,
    PassRead,
    PassWrite,
    PassTruncate,
    PassSync,
    PassFileSize,
    PassLock,
    PassUnlock,
    PassCheckReservedLock,
    PassFileControl,
    PassSectorSize,
    PassDeviceCharacteristics,
    PassShmMap,
    PassShmLock,
    PassShmBarrier,
    PassShmUnmap,
    PassFetch,
    PassUnfetch,
};

const sqlite3_io_methods kPlainWalMethods = {
    3,
    WalClose,
    HeldFirst<PassRead>::Call,
    WalWrite,
    HeldFirst<PassTruncate>::Call,
    HeldFirst<PassSync>::Call,
    HeldFirst<PassFileSize>::Call,
    HeldFirst<PassLock>::Call,
    HeldFirst<PassUnlock>::Call,
    PassCheckReservedLock,
    HeldFirst<PassFileControl>::Call,
    PassSectorSize,
    PassDeviceCharacteristics,
    PassShmMap,
    PassShmLock,
    PassShmBarrier,
    PassShmUnmap,
    HeldFirst<PassFetch>::Call,
    PassUnfetch,
};

// --- Opening ---------------------------------------------------------------------------------

// A main file: encrypted when it starts with the header, whose company key must be known and
// whose check must hold.
int ClassifyMain(CryptFile& f, const char* name) {
    sqlite3_int64 size = 0;
    if (int rc = f.real->pMethods->xFileSize(f.real, &size); rc != SQLITE_OK) return rc;
    if (size < static_cast<sqlite3_int64>(sizeof kMagic)) return SQLITE_OK;
    unsigned char header[kEncryptedHeaderBytes] = {};
    const int wanted = static_cast<int>(std::min<sqlite3_int64>(size, sizeof header));
    int rc = f.real->pMethods->xRead(f.real, header, wanted, 0);
    if (rc != SQLITE_OK && rc != SQLITE_IOERR_SHORT_READ) return rc;
    if (std::memcmp(header, kMagic, sizeof kMagic) != 0) return SQLITE_OK;
    const std::string file = name ? name : "";
    if (wanted < static_cast<int>(sizeof header) || GetU32(header + kBlockSizeAt) != kBlock) {
        problem = "El fichero " + file + " está cifrado pero su cabecera está dañada";
        return SQLITE_CANTOPEN;
    }
    Salt salt;
    FileId id;
    std::memcpy(salt.data(), header + kSaltAt, salt.size());
    std::memcpy(id.data(), header + kFileIdAt, id.size());
    std::lock_guard<std::mutex> lock(stateMutex);
    auto key = dataKeys.find(salt);
    if (key == dataKeys.end()) {
        problem = "El fichero " + file +
                  " está cifrado y no se ha dado la clave de acceso de su empresa (o el fichero "
                  "de empresa que lo nombra no es el suyo)";
        return SQLITE_CANTOPEN;
    }
    f.key = FileKey(key->second, Kind::Main, id);
    KeyBytes check;
    std::memcpy(check.data(), header + kCheckAt, check.size());
    if (!SameKeyBytes(check, HeaderCheck(f.key, header))) {
        problem = "La clave de acceso de la empresa no abre el fichero " + file +
                  ": el fichero es de otra empresa o lo han alterado";
        return SQLITE_CANTOPEN;
    }
    f.encrypted = true;
    f.kind = Kind::Main;
    f.header = kEncryptedHeaderBytes;
    f.mainName = file;
    OpenMain& open = openMains[file];
    open.dataKey = key->second;
    open.id = id;
    ++open.refs;
    return SQLITE_OK;
}

int Classify(CryptFile& f, const char* name, int flags) {
    if (flags & SQLITE_OPEN_MAIN_DB) return ClassifyMain(f, name);
    if (flags & (SQLITE_OPEN_WAL | SQLITE_OPEN_MAIN_JOURNAL)) {
        if (!name) return SQLITE_OK;
        const std::string main = sqlite3_filename_database(name);
        std::lock_guard<std::mutex> lock(stateMutex);
        auto it = openMains.find(main);
        if (it == openMains.end()) return SQLITE_OK;
        f.kind = (flags & SQLITE_OPEN_WAL) ? Kind::Wal : Kind::Journal;
        f.key = FileKey(it->second.dataKey, f.kind, it->second.id);
        f.encrypted = true;
        return SQLITE_OK;
    }
    // Temporary files may hold rows of any open database: while an encrypted one is open, they
    // are encrypted too, with a key that dies with them.
    std::lock_guard<std::mutex> lock(stateMutex);
    if (openMains.empty()) return SQLITE_OK;
    f.kind = Kind::Temp;
    randombytes_buf(f.key.data(), f.key.size());
    f.encrypted = true;
    return SQLITE_OK;
}

sqlite3_vfs* Platform(sqlite3_vfs* vfs) {
    return static_cast<sqlite3_vfs*>(vfs->pAppData);
}

int CryptOpen(sqlite3_vfs* vfs, sqlite3_filename name, sqlite3_file* file, int flags,
              int* outFlags) {
    sqlite3_vfs* platform = Platform(vfs);
    CryptFile* f = new (file) CryptFile();
    f->real = reinterpret_cast<sqlite3_file*>(reinterpret_cast<char*>(file) + kRealOffset);
    std::memset(f->real, 0, static_cast<std::size_t>(platform->szOsFile));
    int rc = platform->xOpen(platform, name, f->real, flags, outFlags);
    if (rc == SQLITE_OK) rc = Classify(*f, name, flags);
    if (rc != SQLITE_OK) {
        if (f->real->pMethods) f->real->pMethods->xClose(f->real);
        f->~CryptFile();
        file->pMethods = nullptr;
        return rc;
    }
    file->pMethods = f->encrypted                ? &kCryptMethods
                     : (flags & SQLITE_OPEN_WAL) ? &kPlainWalMethods
                                                 : &kPlainMethods;
    return SQLITE_OK;
}

// The rest of the VFS is the platform's.
int VfsDelete(sqlite3_vfs* v, const char* name, int syncDir) {
    return Platform(v)->xDelete(Platform(v), name, syncDir);
}
int VfsAccess(sqlite3_vfs* v, const char* name, int flags, int* out) {
    return Platform(v)->xAccess(Platform(v), name, flags, out);
}
int VfsFullPathname(sqlite3_vfs* v, const char* name, int n, char* out) {
    return Platform(v)->xFullPathname(Platform(v), name, n, out);
}
void* VfsDlOpen(sqlite3_vfs* v, const char* name) {
    return Platform(v)->xDlOpen(Platform(v), name);
}
void VfsDlError(sqlite3_vfs* v, int n, char* out) {
    Platform(v)->xDlError(Platform(v), n, out);
}
void (*VfsDlSym(sqlite3_vfs* v, void* handle, const char* symbol))(void) {
    return Platform(v)->xDlSym(Platform(v), handle, symbol);
}
void VfsDlClose(sqlite3_vfs* v, void* handle) {
    Platform(v)->xDlClose(Platform(v), handle);
}
int VfsRandomness(sqlite3_vfs* v, int n, char* out) {
    return Platform(v)->xRandomness(Platform(v), n, out);
}
int VfsSleep(sqlite3_vfs* v, int micro) {
    return Platform(v)->xSleep(Platform(v), micro);
}
int VfsCurrentTime(sqlite3_vfs* v, double* out) {
    return Platform(v)->xCurrentTime(Platform(v), out);
}
int VfsGetLastError(sqlite3_vfs* v, int n, char* out) {
    return Platform(v)->xGetLastError(Platform(v), n, out);
}
int VfsCurrentTimeInt64(sqlite3_vfs* v, sqlite3_int64* out) {
    return Platform(v)->xCurrentTimeInt64(Platform(v), out);
}

sqlite3_vfs cryptVfs;

}  // namespace

void EnsureCryptVfs() {
    static std::once_flag once;
    std::call_once(once, [] {
        InitCrypto();
        sqlite3_vfs* platform = sqlite3_vfs_find(nullptr);
        if (!platform) throw HostError("SQLite no tiene ningún VFS");
        cryptVfs = sqlite3_vfs{};
        cryptVfs.iVersion = 2;
        cryptVfs.szOsFile = static_cast<int>(kRealOffset) + platform->szOsFile;
        cryptVfs.mxPathname = platform->mxPathname;
        cryptVfs.zName = kCryptVfsName;
        cryptVfs.pAppData = platform;
        cryptVfs.xOpen = CryptOpen;
        cryptVfs.xDelete = VfsDelete;
        cryptVfs.xAccess = VfsAccess;
        cryptVfs.xFullPathname = VfsFullPathname;
        cryptVfs.xDlOpen = VfsDlOpen;
        cryptVfs.xDlError = VfsDlError;
        cryptVfs.xDlSym = VfsDlSym;
        cryptVfs.xDlClose = VfsDlClose;
        cryptVfs.xRandomness = VfsRandomness;
        cryptVfs.xSleep = VfsSleep;
        cryptVfs.xCurrentTime = VfsCurrentTime;
        cryptVfs.xGetLastError = VfsGetLastError;
        cryptVfs.xCurrentTimeInt64 = VfsCurrentTimeInt64;
        if (sqlite3_vfs_register(&cryptVfs, 0) != SQLITE_OK)
            throw HostError("No se puede registrar el VFS de cifrado de SQLite");
    });
}

void RegisterDataKey(const Salt& salt, const KeyBytes& dataKey) {
    std::lock_guard<std::mutex> lock(stateMutex);
    dataKeys[salt] = dataKey;
}

void CreateEncryptedFile(const std::string& path, const Salt& salt) {
    InitCrypto();
    KeyBytes dataKey;
    {
        std::lock_guard<std::mutex> lock(stateMutex);
        auto it = dataKeys.find(salt);
        if (it == dataKeys.end())
            throw HostError("No se puede cifrar " + path + ": falta la clave de su empresa");
        dataKey = it->second;
    }
    unsigned char header[kEncryptedHeaderBytes] = {};
    std::memcpy(header, kMagic, sizeof kMagic);
    PutU32(header + kBlockSizeAt, kBlock);
    std::memcpy(header + kSaltAt, salt.data(), salt.size());
    FileId id;
    randombytes_buf(id.data(), id.size());
    std::memcpy(header + kFileIdAt, id.data(), id.size());
    const KeyBytes check = HeaderCheck(FileKey(dataKey, Kind::Main, id), header);
    std::memcpy(header + kCheckAt, check.data(), check.size());
#ifdef _WIN32
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(header), sizeof header);
    out.close();
    if (!out) throw HostError("No se puede crear el fichero " + path);
#else
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0)
        throw HostError("No se puede crear el fichero " + path + ": " + std::strerror(errno));
    bool ok = ::write(fd, header, sizeof header) == static_cast<ssize_t>(sizeof header);
    ok = ::fsync(fd) == 0 && ok;
    ok = ::close(fd) == 0 && ok;
    if (!ok) throw HostError("No se puede escribir el fichero " + path);
#endif
}

std::optional<Salt> EncryptedFileSalt(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    unsigned char header[kEncryptedHeaderBytes] = {};
    in.read(reinterpret_cast<char*>(header), sizeof header);
    if (in.gcount() < static_cast<std::streamsize>(sizeof header) ||
        std::memcmp(header, kMagic, sizeof kMagic) != 0)
        return std::nullopt;
    Salt salt;
    std::memcpy(salt.data(), header + kSaltAt, salt.size());
    return salt;
}

bool IsEncrypted(sqlite3* db) {
    sqlite3_file* file = nullptr;
    if (sqlite3_file_control(db, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK || !file)
        return false;
    return file->pMethods == &kCryptMethods;
}

std::string TakeCryptProblem() {
    std::string taken;
    taken.swap(problem);
    return taken;
}

}  // namespace pendara
