#pragma once
// The data files of a protected company are encrypted at rest, page by page, by an SQLite VFS
// over the platform's own (libsodium's XChaCha20-Poly1305: each 4096-byte block is sealed with a
// random nonce and authenticated with its position). Files of companies without a key stay plain
// SQLite and pass through untouched; so does everything when no protected company is open.
//
// An encrypted file starts with a header of its own (kEncryptedHeaderBytes) naming the salt of
// the company key it belongs to, a random file id and a check value; its key is derived from the
// company's data key (access_key.h) and the file id, so the data open only with the access key
// that the company file checks: an edited or copied company header gives no way in. Its WAL and
// rollback journal are encrypted with keys derived the same way; temporary files, with a random
// key of their own.

#include <sqlite3.h>

#include <optional>
#include <string>

#include "host/access_key.h"

namespace pendara {

// The name the VFS is registered under; every Db opens its file through it.
inline constexpr const char* kCryptVfsName = "pendara";
inline constexpr std::size_t kEncryptedHeaderBytes = 128;

// Registers the VFS once per process.
void EnsureCryptVfs();

// The data key of a company opened with its access key in this process, by its salt: the VFS
// finds the key of an encrypted file by the salt its header names.
void RegisterDataKey(const Salt& salt, const KeyBytes& dataKey);

// Writes the header of a new, empty encrypted file (`path` must not exist): SQLite then opens it
// as an empty database. The data key of `salt` must be registered.
void CreateEncryptedFile(const std::string& path, const Salt& salt);

// What the first bytes of a file say: nullopt for a plain (or empty) file, the salt of its
// company key for an encrypted one. Reads the file directly: only for files no connection of
// this process has open (a file being made, a file left by a change cut short).
std::optional<Salt> EncryptedFileSalt(const std::string& path);

// Whether an open connection's main file is encrypted.
bool IsEncrypted(sqlite3* db);

// Why the VFS last refused to open or read a file on this thread ("" when it did not), and
// forgets it. SQLite's own message for such a failure says only "unable to open" or "disk I/O
// error".
std::string TakeCryptProblem();

}  // namespace pendara
