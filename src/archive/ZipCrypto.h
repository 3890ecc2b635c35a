// Traditional zip encryption: the password scheme every zip reader knows. It is weak, but it
// is what the update database and older archives use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vantrel {

class ZipCrypto {
public:
    explicit ZipCrypto(std::string_view password);

    void Encrypt(unsigned char* data, std::size_t size);
    void Decrypt(unsigned char* data, std::size_t size);

    // Builds the 12-byte header that precedes the data: random bytes, the last one being the
    // check byte (the CRC's high byte, or the DOS time's when sizes follow the data).
    void MakeHeader(std::uint8_t checkByte, unsigned char header[12]);
    // Decrypts a header and tells whether its check byte matches.
    bool CheckHeader(unsigned char header[12], std::uint8_t checkByte);

private:
    std::uint8_t StreamByte() const;
    void Update(std::uint8_t plain);

    std::uint32_t keys[3];
};

} // namespace vantrel
