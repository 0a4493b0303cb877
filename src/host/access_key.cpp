#include "host/access_key.h"

#include <sodium.h>

#include <map>
#include <mutex>

#include "host/errors.h"

namespace pendara {

namespace {

// Sub-keys of the master key, by number, in the context below (libsodium's KDF).
constexpr char kKdfContext[crypto_kdf_CONTEXTBYTES + 1] = "PQVTCLAV";
constexpr std::uint64_t kCheckKeyId = 1, kDataKeyId = 2;

// Derivations already made in this process, by a hash of what they were made from.
std::mutex cacheMutex;
std::map<KeyBytes, DerivedKeys> cache;

KeyBytes CacheId(std::string_view key, const Salt& salt, KeyCost cost) {
    crypto_generichash_state st;
    crypto_generichash_init(&st, nullptr, 0, 32);
    unsigned char numbers[8];
    for (int i = 0; i < 4; ++i) {
        numbers[i] = static_cast<unsigned char>(cost.passes >> (8 * i));
        numbers[4 + i] = static_cast<unsigned char>(cost.memoryKiB >> (8 * i));
    }
    crypto_generichash_update(&st, salt.data(), salt.size());
    crypto_generichash_update(&st, numbers, sizeof numbers);
    crypto_generichash_update(&st, reinterpret_cast<const unsigned char*>(key.data()), key.size());
    KeyBytes id;
    crypto_generichash_final(&st, id.data(), id.size());
    return id;
}

}  // namespace

void InitCrypto() {
    if (sodium_init() < 0) throw HostError("No se puede iniciar la biblioteca criptográfica");
}

KeyCost DefaultKeyCost() {
    return {static_cast<std::uint32_t>(crypto_pwhash_OPSLIMIT_INTERACTIVE),
            static_cast<std::uint32_t>(crypto_pwhash_MEMLIMIT_INTERACTIVE / 1024)};
}

bool PlausibleKeyCost(KeyCost cost) {
    // At most 1 GiB and 64 passes: a forged header must not make the program allocate without end.
    return cost.passes >= crypto_pwhash_OPSLIMIT_MIN && cost.passes <= 64 &&
           cost.memoryKiB >= crypto_pwhash_MEMLIMIT_MIN / 1024 && cost.memoryKiB <= (1u << 20);
}

DerivedKeys DeriveKeys(std::string_view key, const Salt& salt, KeyCost cost) {
    InitCrypto();
    if (!PlausibleKeyCost(cost))
        throw HostError("Coste de la clave de acceso no válido (cabecera de empresa dañada)");
    const KeyBytes id = CacheId(key, salt, cost);
    {
        std::lock_guard<std::mutex> lock(cacheMutex);
        if (auto it = cache.find(id); it != cache.end()) return it->second;
    }
    KeyBytes master;
    if (crypto_pwhash(master.data(), master.size(), key.data(), key.size(), salt.data(),
                      cost.passes, static_cast<std::size_t>(cost.memoryKiB) * 1024,
                      crypto_pwhash_ALG_ARGON2ID13) != 0)
        throw HostError("No hay memoria para comprobar la clave de acceso");
    DerivedKeys keys;
    crypto_kdf_derive_from_key(keys.check.data(), keys.check.size(), kCheckKeyId, kKdfContext,
                               master.data());
    crypto_kdf_derive_from_key(keys.data.data(), keys.data.size(), kDataKeyId, kKdfContext,
                               master.data());
    sodium_memzero(master.data(), master.size());
    std::lock_guard<std::mutex> lock(cacheMutex);
    cache[id] = keys;
    return keys;
}

std::optional<DerivedKeys> CachedKeys(std::string_view key, const Salt& salt, KeyCost cost) {
    InitCrypto();
    const KeyBytes id = CacheId(key, salt, cost);
    std::lock_guard<std::mutex> lock(cacheMutex);
    if (auto it = cache.find(id); it != cache.end()) return it->second;
    return std::nullopt;
}

void ForgetDerivedKeys() {
    std::lock_guard<std::mutex> lock(cacheMutex);
    cache.clear();
}

Salt NewSalt() {
    InitCrypto();
    Salt salt;
    randombytes_buf(salt.data(), salt.size());
    return salt;
}

bool SameKeyBytes(const KeyBytes& a, const KeyBytes& b) {
    return sodium_memcmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace pendara
