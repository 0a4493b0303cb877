#pragma once
// Access keys of protected companies. Argon2id (libsodium's crypto_pwhash) over the key with the
// company's own salt gives a master key; the company file keeps only a check value derived from
// it, and the company's data files are encrypted with a second key derived from it. Neither the
// key nor the master key is stored anywhere.

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace pendara {

using Salt = std::array<unsigned char, 16>;
using KeyBytes = std::array<unsigned char, 32>;

// The Argon2id cost a company's key was derived with (kept in its header, so that later
// companies may use a higher one without making older ones unreadable).
struct KeyCost {
    std::uint32_t passes = 0;
    std::uint32_t memoryKiB = 0;
    bool operator==(const KeyCost&) const = default;
};

// libsodium's interactive cost: about 0.2 s and 64 MiB per derivation on an office machine.
KeyCost DefaultKeyCost();
// False for a cost no header written by us holds (a damaged or forged header).
bool PlausibleKeyCost(KeyCost cost);

struct DerivedKeys {
    KeyBytes check{};  // kept in the company file
    KeyBytes data{};   // encrypts the company's data files
};

// Argon2id over `key` with `salt` and `cost`. The same arguments give the same keys; after the
// first derivation in this process they come from memory, so that a company opened once per
// account costs the derivation once. HostError when the cost cannot be met (memory).
DerivedKeys DeriveKeys(std::string_view key, const Salt& salt, KeyCost cost);
// The keys when this process derived them before; nullopt otherwise (nothing is derived).
std::optional<DerivedKeys> CachedKeys(std::string_view key, const Salt& salt, KeyCost cost);

// Forgets every derivation made so far, as a new process would not have them (tests).
void ForgetDerivedKeys();

// A fresh random salt.
Salt NewSalt();

// Compares in constant time.
bool SameKeyBytes(const KeyBytes& a, const KeyBytes& b);

// libsodium ready for use; HostError when it cannot start.
void InitCrypto();

}  // namespace pendara
