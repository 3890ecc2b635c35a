// AES-128 in CBC mode (libgcrypt). The key is the first 16 bytes of SHA-256 over the pass
// phrase below. The plain text is the address's bytes as written in the database source
// (ASCII; any other byte passes through untouched), padded as PKCS#7. The IV is the first 16
// bytes of SHA-256 over key and address, so building the same source twice gives the same
// database. The stored field is IV and cipher text as upper-case hex: no "$", no line break.
#include "updates/AddressCipher.h"

#include <gcrypt.h>

#include <array>
#include <cstring>
#include <vector>

namespace vantrel {

namespace {

constexpr char kPassPhrase[] = "Vantrel driver update addresses, 6.5";
constexpr std::size_t kBlock = 16;
// An address longer than a URL can be is no address.
constexpr std::size_t kMaxStoredChars = 2 * (kBlock + 4096);

using Key = std::array<unsigned char, kBlock>;

void Sha256(const void* data, std::size_t size, unsigned char out[32]) {
    gcry_md_hash_buffer(GCRY_MD_SHA256, out, data, size);
}

const Key& CipherKey() {
    static const Key key = [] {
        // The library must be started once before any other call; no secure memory is needed
        // for a key that ships inside the program.
        gcry_check_version(nullptr);
        gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        unsigned char digest[32];
        Sha256(kPassPhrase, std::strlen(kPassPhrase), digest);
        Key k;
        std::memcpy(k.data(), digest, kBlock);
        return k;
    }();
    return key;
}

// Runs the cipher over data in place; false when the library refuses.
bool Crypt(bool encrypt, const unsigned char* iv, unsigned char* data, std::size_t size) {
    gcry_cipher_hd_t handle = nullptr;
    if (gcry_cipher_open(&handle, GCRY_CIPHER_AES128, GCRY_CIPHER_MODE_CBC, 0) != 0)
        return false;
    const Key& key = CipherKey();
    bool ok = gcry_cipher_setkey(handle, key.data(), key.size()) == 0 &&
              gcry_cipher_setiv(handle, iv, kBlock) == 0 &&
              (encrypt ? gcry_cipher_encrypt(handle, data, size, nullptr, 0)
                       : gcry_cipher_decrypt(handle, data, size, nullptr, 0)) == 0;
    gcry_cipher_close(handle);
    return ok;
}

int HexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

} // namespace

std::string EncipherAddress(std::string_view plain) {
    const Key& key = CipherKey();
    std::vector<unsigned char> bytes(key.begin(), key.end());
    bytes.insert(bytes.end(), plain.begin(), plain.end());
    unsigned char digest[32];
    Sha256(bytes.data(), bytes.size(), digest);

    std::size_t pad = kBlock - plain.size() % kBlock;
    std::vector<unsigned char> data(plain.begin(), plain.end());
    data.insert(data.end(), pad, static_cast<unsigned char>(pad));
    if (!Crypt(true, digest, data.data(), data.size()))
        return {};
    data.insert(data.begin(), digest, digest + kBlock);

    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string stored;
    stored.reserve(data.size() * 2);
    for (unsigned char b : data) {
        stored += kHex[b >> 4];
        stored += kHex[b & 15];
    }
    return stored;
}

bool DecipherAddress(std::string_view stored, std::string* plain) {
    if (stored.size() % (2 * kBlock) != 0 || stored.size() < 4 * kBlock || stored.size() > kMaxStoredChars)
        return false;
    std::vector<unsigned char> data(stored.size() / 2);
    for (std::size_t i = 0; i < data.size(); ++i) {
        int high = HexValue(stored[2 * i]), low = HexValue(stored[2 * i + 1]);
        if (high < 0 || low < 0)
            return false;
        data[i] = static_cast<unsigned char>(high << 4 | low);
    }
    unsigned char* body = data.data() + kBlock;
    std::size_t size = data.size() - kBlock;
    if (!Crypt(false, data.data(), body, size))
        return false;
    unsigned pad = body[size - 1];
    if (pad == 0 || pad > kBlock)
        return false;
    for (std::size_t i = size - pad; i < size; ++i) {
        if (body[i] != pad)
            return false;
    }
    plain->assign(reinterpret_cast<const char*>(body), size - pad);
    return true;
}

} // namespace vantrel
