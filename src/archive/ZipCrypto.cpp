#include "archive/ZipCrypto.h"

#include <chrono>
#include <random>

namespace vantrel {

namespace {

struct CrcTable {
    std::uint32_t v[256];
    CrcTable() {
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t c = i;
            for (int k = 0; k < 8; ++k)
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            v[i] = c;
        }
    }
};

const CrcTable gCrcTable;

std::uint32_t CrcByte(std::uint32_t crc, std::uint8_t b) {
    return gCrcTable.v[(crc ^ b) & 0xFF] ^ (crc >> 8);
}

} // namespace

ZipCrypto::ZipCrypto(std::string_view password) : keys{0x12345678u, 0x23456789u, 0x34567890u} {
    for (char c : password)
        Update(static_cast<std::uint8_t>(c));
}

std::uint8_t ZipCrypto::StreamByte() const {
    std::uint32_t t = (keys[2] | 2) & 0xFFFF;
    return static_cast<std::uint8_t>((t * (t ^ 1)) >> 8);
}

void ZipCrypto::Update(std::uint8_t plain) {
    keys[0] = CrcByte(keys[0], plain);
    keys[1] = (keys[1] + (keys[0] & 0xFF)) * 134775813u + 1;
    keys[2] = CrcByte(keys[2], static_cast<std::uint8_t>(keys[1] >> 24));
}

void ZipCrypto::Encrypt(unsigned char* data, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        std::uint8_t plain = data[i];
        data[i] = static_cast<unsigned char>(plain ^ StreamByte());
        Update(plain);
    }
}

void ZipCrypto::Decrypt(unsigned char* data, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        std::uint8_t plain = static_cast<std::uint8_t>(data[i] ^ StreamByte());
        data[i] = plain;
        Update(plain);
    }
}

void ZipCrypto::MakeHeader(std::uint8_t checkByte, unsigned char header[12]) {
    // The header only has to be unpredictable, not secret.
    static thread_local std::mt19937 random{
        std::random_device{}() ^
        static_cast<unsigned>(std::chrono::steady_clock::now().time_since_epoch().count())};
    for (int i = 0; i < 11; ++i)
        header[i] = static_cast<unsigned char>(random() & 0xFF);
    header[11] = checkByte;
    Encrypt(header, 12);
}

bool ZipCrypto::CheckHeader(unsigned char header[12], std::uint8_t checkByte) {
    Decrypt(header, 12);
    return header[11] == checkByte;
}

} // namespace vantrel
