// DeriveInstanceID: the instance ID of a reproducible package.
#include "instance_id.h"

#include <cstdint>
#include <string>

namespace Ovxext {

namespace {

std::uint64_t Fnv1a(const std::string& bytes, std::uint64_t seed) {
    std::uint64_t hash = seed;
    for (const char byte : bytes) {
        hash ^= static_cast<std::uint8_t>(byte);
        hash *= 0x100000001B3ull;
    }
    return hash;
}

}  // namespace

OvxUtils::Guid DeriveInstanceID(const OvxUtils::Guid& documentID, const OvxUtils::Version& version) {
    const std::string name = "ovxext-instance|" + documentID.ToString().ToUtf8() + "|" + version.ToString().ToUtf8();
    const std::uint64_t high = Fnv1a(name, 0xCBF29CE484222325ull);
    const std::uint64_t low = Fnv1a(name, 0x84222325CBF29CE4ull);
    OvxUtils::Guid id;
    id.Data1 = static_cast<std::uint32_t>(high >> 32);
    id.Data2 = static_cast<std::uint16_t>(high >> 16);
    id.Data3 = static_cast<std::uint16_t>((high & 0x0FFF) | 0x8000);  // version 8
    for (int i = 0; i < 8; ++i) id.Data4[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(low >> (56 - 8 * i));
    id.Data4[0] = static_cast<std::uint8_t>((id.Data4[0] & 0x3F) | 0x80);  // RFC variant
    return id;
}

}  // namespace Ovxext
